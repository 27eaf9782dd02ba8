// Presets and patterns of a head.

import {cameraPath, post} from './api.js';
import {actionButton, h, setText} from './dom.js';
import {errorText} from './notices.js';
import {texts} from './texts.js';

const words = texts.ptz;
const presetCalls =
  [['controller.callPreset', 'call'], ['controller.setPreset', 'keep'], ['controller.clearPreset', 'forget']];
const patternCalls = [
  ['controller.selectPattern', 'play'], ['controller.startPatternRecord', 'record'],
  ['controller.stopPatternRecord', 'end']
];
const digits = 10;

export class PtzPlaces {
  constructor(name, ptz, operations) {
    this.name = name;
    this.known = new Set(operations.map(({operation}) => operation));
    this.status = h('p', {class: 'ptz-status', role: 'status'});
    this.element =
      h('div', {class: 'ptz-places'}, this.group(words.presets, words.preset, ptz.presets, presetCalls),
        this.group(words.patterns, words.pattern, ptz.patterns, patternCalls), this.status);
  }

  group(title, label, count, calls) {
    const known = calls.filter(([operation]) => this.known.has(operation));
    if (!count || known.length === 0)
      return null;
    const number = h('input',
      {type: 'number', min: 1, max: count, step: 1, value: '1', inputmode: 'numeric', 'aria-label': label});
    return h('fieldset', {}, h('legend', {}, title),
      h('div', {class: 'button-row'}, number,
        known.map(
          ([operation, what]) => actionButton(texts.ptz[what],
            () => number.reportValidity() && this.call(operation, Number(number.value), texts.ptz[what])))));
  }

  callPreset(digit) { this.call(presetCalls[0][0], digit === 0 ? digits : digit, words.call); }

  async call(operation, number, what) {
    try {
      const answer =
        await post(cameraPath(this.name, '/calls'), {operation, arguments: [String(number)]}, {once: true});
      const isDone = answer.code === undefined || answer.code === 1;
      this.tell(isDone ? words.done(what, number) : words.refused(answer.text), isDone);
    } catch (error) {
      this.tell(words.refused(errorText(error)), false);
    }
  }

  tell(text, isDone) {
    setText(this.status, text);
    this.status.dataset.kind = isDone ? 'still' : 'fault';
  }
}
