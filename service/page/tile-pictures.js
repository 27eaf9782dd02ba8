// The small pictures of the cameras on the screen, one each two seconds, and none while nobody can see them.

import {fetchPicture, forgetPicture, showPicture} from './pictures.js';

const period = 2000;
const pauseAfterFailure = 10000;
const firstWait = 400;

export class TilePictures {
  constructor(
    {fetch = fetchPicture,
      now = () => Date.now(),
      setTimer = (action, pause) => setTimeout(action, pause)} = {}) {
    this.fetch = fetch;
    this.now = now;
    this.setTimer = setTimer;
    this.tiles = new Map();  // by camera: {image, number, due, told}
    this.isRunning = false;
  }

  // `told(state)` hears 'shown' or 'none'.
  watch(name, image, told) {
    this.tiles.set(name, {image, told, number: 0, due: 0, isBusy: false, abort: new AbortController()});
    this.wake();
  }

  leave(name) {
    const tile = this.tiles.get(name);
    if (!tile)
      return;
    this.tiles.delete(name);
    tile.abort.abort();
    forgetPicture(tile.image);
  }

  leaveAll() {
    for (const name of [...this.tiles.keys()])
      this.leave(name);
  }

  wake() {
    if (this.isRunning)
      return;
    this.isRunning = true;
    this.setTimer(() => this.round(), 0);
  }

  round() {
    this.isRunning = false;
    if (document.hidden || this.tiles.size === 0)
      return;
    for (const [name, tile] of this.tiles)
      if (!tile.isBusy && tile.due <= this.now())
        this.renew(name, tile);
    this.isRunning = true;
    this.setTimer(() => this.round(), 200);
  }

  async renew(name, tile) {
    tile.isBusy = true;
    tile.due = this.now() + period;
    try {
      const wait = tile.number ? 0 : firstWait;
      const picture =
        await this.fetch(name, {kind: 'tile', after: tile.number, wait, signal: tile.abort.signal});
      if (picture)
        await this.show(name, tile, picture);
    } catch (error) {
      tile.due = this.now() + pauseAfterFailure;
      if (this.tiles.get(name) === tile && error.name !== 'AbortError')
        tile.told('none');
    }
    tile.isBusy = false;
  }

  async show(name, tile, picture) {
    if (this.tiles.get(name) !== tile) {
      URL.revokeObjectURL(picture.url);
      return;
    }
    tile.number = picture.number;
    await showPicture(tile.image, picture);
    tile.told('shown');
  }
}
