// The last exchanges with a camera: which are shown, and what waits while the list is paused.

export const isFailure = ({status, failure}) => Boolean(failure) || !(status >= 200 && status < 400);

function exchangeMatches(exchange, words, onlyFailures) {
  if (onlyFailures && !isFailure(exchange))
    return false;
  const text = [
    exchange.method, exchange.path, exchange.body, exchange.status, exchange.failure, exchange.reply
  ].join('\n').toLowerCase();
  return words.toLowerCase().split(/\s+/).filter(Boolean).every(word => text.includes(word));
}

const keyOf = ({time, method, path, ms}) => `${time} ${method} ${path} ${ms}`;

export class ExchangeList {
  shown = [];
  waiting = [];
  isPaused = false;
  clearedAt = '';

  constructor(limit = 500) { this.limit = limit; }

  // What the service keeps, whole or in part; what is known already stays in once.
  takeAll(exchanges) {
    const known = new Set([...this.shown, ...this.waiting].map(keyOf));
    this.add(exchanges.filter(exchange => exchange.time > this.clearedAt && !known.has(keyOf(exchange))));
  }

  add(exchanges) {
    const target = this.isPaused ? this.waiting : this.shown;
    target.push(...exchanges);
    target.sort((one, other) => (one.time < other.time ? -1 : one.time > other.time ? 1 : 0));
    target.splice(0, target.length - this.limit);
  }

  pause(isPaused) {
    this.isPaused = isPaused;
    if (!isPaused)
      this.add(this.waiting.splice(0));
  }

  clear() {
    this.clearedAt = this.shown[this.shown.length - 1]?.time ?? this.clearedAt;
    this.shown = [];
  }

  select(words, onlyFailures) {
    return this.shown.filter(exchange => exchangeMatches(exchange, words, onlyFailures)).reverse();
  }
}
