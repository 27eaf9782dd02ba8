// The last hour of a camera: how fast it answered, how many pictures came, and what happened.

import {stateKind} from './attention.js';
import {h, replace} from './dom.js';
import {Plot} from './plots.js';
import {stateBadge} from './state-badge.js';
import {causeText, texts} from './texts.js';
import {clock, millisecondsText, preciseClockText} from './time.js';

const words = texts.history;
const span = value => (Number.isFinite(value) ? millisecondsText(value) : '–');
const rate = value => (Number.isFinite(value) ? String(Number(value.toFixed(1))) : '–');

function answersPlot() {
  return new Plot({
    title: words.answers,
    hint: words.answersHint,
    unit: words.milliseconds,
    series: [
      {name: words.median, className: 'plot-first', value: ({median}) => median, text: span},
      {name: words.longest, className: 'plot-second', value: ({longest}) => longest, text: span},
    ],
    more: [{name: words.asked, value: ({count}) => count}, {name: words.lost, value: ({lost}) => lost}],
    isLost: ({lost}) => lost > 0,
    pointText: ({median, longest, count, lost}) =>
      words.answerPoint(span(median), span(longest), count, lost),
    label: ({median, longest}) => words.answersLabel(span(median), span(longest)),
  });
}

function framesPlot() {
  return new Plot({
    title: words.frames,
    hint: words.framesHint,
    unit: words.perSecond,
    series: [{name: words.rate, className: 'plot-first', value: sample => sample.rate, text: rate}],
    pointText: sample => words.framePoint(rate(sample.rate)),
    label: sample => words.framesLabel(rate(sample.rate)),
  });
}

export class History {
  constructor() {
    this.answers = answersPlot();
    this.frames = framesPlot();
    this.states = h('div');
    this.failure = h('div');
    this.element = h('div', {class: 'history'}, this.failure, this.answers.element, this.frames.element,
      h('section', {class: 'plot'}, h('h3', {}, words.states), this.states));
  }

  take(history) {
    replace(this.failure);
    this.answers.take(history.answers ?? [], clock.now());
    this.frames.take(history.frames ?? [], clock.now());
    const states = [...(history.states ?? [])].reverse();
    replace(this.states,
      states.length === 0 ?
        h('p', {class: 'hint'}, words.noStates) :
        h('ul', {class: 'change-list', tabindex: '0'},
          states.map(
            change => h('li', {}, h('time', {datetime: change.time}, preciseClockText(change.time)), ' ',
              stateBadge(stateKind(change)), change.problem && ` ${causeText(change.problem)}`))));
  }

  fail(element) { replace(this.failure, element); }
}
