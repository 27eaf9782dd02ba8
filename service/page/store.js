// What is known of the site: asked once, then kept by the events.

import {get} from './api.js';
import {Examinations} from './examinations.js';
import {clock} from './time.js';

const pageSize = 1000;

export class Store {
  cameras = new Map();  // by name, in the file's order
  site = null;
  failure = null;
  isLoaded = false;
  connection = 'connecting';
  listeners = new Set();
  changeListeners = new Set();
  loading = null;
  waiting = [];
  isScheduled = false;
  examinations = new Examinations(() => this.changed());

  constructor({ask = get, schedule = action => requestAnimationFrame(action)} = {}) {
    this.ask = ask;
    this.schedule = schedule;
  }

  // Told at most once a frame, however much has changed.
  subscribe(listener) {
    this.listeners.add(listener);
    return () => this.listeners.delete(listener);
  }

  // Told of each change of a camera's state, as it comes.
  onChange(listener) {
    this.changeListeners.add(listener);
    return () => this.changeListeners.delete(listener);
  }

  changed() {
    if (this.isScheduled)
      return;
    this.isScheduled = true;
    this.schedule(() => {
      this.isScheduled = false;
      for (const listener of [...this.listeners])
        listener();
    });
  }

  // One at a time; whoever asks meanwhile is answered by a further one, since the first may be too old for
  // it.
  load() {
    if (this.loading) {
      this.isStale = true;
      return this.loading;
    }
    this.loading = this.loadAll().finally(() => {
      this.loading = null;
      for (const [type, data] of this.waiting.splice(0))
        this.apply(type, data);
      this.changed();
      if (this.isStale)
        this.load();
    });
    return this.loading;
  }

  async loadAll() {
    this.isStale = false;
    try {
      const site = await this.ask('/site');
      clock.hear(site.time);
      const cameras = new Map();
      let after = '';
      do {
        const page =
          await this.ask(`/cameras?limit=${pageSize}${after && `&after=${encodeURIComponent(after)}`}`);
        for (const camera of page.cameras)
          cameras.set(camera.name, camera);
        after = page.next ?? '';
      } while (after);
      Object.assign(this, {site, cameras, failure: null, isLoaded: true});
    } catch (error) {
      this.failure = error;
    }
  }

  // What comes while the list is being asked would be overwritten by it: it waits.
  hear(type, data) {
    // Other events may be told long after they were made.
    if (type === 'heartbeat')
      clock.hear(data.at);
    if (type === 'resync' || type === 'site')
      this.load();
    else if (this.loading)
      this.waiting.push([type, data]);
    else
      this.apply(type, data);
  }

  apply(type, data) {
    const camera = this.cameras.get(data.name);
    const take = {camera: takeState, input: takeInput, drift: takeDrift}[type];
    if (!camera || !take)
      return;
    const next = take(camera, data);
    if (next === camera)
      return;
    this.cameras.set(next.name, next);
    if (next.state !== camera.state || next.problem?.cause !== camera.problem?.cause)
      for (const listener of [...this.changeListeners])
        listener(next);
    this.changed();
  }

  put(camera) {
    if (!this.cameras.has(camera.name))
      return;
    this.cameras.set(camera.name, {...this.cameras.get(camera.name), ...camera, problem: camera.problem});
    this.changed();
  }

  connect(connection) {
    if (this.connection === connection)
      return;
    this.connection = connection;
    this.changed();
  }
}

// An event that was made before the list was asked is older than what the list says.
function takeState(camera, {state, problem, at}) {
  if (at && camera.since && at < camera.since)
    return camera;
  return {...camera, state, problem, since: state === camera.state ? camera.since : at};
}

function takeInput(camera, {input, state, at}) {
  const level = {input, state: state === 0 ? 'active' : 'inactive', since: at};
  const known = camera.inputs ?? [];
  const before = known.find(one => one.input === input);
  if (before?.since && at && at < before.since)
    return camera;
  const inputs = before ? known.map(one => (one === before ? level : one)) : [...known, level];
  return {...camera, inputs};
}

const takeDrift = (camera, {drift}) => ({...camera, drift});
