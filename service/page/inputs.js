// Alarm inputs: how they stand, and how they stood in the last hour.

import {h, replace, svg} from './dom.js';
import {badge} from './state-badge.js';
import {texts} from './texts.js';
import {clock, hour, preciseClockText, sinceText} from './time.js';
import {barsOf, changesSince, spansOf} from './timeline.js';

const words = texts.inputs;
const width = 600;
const height = 20;

function lineOf(input, changes, now) {
  const spans = spansOf(changes, now, input.state);
  const bars = level =>
    barsOf(spans, now, width, level)
      .map(
        bar => svg('rect', {x: bar.x, y: 2, width: bar.width, height: height - 4, class: `time-${level}`}));
  const gaps = bars('unknown');
  const quarters = [1, 2, 3].map(
    part => svg('line', {x1: width * part / 4, x2: width * part / 4, y1: 0, y2: height, class: 'grid-line'}));
  const count = changesSince(changes, now - hour);
  const told = (count ? words.changes(count) : words.noChange) + (gaps.length ? words.gap : '');
  return [
    svg('svg', {
      viewBox: `0 0 ${width} ${height}`,
      class: 'time-line',
      preserveAspectRatio: 'none',
      role: 'img',
      'aria-label': `${words.name(input.input)}: ${told}`,
    },
      svg('rect', {x: 0, y: height - 3, width, height: 3, class: 'time-base'}), quarters, gaps,
      bars('active')),
    h('span', {class: 'hint'}, told)
  ];
}

function changeList(changes) {
  const last = [...changes].reverse().slice(0, 200);
  return h('ul', {class: 'change-list', tabindex: '0'},
    last.map(({time, input, state}) => h('li', {}, h('time', {datetime: time}, preciseClockText(time)),
               ` ${words.name(input)} `, badge(state, texts.inputs[state]))));
}

export class Inputs {
  constructor() {
    this.changes = [];
    this.list = h('div');
    this.all = h('div');
    this.details = h('details', {}, h('summary', {}, words.list), this.all);
    this.details.addEventListener('toggle', () => this.drawChanges());
    this.element = h('section', {class: 'inputs card', 'aria-label': words.title}, h('h2', {}, words.title),
      this.list, this.details);
  }

  takeHistory(history) {
    this.changes = history.inputs ?? [];
    this.draw();
  }

  hear({input, state, at}) {
    this.changes = [...this.changes, {time: at, input, state: state === 0 ? 'active' : 'inactive'}];
  }

  renew(camera) {
    this.camera = camera;
    this.draw();
  }

  draw() {
    const now = clock.now();
    const inputs = this.camera?.inputs ?? [];
    this.details.hidden = this.changes.length === 0;
    if (inputs.length === 0)
      replace(this.list, h('p', {class: 'hint'}, words.none));
    else
      replace(this.list, inputs.map(input => this.row(input, now)));
    this.drawChanges();
  }

  row(input, now) {
    return h('div', {class: 'input-row'},
      h('div', {class: 'input-name'}, h('strong', {}, words.name(input.input)),
        badge(input.state, texts.inputs[input.state]), h('span', {class: 'since'}, sinceText(input.since))),
      lineOf(input, this.changes.filter(change => change.input === input.input), now));
  }

  drawChanges() {
    if (this.details.open)
      replace(this.all, changeList(this.changes));
  }
}
