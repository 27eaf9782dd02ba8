// Small pictures: those that are watched, one each two seconds, and none while nobody can see them.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {TilePictures} from '../../service/page/tile-pictures.js';

class Screen {
  constructor(answer = ({after}) => ({number: after + 1, url: 'blob:1'})) {
    this.time = 0;
    this.asked = [];
    this.revoked = [];
    globalThis.document = {hidden: false};
    URL.revokeObjectURL = url => this.revoked.push(url);
    this.pictures = new TilePictures({
      fetch: async (name, query) => {
        this.asked.push(`${name} ${query.after}`);
        return answer(query);
      },
      now: () => this.time,
      setTimer: action => {
        this.round = action;
      },
    });
  }

  watch(name) {
    const told = [];
    const image = {dataset: {}, removeAttribute() {}};
    this.pictures.watch(name, image, state => told.push(state));
    return {image, told};
  }

  async pass(time) {
    this.time += time;
    this.round();
    await new Promise(resolve => {
      setImmediate(resolve);
    });
  }
}

test('one each two seconds of every tile, each time only what is newer', async () => {
  const screen = new Screen();
  const gate = screen.watch('gate');
  await screen.pass(0);
  screen.watch('hall');
  for (const step of [200, 1700, 200])
    await screen.pass(step);
  assert.deepEqual(screen.asked, ['gate 0', 'hall 0', 'gate 1']);
  assert.deepEqual(gate.told, ['shown', 'shown']);
});

test('nothing is asked while the page is hidden, and all is asked when it is seen again', async () => {
  const screen = new Screen();
  screen.watch('gate');
  await screen.pass(0);
  document.hidden = true;
  for (const step of [2000, 2000])
    await screen.pass(step);
  assert.deepEqual(screen.asked, ['gate 0']);
  document.hidden = false;
  screen.pictures.wake();
  await screen.pass(0);
  assert.deepEqual(screen.asked, ['gate 0', 'gate 1']);
});

test('a tile that leaves the screen asks no more, and its picture is let go', async () => {
  let arrive;
  const screen = new Screen(() => new Promise(resolve => {
    arrive = resolve;
  }));
  screen.watch('gate');
  await screen.pass(0);
  screen.pictures.leave('gate');
  arrive({number: 1, url: 'blob:late'});
  await screen.pass(3000);
  assert.deepEqual(screen.asked, ['gate 0']);
  assert.deepEqual(screen.revoked, ['blob:late']);
});

test('a camera without a picture is left alone for a while', async () => {
  const screen = new Screen(() => {
    throw new Error('503');
  });
  const {told} = screen.watch('gate');
  for (const step of [0, 2000, 6000, 2500])
    await screen.pass(step);
  assert.deepEqual(screen.asked, ['gate 0', 'gate 0']);
  assert.deepEqual(told, ['none', 'none']);
});
