// What is asked of the camera and what it answers, as it happens.

import {cameraPath, get} from './api.js';
import {curlText, maskBody, maskSecrets} from './curl.js';
import {actionButton, arrange, h, labelled, replace, setText} from './dom.js';
import {followExchanges, onMessage} from './events.js';
import {ExchangeList, isFailure} from './exchange-list.js';
import {errorNotice} from './notices.js';
import {badge} from './state-badge.js';
import {texts} from './texts.js';
import {millisecondsText, preciseClockText} from './time.js';

const words = texts.exchanges;
const pollPeriod = 2000;
const mostDrawn = 200;

function statusOf(exchange) {
  const text = exchange.status ? String(exchange.status) : exchange.failure || words.noReply;
  return badge(isFailure(exchange) ? 'fault' : 'ok', text);
}

async function copy(text, button, place) {
  try {
    await navigator.clipboard.writeText(text);
    setText(button, words.copied);
    setTimeout(() => setText(button, words.copy), 2000);
  } catch {
    replace(place, h('p', {class: 'hint'}, words.copyFailed), h('pre', {tabindex: '0'}, text));
  }
}

function part(label, text) {
  return text ? [h('dt', {}, label), h('dd', {}, h('pre', {tabindex: '0'}, text))] : [];
}

export class Exchanges {
  constructor(name, address) {
    Object.assign(this, {name, address});
    this.exchanges = new ExchangeList();
    this.lines = new Map();
    this.filter = h('input',
      {type: 'search', placeholder: words.filterHint, autocomplete: 'off', on: {input: () => this.draw()}});
    this.failures = h('input', {type: 'checkbox', on: {change: () => this.draw()}});
    this.pauseButton = actionButton(words.pause, () => this.pause(), {'aria-pressed': 'false'});
    this.state = h('p', {class: 'hint', role: 'status'});
    this.failure = h('div');
    this.list = h('ol', {class: 'exchange-list'});
    this.element = h('div', {class: 'exchanges'}, h('p', {class: 'intro'}, words.intro), this.tools(),
      this.state, this.failure, this.list);
  }

  tools() {
    return h('div', {class: 'actions'}, labelled(words.filter, this.filter, 'field grow'),
      h('label', {class: 'check-field'}, this.failures, words.failures), this.pauseButton,
      actionButton(words.clear, () => {
        this.exchanges.clear();
        this.draw();
      }));
  }

  // Only while its tab is shown: the service tells exchanges to whoever asks for them.
  open() {
    this.forget ??= onMessage(message => this.hear(message));
    followExchanges(this.name);
    this.load();
  }

  hide() {
    if (!this.forget)
      return;
    this.forget();
    this.forget = undefined;
    followExchanges('');
    this.poll(false);
  }

  hear(message) {
    if (message.kind === 'exchanges' && message.name === this.name)
      this.poll(!message.live);
    if (message.kind !== 'event' || message.type !== 'exchange' || message.data.name !== this.name)
      return;
    this.exchanges.takeAll([message.data]);  // the stream begins with what the service keeps
    this.drawSoon();
  }

  poll(isWanted) {
    clearInterval(this.polling);
    this.isPolling = isWanted;
    if (isWanted)
      this.polling = setInterval(() => document.hidden || this.load(), pollPeriod);
    this.drawSoon();
  }

  async load() {
    try {
      const {requests} = await get(cameraPath(this.name, '/requests'));
      replace(this.failure);
      this.exchanges.takeAll(requests);
      this.isLoaded = true;
    } catch (error) {
      replace(this.failure, errorNotice(error));
    }
    this.drawSoon();
  }

  pause() {
    this.exchanges.pause(!this.exchanges.isPaused);
    this.pauseButton.setAttribute('aria-pressed', String(this.exchanges.isPaused));
    setText(this.pauseButton, this.exchanges.isPaused ? words.resume : words.pause);
    this.draw();
  }

  drawSoon() {
    this.frame ??= requestAnimationFrame(() => {
      this.frame = undefined;
      this.draw();
    });
  }

  draw() {
    const all = this.exchanges.shown.length;
    const shown = this.exchanges.select(this.filter.value, this.failures.checked);
    setText(this.state, this.stateText(shown.length, all));
    const drawn = shown.slice(0, mostDrawn);
    const kept = new Map();
    for (const exchange of drawn)
      kept.set(exchange, this.lines.get(exchange) ?? this.line(exchange));
    for (const [exchange, line] of this.lines)
      if (!kept.has(exchange))
        line.remove();
    this.lines = kept;
    arrange(this.list, kept.values());
  }

  stateText(shown, all) {
    const waiting = this.exchanges.isPaused ? ` · ${words.paused(this.exchanges.waiting.length)}` : '';
    const polling = this.isPolling ? ` · ${words.polling}` : '';
    const count = all === 0 ? (this.isLoaded ? words.none : texts.loading) :
      shown === 0           ? words.nothingFound :
                              words.shown(shown, all);
    return count + waiting + polling;
  }

  line(exchange) {
    const {time, method, path, ms} = exchange;
    const details = h('details', {data: {failed: isFailure(exchange)}},
      h('summary', {class: 'exchange-line'},
        h('time', {datetime: time, class: 'number'}, preciseClockText(time)), statusOf(exchange),
        h('span', {class: 'exchange-path code'}, `${method} ${maskSecrets(path)}`),
        h('span', {class: 'number'}, millisecondsText(ms))));
    details.addEventListener('toggle', () => details.append(this.details(exchange)), {once: true});
    return h('li', {}, details);
  }

  details(exchange) {
    const text = curlText(exchange, this.address());
    const place = h('div');
    return h('div', {class: 'exchange-details'},
      h('dl', {}, part(words.body, exchange.body && maskBody(exchange.body)),
        part(words.failure, exchange.failure), part(words.reply, exchange.reply)),
      actionButton(words.copy, event => copy(text, event.currentTarget, place)), place);
  }

  close() {
    this.hide();
    cancelAnimationFrame(this.frame);
  }
}
