// The site: all cameras, those that need somebody first.

import {countStates, matches, needsAttention, sorted, tagsOf} from './attention.js';
import {actionButton, h, labelled, replace, setAttribute, setText} from './dom.js';
import {keep, kept} from './kept.js';
import {notice} from './notices.js';
import {SiteList} from './site-list.js';
import {shape} from './state-badge.js';
import {causeText, stateText, texts} from './texts.js';

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
    this.list = new SiteList(texts.site.title);
    this.counts = new Map();
    this.shown = h('p', {class: 'shown', role: 'status'});
    this.headline = h('p', {class: 'headline'});
    this.body = h('div', {class: 'site-body'}, this.list.element);
    this.message = h('div', {class: 'site-message'});
    this.element = h('section', {class: 'site', 'aria-label': texts.site.title},
      h('h1', {class: 'visually-hidden'}, texts.site.title), this.tools(), this.message,
      h('p', {class: 'visually-hidden', id: 'list-keys'}, texts.site.keys), this.body);
    this.list.element.setAttribute('aria-describedby', 'list-keys');
    this.unsubscribe = store.subscribe(() => this.draw());
  }

  get title() { return this.store.site?.service ?? texts.site.title; }

  tools() {
    this.search = h('input', {
      type: 'search',
      value: this.wish.words,
      placeholder: texts.site.searchHint,
      autocomplete: 'off',
      spellcheck: 'false',
      on: {input: () => this.change({words: this.search.value})},
    });
    this.tag = select(texts.site.tags, {'': texts.site.anyTag}, '', tag => this.change({tag}));
    this.sort = select(texts.site.sort, texts.site.sorts, this.wish.sort, sort => this.change({sort}));
    this.layout =
      select(texts.site.layout, texts.site.layouts, this.wish.layout, layout => this.change({layout}));
    return h('div', {class: 'site-tools', role: 'search', 'aria-label': texts.site.filterLabel},
      this.stateButtons(),
      h('div', {class: 'site-filters'}, labelled(texts.site.search, this.search, 'field grow'),
        this.tag.element, this.sort.element, this.layout.element),
      h('div', {class: 'site-summary'}, this.headline, this.shown));
  }

  stateButtons() {
    return h('div', {class: 'state-buttons', role: 'group', 'aria-label': texts.site.filterLabel},
      stateOrder.map(state => {
        const number = h('span', {class: 'number'});
        const button = actionButton(
          [state && shape(state), h('span', {}, state ? stateText(state) : texts.site.allStates), number],
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
    this.drawCounts(all);
    this.drawTags(all);
    const shown = sorted(all.filter(camera => matches(camera, wish, causeText)), wish.sort);
    setText(this.shown, store.isLoaded ? texts.site.shown(shown.length, all.length) : '');
    this.drawMessage(all, shown);
    this.list.show(shown, wish.layout);
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
  }

  headlineText(all, troubled, counts) {
    if (all.length === 0)
      return '';
    if (troubled > 0)
      return texts.site.attention(troubled);
    return counts.unknown === 0 ? texts.site.allWell : '';
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
        options({'': texts.site.anyTag, ...Object.fromEntries(tags.map(tag => [tag, tag]))}, this.wish.tag));
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
      loading: () => h('div', {class: 'skeletons', 'aria-busy': 'true'},
        h('span', {class: 'visually-hidden'}, texts.loading),
        Array.from({length: 6}, () => h('div', {class: 'skeleton'}))),
      empty: () => h(
        'div', {class: 'empty'}, h('p', {}, texts.site.empty), h('p', {class: 'hint'}, texts.site.emptyHint)),
      nothing: () => h('div', {class: 'empty'}, h('p', {}, texts.site.nothingFound),
        actionButton(texts.site.clear, () => this.clear())),
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
