// An exchange as a command for a shell. The password is never in it: the shell's own variables stand for it.

const secretKeys = /^(?:.*(?:pass(?:word|wd)?|pwd|secret|token|credential|auth).*)$/i;
const mask = '***';

function maskPairs(text) {
  return text.split('&')
    .map(pair => {
      const [key, ...rest] = pair.split('=');
      return rest.length > 0 && secretKeys.test(key) ? `${key}=${mask}` : pair;
    })
    .join('&');
}

export function maskSecrets(text) {
  const withoutUser = text.replace(/(\b[a-z][a-z0-9+.-]*:\/\/)[^/\s@]*@/gi, `$1${mask}@`);
  const [path, ...query] = withoutUser.split('?');
  return query.length > 0 ? `${path}?${maskPairs(query.join('?'))}` : withoutUser;
}

export const maskBody = body => maskPairs(body);

// Between single quotes a shell reads everything as it stands.
const quoted = text => `'${text.replaceAll('\'', '\'\\\'\'')}'`;

export function curlText({method, path, body}, address) {
  const parts = ['curl', '--anyauth', '--user', '"$CAMERA_USER:$CAMERA_PASSWORD"'];
  if (method !== 'GET' && !(method === 'POST' && body))
    parts.push('--request', quoted(method));
  if (body)
    parts.push('--data', quoted(maskBody(body)));
  parts.push(quoted(`http://${address}${maskSecrets(path)}`));
  return parts.join(' ');
}
