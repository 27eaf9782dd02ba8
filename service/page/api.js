// Requests to the service. An expired session is renewed, and what was asked is asked again.

const base = '/api/v1';

export class ApiError extends Error {
  constructor(status, answer) {
    super(answer.detail || answer.title || '');
    const {problem, results, holder} = answer;
    Object.assign(this, {status, answer, results, holder});
    if (problem?.answered !== answer.detail) // else the service's own, whose words say more
      this.problem = problem;
  }

  get isAway() { return this.status === 0; }
}

let renewSession = null;
let renewals = 0;

// `renew` returns a promise that is kept once somebody has logged in again.
export function onUnauthorized(renew) {
  renewSession = () => renew().then(() => {
    renewals += 1;
  });
}

async function answerOf(response) {
  if (response.status === 204)
    return null;
  const type = response.headers.get('Content-Type') ?? '';
  return type.includes('json') ? response.json() : {detail: await response.text()};
}

function initOf(method, body, {headers = {}, ...rest}) {
  const init =
    {method, headers: {Accept: 'application/json', ...headers}, credentials: 'same-origin', ...rest};
  // Wanted also of a change without a body: a form of another site cannot send it.
  if (method !== 'GET')
    init.headers['Content-Type'] = 'application/json';
  if (body !== undefined)
    init.body = JSON.stringify(body);
  return init;
}

async function attempt(path, init) {
  try {
    return await fetch(base + path, init);
  } catch (error) {
    if (error.name === 'AbortError')
      throw error;
    throw new ApiError(0, {});
  }
}

// With `once` nothing is repeated after a log-in: a head must not begin to move when somebody has typed a
// token.
export async function send(method, path, body, {once = false, ...options} = {}) {
  const init = initOf(method, body, options);
  const before = renewals;
  const response = await attempt(path, init);
  if (response.status !== 401 || !renewSession)
    return response;
  // Refused late: somebody has logged in since it was asked.
  const renewed = before === renewals ? renewSession() : Promise.resolve();
  if (once)
    return response;
  await renewed;
  return attempt(path, init);
}

export async function errorOf(response) {
  return new ApiError(
    response.status, (await answerOf(response).catch(() => null)) ?? {title: response.statusText});
}

export async function request(method, path, body, options) {
  const response = await send(method, path, body, options);
  if (!response.ok)
    throw await errorOf(response);
  return answerOf(response);
}

export const get = (path, options) => request('GET', path, undefined, options);
export const post = (path, body = {}, options) => request('POST', path, body, options);
export const patch = (path, body, options) => request('PATCH', path, body, options);

export const cameraPath = (name, rest = '') => `/cameras/${encodeURIComponent(name)}${rest}`;
export const addressOf = path => base + path;
