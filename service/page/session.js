// Who is looking. The printed address carries a token once; it is exchanged for a cookie and leaves the
// address bar.

import {ApiError, errorOf, onUnauthorized, send} from './api.js';
import {h, setText} from './dom.js';
import {texts} from './texts.js';

const words = texts.session;
const ranks = ['view', 'operate', 'admin'];

let current = null;
let renewal = null;
const listeners = new Set();

export const session = () => current;
export const may = role => current !== null && ranks.indexOf(current.role) >= ranks.indexOf(role);
export const onSession = listener => listeners.add(listener);

export function tokenOf(hash) { return new URLSearchParams(hash.replace(/^#/, '')).get('token') ?? ''; }

// Kept until the service has said something of it: it may be away for a moment.
let pendingToken = '';

function takeToken() {
  const token = tokenOf(location.hash);
  if (token)
    history.replaceState(null, '', location.pathname + location.search);
  pendingToken = token || pendingToken;
  return pendingToken;
}

function accept(answer) {
  current = answer;
  // The style sheet hides what the role may not do.
  document.body.dataset.role = answer ? answer.role : '';
  for (const listener of listeners)
    listener(answer);
}

async function ask(method, body) {
  const response = await fetch('/api/v1/session', {
    method,
    headers: body ? {'Content-Type': 'application/json'} : {},
    body: body && JSON.stringify(body),
    credentials: 'same-origin',
  }).catch(() => {
    throw new ApiError(0, {});
  });
  if (!response.ok)
    throw await errorOf(response);
  return response.status === 204 ? null : response.json();
}

function failureText(error) {
  if (error.status === 401)
    return words.wrongToken;
  return error.isAway ? texts.service.away : error.message || texts.errors.unknown;
}

function logInForm(reason, done) {
  const token = h('input', {
    id: 'token',
    name: 'token',
    type: 'password',
    autocomplete: 'current-password',
    required: true,
    spellcheck: 'false',
    'aria-describedby': 'token-hint token-failure',
  });
  const failure = h('p', {id: 'token-failure', class: 'failure-text', role: 'alert'});
  const button = h('button', {type: 'submit', class: 'primary'}, words.logIn);
  const submit = async event => {
    event.preventDefault();
    button.disabled = true;
    setText(failure, '');
    try {
      done(await ask('POST', {token: token.value.trim()}));
    } catch (error) {
      setText(failure, failureText(error));
      token.select();
    }
    button.disabled = false;
  };
  return h('form', {method: 'dialog', class: 'log-in', on: {submit}}, h('h2', {}, words.title),
    h('p', {}, reason), h('label', { for: 'token'
    }, words.token), token, h('p', {id: 'token-hint', class: 'hint'}, words.hint), failure, button);
}

// A dialog above the page: what was typed beneath it stays.
function askForToken(reason) {
  return new Promise(resolve => {
    const dialog = h('dialog', {'aria-label': words.title});
    const look = () => ask('GET').then(done, () => {});
    const done = answer => {
      window.removeEventListener('focus', look);
      dialog.close();
      dialog.remove();
      accept(answer);
      resolve(answer);
    };
    dialog.append(logInForm(reason, done));
    dialog.addEventListener('cancel', event => event.preventDefault());
    // Whoever has logged in in another tab need not do it here.
    window.addEventListener('focus', look);
    document.body.append(dialog);
    dialog.showModal();
  });
}

function logInAgain(reason) {
  renewal ??= askForToken(reason).finally(() => {
    renewal = null;
  });
  return renewal;
}

export const renew = () => logInAgain(current ? words.expired : words.needed);

export async function startSession() {
  onUnauthorized(renew);
  const token = takeToken();
  try {
    accept(await ask(token ? 'POST' : 'GET', token ? {token} : undefined));
    pendingToken = '';
  } catch (error) {
    if (error.status !== 401)
      throw error;
    pendingToken = '';
    await logInAgain(token ? words.wrongToken : words.needed);
  }
}

export async function endSession() {
  await send('DELETE', '/session', undefined, {once: true});
  location.reload();
}
