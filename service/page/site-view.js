// The site: all cameras, those that need somebody first.

import {countStates, matches, needsAttention, sorted, tagsOf} from './attention.js';
import {actionButton, h, labelled, replace, setAttribute, setText} from './dom.js';
import {keep, kept} from './kept.js';
import {notice} from './notices.js';
import {SiteList} from './site-list.js';
import {shape} from './state-badge.js';
import {causeText, stateText, texts} from './texts.js';

const words = texts.site;
const stateOrder = ['', 'down', 'degraded', 'unknown', 'up'];

function options(entries, chosen) {
  return Object.entries(entries).map(
    ([value, text]) => h('option', {value, selected: value === chosen}, text));
}

function select(label, entries, chosen, change) {
  const control = h('select', {on: {change: () => change(control.value)}}, options(entries, chosen));
  return {control, element: labelled(label, control)};
}

export class SiteView {
  constructor(store) {
    this.store = store;
    this.wish = {words: '', state: '', tag: '', sort: 'attention', layout: 'rows', ...kept('site')};
    this.list = new SiteList(words.title, store.examinations);
    this.counts = new Map();
    this.shown = h('p', {class: 'shown', role: 'status'});
    this.headline = h('p', {class: 'headline'});
    this.makeExamination();
    this.body = h('div', {}, this.list.element);
    this.message = h('div');
    this.element = h('section', {class: 'site', 'aria-label': words.title},
      h('h1', {class: 'visually-hidden'}, words.title), this.tools(), this.message,
      h('p', {class: 'visually-hidden', id: 'list-keys'}, words.keys), this.body);
    this.list.element.setAttribute('aria-describedby', 'list-keys');
    this.unsubscribe = store.subscribe(() => this.draw());
  }

  get title() { return this.store.site?.service ?? words.title; }

  tools() {
    this.search = h('input', {
      type: 'search',
      value: this.wish.words,
      placeholder: words.searchHint,
      autocomplete: 'off',
      spellcheck: 'false',
      on: {input: () => this.change({words: this.search.value})},
    });
    this.tag = select(words.tags, {'': words.anyTag}, '', tag => this.change({tag}));
    this.sort = select(words.sort, words.sorts, this.wish.sort, sort => this.change({sort}));
    this.layout = select(words.layout, words.layouts, this.wish.layout, layout => this.change({layout}));
    return h('div', {class: 'site-tools', role: 'search', 'aria-label': words.filterLabel},
      this.stateButtons(),
      h('div', {class: 'site-filters'}, labelled(words.search, this.search, 'field grow'), this.tag.element,
        this.sort.element, this.layout.element),
      h('div', {class: 'site-summary'}, this.headline, this.examineTroubled, this.progress, this.stopButton,
        this.shown, this.examineShown));
  }

  makeExamination() {
    const {examinations} = this.store;
    const examine = which => {
      examinations.examineAll(which.map(({name}) => name));
      this.draw();
      this.stopButton.focus();
    };
    const small = {class: 'small'};
    this.examineTroubled = actionButton(texts.doctor.examineTroubled,
      () => examine([...this.store.cameras.values()].filter(needsAttention)), small);
    this.examineShown = actionButton('', () => examine(this.list.cameras), small);
    this.stopButton = actionButton(texts.doctor.stop, () => examinations.stopAll(), small);
    this.progress = h('p', {class: 'examined', role: 'status'});
  }

  drawExamination(troubled, shown, all) {
    const {round} = this.store.examinations;
    const isRunning = Boolean(round?.isRunning);
    const hadFocus = document.activeElement === this.stopButton;
    this.examineTroubled.hidden = isRunning || troubled === 0;
    this.examineShown.hidden = isRunning || shown === 0;
    this.stopButton.hidden = !isRunning;
    setText(this.examineShown, texts.doctor.examineShown(shown === all));
    setText(this.progress, round ? texts.doctor.round(round) : '');
    if (hadFocus && !isRunning)
      this.examineShown.focus();
  }

  stateButtons() {
    return h('div', {class: 'state-buttons', role: 'group', 'aria-label': words.filterLabel},
      stateOrder.map(state => {
        const number = h('span', {class: 'number'});
        const button = actionButton(
          [state && shape(state), h('span', {}, state ? stateText(state) : words.allStates), number],
          () => this.change({state}), {class: 'state-button', data: {kind: state || 'all'}});
        this.counts.set(state, {button, number});
        return button;
      }));
  }

  change(part) {
    Object.assign(this.wish, part);
    keep('site', this.wish);
    this.draw();
  }

  clear() {
    this.search.value = '';
    this.change({words: '', state: '', tag: ''});
    this.search.focus();
  }

  draw() {
    const {store, wish} = this;
    const all = [...store.cameras.values()];
    const troubled = this.drawCounts(all);
    this.drawTags(all);
    const shown = sorted(all.filter(camera => matches(camera, wish, causeText)), wish.sort);
    setText(this.shown, store.isLoaded ? words.shown(shown.length, all.length) : '');
    this.drawMessage(all, shown);
    this.list.show(shown, wish.layout);
    this.drawExamination(troubled, shown.length, all.length);
  }

  drawCounts(all) {
    const counts = countStates(all);
    for (const [state, {button, number}] of this.counts) {
      const value = state ? counts[state] : all.length;
      setText(number, String(value));
      setAttribute(button, 'aria-pressed', this.wish.state === state ? 'true' : 'false');
      button.dataset.empty = value === 0;
      button.hidden = state === 'unknown' && value === 0 && this.wish.state !== 'unknown';
    }
    const troubled = all.filter(needsAttention).length;
    setText(this.headline, this.headlineText(all, troubled, counts));
    this.headline.dataset.kind = troubled > 0 ? 'down' : 'up';
    return troubled;
  }

  headlineText(all, troubled, counts) {
    if (all.length === 0)
      return '';
    if (troubled > 0)
      return words.attention(troubled);
    return counts.unknown === 0 ? words.allWell : '';
  }

  drawTags(all) {
    const tags = tagsOf(all);
    // A tag that has gone from the file must not hide everything for ever.
    if (this.store.isLoaded && this.wish.tag && !tags.includes(this.wish.tag))
      this.change({tag: ''});
    const known = tags.join('\n');
    this.tag.element.hidden = tags.length === 0;
    if (known !== this.knownTags) {
      this.knownTags = known;
      replace(this.tag.control,
        options({'': words.anyTag, ...Object.fromEntries(tags.map(tag => [tag, tag]))}, this.wish.tag));
    }
  }

  drawMessage(all, shown) {
    const kind = this.messageKind(all, shown);
    if (kind === this.messageShown)
      return;
    this.messageShown = kind;
    const make = {
      failed: () => notice(
        'fault', this.store.failure.message || texts.service.away, {[texts.retry]: () => this.store.load()}),
      loading: () => h('p', {class: 'empty', 'aria-busy': 'true'}, texts.loading),
      empty: () =>
        h('div', {class: 'empty'}, h('p', {}, words.empty), h('p', {class: 'hint'}, words.emptyHint)),
      nothing: () => h('div', {class: 'empty'}, h('p', {}, words.nothingFound),
        actionButton(words.clear, () => this.clear())),
    }[kind];
    replace(this.message, make?.());
  }

  messageKind(all, shown) {
    if (this.store.failure)
      return 'failed';
    if (!this.store.isLoaded)
      return 'loading';
    if (all.length === 0)
      return 'empty';
    return shown.length === 0 ? 'nothing' : '';
  }

  close() {
    this.unsubscribe();
    this.list.close();
  }
}
