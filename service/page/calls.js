// Calls by name, with the forms of their arguments.

import {ApiError, cameraPath, post} from './api.js';
import {controlOf, findOperations, kindOf, namedValues} from './call-form.js';
import {h, labelled, newId, replace, setText} from './dom.js';
import {errorNotice, notice, problemPanel} from './notices.js';
import {may} from './session.js';
import {badge} from './state-badge.js';
import {texts} from './texts.js';
import {millisecondsText} from './time.js';

const words = texts.calls;
const mostAnswers = 20;

function argumentField({name, form, takes}, keep) {
  const id = newId('argument');
  const {choices, ...attributes} = controlOf({form});
  const common = {
    id,
    'aria-describedby': `${id}-help`,
    value: keep.get(name) ?? choices?.[0] ?? '',
    on: {input: event => keep.set(name, event.target.value)}
  };
  const control = choices ?
    h('select', common, choices.map(choice => h('option', {value: choice}, choice))) :
    h('input', {type: 'text', ...attributes, ...common, autocomplete: 'off', spellcheck: 'false'});
  return {
    control,
    element: h('div', {class: 'argument'},
      h('label',
        { for: id
        },
        name),
      control, h('p', {id: `${id}-help`, class: 'hint'}, `${takes}. ${words.form(form)}`))
  };
}

function answerItem(operation, answer) {
  const {code, text, values = [], result, record, ms, problem, error} = answer;
  const isGood = !error && (code === undefined ? !problem : code === 1);
  const told = isGood ? words.success : error || words.failed(code, text);
  const named = namedValues(operation.outputs, values, words.value);
  const rows = [
    ...named, ...(result === undefined ? [] : [{name: words.result, value: result}]),
    ...Object.entries(record ?? {}).map(([name, value]) => ({name, value}))
  ];
  return h('li', {class: 'answer'},
    h('div', {class: 'answer-head'}, badge(isGood ? 'ok' : 'fault', told),
      h('code', {}, [operation.operation, ...answer.arguments ?? []].join(' ')),
      ms !== undefined && h('span', {class: 'number hint'}, millisecondsText(ms))),
    rows.length > 0 &&
      h('dl', {class: 'values'},
        rows.map(({name, value}) => [h('dt', {}, name),
                   h('dd', {class: 'code'}, Array.isArray(value) ? value.join(', ') : String(value))])),
    problem && problemPanel(problem));
}

export class Calls {
  constructor(name, operations) {
    Object.assign(this, {name, operations});
    this.typed = new Map();
    this.find = h('input',
      {type: 'search', autocomplete: 'off', spellcheck: 'false', on: {input: () => this.drawChoices()}});
    this.choices = h('select',
      {size: 14, class: 'operations', 'aria-label': words.operation, on: {change: () => this.pick()}});
    this.found = h('p', {class: 'hint', role: 'status'});
    this.form = h('form', {class: 'call-form', on: {submit: event => this.submit(event)}},
      h('p', {class: 'empty'}, words.pick));
    this.answers = h('ol', {class: 'answers', 'aria-live': 'polite'});
    this.element = h('div', {class: 'calls'}, h('p', {class: 'intro'}, words.intro),
      h('div', {class: 'call-desk'}, h('div', {}, labelled(words.find, this.find), this.found, this.choices),
        this.form),
      this.answers);
    this.drawChoices();
  }

  drawChoices() {
    const chosen = this.choices.value;
    const found = findOperations(this.operations, this.find.value, may('operate'));
    setText(this.found, words.found(found.length));
    const optionsOf = kind => found.filter(one => kindOf(one) === kind).map(({operation,
      index,
      does}) => h('option', {value: String(index), title: does}, operation));
    replace(this.choices,
      Object.entries(words.kinds).map(([kind, label]) => h('optgroup', {label}, optionsOf(kind))));
    this.choices.value = chosen;
  }

  pick() {
    const operation = this.operations[Number(this.choices.value)];
    if (!operation)
      return;
    this.operation = operation;
    this.fields = operation.arguments.map(argument => argumentField(argument, this.typed));
    this.button = h('button', {type: 'submit', class: 'primary'}, words.call);
    this.question = h('div', {hidden: true});
    replace(this.form, h('h3', {class: 'code'}, operation.operation), h('p', {}, operation.does),
      h('p', {}, badge(operation.writes ? 'warning' : 'skipped', words.kinds[kindOf(operation)])),
      this.fields.map(({element}) => element),
      this.fields.length === 0 && h('p', {class: 'hint'}, words.noArguments),
      h('div', {class: 'actions'}, this.button), this.question);
  }

  submit(event) {
    event.preventDefault();
    if (!this.operation || this.button.disabled)
      return;
    if (kindOf(this.operation) === 'interrupts')
      this.askReally();
    else
      this.call();
  }

  askReally() {
    const answer = isWanted => () => {
      this.question.hidden = true;
      this.button.focus();
      if (isWanted)
        this.call();
    };
    replace(this.question,
      notice('warning', words.dangerous, {[words.leave]: answer(false), [words.really]: answer(true)}));
    this.question.hidden = false;
    this.question.querySelector('button').focus();
  }

  async call() {
    const {operation, button} = this;
    const values = this.fields.map(({control}) => control.value);
    button.disabled = true;
    setText(button, words.calling);
    try {
      const answer =
        await post(cameraPath(this.name, '/calls'), {operation: operation.operation, arguments: values});
      this.tell(answerItem(operation, answer));
    } catch (error) {
      const hasAnswer = error instanceof ApiError && error.answer.error;
      this.tell(hasAnswer ? answerItem(operation, {...error.answer, arguments: values}) :
                            h('li', {class: 'answer'}, errorNotice(error)));
    }
    button.disabled = false;
    setText(button, words.call);
  }

  tell(item) {
    this.answers.prepend(item);
    while (this.answers.children.length > mostAnswers)
      this.answers.lastElementChild.remove();
  }
}
