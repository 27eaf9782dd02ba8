// Where a plot's points, lines and ticks stand.

import {minute} from './time.js';

const niceSteps = [1, 2, 2.5, 5, 10];

// The smallest round number that is not below `highest`, in at most `parts` round steps.
export function niceScale(highest, parts = 4) {
  if (!(highest > 0))
    return {top: 1, ticks: [0, 1]};
  const rough = highest / parts;
  const power = 10 ** Math.floor(Math.log10(rough));
  const step = niceSteps.map(nice => nice * power).find(candidate => candidate >= rough * (1 - 1e-9));
  const steps = Math.ceil(highest / step - 1e-9);
  return {
    top: steps * step,
    ticks: Array.from({length: steps + 1}, (_, index) => Number((index * step).toPrecision(12)))
  };
}

// One lost minute must not make all others flat: a peak far above the rest runs out of the plot's top.
export function boundedTop(values, ratio = 8) {
  const known = values.filter(Number.isFinite).sort((one, other) => one - other);
  if (known.length === 0)
    return 0;
  const usual = known[Math.min(known.length - 1, Math.floor(known.length * 0.9))];
  return Math.min(known[known.length - 1], usual > 0 ? usual * ratio : Infinity);
}

export function plotOf({points, from, to, top, width, height}) {
  const x = time => ((time - from) / (to - from)) * width;
  const y = value => height - (Math.min(value, top) / top) * height;
  return points.filter(({time}) => time >= from && time <= to)
    .map(point => ({...point, x: x(point.time), y: Number.isFinite(point.value) ? y(point.value) : null}));
}

const rounded = number => Number(number.toFixed(2));

// A gap of more than `longestGap` between two points, or a point without a value, is a gap of the line.
export function linePath(points, longestGap) {
  let path = '';
  let previous = null;
  for (const point of points) {
    if (point.y === null) {
      previous = null;
      continue;
    }
    const goesOn = previous && point.time - previous.time <= longestGap;
    path += `${goesOn ? 'L' : 'M'}${rounded(point.x)} ${rounded(point.y)}`;
    previous = point;
  }
  return path;
}

// A minute without neighbours would be a line of no length, which nobody sees: it is drawn as a dot.
export function dotPath(points, longestGap) {
  const isNear = (one, other) =>
    other !== undefined && other.y !== null && Math.abs(one.time - other.time) <= longestGap;
  return points
    .filter((point, index) =>
              point.y !== null && !isNear(point, points[index - 1]) && !isNear(point, points[index + 1]))
    .map(({x, y}) => `M${rounded(x)} ${rounded(y)}h0`)
    .join('');
}

// Where nothing was measured for longer than `longest`; each of `times` begins a minute that was.
export function gapsOf(times, from, to, longest) {
  const gaps = [];
  let end = from;
  for (const time of [...times.filter(one => one >= from), to]) {
    if (time - end > longest)
      gaps.push({from: end, to: time});
    end = time + minute;
  }
  return gaps;
}

export function nearestPoint(points, x) {
  let nearest = null;
  for (const point of points)
    if (!nearest || Math.abs(point.x - x) < Math.abs(nearest.x - x))
      nearest = point;
  return nearest;
}

export function timeTicks(from, to, period = 15 * minute) {
  const ticks = [];
  for (let time = Math.ceil(from / period) * period; time <= to; time += period)
    ticks.push(time);
  return ticks;
}
