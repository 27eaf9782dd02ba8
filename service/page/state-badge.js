// A camera's state as a shape and a word; colour only adds to them.

import {h, setText, svg} from './dom.js';
import {stateText} from './texts.js';

const shapes = {
  up: () => svg('path', {d: 'M2.5 8.5 6.5 12.5 13.5 4.5', class: 'stroke'}),
  degraded: () => svg('path', {d: 'M8 1.5 15 14H1ZM8 6v4M8 11.6v.8', class: 'stroke'}),
  down: () => svg('path', {d: 'M3 3 13 13M13 3 3 13', class: 'stroke thick'}),
  unknown: () => svg('circle', {cx: 8, cy: 8, r: 5.5, class: 'stroke dashed'}),
  differs: () => svg('path', {d: 'M2 6H14M2 10H14M11 2 5 14', class: 'stroke'}),
  active: () => svg('circle', {cx: 8, cy: 8, r: 5.5, class: 'solid'}),
  inactive: () => svg('circle', {cx: 8, cy: 8, r: 5.5, class: 'stroke'}),
  skipped: () => svg('path', {d: 'M3 8H13', class: 'stroke'}),
};
const alike = {
  ok: 'up',
  warning: 'degraded',
  fault: 'down'
};

export const shape = kind => svg('svg', {viewBox: '0 0 16 16', class: 'shape', 'aria-hidden': 'true'},
  shapes[alike[kind] ?? kind]?.() ?? shapes.unknown());

export function badge(kind, text) {
  return h('span', {class: 'badge', data: {kind: alike[kind] ?? kind}}, shape(kind), h('span', {}, text));
}

export const stateBadge = state => badge(state, stateText(state));

export function renewStateBadge(element, state) {
  if (element.lastChild.textContent === stateText(state))
    return;
  element.dataset.kind = alike[state] ?? state;
  element.firstChild.replaceWith(shape(state));
  setText(element.lastChild, stateText(state));
}
