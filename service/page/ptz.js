// Moving a head by pointer, touch and keys.

import {ApiError, cameraPath, errorOf, send} from './api.js';
import {actionButton, h, labelled, setText, svg} from './dom.js';
import {errorText} from './notices.js';
import {isMoveKey, PtzDrive, vectorOfDrag, vectorOfKeys} from './ptz-drive.js';
import {PtzPlaces} from './ptz-places.js';
import {texts} from './texts.js';

const words = texts.ptz;
const client =
  [...crypto.getRandomValues(new Uint8Array(12))].map(byte => byte.toString(16).padStart(2, '0')).join('');
const longestMoveRequest = 2000;
const speedStep = 10;
const shortestMove = 250;
const restingTime = 700;

async function sendMove(name, vector) {
  const response = await send('POST', cameraPath(name, '/move'), vector, {
    headers: {'X-Client': client},
    once: true,
    priority: 'high',
    signal: AbortSignal.timeout(longestMoveRequest),
  });
  if (!response.ok)
    throw await errorOf(response);
}

// keepalive: it gets out although the page is being left.
function sendStop(name) {
  send('DELETE', cameraPath(name, '/move'), undefined, {
    headers: {'X-Client': client},
    once: true,
    keepalive: true,
    priority: 'high',
  }).catch(() => {});
}

export class Ptz {
  constructor(name, ptz, operations, renewCamera) {
    this.name = name;
    this.renewCamera = renewCamera;
    this.keys = new Set();
    this.end = () => this.letGo();
    // What is pressed next takes the focus, and has begun by then.
    this.left = event => event.currentTarget === this.holder && this.letGo();
    this.drive = new PtzDrive({
      move: vector => sendMove(name, vector),
      stop: () => sendStop(name),
      told: (what, error) => this.tell(what, error),
    });
    this.places = new PtzPlaces(name, ptz, operations);
    this.status = h('p', {class: 'ptz-status', role: 'status'}, words.still);
    this.position = h('p', {class: 'ptz-position'});
    this.speed = h(
      'input', {type: 'range', min: 5, max: 100, step: 5, value: '50', on: {input: () => this.tellSpeed()}});
    this.speedTold = h('output', {class: 'number'});
    this.element = h('section', {class: 'ptz card', 'aria-label': words.title}, h('h2', {}, words.title),
      this.position, h('p', {class: 'hint', data: {only: 'view'}}, words.mayNot),
      h('div', {data: {needs: 'operate'}}, h('div', {class: 'ptz-desk'}, this.pad(), this.side()),
        this.status, this.places.element, h('p', {class: 'hint', id: 'ptz-hint'}, words.hint)));
    this.tellSpeed();
    this.followPage();
  }

  pad() {
    this.knob = svg('circle', {cx: 100, cy: 100, r: 22, class: 'pad-knob'});
    const arrow = turn =>
      svg('path', {d: 'M100 14 110 28H90Z', transform: `rotate(${turn} 100 100)`, class: 'pad-arrow'});
    this.field = h('div', {
      class: 'ptz-pad',
      tabindex: '0',
      role: 'application',
      'aria-label': words.pad,
      'aria-describedby': 'ptz-hint',
      on: {
        pointerdown: event => this.press(event),
        pointermove: event => this.drag(event),
        pointerup: this.end,
        pointercancel: this.end,
        lostpointercapture: this.end,
        contextmenu: event => event.preventDefault(),
        keydown: event => this.keyDown(event),
        blur: this.left,
      },
    },
      svg('svg', {viewBox: '0 0 200 200', 'aria-hidden': 'true'},
        svg('circle', {cx: 100, cy: 100, r: 98, class: 'pad-rim'}), [0, 90, 180, 270].map(arrow), this.knob));
    return this.field;
  }

  side() {
    return h('div', {class: 'ptz-side'},
      h('div', {class: 'button-row'}, this.holdButton(words.zoomOut, words.zoomOut, {zoom: -1}),
        this.holdButton(words.zoomIn, words.zoomIn, {zoom: 1})),
      h('div', {class: 'button-row'}, this.holdButton(words.left, '←', {pan: -1}),
        this.holdButton(words.up, '↑', {tilt: 1}), this.holdButton(words.down, '↓', {tilt: -1}),
        this.holdButton(words.right, '→', {pan: 1})),
      labelled([words.speed, ' ', this.speedTold], this.speed),
      actionButton(words.stop, () => this.stopNow(), {class: 'stop'}));
  }

  // Moves for as long as it is pressed, by pointer or by Enter and Space.
  holdButton(label, sign, axes) {
    const start = ({currentTarget}) => {
      clearTimeout(this.tap);
      this.begun = performance.now();
      this.holder = currentTarget;
      this.drive.hold(this.scaled(axes));
    };
    const isPress = event => event.key === 'Enter' || event.key === ' ';
    return h('button', {
      type: 'button',
      class: 'hold',
      'aria-label': label,
      on: {
        pointerdown: event => {
          if (event.button !== 0)
            return;
          event.currentTarget.setPointerCapture(event.pointerId);
          start(event);
        },
        pointerup: () => this.letGoOfTap(),
        pointercancel: this.end,
        lostpointercapture: () => this.tap || this.letGo(),
        contextmenu: event => event.preventDefault(),
        blur: this.left,
        keydown: event => {
          if (!isPress(event))
            return;
          event.preventDefault();
          if (!event.repeat)
            start(event);
        },
        keyup: event => isPress(event) && this.letGoOfTap(),
      },
    },
      sign);
  }

  scaled({pan = 0, tilt = 0, zoom = 0}) {
    const speed = Number(this.speed.value);
    return {pan: pan * speed, tilt: tilt * speed, zoom: zoom * speed};
  }

  press(event) {
    if (event.button !== 0)
      return;
    this.field.focus();
    this.field.setPointerCapture(event.pointerId);
    this.isDragging = true;
    this.holder = this.field;
    this.drag(event);
  }

  drag(event) {
    if (!this.isDragging)
      return;
    const box = this.field.getBoundingClientRect();
    const radius = box.width / 2;
    const x = event.clientX - box.left - radius;
    const y = event.clientY - box.top - radius;
    this.moveKnob(x / radius, y / radius);
    this.drive.hold(vectorOfDrag(x, y, radius, Number(this.speed.value)));
  }

  moveKnob(x, y) {
    const reach = Math.max(1, Math.hypot(x, y));
    this.knob.setAttribute('cx', 100 + (x / reach) * 74);
    this.knob.setAttribute('cy', 100 + (y / reach) * 74);
  }

  keyDown(event) {
    if (event.ctrlKey || event.altKey || event.metaKey)
      return;
    const {key} = event;
    // A key that repeats must not begin again what has been ended while it was held.
    if (isMoveKey(key) && event.repeat)
      event.preventDefault();
    else if (isMoveKey(key))
      this.holdKey(key);
    else if (key === ' ')
      this.stopNow();
    else if (key === 'PageUp' || key === 'PageDown')
      this.changeSpeed(key === 'PageUp' ? speedStep : -speedStep);
    else if (/^[0-9]$/.test(key))
      this.places.callPreset(Number(key));
    else
      return;
    event.preventDefault();
  }

  holdKey(key) {
    this.keys.add(key);
    this.holder = this.field;
    this.drive.hold(vectorOfKeys(this.keys, Number(this.speed.value)));
  }

  tellSpeed() { setText(this.speedTold, words.percent(this.speed.value)); }

  changeSpeed(step) {
    this.speed.value = String(Number(this.speed.value) + step);
    this.tellSpeed();
    if (this.keys.size > 0)
      this.drive.hold(vectorOfKeys(this.keys, Number(this.speed.value)));
  }

  // However short the press, the head is seen to move.
  letGoOfTap() { this.tap = setTimeout(() => this.letGo(), this.begun + shortestMove - performance.now()); }

  letGo() {
    clearTimeout(this.tap);
    this.tap = undefined;
    this.rest();
    this.drive.release();
  }

  rest() {
    this.isDragging = false;
    this.keys.clear();
    this.moveKnob(0, 0);
  }

  // Stops also where nothing is held here: the head may still be on its way to a preset.
  stopNow() {
    const wasMoving = this.drive.isMoving;
    this.letGo();
    if (!wasMoving)
      sendStop(this.name);
  }

  followPage() {
    this.leaving = new AbortController();
    const {signal} = this.leaving;
    const {end} = this;
    addEventListener('keyup', event => this.keyUp(event), {signal});
    addEventListener('blur', end, {signal});
    addEventListener('pagehide', end, {signal});
    addEventListener('offline', () => this.connectionLost(), {signal});
    document.addEventListener('visibilitychange', () => document.hidden && end(), {signal});
    document.addEventListener('freeze', end, {signal});
  }

  keyUp({key}) {
    // With Shift let go in between, a plus ends as an equals sign.
    const ended = key === '+' || key === '=' ? ['+', '='] : [key];
    if (!ended.some(one => this.keys.has(one)))
      return;
    for (const one of ended)
      this.keys.delete(one);
    this.drive.hold(vectorOfKeys(this.keys, Number(this.speed.value)));
  }

  tell(what, error) {
    this.element.dataset.moving = what === 'moving';
    if (what === 'still')
      setTimeout(this.renewCamera, restingTime);
    setText(this.status, what === 'failed' ? this.failureText(error) : texts.ptz[what]);
    this.status.dataset.kind = what === 'failed' ? 'fault' : what;
    if (what === 'failed')
      this.rest();
  }

  failureText(error) {
    if (!(error instanceof ApiError) || error.isAway)
      return words.lost;
    if (error.status === 409 && error.holder)
      return words.held(error.holder);
    return words.refused(errorText(error));
  }

  // Lost events mean a lost service: the head stops there by itself, and nothing here claims otherwise.
  connectionLost() {
    if (!this.drive.isMoving)
      return;
    this.letGo();
    setText(this.status, words.lost);
  }

  renew(camera) {
    const place = camera.position;
    setText(this.position, place ? words.position(place.pan, place.tilt, place.zoom) : '');
  }

  close() {
    this.letGo();
    this.leaving.abort();
  }
}
