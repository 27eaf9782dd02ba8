// The doctor: its checks as they run, its verdict, and what a support desk needs.

import {addressOf, cameraPath} from './api.js';
import {actionButton, h, replace, setText} from './dom.js';
import {byWeight, findingOf, rootOf} from './examinations.js';
import {errorNotice, notice, problemDetails} from './notices.js';
import {badge, shape} from './state-badge.js';
import {causeText, checkText, texts} from './texts.js';
import {clock, millisecondsText, momentText} from './time.js';

const words = texts.doctor;

function checkItem(one, root) {
  const {check, result, ms, problem, because} = one;
  const isRoot = one === root;
  const line = [
    badge(result, words.results[result]), h('span', {class: 'check-name'}, checkText(check)),
    because && h('span', {class: 'hint'}, words.because(checkText(because))),
    problem && h('span', {class: 'check-cause'}, causeText(problem)),
    isRoot && h('span', {class: 'tag'}, words.root),
    ms !== undefined && h('span', {class: 'check-time number'}, millisecondsText(ms))
  ];
  return h('li', {class: 'check', data: {result}},
    problem ?
      h('details', {open: isRoot}, h('summary', {class: 'check-line'}, line), problemDetails(problem)) :
      h('div', {class: 'check-line'}, line));
}

export class Doctor {
  constructor(name, examinations) {
    Object.assign(this, {name, examinations});
    this.button = actionButton(words.run, () => this.run(), {class: 'primary'});
    this.stopButton = actionButton(words.stop, () => examinations.stop(name));
    this.bundle = h('input', {type: 'checkbox', id: 'doctor-bundle'});
    this.download = h('a', {
      class: 'button',
      href: addressOf(cameraPath(name, '/doctor.tar.gz')),
      download: `${name}-doctor.tar.gz`,
    },
      words.download);
    // Told to eyes alone: a screen reader would read each second.
    this.status = h('p');
    this.verdict = h('div', {'aria-live': 'polite'});
    this.list = h('ol');
    this.element = h('div', {class: 'doctor'}, h('p', {class: 'intro'}, words.intro),
      h('div', {class: 'actions'}, this.button, this.stopButton,
        h('label', {class: 'check-field'}, this.bundle, words.bundle), this.download, this.status),
      h('p', {class: 'hint'}, words.bundleHint), this.verdict, this.list);
    this.ticking = setInterval(() => this.renewStatus(), 1000);
    this.renew();
  }

  run() { this.examinations.examine(this.name, this.bundle.checked); }

  renew() {
    const examination = this.examinations.of(this.name);
    const isRunning = this.examinations.running.has(this.name);
    this.button.disabled = isRunning;
    this.stopButton.hidden = !isRunning;
    setText(this.button, examination ? words.again : words.run);
    this.download.hidden = isRunning || !examination?.withBundle || Boolean(examination.error);
    this.renewStatus();
    const isDrawn = examination === this.drawn && !isRunning && !this.wasRunning;
    if (!isDrawn)
      this.draw(examination, isRunning);
    this.drawn = examination;
    this.wasRunning = isRunning;
  }

  renewStatus() {
    const {begun} = this.examinations.running.get(this.name) ?? {};
    setText(this.status, begun ? `${words.running} ${millisecondsText(clock.now() - begun)}` : '');
  }

  // While it runs its checks are added as they end; then those that tell something stand first.
  draw(examination, isRunning) {
    const {checks = []} = examination ?? {};
    const isEnded = Boolean(examination) && !isRunning;
    replace(this.verdict, isEnded && this.verdictOf(examination));
    if (isEnded)
      replace(this.list, byWeight(checks).map(check => checkItem(check, rootOf(examination))));
    else if (examination !== this.drawn)
      replace(this.list, checks.map(check => checkItem(check)));
    else
      this.list.append(...checks.slice(this.list.children.length).map(check => checkItem(check)));
  }

  verdictOf(examination) {
    const {answer, error, ended} = examination;
    const {kind, text} = findingOf(examination);
    if (error)
      return error.status === undefined ? notice('fault', text) : errorNotice(error);
    if (answer.problem)
      return errorNotice(answer);
    const {checks, faults, warnings, ms} = answer;
    return h('div', {class: 'verdict', data: {kind}}, shape(kind),
      h('div', {}, h('h3', {}, text),
        h('p', {class: 'hint'},
          words.counts(checks, faults, warnings, millisecondsText(ms), momentText(ended, clock.now())))));
  }

  close() { clearInterval(this.ticking); }
}
