// A head moves for as long as it is held, and not a request longer.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {PtzDrive, vectorOfDrag, vectorOfKeys} from '../../service/page/ptz-drive.js';

// Notes all that is sent; a move is answered when the test says so.
class Head {
  constructor() {
    this.sent = [];
    this.told = [];
    this.answers = [];
    this.drive = new PtzDrive({
      move: vector => {
        this.sent.push(`move ${vector.pan} ${vector.tilt} ${vector.zoom}`);
        return new Promise((resolve, reject) => this.answers.push({resolve, reject}));
      },
      stop: () => this.sent.push('stop'),
      told: what => this.told.push(what),
      setTimer: (action, period) => {
        this.tick = action;
        this.period = period;
        return 7;
      },
      clearTimer: () => {
        this.tick = null;
      },
    });
  }

  async answer(how = 'resolve', value = undefined) {
    this.answers.shift()[how](value);
    await new Promise(resolve => {
      setImmediate(resolve);
    });
  }
}

const left = {
  pan: -50,
  tilt: 0,
  zoom: 0
};
const up = {
  pan: 0,
  tilt: 30,
  zoom: 0
};
const still = {
  pan: 0,
  tilt: 0,
  zoom: 0
};

test('held: told at once, and renewed with each period', async () => {
  const head = new Head();
  head.drive.hold(left);
  assert.deepEqual(head.sent, ['move -50 0 0']);
  assert.equal(head.period, 300);
  await head.answer();
  head.tick();
  head.drive.hold({...left});
  assert.deepEqual(head.sent, ['move -50 0 0', 'move -50 0 0']);
});

test('one request at a time: a new direction follows the answer, and the newest alone', async () => {
  const head = new Head();
  head.drive.hold(left);
  head.drive.hold({...left, pan: -60});
  head.drive.hold(up);
  assert.equal(head.sent.length, 1);
  await head.answer();
  assert.deepEqual(head.sent, ['move -50 0 0', 'move 0 30 0']);
});

test('released: stopped at once, and once more when a move was still under way', async () => {
  const head = new Head();
  head.drive.hold(left);
  head.drive.release();
  assert.deepEqual(head.sent, ['move -50 0 0', 'stop']);
  assert.equal(head.tick, null);
  await head.answer();
  assert.deepEqual(head.sent, ['move -50 0 0', 'stop', 'stop']);
  head.drive.release();
  assert.equal(head.sent.length, 3);
  assert.deepEqual(head.told, ['moving', 'still']);
});

test('back in the middle is a release', async () => {
  const head = new Head();
  head.drive.hold(up);
  await head.answer();
  head.drive.hold(still);
  assert.deepEqual(head.sent, ['move 0 30 0', 'stop']);
  assert.equal(head.drive.isMoving, false);
});

test('lost: it ends, is told, and nothing moves until it is held anew', async () => {
  const head = new Head();
  head.drive.hold(left);
  await head.answer('reject', {status: 0});
  assert.deepEqual(head.sent, ['move -50 0 0', 'stop']);
  assert.equal(head.tick, null);
  assert.deepEqual(head.told, ['moving', 'failed']);
});

test('refused: who holds the head is not stopped', async () => {
  const head = new Head();
  head.drive.hold(left);
  await head.answer('reject', {status: 409});
  assert.deepEqual(head.sent, ['move -50 0 0']);
  assert.equal(head.drive.isMoving, false);
});

test('a drag: as far out as fast, and upwards is up', () => {
  assert.deepEqual(vectorOfDrag(100, 0, 100, 80), {pan: 80, tilt: 0, zoom: 0});
  assert.deepEqual(vectorOfDrag(0, -50, 100, 80), {pan: 0, tilt: 40, zoom: 0});
  assert.deepEqual(vectorOfDrag(-300, 300, 100, 100), {pan: -71, tilt: -71, zoom: 0});
  assert.deepEqual(vectorOfDrag(6, 6, 100, 100), still);
});

test('keys add up, opposite ones cancel each other', () => {
  assert.deepEqual(vectorOfKeys(['ArrowLeft', 'ArrowUp'], 40), {pan: -40, tilt: 40, zoom: 0});
  assert.deepEqual(vectorOfKeys(['ArrowLeft', 'ArrowRight', '-'], 40), {pan: 0, tilt: 0, zoom: -40});
  assert.deepEqual(vectorOfKeys([], 40), still);
});
