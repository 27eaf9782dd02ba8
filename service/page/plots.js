// Plots of the last hour, with a value under the pointer or the arrow keys, and a table of the same.

import {h, headRow, replace, setText, svg} from './dom.js';
import {boundedTop, dotPath, gapsOf, linePath, nearestPoint, niceScale, plotOf, timeTicks} from './plot-geometry.js';
import {texts} from './texts.js';
import {clockText, hour, minute} from './time.js';

const words = texts.history;
const width = 640;
const height = 150;
const left = 44;
const bottom = 22;
const top = 8;
const longestGap = 150000;

function axes(scale, from, to, unit) {
  const y = value => height - (value / scale.top) * height;
  return [
    scale.ticks.map(
      tick => [svg('line', {x1: 0, x2: width, y1: y(tick), y2: y(tick), class: 'grid-line'}),
        svg('text', {x: -8, y: y(tick) + 4, class: 'axis-text', 'text-anchor': 'end'}, String(tick)),
  ]),
    svg('text', {x: 4, y: 10, class: 'axis-text'}, unit),
    timeTicks(from, to).map(time => {
      const x = ((time - from) / (to - from)) * width;
      return svg('text', {
        x,
        y: height + 17,
        class: 'axis-text',
        'text-anchor': x < 20 ? 'start' :
          x > width - 20      ? 'end' :
                                'middle'
      },
        clockText(time));
    }),
  ];
}

// Told in words where there is room: an empty stretch would be taken for an outage.
function gapBands(points, from, to) {
  const x = time => ((time - from) / (to - from)) * width;
  return gapsOf(points.map(({time}) => time), from, to, longestGap - minute).map(gap => {
    const [begin, end] = [x(gap.from), x(gap.to)];
    return [
      svg('rect', {x: begin, y: 0, width: end - begin, height, class: 'plot-gap'}),
      end - begin > 90 &&
        svg('text', {x: (begin + end) / 2, y: height / 2, class: 'axis-text', 'text-anchor': 'middle'},
          words.notMeasured)
    ];
  });
}

export class Plot {
  // `series`: [{name, className, value(sample), text(value)}], the first is what the pointer follows; `more`
  // stands in the table alone.
  constructor({title, hint, unit, series, more = [], pointText, label, isLost = () => false}) {
    Object.assign(this, {unit, series, pointText, label, isLost});
    this.columns = [...series, ...more];
    this.readout = h('p', {class: 'readout number', 'aria-live': 'polite'});
    this.canvas = h('div', {
      class: 'plot-canvas',
      tabindex: '0',
      role: 'group',
      'aria-label': title,
      on: {
        pointermove: event => this.follow(event),
        pointerleave: () => this.leave(),
        keydown: event => this.step(event),
        blur: () => this.leave(),
      }
    });
    this.table = h('details', {}, h('summary', {}, words.table), this.tableBody = h('div'));
    this.table.addEventListener('toggle', () => this.drawTable());
    this.element = h('section', {class: 'plot', 'aria-label': title},
      h('div', {class: 'plot-head'}, h('h3', {}, title), this.readout), h('p', {class: 'hint'}, hint),
      series.length > 1 &&
        h('ul', {class: 'legend'},
          series.map(({name, className}) => h('li', {},
                       svg('svg', {viewBox: '0 0 24 8', 'aria-hidden': 'true'},
                         svg('path', {d: 'M1 4H23', class: `plot-line ${className}`})),
                       name))),
      this.canvas, this.table);
  }

  take(samples, now) {
    this.samples = samples;
    const [from, to] = [now - hour, now];
    if (samples.length === 0) {
      replace(this.canvas, h('p', {class: 'empty'}, words.none));
      this.points = [];
      return;
    }
    const highest = boundedTop(samples.flatMap(sample => this.series.map(({value}) => value(sample))));
    const scale = niceScale(highest);
    const lines = this.series.map(({value, className}) => ({
      className,
      points: plotOf({
        points: samples.map(sample => ({time: Date.parse(sample.time), value: value(sample), sample})),
        from,
        to,
        top: scale.top,
        width,
        height
      }),
    }));
    this.points = lines[0].points;
    this.draw(scale, lines, from, to);
    this.leave();
    this.drawTable();
  }

  draw(scale, lines, from, to) {
    this.cursor = svg('line', {y1: 0, y2: height, class: 'plot-cursor', visibility: 'hidden'});
    const latest = this.samples[this.samples.length - 1];
    replace(this.canvas,
      svg('svg', {
        viewBox: `${- left} ${- top} ${width + left + 8} ${height + top + bottom}`,
        role: 'img',
        'aria-label': this.label(latest),
      },
        gapBands(this.points, from, to), axes(scale, from, to, this.unit),
        [...lines].reverse().map(
          ({points,
            className}) => [svg('path', {d: linePath(points, longestGap), class: `plot-line ${className}`}),
            svg('path', {d: dotPath(points, longestGap), class: `plot-line plot-dot ${className}`})]),
        this.points.filter(({sample}) => this.isLost(sample)).map(({x}) => svg('path', {
          d: `M${x - 4} ${height - 8}L${x + 4} ${height}M${x + 4} ${height - 8}L${x - 4} ${height}`,
          class: 'plot-lost'
        })),
        this.cursor));
  }

  follow(event) {
    const box = this.canvas.getBoundingClientRect();
    const x = ((event.clientX - box.left) / box.width) * (width + left + 8) - left;
    this.point(nearestPoint(this.points, x));
  }

  step(event) {
    const direction = {ArrowLeft: -1, ArrowRight: 1}[event.key];
    if (!direction || this.points.length === 0)
      return;
    event.preventDefault();
    const index = this.pointed ? this.points.indexOf(this.pointed) + direction : this.points.length - 1;
    this.point(this.points[Math.min(this.points.length - 1, Math.max(0, index))]);
  }

  point(point) {
    if (!point)
      return;
    this.pointed = point;
    this.cursor.setAttribute('x1', point.x);
    this.cursor.setAttribute('x2', point.x);
    this.cursor.setAttribute('visibility', 'visible');
    setText(this.readout, words.at(clockText(point.time), this.pointText(point.sample)));
  }

  leave() {
    this.pointed = null;
    this.cursor?.setAttribute('visibility', 'hidden');
    const latest = this.points[this.points.length - 1];
    setText(this.readout, latest ? words.at(clockText(latest.time), this.pointText(latest.sample)) : '');
  }

  drawTable() {
    if (!this.table.open)
      return;
    replace(this.tableBody,
      h('table', {class: 'plain'}, headRow([words.time, ...this.columns.map(({name}) => name)]),
        h('tbody', {},
          [...this.samples].reverse().map(
            sample => h('tr', {}, h('th', {scope: 'row', class: 'number'}, clockText(sample.time)),
              this.columns.map(
                ({value, text = String}) => h('td', {class: 'number'}, text(value(sample)))))))));
  }
}
