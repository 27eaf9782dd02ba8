// What the page says: every cause, check and field has words, and times read as they should.

import assert from 'node:assert/strict';
import {readFileSync} from 'node:fs';
import {test} from 'node:test';

import {adviceText, causeText, checkText, placeText, texts} from '../../service/page/texts.js';
import {ageText, millisecondsText, momentText, ServiceClock, spanText} from '../../service/page/time.js';

const schema = name => JSON.parse(readFileSync(new URL(`../../docs/schemas/${name}.json`, import.meta.url)));
const problemSchema = schema('parts/problem').$defs;

test('every cause and phase that the product tells has words here, and no other', () => {
  assert.deepEqual(Object.keys(texts.causes).sort(), [...problemSchema.cause.enum].sort());
  assert.deepEqual(Object.keys(texts.phases).sort(), [...problemSchema.phase.enum].sort());
  for (const cause of problemSchema.cause.enum)
    assert.ok(texts.causes[cause][1] || cause === 'wrong-usage', `${cause} says nothing to try`);
});

test('every check of the doctor and every adjustment has a name', () => {
  const kinds = schema(
    'doctor').$defs.check.pattern.replace(/\(:[^)]*(\([^)]*\)[^)]*)?\)\?/g, '')
                  .match(/[a-z]+(-[a-z]+)*/g);
  assert.ok(kinds.includes('write-test') && kinds.includes('address'));
  for (const kind of kinds)
    assert.ok(texts.checks[kind], `the check ${kind} has no name`);
  for (const field of [...schema('parts/adjustment').enum, ...Object.keys(schema('parts/record').properties)])
    assert.ok(texts.fields[field], `${field} has no name`);
});

test('inputs are counted from one for people, and streams are told in words', () => {
  assert.equal(checkText('input:0'), 'Alarm input 1');
  assert.equal(checkText('stream:0,h264,1'), 'Stream 0,h264,1');
  assert.equal(checkText('something-new'), 'something-new');
  assert.equal(placeText('stream 1,mpeg4,0'), 'Input 2 · MPEG-4 · stream 1');
  assert.equal(placeText('adjustments'), 'Picture and lens');
});

test('what is not certain is hedged, and an unknown cause keeps the service\'s advice', () => {
  assert.equal(causeText({cause: 'busy', certain: true}), 'The camera says that it is busy');
  assert.equal(causeText({cause: 'busy', certain: false}), 'Probably: the camera says that it is busy');
  assert.match(causeText({cause: 'brand-new', certain: true}), /brand-new/);
  assert.equal(adviceText({
    cause: 'brand-new', try:
      'do this'
  }),
    'do this');
});

test('spans, ages and durations', () => {
  const spans = [
    [-5, '0 s'], [59999, '59 s'], [60000, '1 min'], [3599999, '59 min'], [3600000, '1 h'],
    [5400000, '1 h 30 min'], [86400000, '1 d'], [93600000, '1 d 2 h'], [950400000, '11 d']
  ];
  for (const [span, text] of spans)
    assert.equal(spanText(span), text);
  assert.deepEqual([ageText(-3), ageText(1949), ageText(61000)], ['0.0 s', '1.9 s', '1 min']);
  assert.deepEqual([0.46, 9.94, 12.6, 999, 1500, 12000].map(millisecondsText),
    ['0.5 ms', '9.9 ms', '13 ms', '999 ms', '1.5 s', '12 s']);
});

test('a moment of today has no date', () => {
  const now = new Date(2026, 10, 26, 14, 5);
  assert.equal(momentText(new Date(2026, 10, 26, 9, 7), now), '09:07');
  assert.equal(momentText(new Date(2026, 10, 25, 23, 59), now), '2026-11-25 23:59');
});

test('ages go by the service\'s clock, and a late answer does not set it back', () => {
  let local = 1000000;
  const clock = new ServiceClock(() => local);
  const iso = time => new Date(time).toISOString();
  assert.equal(clock.age(iso(local - 3000)), 3000);
  clock.hear(iso(local + 60000));
  local += 5000;
  clock.hear(iso(local + 57000));
  clock.hear('nonsense');
  assert.equal(clock.age(iso(local + 59000)), 1000);
  assert.equal(clock.age(iso(local + 90000)), 0);
  // The browser's clock is set forward: after a few heartbeats the ages are right again.
  local += 100000;
  for (let heard = 0; heard < 8; heard += 1)
    clock.hear(iso(local - 40000));
  assert.equal(clock.age(iso(local - 42000)), 2000);
});
