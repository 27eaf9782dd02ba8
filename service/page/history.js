// The last hour of a camera: how fast it answered, how many pictures came, and what happened.

import {h, replace} from './dom.js';
import {Plot} from './plots.js';
import {stateBadge} from './state-badge.js';
import {causeText, texts} from './texts.js';
import {clock, millisecondsText, preciseClockText} from './time.js';

const span = value => (Number.isFinite(value) ? millisecondsText(value) : '–');
const rate = value => (Number.isFinite(value) ? String(Number(value.toFixed(1))) : '–');

function answersPlot() {
  const {history} = texts;
  return new Plot({
    title: history.answers,
    hint: history.answersHint,
    unit: history.milliseconds,
    series: [
      {name: history.median, className: 'plot-first', value: ({median}) => median},
      {name: history.longest, className: 'plot-second', value: ({longest}) => longest},
    ],
    isLost: ({lost}) => lost > 0,
    pointText: ({median, longest, count, lost}) =>
      history.answerPoint(span(median), span(longest), count, lost),
    label: ({median, longest}) => history.answersLabel(span(median), span(longest)),
    columns: [
      {name: history.median, text: ({median}) => span(median)},
      {name: history.longest, text: ({longest}) => span(longest)},
      {name: history.asked, text: ({count}) => String(count)},
      {name: history.lost, text: ({lost}) => String(lost)},
    ],
  });
}

function framesPlot() {
  const {history} = texts;
  return new Plot({
    title: history.frames,
    hint: history.framesHint,
    unit: history.perSecond,
    series: [{name: history.rate, className: 'plot-first', value: sample => sample.rate}],
    pointText: sample => history.framePoint(rate(sample.rate)),
    label: sample => history.framesLabel(rate(sample.rate)),
    columns: [{name: history.rate, text: sample => rate(sample.rate)}],
  });
}

export class History {
  constructor() {
    this.answers = answersPlot();
    this.frames = framesPlot();
    this.states = h('div');
    this.failure = h('div');
    this.element = h('div', {class: 'history'}, this.failure, this.answers.element, this.frames.element,
      h('section', {class: 'plot'}, h('h3', {}, texts.history.states), this.states));
  }

  take(history) {
    replace(this.failure);
    this.answers.take(history.answers ?? [], clock.now());
    this.frames.take(history.frames ?? [], clock.now());
    const states = [...(history.states ?? [])].reverse();
    replace(this.states,
      states.length === 0 ? h('p', {class: 'hint'}, texts.history.noStates) :
                            h('ul', {class: 'change-list', tabindex: '0'},
                              states.map(({time, state, problem}) =>
                                           h('li', {}, h('time', {datetime: time}, preciseClockText(time)),
                                             ' ', stateBadge(state), problem && ` ${causeText(problem)}`))));
  }

  fail(element) { replace(this.failure, element); }
}
