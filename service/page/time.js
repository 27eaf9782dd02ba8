// Times as people read them. The service's clock decides how old something is, not the browser's.

import {texts} from './texts.js';

const second = 1000;
export const minute = 60 * second;
export const hour = 60 * minute;
const day = 24 * hour;

export const pause = period => new Promise(resolve => {
  setTimeout(resolve, period);
});

export function spanText(milliseconds) {
  const span = Math.max(0, milliseconds);
  if (span < minute)
    return `${Math.floor(span / second)} s`;
  if (span < hour)
    return `${Math.floor(span / minute)} min`;
  if (span < day) {
    const minutes = Math.floor((span % hour) / minute);
    return `${Math.floor(span / hour)} h` + (minutes ? ` ${minutes} min` : '');
  }
  const hours = Math.floor((span % day) / hour);
  return `${Math.floor(span / day)} d` + (hours && span < 10 * day ? ` ${hours} h` : '');
}

// A picture's age: tenths matter while it is young.
export function ageText(milliseconds) {
  const age = Math.max(0, milliseconds);
  return age < 10 * second ? `${(age / second).toFixed(1)} s` : spanText(age);
}

const pad = (number, width = 2) => String(number).padStart(width, '0');

export function clockText(time) {
  const date = new Date(time);
  return `${pad(date.getHours())}:${pad(date.getMinutes())}`;
}

export function preciseClockText(time) {
  const date = new Date(time);
  return `${clockText(date)}:${pad(date.getSeconds())}.${pad(date.getMilliseconds(), 3)}`;
}

function dateText(time) {
  const date = new Date(time);
  return `${date.getFullYear()}-${pad(date.getMonth() + 1)}-${pad(date.getDate())}`;
}

// Today's times need no date.
export function momentText(time, now) {
  const isToday = dateText(time) === dateText(now);
  return isToday ? clockText(time) : `${dateText(time)} ${clockText(time)}`;
}

export function millisecondsText(milliseconds) {
  if (milliseconds >= 10 * second)
    return `${(milliseconds / second).toFixed(0)} s`;
  if (milliseconds >= second)
    return `${(milliseconds / second).toFixed(1)} s`;
  return `${milliseconds >= 10 ? Math.round(milliseconds) : Number(milliseconds.toFixed(1))} ms`;
}

const remembered = 8;

// How far the service's clock is ahead of the browser's. An answer is always late, never early: of those that
// came last, the largest difference is the nearest to the truth. Older ones are forgotten, since either clock
// may be set.
export class ServiceClock {
  constructor(now = () => Date.now()) {
    this.localNow = now;
    this.differences = [];
  }

  hear(serviceTime) {
    const ahead = Date.parse(serviceTime) - this.localNow();
    if (Number.isFinite(ahead))
      this.differences = [...this.differences, ahead].slice(-remembered);
  }

  get ahead() { return this.differences.length > 0 ? Math.max(...this.differences) : 0; }

  now() { return this.localNow() + this.ahead; }

  age(serviceTime) { return Math.max(0, this.now() - Date.parse(serviceTime)); }
}

export const clock = new ServiceClock();

export function sinceText(since) {
  const now = clock.now();
  return since ? texts.since(momentText(since, now), spanText(now - Date.parse(since))) : '';
}
