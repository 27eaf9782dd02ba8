// The site's list: which cameras, in which order, and which of them are drawn.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {attentionRank, countStates, inOrderOf, matches, needsAttention, sorted, stateKind, tagsOf} from '../../service/page/attention.js';
import {causeText, stateText} from '../../service/page/texts.js';
import {gridOf, indexAfterKey, placeOf, visibleRange} from '../../service/page/virtual-list.js';

const at = minute => `2026-11-26T06:${String(minute).padStart(2, '0')}:00.000Z`;
const cameras = [
  {name: 'gate 10', state: 'up', since: at(50), tags: ['outside'], address: '10.0.0.1', model: 'D850'},
  {name: 'gate 2', state: 'up', since: at(10), tags: ['outside', 'north']},
  {name: 'yard', state: 'unknown', since: at(20)},
  {name: 'roof', state: 'down', since: at(30), problem: {cause: 'wrong-password', certain: true}},
  {name: 'hall', state: 'degraded', since: at(59), problem: {cause: 'stream-off', certain: false}},
  {name: 'lab', state: 'up', since: at(40), drift: {state: 'differs', differences: [{}]}},
  {name: 'dock', state: 'down', since: at(35), problem: {cause: 'refused', certain: true}},
  {name: 'door', state: 'up', since: at(1), inputs: [{input: 1, state: 'active'}]},
  {name: 'mast', state: 'up', since: at(2), problem: {cause: 'stream-off', certain: true}},
];
const names = list => list.map(({name}) => name);

test('what needs somebody comes first, the latest trouble before older ones, the rest by name', () => {
  assert.deepEqual(names(sorted(cameras, 'attention')),
    ['dock', 'roof', 'hall', 'yard', 'mast', 'lab', 'door', 'gate 2', 'gate 10']);
  assert.deepEqual(names(sorted(cameras, 'name')),
    ['dock', 'door', 'gate 2', 'gate 10', 'hall', 'lab', 'mast', 'roof', 'yard']);
  assert.equal(sorted(cameras, 'since')[0].name, 'hall');
  assert.deepEqual(names(sorted(cameras, 'file')), names(cameras));
});

test('an open input ranks a working camera, and is no trouble; a problem of one is', () => {
  const door = cameras.find(({name}) => name === 'door');
  assert.ok(attentionRank(door) < attentionRank(cameras[0]));
  assert.deepEqual(names(cameras.filter(needsAttention)), ['roof', 'hall', 'lab', 'dock', 'mast']);
  const kinds = cameras.map(stateKind);
  assert.deepEqual([kinds[8], kinds[4], kinds[0]], ['warning', 'degraded', 'up']);
  assert.equal(stateText(kinds[8]), 'Working, with a warning');
});

test('under the pointer all stay in their places, and who is new comes behind', () => {
  const [one, two, three] = cameras;
  assert.deepEqual(
    names(inOrderOf([two, one], [one, three, {...two, state: 'down'}])), names([two, one, three]));
});

test('a search finds every word, in whatever member, and the cause in words', () => {
  const found = wish => names(cameras.filter(camera => matches(camera, wish, causeText)));
  assert.deepEqual(found({words: 'D850 GATE'}), ['gate 10']);
  assert.deepEqual(found({words: 'password'}), ['roof']);
  assert.deepEqual(found({words: 'stream-off'}), ['hall', 'mast']);
  assert.deepEqual(found({words: 'switched off'}), ['hall', 'mast']);
  assert.deepEqual(found({words: 'gate nowhere'}), []);
  assert.deepEqual(found({state: 'degraded'}), ['hall', 'mast']);
  assert.deepEqual(found({tag: 'north'}), ['gate 2']);
  assert.deepEqual(found({state: 'down', words: 'o'}), ['roof', 'dock']);
  assert.deepEqual(tagsOf(cameras), ['north', 'outside']);
  assert.deepEqual(countStates(cameras), {down: 2, degraded: 2, unknown: 1, up: 4});
});

test('of a thousand rows those on the screen are drawn, and two beside them', () => {
  const rows = gridOf({width: 1200, count: 1000, cellWidth: 0, cellHeight: 76});
  assert.deepEqual([rows.columns, rows.rows, rows.height], [1, 1000, 76000]);
  assert.deepEqual(visibleRange(rows, 0, 760), {first: 0, end: 12});
  assert.deepEqual(visibleRange(rows, 7600, 760), {first: 98, end: 112});
  assert.deepEqual(visibleRange(rows, 75240, 760), {first: 988, end: 1000});
  assert.deepEqual(visibleRange(rows, -5000, 760), {first: 0, end: 0});
  assert.deepEqual(visibleRange(gridOf({width: 1200, count: 0, cellHeight: 76}), 0, 760), {first: 0, end: 0});
});

test('pictures stand in as many columns as fit, the last row may be short', () => {
  const grid = gridOf({width: 1000, count: 10, cellWidth: 248, cellHeight: 226});
  assert.deepEqual([grid.columns, grid.rows, grid.cellWidth], [4, 3, 250]);
  assert.deepEqual(placeOf(grid, 5), {x: 250, y: 226});
  assert.deepEqual(visibleRange(grid, 500, 200, 0), {first: 8, end: 10});
  assert.equal(gridOf({width: 100, count: 3, cellWidth: 248, cellHeight: 1}).columns, 1);
});

test('keys lead through the list and never out of it', () => {
  const grid = gridOf({width: 1000, count: 10, cellWidth: 248, cellHeight: 226});
  const after = (index, key) => indexAfterKey(grid, index, key);
  assert.deepEqual(
    [after(5, 'ArrowDown'), after(5, 'ArrowUp'), after(5, 'ArrowRight'), after(5, 'ArrowLeft')],
    [9, 1, 6, 4]);
  assert.deepEqual([after(7, 'ArrowDown'), after(0, 'ArrowLeft'), after(3, 'x')], [null, null, null]);
  assert.deepEqual(
    [after(5, 'PageDown'), after(5, 'PageUp'), after(5, 'Home'), after(5, 'End')], [9, 0, 0, 9]);
  const rows = gridOf({width: 1000, count: 10, cellWidth: 0, cellHeight: 76});
  assert.equal(indexAfterKey(rows, 5, 'ArrowRight'), null);
});
