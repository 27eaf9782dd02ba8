// What is asked of the camera and what it answers, as it happens.

import {cameraPath, get} from './api.js';
import {curlText, maskBody, maskSecrets} from './curl.js';
import {h, replace, setText} from './dom.js';
import {followExchanges, onMessage} from './events.js';
import {ExchangeList, isFailure} from './exchange-list.js';
import {errorNotice} from './notices.js';
import {badge} from './state-badge.js';
import {texts} from './texts.js';
import {millisecondsText, preciseClockText} from './time.js';

const pollPeriod = 2000;
const mostDrawn = 200;

function statusOf(exchange) {
  const text = exchange.status ? String(exchange.status) : exchange.failure || texts.exchanges.noReply;
  return badge(isFailure(exchange) ? 'fault' : 'ok', text);
}

async function copy(text, button, place) {
  try {
    await navigator.clipboard.writeText(text);
    setText(button, texts.exchanges.copied);
    setTimeout(() => setText(button, texts.exchanges.copy), 2000);
  } catch {
    replace(place, h('p', {class: 'hint'}, texts.exchanges.copyFailed), h('pre', {tabindex: '0'}, text));
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
    this.filter = h('input', {
      type: 'search',
      placeholder: texts.exchanges.filterHint,
      autocomplete: 'off',
      on: {input: () => this.draw()}
    });
    this.failures = h('input', {type: 'checkbox', on: {change: () => this.draw()}});
    this.pauseButton = h('button', {type: 'button', 'aria-pressed': 'false', on: {click: () => this.pause()}},
      texts.exchanges.pause);
    this.state = h('p', {class: 'hint', role: 'status'});
    this.failure = h('div');
    this.list = h('ol', {class: 'exchange-list'});
    this.element = h('div', {class: 'exchanges'}, h('p', {class: 'intro'}, texts.exchanges.intro),
      this.tools(), this.state, this.failure, this.list);
  }

  tools() {
    return h('div', {class: 'actions'},
      h('label', {class: 'field grow'}, h('span', {}, texts.exchanges.filter), this.filter),
      h('label', {class: 'check-field'}, this.failures, h('span', {}, texts.exchanges.failures)),
      this.pauseButton,
      h('button', {
        type: 'button',
        on: {
          click: () => {
            this.exchanges.clear();
            this.draw();
          }
        }
      },
        texts.exchanges.clear));
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
    this.exchanges.takeAll([message.data]); // the stream begins with what the service keeps
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
    setText(this.pauseButton, this.exchanges.isPaused ? texts.exchanges.resume : texts.exchanges.pause);
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
    let next = this.list.firstElementChild;
    for (const line of kept.values())
      if (line === next)
        next = next.nextElementSibling;
      else
        this.list.insertBefore(line, next);
  }

  stateText(shown, all) {
    const waiting =
      this.exchanges.isPaused ? ` · ${texts.exchanges.paused(this.exchanges.waiting.length)}` : '';
    const polling = this.isPolling ? ` · ${texts.exchanges.polling}` : '';
    const count = all === 0 ? (this.isLoaded ? texts.exchanges.none : texts.loading) :
      shown === 0           ? texts.exchanges.nothingFound :
                              texts.exchanges.shown(shown, all);
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
      h('dl', {}, part(texts.exchanges.body, exchange.body && maskBody(exchange.body)),
        part(texts.exchanges.failure, exchange.failure), part(texts.exchanges.reply, exchange.reply)),
      h('button', {type: 'button', on: {click: event => copy(text, event.currentTarget, place)}},
        texts.exchanges.copy),
      place);
  }

  close() {
    this.hide();
    cancelAnimationFrame(this.frame);
  }
}
