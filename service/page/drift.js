// How the camera is set against how the site file wants it, and mending either.

import {cameraPath, patch, post} from './api.js';
import {actionButton, h, headRow, replace} from './dom.js';
import {errorNotice, notice} from './notices.js';
import {fieldText, placeText, texts} from './texts.js';
import {clock, momentText} from './time.js';
import {isSame, valueText} from './values.js';

const words = texts.drift;
const streamOf = of => (of.startsWith('stream ') ? of.slice('stream '.length) : null);

// How a difference is set at the camera, and how what the camera has becomes the wish.
export function settingRequest(name, {of, field, wanted}) {
  const stream = streamOf(of);
  return {
    path: cameraPath(name, stream ? `/streams/${stream}` : '/adjustments'),
    body: {[field]: String(wanted)}
  };
}

export function wishRequest(name, {of, field, camera}) {
  const stream = streamOf(of);
  const value = {[field]: String(camera)};
  return {
    path: cameraPath(name, '/wish'),
    body: stream ? {streams: [{stream, record: value}]} : {adjustments: value}
  };
}

const hasWish = wish => [wish, ...(wish?.streams ?? [])].some(
  one => Object.keys(one?.adjustments ?? one?.record ?? {}).length > 0);

function outcomeNotice({field, asked, is}) {
  return notice(isSame(asked, is) ? 'ok' : 'warning',
    `${fieldText(field)}: ${texts.settings.outcome(asked, valueText(is))}`);
}

export class Drift {
  constructor(name, renewCamera, isWishWritable) {
    Object.assign(this, {name, renewCamera, isWishWritable});
    this.state = h('div');
    this.rows = h('div');
    this.outcome = h('div', {'aria-live': 'polite'});
    this.notWritable = h('p', {class: 'hint', data: {needs: 'admin'}}, words.notWritable);
    this.checkButton = actionButton(words.check, () => this.run('check'));
    this.syncButton =
      actionButton(words.setAll, () => this.run('sync'), {class: 'primary', data: {needs: 'operate'}});
    this.element = h('div', {class: 'drift'}, this.state, this.rows, this.outcome,
      h('div', {class: 'actions'}, this.syncButton, this.checkButton), this.notWritable);
  }

  renew(camera) {
    const text = JSON.stringify([camera.drift, camera.wish, this.isWishWritable()]);
    if (text === this.drawn)
      return;
    this.drawn = text;
    const {drift = {state: 'unknown'}, wish} = camera;
    const differences = drift.differences ?? [];
    replace(this.state, this.stateNotice(drift, hasWish(wish)),
      drift.checked && h('p', {class: 'hint'}, words.checked(momentText(drift.checked, clock.now()))),
      drift.ignored > 0 && h('p', {class: 'hint'}, words.ignored(drift.ignored)));
    replace(this.rows, differences.length > 0 && this.table(differences));
    this.syncButton.hidden = differences.length === 0;
    this.notWritable.hidden = differences.length === 0 || this.isWishWritable();
  }

  stateNotice(drift, isWished) {
    if (!isWished && drift.state !== 'differs')
      return notice('unknown', words.noWish);
    const kinds = {same: 'ok', differs: 'differs', fault: 'fault', unknown: 'unknown'};
    const text = drift.state === 'differs' ? words.differs(drift.differences.length) : words[drift.state];
    return drift.problem ? errorNotice({problem: drift.problem}) : notice(kinds[drift.state], text);
  }

  table(differences) {
    const {head} = words;
    return h('table', {class: 'stacking'},
      h('caption', {class: 'visually-hidden'}, words.differs(differences.length)),
      headRow(Object.values(head)), h('tbody', {}, differences.map(difference => this.row(difference))));
  }

  row(difference) {
    const {head} = words;
    const {of, field, wanted, camera} = difference;
    const name = fieldText(field);
    const canTake = this.isWishWritable() && camera !== null;
    return h('tr', {}, h('td', {data: {label: head.of}}, placeText(of)), h('th', {scope: 'row'}, name),
      h('td', {class: 'number', data: {label: head.wanted}}, valueText(wanted)),
      h('td', {class: 'number', data: {label: head.camera}}, valueText(camera)),
      h('td', {class: 'acts', data: {label: head.act}},
        h('div', {class: 'button-row'},
          actionButton(words.set, event => this.mend(settingRequest, difference, event),
            {data: {needs: 'operate'}, 'aria-label': words.setOne(name, wanted)}),
          canTake &&
            actionButton(words.take, event => this.mend(wishRequest, difference, event),
              {data: {needs: 'admin'}, 'aria-label': words.takeOne(name, camera)}))));
  }

  async act(button, action, done) {
    button.disabled = true;
    replace(this.outcome);
    try {
      const answer = await action();
      replace(this.outcome, done(answer));
    } catch (error) {
      replace(this.outcome, errorNotice(error));
    }
    button.disabled = false;
    this.renewCamera();
  }

  // What is written into the site file has no results.
  mend(request, difference, {currentTarget}) {
    const {path, body} = request(this.name, difference);
    return this.act(currentTarget, () => patch(path, body),
      ({results}) => results?.map(outcomeNotice) ?? notice('ok', words.taken));
  }

  run(verb) {
    const button = verb === 'sync' ? this.syncButton : this.checkButton;
    return this.act(button, () => post(cameraPath(this.name, `/${verb}`)),
      findings => findings.map(finding => this.finding(finding)));
  }

  finding({state, changes = [], differences = [], problem}) {
    const told = changes.map(outcomeNotice);
    if (problem)
      told.push(errorNotice({problem}));
    else if (state === 'same' && changes.length === 0)
      told.push(notice('ok', words.same));
    else if (state === 'differs')
      told.push(notice('differs', words.differs(differences.length)));
    return told;
  }
}
