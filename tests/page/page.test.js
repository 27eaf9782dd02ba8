// What must hold of the page's files as they are served, and of its requests.

import assert from 'node:assert/strict';
import {readdirSync, readFileSync} from 'node:fs';
import {test} from 'node:test';

import {ApiError, get, onUnauthorized, request} from '../../service/page/api.js';
import {withPictureSlot} from '../../service/page/picture-slots.js';
import {routeOf} from '../../service/page/route.js';
import {tokenOf} from '../../service/page/session.js';

const folder = new URL('../../service/page/', import.meta.url);
const files = new Map(readdirSync(
  folder).filter(name => !name.startsWith('.'))
                        .map(name => [name, readFileSync(new URL(name, folder), 'utf8')]));
const most = 200000;

test('all together are under 200 kB', () => {
  const size = [...files.values()].reduce((sum, text) => sum + Buffer.byteLength(text), 0);
  assert.ok(size < most, `${size} bytes`);
});

test('nothing that the content security policy forbids, and no other host', () => {
  for (const [name, text] of files) {
    const hosts = text.match(/\bhttps?:\/\/[a-z0-9.]+/g) ?? [];
    assert.deepEqual(hosts.filter(host => host !== 'http://www.w3.org'), [], name);
    assert.doesNotMatch(text,
      /innerHTML|outerHTML|insertAdjacentHTML|document\.write|\beval\(|new Function|setAttribute\('style'/,
      name);
    if (name.endsWith('.css'))
      assert.doesNotMatch(text, /url\(|@import/, name);
  }
  assert.doesNotMatch(files.get('index.html'), /<script(?![^>]*src=)|<style|\sstyle=|\son[a-z]+=/);
});

// Relative luminance and contrast as WCAG 2 has them.
function luminance(colour) {
  const digits =
    colour.length === 4 ? [...colour.slice(1)].map(digit => digit + digit) : colour.slice(1).match(/../g);
  const [red, green, blue] =
    digits.map(pair => parseInt(pair, 16) / 255)
      .map(part => (part <= 0.04045 ? part / 12.92 : ((part + 0.055) / 1.055) ** 2.4));
  return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
}

function contrast(one, other) {
  const [dark, light] = [luminance(one), luminance(other)].sort((a, b) => a - b);
  return (light + 0.05) / (dark + 0.05);
}

test('texts have the contrast of WCAG AA, light and dark; what bounds a control that of its parts', () => {
  const [light, dark] = [...files.get('style.css').matchAll(/:root \{([^}]*)\}/g)].map(
    ([, body]) => Object.fromEntries(
      [...body.matchAll(/--([a-z-]+): (#[0-9a-f]+);/g)].map(([, name, value]) => [name, value])));
  const grounds =
    ['page', 'surface', 'raised', 'sunk', 'accent-soft', 'down-soft', 'degraded-soft', 'up-soft'];
  for (const colours of [light, dark]) {
    for (const ground of grounds)
      for (const text of ['text', 'muted', 'accent', 'down', 'degraded', 'up'])
        assert.ok(contrast(colours[text], colours[ground]) >= 4.5,
          `${text} on ${ground}: ${contrast(colours[text], colours[ground])}`);
    assert.ok(contrast(colours['on-accent'], colours.accent) >= 4.5);
    for (const ground of ['page', 'surface', 'raised'])
      for (const part of ['control', 'second'])
        assert.ok(contrast(colours[part], colours[ground]) >= 3,
          `${part} on ${ground}: ${contrast(colours[part], colours[ground])}`);
  }
});

test('every module that is imported is there', () => {
  for (const [name, text] of files)
    for (const [, wanted] of text.matchAll(/(?:from|URL\()\s*'\.\/([^']+)'/g))
      assert.ok(files.has(wanted), `${name} wants ${wanted}`);
});

test('addresses', () => {
  assert.deepEqual(routeOf('#/camera/a%2Fb%20c/doctor'), {name: 'a/b c', tab: 'doctor'});
  assert.deepEqual(routeOf('#/camera/gate'), {name: 'gate', tab: undefined});
  for (const hash of ['', '#/', '#/camera/', '#main', '#/camera/%E0%A4%A'])
    assert.deepEqual(routeOf(hash), {}, hash);
  assert.equal(tokenOf('#token=aB-_9'), 'aB-_9');
  assert.equal(tokenOf('#/camera/gate'), '');
});

// Answers in turn; notes what was asked.
function serve(...answers) {
  const asked = [];
  globalThis.fetch = async (url, init) => {
    asked.push(`${init.method} ${url} ${init.body ?? ''}`);
    const answer = answers.shift();
    if (answer instanceof Error)
      throw answer;
    return new Response(answer.status === 204 ? null : JSON.stringify(answer.body), {
      status: answer.status,
      headers: {'Content-Type': answer.status >= 400 ? 'application/problem+json' : 'application/json'},
    });
  };
  return asked;
}

test('an expired session: a new log-in, and the same request again with what was typed', async () => {
  const asked = serve({status: 401, body: {}}, {status: 200, body: {is: '60'}});
  let renewals = 0;
  onUnauthorized(async () => {
    renewals += 1;
  });
  assert.deepEqual(await request('PATCH', '/cameras/gate/adjustments', {brightness: '60'}), {is: '60'});
  assert.equal(renewals, 1);
  assert.equal(asked[0], 'PATCH /api/v1/cameras/gate/adjustments {"brightness":"60"}');
  assert.equal(asked[1], asked[0]);
});

test('a move is never sent again after a log-in', async () => {
  const asked = serve({status: 401, body: {title: 'Unauthorized'}});
  let renewals = 0;
  onUnauthorized(async () => {
    renewals += 1;
  });
  await assert.rejects(
    request('POST', '/cameras/gate/move', {}, {once: true}), error => error.status === 401);
  assert.deepEqual([asked.length, renewals], [1, 1]);
});

test('who is refused late, after somebody has logged in, is not asked for a token again', async () => {
  let logIn;
  let renewals = 0;
  onUnauthorized(() => {
    renewals += 1;
    return new Promise(resolve => {
      logIn = resolve;
    });
  });
  const late = {};
  let calls = 0;
  globalThis.fetch = () => {
    calls += 1;
    if (calls === 2)
      return new Promise(resolve => {
        late.answer = () => resolve(new Response('{}', {status: 401}));
      });
    return Promise.resolve(
      new Response('{}', {status: calls === 1 ? 401 : 200, headers: {'Content-Type': 'application/json'}}));
  };
  const first = get('/a');
  const second = get('/b');
  await new Promise(resolve => {
    setImmediate(resolve);
  });
  logIn();
  await first;
  late.answer();
  await second;
  assert.equal(renewals, 1);
});

test('failures keep what the service says of them', async () => {
  serve({
    status: 409,
    body: {detail: 'held', holder: 'front desk', results: [1], problem: {cause: 'not-accepted'}}
  },
    {status: 503, body: {detail: 'too many', problem: {cause: 'limit', answered: 'too many'}}},
    new TypeError('fetch failed'));
  await assert.rejects(get('/x'),
    error => error instanceof ApiError && error.status === 409 && error.holder === 'front desk' &&
      error.message === 'held' && error.problem.cause === 'not-accepted' && error.results.length === 1);
  await assert.rejects(get('/x'), error => error.message === 'too many' && !error.problem);
  await assert.rejects(get('/x'), error => error.isAway);
});

test('small pictures use two connections, however many there are', async () => {
  let running = 0;
  let highest = 0;
  await Promise.all(Array.from({length: 16}, () => withPictureSlot('tile', async () => {
    running += 1;
    highest = Math.max(highest, running);
    await new Promise(resolve => {
      setImmediate(resolve);
    });
    running -= 1;
  }, undefined)));
  assert.equal(highest, 2);
});
