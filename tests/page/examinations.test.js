// The doctor's examinations: few at a time, each kept until the next one has ended.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {byWeight, Examinations, findingOf, rootOf} from '../../service/page/examinations.js';
import {texts} from '../../service/page/texts.js';

const fault = (check, cause) => ({check, result: 'fault', problem: {cause, certain: true}});
const nextTurn = () => new Promise(resolve => {
  setImmediate(resolve);
});

// Each camera's doctor answers when the test says so.
class Hospital {
  running = new Map();
  asked = [];
  told = 0;
  examinations = new Examinations(() => {
    this.told += 1;
  }, {
    now: () => 5,
    ask: (name, withBundle, hear, signal) => new Promise((resolve, reject) => {
      this.asked.push(name);
      this.running.set(name, {hear, resolve, reject});
      signal.addEventListener('abort', () => this.fail(name, new Error('aborted')));
    }),
  });

  async answer(name, ...lines) {
    const {hear, resolve} = this.running.get(name);
    this.running.delete(name);
    lines.forEach(hear);
    resolve();
    await nextTurn();
  }

  fail(name, error) {
    this.running.get(name)?.reject(error);
    this.running.delete(name);
  }

  finding(name) { return findingOf(this.examinations.of(name)); }
}

test('what the doctor found stands before what is well, and one check alone is to be looked at first', () => {
  const checks =
    ['ok', 'skipped', 'warning', 'fault', 'ok'].map((result, index) => ({check: String(index), result}));
  assert.deepEqual(byWeight(checks).map(({check}) => check), ['3', '2', '0', '4', '1']);
  const streams = ['stream:0,h264,0', 'stream:0,h264,1'].map(check => fault(check, 'stream-off'));
  assert.equal(rootOf({checks: streams, answer: {cause: 'stream-off'}}), streams[0]);
  assert.equal(rootOf({checks: streams, answer: undefined}), undefined);
});

test('many cameras: two at a time, each result kept, and counted', async () => {
  const hospital = new Hospital();
  const {examinations} = hospital;
  const all = examinations.examineAll(['gate', 'hall', 'dock', 'yard']);
  assert.deepEqual([...hospital.running.keys()], ['gate', 'hall']);
  await hospital.answer(
    'hall', fault('stream:0,h264,0', 'stream-off'), {verdict: 'fault', cause: 'stream-off'});
  assert.deepEqual([...hospital.running.keys()], ['gate', 'dock']);
  assert.equal(examinations.round.done, 1);
  await hospital.answer('gate', {check: 'address', result: 'ok'}, {verdict: 'ok'});
  hospital.fail('dock', {status: 503, message: 'busy'});
  await nextTurn();
  await hospital.answer('yard', {verdict: 'ok'});
  await all;
  assert.equal(texts.doctor.round(examinations.round),
    '4 cameras examined; 1 with a fault, 0 with a warning, 1 not examined');
  assert.deepEqual(['hall', 'gate', 'dock'].map(name => hospital.finding(name).text),
    ['The stream is switched off at the camera', 'Nothing is wrong.', 'busy']);
});

test('stopped: nobody else is examined, and what was found before stays', async () => {
  const hospital = new Hospital();
  const {examinations} = hospital;
  const first = examinations.examine('gate');
  await hospital.answer('gate', {verdict: 'ok'});
  await first;
  const all = examinations.examineAll(['gate', 'hall', 'dock']);
  assert.deepEqual([...examinations.running.keys()], ['gate', 'hall']);
  examinations.stopAll();
  await all;
  assert.deepEqual([hospital.asked.length, examinations.running.size], [3, 0]);
  assert.deepEqual([hospital.finding('gate').kind, examinations.of('hall')], ['ok', undefined]);
  assert.match(texts.doctor.round(examinations.round), /^Stopped: 0 of 3 examined/);
});

test('an examination that breaks off says so, and does not run twice at once', async () => {
  const hospital = new Hospital();
  const first = hospital.examinations.examine('gate');
  assert.equal(await hospital.examinations.examine('gate'), null);
  await hospital.answer('gate', {check: 'address', result: 'ok'});
  await first;
  assert.deepEqual(hospital.finding('gate'), {kind: 'unknown', text: texts.doctor.broken});
});
