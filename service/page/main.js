// The page: who is looking, which view the address names, and whether the service is there.

import {get} from './api.js';
import {stateKind} from './attention.js';
import {CameraView} from './camera-view.js';
import {actionButton, h, replace, setText} from './dom.js';
import {onMessage, reconnectEvents, startEvents} from './events.js';
import {errorText, notice} from './notices.js';
import {routeOf} from './route.js';
import {endSession, onSession, session, startSession, tokenOf} from './session.js';
import {cameraAddress} from './site-row.js';
import {SiteView} from './site-view.js';
import {Store} from './store.js';
import {causeText, stateText, texts} from './texts.js';
import {pause} from './time.js';

const store = new Store();
const main = document.querySelector('main');
const announcer = document.querySelector('#announcer');
const announcePeriod = 3000;
const retryPeriod = 3000;

let view = null;
let viewed = '';
let scrolledTo = 0;

function go(name, tab) {
  history.replaceState(null, '', `${cameraAddress(name)}/${tab}`);
  route();
}

function makeView({name}) {
  return name === undefined ? new SiteView(store) : new CameraView(store, name, go);
}

function route() {
  if (tokenOf(location.hash)) {
    startSession().then(() => location.reload(), tellFailure);
    return;
  }
  const wanted = routeOf(location.hash);
  const key = wanted.name ?? '';
  if (!view || viewed !== key)
    changeView(wanted, key);
  view.showTab?.(wanted.tab);
  setText(document.querySelector('title'), `${view.title} – ${texts.product}`);
}

// Whoever comes back to the list finds it where it was left.
function changeView(wanted, key) {
  const isFirst = view === null;
  if (view && viewed === '')
    scrolledTo = scrollY;
  const left = viewed;
  view?.close();
  view = makeView(wanted);
  viewed = key;
  replace(main, view.element);
  view.draw?.();
  scrollTo(0, key === '' ? scrolledTo : 0);
  if (isFirst)
    return;
  (view.heading ?? main).focus({preventScroll: true});
  view.list?.focusCamera(left);
}

function drawHeader() {
  const {site, connection} = store;
  setText(document.querySelector('#service'), site ? site.service : texts.product);
  setText(document.querySelector('#version'), site ? site.version : '');
  const shown = store.failure ? 'lost' : connection;
  const element = document.querySelector('#connection');
  element.dataset.state = shown;
  setText(element.lastElementChild, texts.service[shown]);
  setText(document.querySelector('title'), `${view?.title ?? texts.product} – ${texts.product}`);
}

function drawSession(who) {
  replace(document.querySelector('#session'), who && [
    h('span', {class: 'session-name'},
      texts.session.who(who.name, texts.session.roles[who.role] ?? who.role)),
    actionButton(texts.session.logOut, endSession, {class: 'small'}),
  ]);
}

// A screen reader is told of a change now and then, not of each: a switch that fails takes a hundred cameras
// along.
let lastAnnounced = 0;

function announce(camera) {
  if (Date.now() - lastAnnounced < announcePeriod)
    return;
  lastAnnounced = Date.now();
  setText(announcer,
    texts.site.announce(
      camera.name, stateText(stateKind(camera)), camera.problem && causeText(camera.problem)));
}

// What happened before the events were connected is in no event: the list is asked again behind them.
let wasLive = false;

function hear(message) {
  if (message.kind === 'event')
    store.hear(message.type, message.data);
  // Refused: the session may have expired; whoever logs in again has the events again.
  if (message.kind === 'refused')
    get('/session').catch(() => {});
  if (message.kind !== 'state')
    return;
  store.connect(message.state);
  if (message.state === 'live' && !wasLive) {
    wasLive = true;
    store.load();
  }
}

function tellFailure(error) {
  replace(main, notice('fault', errorText(error), {[texts.retry]: () => location.reload()}));
}

function tellBreak(error) {
  const text = error?.message ?? String(error);
  document.querySelector('#breaks').replaceChildren(notice('fault', `${texts.errors.page} ${text}`));
}

function watchBreaks() {
  addEventListener('error', event => event.error && tellBreak(event.error));
  // What the service or the network failed at is told where it was asked for.
  addEventListener('unhandledrejection', ({reason}) => {
    if (reason?.name !== 'AbortError' && reason?.status === undefined)
      tellBreak(reason);
  });
}

function makeSkipLink() {
  const link = document.querySelector('.skip');
  setText(link, texts.skip);
  link.addEventListener('click', event => {
    event.preventDefault();
    main.focus();
  });
}


async function enter() {
  for (;;) {
    try {
      await startSession();
      return;
    } catch (error) {
      tellFailure(error);
      await pause(retryPeriod);
    }
  }
}

async function start() {
  watchBreaks();
  makeSkipLink();
  setText(main, texts.loading);
  await enter();
  store.subscribe(drawHeader);
  store.onChange(announce);
  onMessage(hear);
  startEvents();
  store.load();
  // Asked again by itself when the service was away.
  setInterval(() => store.failure && store.load(), retryPeriod);
  drawSession(session());
  onSession(answer => {
    drawSession(answer);
    reconnectEvents();
  });
  route();
  addEventListener('hashchange', route);
}

start();
