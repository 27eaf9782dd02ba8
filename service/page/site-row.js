// A camera in the list: drawn once, then only what has changed of it.

import {activeInputs, mayHavePicture, stateKind} from './attention.js';
import {h, setAttribute, setText} from './dom.js';
import {findingOf} from './examinations.js';
import {renewStateBadge, shape, stateBadge} from './state-badge.js';
import {adviceText, causeText, texts} from './texts.js';
import {clock, momentText, sinceText} from './time.js';

export const cameraAddress = name => `#/camera/${encodeURIComponent(name)}`;

function driftText(drift) {
  if (drift?.state === 'differs')
    return texts.site.drift(drift.differences?.length ?? 0);
  return drift?.state === 'fault' ? texts.site.driftFault : '';
}

function inputsText(camera) {
  const active = activeInputs(camera);
  if (active.length > 0)
    return texts.site.inputsActive(active);
  const known = (camera.inputs ?? []).filter(({state}) => state === 'inactive');
  return known.length > 0 ? texts.site.inputsQuiet(known.length) : '';
}

function doctorChip(examination, problem) {
  if (!examination)
    return {text: '', kind: 'unknown'};
  if (!examination.ended)
    return {text: texts.doctor.runsInRow, kind: 'unknown'};
  const {text, kind, cause} = findingOf(examination);
  const isKnown = cause !== undefined && cause === problem?.cause;
  return {
    text: texts.doctor.inRow(momentText(examination.ended, clock.now()), isKnown ? texts.doctor.same : text),
    kind
  };
}

function chip(kind, className) {
  const text = h('span');
  const element = h('span', {class: `chip ${className}`, data: {kind}}, shape(kind), text);
  return {element, text};
}

function renewChip({element, text}, told, kind) {
  element.hidden = told === '';
  setText(text, told);
  if (element.dataset.kind === kind)
    return;
  element.dataset.kind = kind;
  element.firstChild.replaceWith(shape(kind));
}

export class SiteRow {
  constructor(name, pictures) {
    this.name = name;
    this.pictures = pictures;
    this.hasPicture = false;
    this.image = h('img', {alt: '', class: 'tile-image', draggable: 'false', hidden: true});
    this.noPicture = h('span', {class: 'tile-none'}, texts.site.noPicture);
    this.link = h('a', {href: cameraAddress(name), class: 'row-name'}, name);
    this.state = stateBadge('unknown');
    this.since = h('span', {class: 'since'});
    this.cause = h('p', {class: 'row-cause'});
    this.advice = h('p', {class: 'row-try'});
    this.doctor = chip('unknown', 'chip-doctor');
    this.about = h('span', {class: 'row-about'});
    this.tags = h('span', {class: 'row-about'});
    this.inputs = chip('inactive', 'chip-inputs');
    this.drift = chip('differs', 'chip-drift');
    this.element = h('div', {class: 'row', role: 'listitem'},
      h('div', {class: 'tile-frame', 'aria-hidden': 'true'}, this.image, this.noPicture),
      h('div', {class: 'row-head'}, this.link, this.about, this.tags),
      h('div', {class: 'row-state'}, this.state, this.since),
      h('div', {class: 'row-why'}, this.cause, this.doctor.element, this.advice),
      h('div', {class: 'row-chips'}, this.inputs.element, this.drift.element));
  }

  renew(camera, examination) {
    const {problem} = camera;
    this.element.dataset.state = stateKind(camera);
    renewStateBadge(this.state, stateKind(camera));
    this.renewTime(camera);
    setText(this.cause, problem ? causeText(problem) : '');
    setText(this.advice, problem ? adviceText(problem) : '');
    this.advice.title = this.advice.textContent;
    setText(this.about, [camera.model, camera.address].filter(Boolean).join(' · '));
    setText(this.tags, (camera.tags ?? []).join(' · '));
    const {text, kind} = doctorChip(examination, problem);
    renewChip(this.doctor, text, kind);
    this.doctor.element.title = text;
    renewChip(this.inputs, inputsText(camera), activeInputs(camera).length > 0 ? 'active' : 'inactive');
    renewChip(this.drift, driftText(camera.drift), 'differs');
    this.followPicture(mayHavePicture(camera));
  }

  renewTime(camera) { setText(this.since, sinceText(camera.since)); }

  followPicture(isWanted) {
    if (isWanted === this.hasPicture)
      return;
    this.hasPicture = isWanted;
    if (isWanted)
      this.pictures.watch(this.name, this.image, state => this.showPictureState(state));
    else
      this.pictures.leave(this.name);
    this.showPictureState(isWanted ? 'waiting' : 'none');
  }

  showPictureState(state) {
    this.image.hidden = state !== 'shown';
    this.noPicture.hidden = state !== 'none';
  }

  place({x, y, width, height}, position, count) {
    this.element.style.transform = `translate(${x}px, ${y}px)`;
    this.element.style.width = `${width}px`;
    this.element.style.height = `${height}px`;
    setAttribute(this.element, 'aria-posinset', position);
    setAttribute(this.element, 'aria-setsize', count);
  }

  remove() {
    this.pictures.leave(this.name);
    this.element.remove();
  }
}
