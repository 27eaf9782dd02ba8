// What the doctor found of each camera, kept for as long as the tab is open, whoever asked for it.

import {cameraPath, errorOf, send} from './api.js';
import {readLines} from './ndjson.js';
import {errorText} from './notices.js';
import {withPictureSlot} from './picture-slots.js';
import {causeText, texts} from './texts.js';
import {clock} from './time.js';

const atOnce = 2;

// It holds its connection for seconds: it takes one of those that small pictures have.
const askDoctor = (name, withBundle, hear, signal) => withPictureSlot('tile', async () => {
  signal.throwIfAborted();
  const response = await send('POST', cameraPath(name, '/doctor'), withBundle ? {bundle: true} : {},
    {headers: {Accept: 'application/x-ndjson, application/problem+json'}, signal});
  if (!response.ok)
    throw await errorOf(response);
  await readLines(response, hear);
});

// Several checks may tell the cause that the verdict names: the first of the gravest is where to begin.
const weights = {
  fault: 0,
  warning: 1,
  ok: 2,
  skipped: 3
};
export const byWeight =
  checks => [...checks].sort((one, other) => weights[one.result] - weights[other.result]);
export const rootOf = ({checks, answer}) =>
  byWeight(checks).find(({problem}) => problem && problem.cause === answer?.cause);

// What an ended examination found, in a few words.
export function findingOf(examination) {
  const {answer, error} = examination;
  if (error)
    return {kind: 'unknown', text: error.status === undefined ? texts.doctor.broken : errorText(error)};
  const problem = answer.problem ?? rootOf(examination)?.problem;
  return {
    cause: problem?.cause,
    kind: answer.verdict ?? 'fault',
    text: problem ? causeText(problem) : texts.doctor.verdicts[answer.verdict]
  };
}

export class Examinations {
  running = new Map();  // by camera
  ended = new Map();
  round = null;

  constructor(changed, {ask = askDoctor, now = () => clock.now()} = {}) {
    Object.assign(this, {changed, ask, now});
  }

  of(name) { return this.running.get(name) ?? this.ended.get(name); }

  async examine(name, withBundle = false) {
    if (this.running.has(name))
      return null;
    const examination = {checks: [], withBundle, begun: this.now(), abort: new AbortController()};
    const {signal} = examination.abort;
    this.running.set(name, examination);
    this.changed();
    await this.ask(name, withBundle, line => this.hear(examination, line), signal).catch(error => {
      examination.error = error;
    });
    // What was stopped leaves the one before as it was.
    if (!signal.aborted)
      this.end(name, examination);
    this.running.delete(name);
    this.changed();
    return examination;
  }

  hear(examination, line) {
    if (line.check)
      examination.checks.push(line);
    else if (line.verdict || line.problem)
      examination.answer = line;
    this.changed();
  }

  end(name, examination) {
    examination.ended = this.now();
    if (!examination.answer)
      examination.error ??= new Error();
    this.ended.set(name, examination);
  }

  stop(name) { this.running.get(name)?.abort.abort(); }

  // A camera that is being examined already is left to that.
  async examineAll(names) {
    const round = {names, done: 0, isRunning: true, found: {fault: 0, warning: 0, ok: 0, unknown: 0}};
    const left = [...names];
    this.round = round;
    const next = async () => {
      while (round.isRunning && left.length > 0) {
        const examination = await this.examine(left.shift());
        if (!round.isRunning)
          return;
        round.done += 1;
        if (examination)
          round.found[findingOf(examination).kind] += 1;
      }
    };
    await Promise.all(Array.from({length: atOnce}, next));
    round.isRunning = false;
    this.changed();
  }

  stopAll() {
    this.round.isRunning = false;
    this.round.names.forEach(name => this.stop(name));
    this.changed();
  }
}
