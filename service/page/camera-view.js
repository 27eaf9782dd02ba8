// One camera: what is wrong with it first, then what it sees, then all that can be done.

import {cameraPath, get} from './api.js';
import {mayHavePicture, stateKind} from './attention.js';
import {Calls} from './calls.js';
import {Doctor} from './doctor.js';
import {actionButton, h, replace, setText} from './dom.js';
import {Drift} from './drift.js';
import {onMessage} from './events.js';
import {Exchanges} from './exchanges.js';
import {History} from './history.js';
import {Inputs} from './inputs.js';
import {LivePicture} from './live-picture.js';
import {errorNotice, notice, problemPanel} from './notices.js';
import {operations} from './operations.js';
import {Ptz} from './ptz.js';
import {Settings} from './settings.js';
import {renewStateBadge, stateBadge} from './state-badge.js';
import {Tabs} from './tabs.js';
import {texts} from './texts.js';
import {sinceText} from './time.js';

const words = texts.camera;
const historyPeriod = 60000;
const detailPeriod = 60000;
const tabIds = Object.keys(words.tabs);

const tabOf = id => (tabIds.includes(id) ? id : tabIds[0]);

function factList(camera) {
  const facts = ['address', 'model', 'serialNumber', 'firmware']
                  .filter(key => camera[key])
                  .map(key => [texts.camera[key], camera[key]]);
  if (camera.tags?.length)
    facts.push([words.tags, camera.tags.join(', ')]);
  return facts;
}

export class CameraView {
  constructor(store, name, go) {
    Object.assign(this, {store, name, go});
    this.camera = store.cameras.get(name) ?? {name, state: 'unknown', inputs: []};
    this.makeParts();
    this.heading = h('h1', {tabindex: '-1'}, name);
    this.state = stateBadge('unknown');
    this.since = h('span', {class: 'since'});
    this.facts = h('dl', {class: 'facts'});
    this.problem = h('div', {'aria-live': 'polite'});
    this.failure = h('div');
    this.headPlace = h('div');
    this.back = h('a', {class: 'back', href: '#/'}, `← ${words.back}`);
    this.element = h('article', {class: 'camera'}, this.back,
      h('header', {class: 'camera-head'},
        h('div', {class: 'camera-name'}, this.heading, this.state, this.since), this.facts),
      this.failure, this.problem,
      h('div', {class: 'camera-desk'},
        h('div', {class: 'camera-look'}, this.picture.element, this.headPlace, this.inputs.element),
        this.tabs.element));
    this.listen();
    this.renew();
    this.load();
    this.loadHistory();
  }

  get title() { return this.name; }

  makeParts() {
    const {name} = this;
    const renewCamera = () => this.load();
    this.picture = new LivePicture(name);
    this.inputs = new Inputs();
    this.history = new History();
    this.settings = new Settings(name, renewCamera);
    this.drift = new Drift(name, renewCamera, () => this.store.site?.wishWritable ?? false);
    this.doctor = new Doctor(name, this.store.examinations);
    const make = {
      settings: () => this.settings,
      drift: () => this.drift,
      doctor: () => this.doctor,
      history: () => this.history,
      exchanges: () => new Exchanges(name, () => this.camera.address),
      calls: () => this.callsPanel(),
    };
    this.tabs = new Tabs(words.sections, tabIds.map(id => ({id, title: words.tabs[id], make: make[id]})),
      id => this.go(name, id));
  }

  callsPanel() {
    const element = h('div', {}, h('p', {class: 'empty'}, texts.loading));
    const load = () => operations().then(known => replace(element, new Calls(this.name, known).element),
      error => replace(element, errorNotice(error, {[texts.retry]: load})));
    load();
    return {element};
  }

  listen() {
    this.unsubscribe = this.store.subscribe(() => this.takeFromStore());
    this.forget = onMessage(message => this.hear(message));
    const whenSeen = action => () => document.hidden || action();
    this.timers = [
      setInterval(whenSeen(() => this.loadHistory()), historyPeriod),
      setInterval(whenSeen(() => this.load()), detailPeriod),
      setInterval(() => this.renewTimes(), 1000),
    ];
  }

  hear(message) {
    if (message.kind === 'state' && message.state === 'lost')
      this.ptz?.connectionLost();
    if (message.kind !== 'event' || message.data.name !== this.name)
      return;
    if (message.type === 'input')
      this.inputs.hear(message.data);
    if (message.type === 'drift')
      this.load();
  }

  // A camera that has come back has settings to tell; one that is lost has none.
  takeFromStore() {
    this.doctor.renew();
    const known = this.store.cameras.get(this.name);
    if (!known || known === this.known)
      return;
    this.known = known;
    const hasTurned = known.state !== this.camera.state;
    this.camera = {...this.camera, ...known, problem: known.problem};
    this.renew();
    if (hasTurned) {
      this.load();
      this.loadHistory();
    }
  }

  // What is asked while an older question is under way is asked once more behind it.
  async load() {
    if (this.isLoading) {
      this.isStale = true;
      return;
    }
    this.isLoading = true;
    this.isStale = false;
    try {
      const camera = await get(cameraPath(this.name));
      this.camera = camera;
      this.hasDetails = true;
      replace(this.failure);
      this.store.put(camera);
      this.renew();
    } catch (error) {
      this.tellFailure(error);
    }
    this.isLoading = false;
    if (this.isStale && !this.isClosed)
      this.load();
  }

  tellFailure(error) {
    if (error.status !== 404) {
      replace(this.failure, errorNotice(error, {[texts.retry]: () => this.load()}));
      return;
    }
    this.close();
    replace(this.element, this.back, notice('fault', texts.errors.notFound(this.name)));
  }

  async loadHistory() {
    try {
      const history = await get(cameraPath(this.name, '/history'));
      this.inputs.takeHistory(history);
      this.history.take(history);
    } catch (error) {
      this.history.fail(errorNotice(error, {[texts.retry]: () => this.loadHistory()}));
    }
  }

  renew() {
    const {camera} = this;
    renewStateBadge(this.state, stateKind(camera));
    this.element.dataset.state = camera.state;
    this.renewFacts();
    this.renewTimes();
    this.renewProblem();
    this.picture.allow(mayHavePicture(camera), camera.problem);
    this.inputs.renew(camera);
    const differences = camera.drift?.differences?.length ?? 0;
    this.tabs.mark('drift', differences > 0 ? String(differences) : '');
    if (!this.hasDetails)
      return;
    this.picture.offer((camera.streams ?? []).map(({stream}) => stream));
    this.settings.renew(camera);
    this.drift.renew(camera);
    this.renewHead();
  }

  // Written anew only when they change: somebody may be copying one.
  renewFacts() {
    const facts = factList(this.camera);
    const text = JSON.stringify(facts);
    if (text === this.factsShown)
      return;
    this.factsShown = text;
    replace(this.facts, facts.map(([label, value]) => h('div', {}, h('dt', {}, label), h('dd', {}, value))));
  }

  renewTimes() { setText(this.since, sinceText(this.camera.since)); }

  renewProblem() {
    const {problem, state} = this.camera;
    const text = JSON.stringify([problem, state]);
    if (text === this.problemShown)
      return;
    this.problemShown = text;
    const examine = actionButton(texts.problem.examine, () => this.examine(), {class: 'primary'});
    replace(this.problem,
      problem && problemPanel(problem, {kind: state === 'down' ? 'fault' : 'warning', actions: [examine]}));
  }

  examine() {
    this.go(this.name, 'doctor');
    this.tabs.show('doctor');
    this.tabs.element.scrollIntoView({block: 'start'});
    this.tabs.buttons.get('doctor').focus();
    if (!this.doctor.button.disabled)
      this.doctor.run();
  }

  async renewHead() {
    const {ptz} = this.camera;
    if (!ptz?.moves)
      return;
    if (!this.ptz && !this.isMakingHead) {
      this.isMakingHead = true;
      const known = await operations().catch(() => []);
      if (this.isClosed)
        return;
      this.ptz = new Ptz(this.name, ptz, known, () => this.load());
      this.headPlace.append(this.ptz.element);
    }
    this.ptz?.renew(this.camera);
  }

  showTab(id) { this.tabs.show(tabOf(id)); }

  close() {
    if (this.isClosed)
      return;
    this.isClosed = true;
    this.ptz?.close();
    this.picture.close();
    this.tabs.close();
    this.unsubscribe();
    this.forget();
    this.timers.forEach(timer => clearInterval(timer));
  }
}
