// A setting's values: how its range is told, and how it is asked for.

import {texts} from './texts.js';

export const isFixed = range => range?.fixedBy !== undefined;
export const isStepped = range => range?.from !== undefined;

export function rangeText(range) {
  if (!range)
    return '';
  if (Array.isArray(range))
    return range.join(', ');
  return isFixed(range) ? texts.settings.fixed(range.fixedBy) :
                          texts.settings.from(range.from, range.to, range.step);
}

export function valueText(value) { return (value ?? '') === '' ? texts.notTold : String(value); }

// "15" and 15 are the same value: a record has texts, an adjustment may have numbers.
export const isSame = (one, other) => String(one ?? '') === String(other ?? '');

// One row a setting, whichever of a stream or of the picture it is.
export function rowsOfStream({record = {}, ranges = {}, defaults = {}, wish = {}}) {
  const fields = [...new Set([...Object.keys(record), ...Object.keys(ranges)])];
  return fields.map(field => ({
    field,
    current: record[field],
    default: defaults[field],
    range: ranges[field],
    wish: wish[field],
  }));
}

export function rowsOfAdjustments(adjustments) {
  return adjustments.map(({adjustment, current, default: standard, range, wish, code, text}) => ({
    field: adjustment,
    current,
    default: standard,
    range,
    wish,
    unreadable: code !== undefined && code !== 1 ? text ?? '' : undefined,
  }));
}

// What a PATCH holds: the edits that are not what the camera has anyway.
export function changesOf(rows, edits) {
  const changes = {};
  for (const {field, current} of rows)
    if (edits.has(field) && edits.get(field) !== '' && !isSame(edits.get(field), current))
      changes[field] = edits.get(field);
  return changes;
}

// Values to go back to. What the camera did not tell cannot be set again.
export function undoOf(results) {
  const values = {};
  for (const {field, was, is} of results)
    if (was !== null && was !== undefined && !isSame(was, is))
      values[field] = String(was);
  return values;
}
