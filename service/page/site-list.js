// The list of cameras: of a thousand only those on the screen are drawn.

import {inOrderOf} from './attention.js';
import {arrange, h, setAttribute} from './dom.js';
import {SiteRow} from './site-row.js';
import {TilePictures} from './tile-pictures.js';
import {gridOf, indexAfterKey, placeOf, visibleRange} from './virtual-list.js';

const narrow = 1000;
const twoColumns = 760;

function cellOf(layout, width) {
  if (layout === 'pictures')
    return width < 560 ? {cellWidth: 164, cellHeight: 184} : {cellWidth: 248, cellHeight: 256};
  if (width < narrow)
    return {cellWidth: width < twoColumns ? 0 : twoColumns / 2, cellHeight: 176};
  return {cellWidth: 0, cellHeight: 76};
}

export class SiteList {
  constructor(label, examinations) {
    this.examinations = examinations;
    this.pictures = new TilePictures();
    this.rows = new Map();
    this.cameras = this.latest = [];
    this.isHeld = false;
    this.layout = 'rows';
    this.element = h('div', {
      class: 'site-list',
      role: 'list',
      'aria-label': label,
      on: {
        keydown: event => this.moveFocus(event),
        pointerenter: event => this.hold(event.pointerType === 'mouse'),
        pointerleave: () => this.hold(false)
      },
    });
    this.drawSoon = () => {
      this.frame ??= requestAnimationFrame(() => {
        this.frame = undefined;
        this.draw();
      });
    };
    addEventListener('scroll', this.drawSoon, {passive: true});
    addEventListener('resize', this.drawSoon);
    this.onVisible = () => this.pictures.wake();
    document.addEventListener('visibilitychange', this.onVisible);
    this.ticking = setInterval(() => this.renewTimes(), 1000);
  }

  show(cameras, layout) {
    this.latest = cameras;
    this.cameras = this.isHeld ? inOrderOf(this.cameras, cameras) : cameras;
    this.layout = layout;
    this.draw();
  }

  // No row moves away from under the pointer.
  hold(isHeld) {
    this.isHeld = isHeld;
    if (!isHeld)
      this.show(this.latest, this.layout);
  }

  // `pinned` is drawn wherever it is.
  draw(pinned) {
    const width = this.element.clientWidth;
    if (!this.element.isConnected || width === 0)
      return;
    const cell = cellOf(this.layout, width);
    this.grid = gridOf({width, count: this.cameras.length, ...cell});
    this.element.style.height = `${this.grid.height}px`;
    setAttribute(this.element, 'data-layout', this.layout);
    this.element.toggleAttribute('data-narrow', width < narrow);
    this.drawRange(visibleRange(this.grid, -this.element.getBoundingClientRect().top, innerHeight), pinned);
  }

  // A row that has the focus stays, wherever it is: else the focus would be lost by scrolling.
  drawRange({first, end}, pinned) {
    const wanted = new Map();
    for (let index = first; index < end; index += 1)
      wanted.set(this.cameras[index].name, index);
    const focused = [...this.rows.values()].find(row => row.element.contains(document.activeElement));
    const focusedIndex = focused ? this.cameras.findIndex(camera => camera.name === focused.name) : -1;
    if (focusedIndex >= 0)
      wanted.set(focused.name, focusedIndex);
    if (pinned !== undefined)
      wanted.set(this.cameras[pinned].name, pinned);
    for (const [name, row] of this.rows)
      if (!wanted.has(name)) {
        row.remove();
        this.rows.delete(name);
      }
    for (const [name, index] of wanted)
      this.drawRow(name, index);
    const inOrder = [...wanted].sort(([, one], [, other]) => one - other);
    arrange(this.element, inOrder.map(([name]) => this.rows.get(name).element));
  }

  drawRow(name, index) {
    const row = this.rows.get(name) ?? new SiteRow(name, this.pictures);
    this.rows.set(name, row);
    row.renew(this.cameras[index], this.examinations.of(name));
    const {cellWidth: width, cellHeight: height} = this.grid;
    row.place({...placeOf(this.grid, index), width, height}, index + 1, this.cameras.length);
  }

  moveFocus(event) {
    const row = [...this.rows.values()].find(one => one.element.contains(event.target));
    if (!row || event.altKey || event.ctrlKey || event.metaKey)
      return;
    const index = this.cameras.findIndex(camera => camera.name === row.name);
    const target = indexAfterKey(this.grid, index, event.key);
    if (target === null)
      return;
    event.preventDefault();
    this.focus(target);
  }

  focus(index) {
    const {y} = placeOf(this.grid, index);
    const top = this.element.getBoundingClientRect().top + y;
    const under = document.querySelector('.site-tools')?.getBoundingClientRect().bottom ?? 0;
    if (top < under)
      scrollBy(0, top - under - 8);
    else if (top + this.grid.cellHeight > innerHeight)
      scrollBy(0, top + this.grid.cellHeight - innerHeight + 8);
    this.draw(index);
    this.rows.get(this.cameras[index].name)?.link.focus({preventScroll: true});
  }

  focusCamera(name) {
    const index = this.cameras.findIndex(camera => camera.name === name);
    if (index >= 0)
      this.focus(index);
  }

  renewTimes() {
    for (const camera of this.cameras)
      this.rows.get(camera.name)?.renewTime(camera);
  }

  close() {
    removeEventListener('scroll', this.drawSoon);
    removeEventListener('resize', this.drawSoon);
    document.removeEventListener('visibilitychange', this.onVisible);
    clearInterval(this.ticking);
    cancelAnimationFrame(this.frame);
    this.pictures.leaveAll();
  }
}
