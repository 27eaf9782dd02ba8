// Streams and adjustments: what they are, what they may be, and setting them.

import {cameraPath, patch} from './api.js';
import {actionButton, h, headRow, replace, setText} from './dom.js';
import {errorNotice} from './notices.js';
import {badge} from './state-badge.js';
import {fieldText, texts} from './texts.js';
import {changesOf, isFixed, isSame, isStepped, rangeText, rowsOfAdjustments, rowsOfStream, undoOf, valueText} from './values.js';

const words = texts.settings;

function withUnit(field, value) {
  const unit = texts.units[field];
  const text = valueText(value);
  return unit && text !== texts.notTold ? `${text} ${unit}` : text;
}

// What was typed stays in `edits` although the table is drawn anew.
function editor(row, edits, changed) {
  const label = words.newValue(fieldText(row.field));
  const value = edits.get(row.field) ?? String(row.current ?? '');
  const take = event => {
    edits.set(row.field, event.target.value);
    changed(row.field);
  };
  if (Array.isArray(row.range)) {
    const known = row.range.map(String);
    const choices = known.includes(value) ? known : [value, ...known];
    return h('select', {'aria-label': label, value, on: {change: take}},
      choices.map(choice => h('option', {value: choice}, choice)));
  }
  if (!isStepped(row.range))
    return h('input', {type: 'text', 'aria-label': label, value, on: {input: take}});
  const {from, to, step} = row.range;
  return h(
    'input', {type: 'number', 'aria-label': label, min: from, max: to, step, value, on: {input: take}});
}

class SettingsGroup {
  constructor(title, path, renewCamera) {
    Object.assign(this, {path, renewCamera});
    this.rows = [];
    this.edits = new Map();
    this.told = new Map();
    this.body = h('tbody');
    this.count = h('span', {class: 'hint'});
    this.setButton = h('button', {type: 'submit', class: 'primary'}, words.set);
    this.undoButton = actionButton(words.undo, () => this.undo(), {hidden: true});
    this.discard = actionButton(words.discard, () => this.drop());
    this.failure = h('div', {'aria-live': 'polite'});
    this.element =
      h('form', {class: 'settings-group', novalidate: true, on: {submit: event => this.submit(event)}},
        h('h3', {}, title), this.table(title),
        h('div', {class: 'actions', data: {needs: 'operate'}}, this.setButton, this.discard, this.undoButton,
          this.count),
        this.failure);
  }

  table(title) {
    const heads = headRow(Object.values(words.head));
    heads.querySelector('th:nth-child(3)').dataset.needs = 'operate';
    return h('table', {class: 'stacking settings-table'}, h('caption', {class: 'visually-hidden'}, title),
      heads, this.body);
  }

  renew(rows) {
    const text = JSON.stringify(rows);
    if (text === this.drawn)
      return;
    this.drawn = text;
    this.rows = rows;
    this.draw();
  }

  // The table is drawn anew under the fingers of whoever types: the focus goes back to where it was.
  draw() {
    const focused = this.body.contains(document.activeElement) ?
      document.activeElement.closest('tr')?.dataset.field :
      undefined;
    replace(this.body, this.rows.map(row => this.drawRow(row)));
    if (focused)
      this.controlIn(focused)?.focus();
    this.showCount();
  }

  drawRow(row) {
    const {head} = words;
    const cell = (label, attributes, ...children) =>
      h('td', {...attributes, data: {label, ...attributes.data}}, ...children);
    const standard = row.default === undefined ? '' : valueText(row.default);
    return h('tr', {data: {field: row.field}},
      h('th', {scope: 'row'}, fieldText(row.field), this.outcome(row.field)),
      cell(head.now, {class: 'number'},
        row.unreadable === undefined ? withUnit(row.field, row.current) : words.unreadable(row.unreadable)),
      cell(head.wanted, {data: {needs: 'operate'}}, this.control(row)),
      cell(head.standard, {class: 'number'}, standard, this.defaultButton(row)),
      cell(head.may, {class: 'range'}, rangeText(row.range)),
      cell(head.wish, {class: 'number'}, this.wishOf(row)));
  }

  control(row) {
    if (!row.range || isFixed(row.range) || row.unreadable !== undefined)
      return '–';
    return editor(row, this.edits, () => this.showCount());
  }

  defaultButton(row) {
    if (row.default === undefined || !row.range || isFixed(row.range) || isSame(row.default, row.current))
      return null;
    const label = words.useDefault(row.default);
    const use = () => {
      this.edits.set(row.field, String(row.default));
      this.draw();
    };
    return actionButton(
      '↺', use, {class: 'small', data: {needs: 'operate'}, 'aria-label': label, title: label});
  }

  wishOf(row) {
    if (row.wish === undefined)
      return '';
    return isSame(row.wish, row.current) ? valueText(row.wish) : badge('differs', valueText(row.wish));
  }

  // Its line is there before it says something: no row may move under the hands of whoever sets values.
  outcome(field) {
    const told = this.told.get(field);
    return h('div', {class: 'outcome', title: told?.text}, told && badge(told.kind, told.text));
  }

  get changes() { return changesOf(this.rows, this.edits); }

  showCount() {
    const number = Object.keys(this.changes).length;
    this.setButton.disabled = number === 0 || this.isBusy;
    this.discard.hidden = number === 0;
    setText(this.setButton, number > 1 ? words.setAll(number) : words.set);
    setText(this.count, number ? words.changed(number) : '');
  }

  drop() {
    this.edits.clear();
    this.draw();
  }

  submit(event) {
    event.preventDefault();
    const {changes} = this;
    // What was not touched may be off its own steps: the camera has it so.
    const wrong = Object.keys(changes)
                    .map(field => this.controlIn(field))
                    .find(control => control && !control.checkValidity());
    if (wrong)
      wrong.reportValidity();
    else
      this.set(changes, false);
  }

  controlIn(field) {
    return this.body.querySelector(`tr[data-field="${CSS.escape(field)}"] :is(input, select)`);
  }

  undo() { this.set(this.backTo, true); }

  async set(values, isUndo) {
    if (Object.keys(values).length === 0 || this.isBusy)
      return;
    this.isBusy = true;
    this.showCount();
    replace(this.failure);
    try {
      const {results} = await patch(this.path, values);
      this.take(results, isUndo);
    } catch (error) {
      if (error.results)
        this.take(error.results, isUndo);
      replace(this.failure, errorNotice(error));
    }
    this.isBusy = false;
    this.showCount();
    this.renewCamera();
  }

  take(results, isUndo) {
    this.told.clear();
    for (const {field, asked, is} of results) {
      const kind = isSame(asked, is) ? 'ok' : 'warning';
      this.told.set(field, {kind, text: (isUndo ? words.undone : words.outcome)(asked, valueText(is))});
      this.edits.delete(field);
      const row = this.rows.find(one => one.field === field);
      if (row)
        row.current = is;
    }
    this.backTo = isUndo ? {} : undoOf(results);
    this.undoButton.hidden = Object.keys(this.backTo).length === 0;
    this.drawn = '';
    this.draw();
  }
}

export class Settings {
  constructor(name, renewCamera) {
    this.name = name;
    this.renewCamera = renewCamera;
    this.groups = new Map();
    this.empty = h('p', {class: 'empty'});
    this.list = h('div');
    this.element = h('div', {class: 'settings'}, this.empty, this.list);
  }

  renew(camera) {
    const {streams = [], adjustments = []} = camera;
    setText(this.empty, camera.state === 'down' ? words.noneDown : words.none);
    this.empty.hidden = streams.length + adjustments.length > 0;
    if (adjustments.length > 0)
      this.group('adjustments', words.adjustments, '/adjustments').renew(rowsOfAdjustments(adjustments));
    for (const stream of streams)
      this.group(stream.stream, words.stream(stream.stream), `/streams/${stream.stream}`)
        .renew(rowsOfStream(stream));
  }

  group(key, title, rest) {
    if (!this.groups.has(key)) {
      const group = new SettingsGroup(title, cameraPath(this.name, rest), this.renewCamera);
      this.groups.set(key, group);
      this.list.append(group.element);
    }
    return this.groups.get(key);
  }
}
