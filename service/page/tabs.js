// Tabs as the keyboard knows them: arrows choose, Tab goes into the panel.

import {h} from './dom.js';

export class Tabs {
  // `tabs`: [{id, title, make()}]; a panel is made when it is first shown, and kept with all that was typed
  // in it.
  constructor(label, tabs, chosen) {
    this.tabs = tabs;
    this.chosen = chosen;
    this.panels = new Map();
    this.buttons = new Map();
    this.holders = new Map();
    for (const {id, title} of tabs) {
      const names = {id: `tab-${id}`, 'aria-controls': `panel-${id}`, 'aria-selected': 'false'};
      this.buttons.set(id,
        h('button', {type: 'button', role: 'tab', tabindex: '-1', on: {click: () => chosen(id)}, ...names},
          h('span', {}, title)));
      this.holders.set(id, h('div', {
        role: 'tabpanel',
        id: names['aria-controls'],
        'aria-labelledby': names.id,
        tabindex: '0',
        hidden: true
      }));
    }
    this.element = h('div', {class: 'tabs card'},
      h('div',
        {class: 'tab-list', role: 'tablist', 'aria-label': label, on: {keydown: event => this.step(event)}},
        [...this.buttons.values()]),
      [...this.holders.values()]);
  }

  show(id) {
    if (this.shown === id)
      return;
    this.panels.get(this.shown)?.hide?.();
    this.shown = id;
    for (const [one, button] of this.buttons) {
      button.setAttribute('aria-selected', String(one === id));
      button.tabIndex = one === id ? 0 : -1;
      this.holders.get(one).hidden = one !== id;
    }
    if (!this.panels.has(id)) {
      const panel = this.tabs.find(tab => tab.id === id).make();
      this.panels.set(id, panel);
      this.holders.get(id).append(panel.element);
    }
    this.panels.get(id).open?.();
  }

  step(event) {
    const ids = [...this.buttons.keys()];
    const index = ids.indexOf(this.shown);
    const target = {ArrowRight: index + 1, ArrowLeft: index - 1, Home: 0, End: ids.length - 1}[event.key];
    if (target === undefined)
      return;
    event.preventDefault();
    const id = ids[(target + ids.length) % ids.length];
    this.chosen(id);
    this.buttons.get(id).focus();
  }

  mark(id, text) {
    const button = this.buttons.get(id);
    button.querySelector('.count')?.remove();
    if (text)
      button.append(h('span', {class: 'count'}, text));
  }

  close() {
    for (const panel of this.panels.values())
      panel.close?.();
  }
}
