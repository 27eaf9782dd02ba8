// What an alarm input's changes of the last hour make of a line: spans of time with one level each.

import {hour} from './time.js';

const opposite = {
  active: 'inactive',
  inactive: 'active'
};

// Before the first change the level was the other one; without any change it is what it is now.
export function spansOf(changes, now, level, length = hour) {
  const begin = now - length;
  const inside = changes.map(({time, state}) => ({at: Date.parse(time), state}))
                   .filter(({at}) => at <= now)
                   .sort((one, other) => one.at - other.at);
  const before = inside.filter(({at}) => at <= begin).pop();
  const later = inside.filter(({at}) => at > begin);
  const first = before?.state ?? (later.length > 0 ? opposite[later[0].state] ?? 'unknown' : level);
  const marks = [{at: begin, state: first}, ...later];
  const spans = [];
  marks.forEach(({at, state}, index) => {
    const to = marks[index + 1]?.at ?? now;
    const last = spans[spans.length - 1];
    if (last?.state === state)
      last.to = to;
    else if (to > at)
      spans.push({from: at, to, state});
  });
  return spans;
}

// How often the level has become another one since then; a gap in what is known is no change.
export function changesSince(changes, begin) {
  let level = opposite[changes[0]?.state];
  return changes
    .filter(({time, state}) => {
      const isChange = state !== 'unknown' && level !== undefined && state !== level;
      level = state === 'unknown' ? level : state;
      return isChange && Date.parse(time) > begin;
    })
    .length;
}

// A pulse of half a second is far narrower than a dot: it gets the least width that can be seen.
export function barsOf(spans, now, width, level = 'active', length = hour, least = 1.5) {
  const scale = width / length;
  const begin = now - length;
  return spans.filter(({state}) => state === level).map(({from, to}) => {
    const size = Math.max(least, (to - from) * scale);
    return {x: Math.min(width - size, (from - begin) * scale), width: size};
  });
}
