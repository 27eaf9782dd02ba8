// One connection for events, shared by whoever listens. Runs in the shared worker, or in the page where there
// is none.

const told = ['camera', 'input', 'drift', 'heartbeat', 'resync', 'site'];
const firstPause = 500;
const longestPause = 15000;
// Two heartbeats may be missed: a connection that stands is as bad as one that is lost.
const longestSilence = 40000;

export class EventHub {
  listeners = new Map();  // whoever listens: the camera whose exchanges it wants, or ''
  source = null;
  exchangeSource = null;
  exchangesOf = '';
  state = 'connecting';
  pause = firstPause;
  isBehind = false;
  retry = null;
  silence = null;

  constructor({
    open = url => new EventSource(url),
    setTimer = (action, pause) => setTimeout(action, pause),
    clearTimer = timer => clearTimeout(timer),
  } = {}) {
    this.open = open;
    this.setTimer = setTimer;
    this.clearTimer = clearTimer;
  }

  add(listener) {
    this.listeners.set(listener, '');
    listener({kind: 'state', state: this.state});
    if (!this.source && !this.retry)
      this.connect();
  }

  remove(listener) {
    this.listeners.delete(listener);
    this.chooseExchanges();
    if (this.listeners.size === 0)
      this.disconnect();
  }

  // The exchanges of one camera at a time: each more would be a connection more. The others are told that
  // they have to ask.
  wantExchanges(listener, name) {
    if (!this.listeners.has(listener))
      return;
    this.listeners.set(listener, name);
    this.chooseExchanges();
  }

  reconnect() {
    this.pause = firstPause;
    this.disconnect();
    this.isBehind = true;
    this.connect();
  }

  disconnect() {
    this.source?.close();
    this.source = null;
    this.closeExchanges();
    this.clearTimer(this.retry);
    this.clearTimer(this.silence);
    this.retry = null;
    this.become('connecting');
  }

  connect() {
    this.retry = null;
    const source = this.open('/api/v1/events');
    this.source = source;
    source.onopen = () => this.opened();
    source.onerror = () => this.failed(source);
    for (const type of told)
      source.addEventListener(type, event => this.hear(type, event));
    this.watchSilence(source);
  }

  opened() {
    this.pause = firstPause;
    this.become('live');
    if (this.isBehind)
      this.broadcast({kind: 'event', type: 'resync', data: {}});
    this.isBehind = false;
    this.chooseExchanges();
  }

  // A browser tries again by itself after a cut, with the last id; after a refusal it does not.
  failed(source) {
    this.become('lost');
    if (source.readyState !== 2 || source !== this.source)
      return;
    this.source = null;
    this.broadcast({kind: 'refused'});
    this.retryLater();
  }

  // A new connection knows no last id: what was missed has to be asked for.
  retryLater() {
    this.clearTimer(this.silence);
    this.isBehind = true;
    this.retry = this.setTimer(() => this.connect(), this.pause);
    this.pause = Math.min(longestPause, this.pause * 2);
  }

  watchSilence(source) {
    this.clearTimer(this.silence);
    this.silence = this.setTimer(() => {
      source.close();
      this.source = null;
      this.become('lost');
      this.retryLater();
    }, longestSilence);
  }

  hear(type, event) {
    this.watchSilence(this.source);
    this.broadcast({kind: 'event', type, data: JSON.parse(event.data || '{}')});
  }

  become(state) {
    if (this.state === state)
      return;
    this.state = state;
    this.broadcast({kind: 'state', state});
  }

  broadcast(message) {
    for (const listener of [...this.listeners.keys()])
      listener(message);
  }

  chooseExchanges() {
    const wanted = [...this.listeners.values()].filter(Boolean);
    const name = wanted.includes(this.exchangesOf) ? this.exchangesOf : wanted[0] ?? '';
    if (name !== this.exchangesOf || (name && !this.exchangeSource)) {
      this.closeExchanges();
      if (name)
        this.openExchanges(name);
    }
    for (const [listener, camera] of this.listeners)
      if (camera)
        listener({kind: 'exchanges', name: camera, live: camera === this.exchangesOf});
  }

  openExchanges(name) {
    const camera = encodeURIComponent(name);
    const source = this.open(`/api/v1/events?only=${camera}&exchanges=${camera}`);
    this.exchangeSource = source;
    this.exchangesOf = name;
    source.addEventListener('exchange', event => this.tellExchange(name, event));
    source.onerror = () => {
      if (source.readyState === 2 && source === this.exchangeSource)
        this.closeExchanges();
    };
  }

  tellExchange(name, event) {
    const message = {kind: 'event', type: 'exchange', data: JSON.parse(event.data)};
    for (const [listener, camera] of this.listeners)
      if (camera === name)
        listener(message);
  }

  closeExchanges() {
    this.exchangeSource?.close();
    this.exchangeSource = null;
    this.exchangesOf = '';
  }
}
