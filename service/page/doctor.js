// The doctor: its checks as they run, its verdict, and what a support desk needs.

import {addressOf, cameraPath, errorOf, send} from './api.js';
import {h, replace, setText} from './dom.js';
import {readLines} from './ndjson.js';
import {errorNotice, notice, problemDetails} from './notices.js';
import {badge, shape} from './state-badge.js';
import {causeText, checkText, texts} from './texts.js';
import {millisecondsText} from './time.js';

const words = texts.doctor;

// The checks that tell something stand before those that are well; among themselves as they ended.
const weights = {
  fault: 0,
  warning: 1,
  ok: 2,
  skipped: 3
};
export const byWeight =
  checks => [...checks].sort((one, other) => weights[one.result] - weights[other.result]);

function checkItem({check, result, ms, problem, because}, root) {
  const isRoot = result === 'fault' && problem?.cause === root;
  const title = h('span', {class: 'check-name'}, checkText(check));
  const line = [
    badge(result, words.results[result]), title,
    because && h('span', {class: 'hint'}, words.because(checkText(because))),
    problem && h('span', {class: 'check-cause'}, causeText(problem)),
    isRoot && h('span', {class: 'tag'}, words.root),
    ms !== undefined && h('span', {class: 'check-time number'}, millisecondsText(ms))
  ];
  if (!problem)
    return h('li', {class: 'check', data: {result}}, h('div', {class: 'check-line'}, line));
  return h('li', {class: 'check', data: {result}},
    h('details', {open: isRoot}, h('summary', {class: 'check-line'}, line), problemDetails(problem)));
}

export class Doctor {
  constructor(name) {
    this.name = name;
    this.checks = [];
    this.button = h('button', {type: 'button', class: 'primary', on: {click: () => this.run()}}, words.run);
    this.stopButton =
      h('button', {type: 'button', hidden: true, on: {click: () => this.abort?.abort()}}, words.stop);
    this.bundle = h('input', {type: 'checkbox', id: 'doctor-bundle'});
    this.download = h('a', {
      class: 'button',
      href: addressOf(cameraPath(name, '/doctor.tar.gz')),
      download: `${name}-doctor.tar.gz`,
      hidden: true,
    },
      words.download);
    this.status = h('p', {class: 'doctor-status', role: 'status'});
    this.verdict = h('div', {'aria-live': 'polite'});
    this.list = h('ol', {class: 'checks'});
    this.element = h('div', {class: 'doctor'}, h('p', {class: 'intro'}, words.intro),
      h('div', {class: 'actions'}, this.button, this.stopButton,
        h('label', {class: 'check-field'}, this.bundle, h('span', {}, words.bundle)), this.download,
        this.status),
      h('p', {class: 'hint'}, words.bundleHint), this.verdict, this.list);
  }

  async run() {
    this.begin();
    const withBundle = this.bundle.checked;
    try {
      const response =
        await send('POST', cameraPath(this.name, '/doctor'), withBundle ? {bundle: true} : {}, {
          headers: {Accept: 'application/x-ndjson, application/problem+json'},
          signal: this.abort.signal,
        });
      if (!response.ok)
        throw await errorOf(response);
      await readLines(response, line => this.hear(line));
      this.finish(withBundle);
    } catch (error) {
      this.end();
      if (error.name !== 'AbortError')
        replace(
          this.verdict, error.status === undefined ? notice('fault', words.broken) : errorNotice(error));
    }
  }

  begin() {
    this.abort = new AbortController();
    this.checks = [];
    this.answer = null;
    replace(this.list);
    replace(this.verdict);
    this.button.disabled = true;
    this.stopButton.hidden = false;
    this.download.hidden = true;
    const begun = performance.now();
    const tick = () =>
      setText(this.status, `${words.running} ${millisecondsText(performance.now() - begun)}`);
    setText(this.status, words.running);
    // Told to eyes alone: a screen reader would read each second.
    this.status.setAttribute('aria-live', 'off');
    this.ticking = setInterval(tick, 1000);
  }

  hear(line) {
    if (line.check) {
      this.checks.push(line);
      this.list.append(checkItem(line));
    } else if (line.verdict || line.problem) {
      this.answer = line;
    }
  }

  finish(withBundle) {
    this.end();
    if (!this.answer) {
      replace(this.verdict, notice('fault', words.broken));
      return;
    }
    this.download.hidden = !withBundle;
    replace(this.verdict, this.answer.verdict ? this.verdictOf(this.answer) : errorNotice(this.answer));
    replace(this.list, byWeight(this.checks).map(check => checkItem(check, this.answer.cause)));
  }

  verdictOf({verdict, cause, checks, faults, warnings, ms}) {
    const rooted = cause && this.checks.find(({problem}) => problem?.cause === cause);
    return h('div', {class: 'verdict', data: {kind: verdict}}, shape(verdict),
      h('div', {}, h('h3', {}, rooted ? causeText(rooted.problem) : words.verdicts[verdict]),
        rooted && h('p', {}, words.verdicts[verdict]),
        h('p', {class: 'hint'}, words.counts(checks, faults, warnings, millisecondsText(ms)))));
  }

  end() {
    clearInterval(this.ticking);
    setText(this.status, '');
    setText(this.button, words.again);
    this.button.disabled = false;
    this.stopButton.hidden = true;
  }

  close() {
    this.abort?.abort();
    clearInterval(this.ticking);
  }
}
