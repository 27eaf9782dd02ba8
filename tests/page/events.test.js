// Events: the one connection of all tabs, and what they make of the list.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {EventHub} from '../../service/page/event-hub.js';
import {Store} from '../../service/page/store.js';

// Notes every connection; timers fire when the test says so.
class World {
  constructor() {
    this.sources = [];
    this.timers = new Map();
    this.nextTimer = 1;
    this.hub = new EventHub({
      open: url => this.opened(url),
      setTimer: (action, pause) => {
        this.timers.set(this.nextTimer, {action, pause});
        return this.nextTimer++;
      },
      clearTimer: timer => this.timers.delete(timer),
    });
  }

  opened(url) {
    const source = {url, readyState: 0, listeners: {}, close() { this.readyState = 2; }};
    source.addEventListener = (type, listener) => {
      source.listeners[type] = listener;
    };
    this.sources.push(source);
    return source;
  }

  get openUrls() { return this.sources.filter(({readyState}) => readyState !== 2).map(({url}) => url); }

  fire(pause) {
    const [timer, {action}] = [...this.timers].find(([, one]) => one.pause === pause);
    this.timers.delete(timer);
    action();
  }

  tab() {
    const heard = [];
    const listener = message => heard.push(message);
    this.hub.add(listener);
    return {heard, listener};
  }
}

const types = heard => heard.filter(({kind}) => kind === 'event').map(({type}) => type);

test('seven tabs share one connection, and the last one closes it', () => {
  const world = new World();
  const tabs = Array.from({length: 7}, () => world.tab());
  assert.deepEqual(world.openUrls, ['/api/v1/events']);
  world.sources[0].onopen();
  world.sources[0].listeners.camera({data: '{"name":"gate","state":"down"}'});
  for (const {heard} of tabs) {
    assert.deepEqual(heard.map(({kind}) => kind), ['state', 'state', 'event']);
    assert.deepEqual(heard[2].data, {name: 'gate', state: 'down'});
  }
  tabs.slice(1).forEach(({listener}) => world.hub.remove(listener));
  assert.equal(world.openUrls.length, 1);
  world.hub.remove(tabs[0].listener);
  assert.deepEqual(world.openUrls, []);
  assert.equal(world.timers.size, 0);
});

test('a refused connection is told, tried again ever later, and what was missed is asked for', () => {
  const world = new World();
  const {heard} = world.tab();
  for (const pause of [500, 1000, 2000, 4000, 8000, 15000, 15000]) {
    const source = world.sources[world.sources.length - 1];
    source.readyState = 2;
    source.onerror();
    assert.equal(heard[heard.length - 1].kind, 'refused');
    world.fire(pause);
  }
  assert.equal(world.openUrls.length, 1);
  assert.deepEqual(types(heard), []);
  world.sources[7].onopen();
  assert.deepEqual(types(heard), ['resync']);
});

test('a cut that the browser mends by itself opens nothing new', () => {
  const world = new World();
  const {heard} = world.tab();
  world.sources[0].onopen();
  world.sources[0].onerror();
  assert.equal(heard[heard.length - 1].state, 'lost');
  world.sources[0].onopen();
  assert.equal(heard[heard.length - 1].state, 'live');
  assert.equal(world.sources.length, 1);
  assert.deepEqual(types(heard), []);
});

test('a connection that stands still is lost', () => {
  const world = new World();
  const {heard} = world.tab();
  world.sources[0].onopen();
  world.fire(40000);
  assert.equal(heard[heard.length - 1].state, 'lost');
  world.fire(500);
  assert.deepEqual(world.openUrls, ['/api/v1/events']);
});

test('exchanges of one camera at a time; the next one gets its turn', () => {
  const world = new World();
  const [one, other] = [world.tab(), world.tab()];
  world.hub.wantExchanges(one.listener, 'gate');
  world.hub.wantExchanges(other.listener, 'hall 1');
  assert.deepEqual(world.openUrls.slice(1), ['/api/v1/events?only=gate&exchanges=gate']);
  assert.deepEqual(other.heard[other.heard.length - 1], {kind: 'exchanges', name: 'hall 1', live: false});
  world.sources[1].listeners.exchange({data: '{"path":"/x"}'});
  assert.deepEqual([types(one.heard), types(other.heard)], [['exchange'], []]);
  world.hub.wantExchanges(one.listener, '');
  assert.deepEqual(world.openUrls.slice(1), ['/api/v1/events?only=hall%201&exchanges=hall%201']);
  assert.deepEqual(other.heard[other.heard.length - 1], {kind: 'exchanges', name: 'hall 1', live: true});
});

// The store

const camera = (name, more = {}) =>
  ({name, state: 'up', since: '2026-11-26T06:00:00.000Z', inputs: [{input: 0, state: 'inactive'}], ...more});

function storeOf(answers) {
  const asked = [];
  const ask = path => {
    asked.push(path);
    return answers(path);
  };
  const store = new Store({ask, schedule: action => action()});
  return {store, asked};
}

const site = {
  service: 'yard',
  time: '2026-11-26T06:30:00.000Z'
};
const pages = async path => {
  if (path === '/site')
    return site;
  return path.includes('after=') ? {cameras: [camera('b c')]} :
                                   {cameras: [camera('a'), camera('b')], next: 'b'};
};

test('all pages of the list are asked, in the file\'s order', async () => {
  const {store, asked} = storeOf(pages);
  await store.load();
  assert.deepEqual([...store.cameras.keys()], ['a', 'b', 'b c']);
  assert.deepEqual(asked, ['/site', '/cameras?limit=1000', '/cameras?limit=1000&after=b']);
});

test('an event that comes while the list is asked is not overwritten by it', async () => {
  const {store} = storeOf(pages);
  const loading = store.load();
  store.hear(
    'camera', {name: 'a', state: 'down', problem: {cause: 'refused'}, at: '2026-11-26T06:31:00.000Z'});
  await loading;
  assert.deepEqual(
    [store.cameras.get('a').state, store.cameras.get('a').since], ['down', '2026-11-26T06:31:00.000Z']);
});

test('events change state, inputs and drift; older ones and strangers change nothing', async () => {
  const {store} = storeOf(pages);
  const changes = [];
  await store.load();
  store.onChange(({name, state}) => changes.push(`${name} ${state}`));
  store.hear(
    'camera', {name: 'a', state: 'degraded', problem: {cause: 'stream-off'}, at: '2026-11-26T06:31:00.000Z'});
  store.hear('camera', {name: 'a', state: 'up', at: '2026-11-26T06:30:59.000Z'});
  store.hear('camera', {name: 'nobody', state: 'down', at: '2026-11-26T06:31:00.000Z'});
  store.hear('input', {name: 'b', input: 0, state: 0, at: '2026-11-26T06:32:00.000Z'});
  store.hear('input', {name: 'b', input: 3, state: 1, at: '2026-11-26T06:32:01.000Z'});
  store.hear('drift', {name: 'b', drift: {state: 'differs', differences: [1]}});
  assert.equal(store.cameras.get('a').problem.cause, 'stream-off');
  assert.deepEqual(
    store.cameras.get('b').inputs.map(({input, state}) => `${input} ${state}`), ['0 active', '3 inactive']);
  assert.equal(store.cameras.get('b').drift.state, 'differs');
  assert.deepEqual(changes, ['a degraded']);
  store.hear('camera', {name: 'a', state: 'up', at: '2026-11-26T06:33:00.000Z'});
  assert.equal(store.cameras.get('a').problem, undefined);
});

test('a resync asks again, and a failure is kept until the next answer', async () => {
  let isAway = true;
  const {store, asked} = storeOf(path => isAway ? Promise.reject(new Error('away')) : pages(path));
  await store.load();
  assert.equal(store.failure.message, 'away');
  isAway = false;
  store.hear('resync', {});
  await store.loading;
  assert.equal(store.failure, null);
  assert.equal(asked.filter(path => path === '/site').length, 2);
});
