// How a part of the page tells that it failed, and what failed at the camera.

import {actionButton, h} from './dom.js';
import {shape} from './state-badge.js';
import {adviceText, causeText, texts} from './texts.js';

export function notice(kind, text, actions = {}) {
  return h('div', {class: 'notice', role: kind === 'fault' ? 'alert' : 'status', data: {kind}}, shape(kind),
    h('p', {}, text), Object.entries(actions).map(([label, click]) => actionButton(label, click)));
}

function detail(label, text, className) {
  return text ? [h('dt', {}, label), h('dd', {class: className}, text)] : [];
}

// The doctor's own advice may be for who has its command line.
const isForPage = advice => !/vornhost|(^|\s)--/i.test(advice);

export function problemDetails(problem) {
  const advice = adviceText(problem);
  return h('dl', {class: 'problem-details'}, detail(texts.problem.try, advice, 'advice'),
    problem.try !== advice && isForPage(problem.try) && detail(texts.problem.more, problem.try),
    detail(texts.problem.asked, problem.asked || texts.problem.nothingAsked, 'code'),
    detail(texts.problem.answered, problem.answered || texts.problem.nothingAnswered, 'code'));
}

export function problemPanel(problem, {kind = 'fault', actions = []} = {}) {
  const notes =
    [
      texts.phases[problem.phase] && texts.problem.showed(texts.phases[problem.phase]),
      problem.certain === false && texts.problem.uncertain,
    ].filter(Boolean)
      .join(' ');
  return h('section', {class: 'problem', 'aria-label': texts.problem.title, data: {kind}},
    h('h2', {class: 'problem-title'}, shape(kind), h('span', {}, causeText(problem))),
    h('p', {class: 'problem-notes'}, notes), problemDetails(problem),
    actions.length > 0 && h('div', {class: 'actions'}, actions));
}

export function errorText(error) {
  if (error.isAway)
    return texts.service.away;
  if (error.status === 403)
    return texts.errors.forbidden;
  if (error.problem)
    return causeText(error.problem);
  return error.message || texts.errors.unknown;
}

export function errorNotice(error, actions) {
  return error.problem ? problemPanel(error.problem) : notice('fault', errorText(error), actions);
}
