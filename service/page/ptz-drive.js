// Keeps a head moving for as long as somebody holds it, and no longer. The service ends a move by itself one
// second after the last renewal; what happens here makes it end at once.

const renewPeriod = 300;

export class PtzDrive {
  // `move(vector)` returns a promise; `stop()` must get out even while the page is going away.
  constructor({
    move,
    stop,
    told,
    setTimer = (action, period) => setInterval(action, period),
    clearTimer = timer => clearInterval(timer)
  }) {
    Object.assign(this, {move, stop, told, setTimer, clearTimer});
    this.vector = null;
    this.underWay = null;
    this.timer = null;
    this.isDue = false;
  }

  get isMoving() { return this.vector !== null; }

  hold(vector) {
    if (vector.pan === 0 && vector.tilt === 0 && vector.zoom === 0) {
      this.release();
      return;
    }
    const isNew = this.vector === null;
    const isSame = !isNew && ['pan', 'tilt', 'zoom'].every(axis => this.vector[axis] === vector[axis]);
    if (isSame)
      return;
    this.vector = vector;
    this.timer ??= this.setTimer(() => this.renew(), renewPeriod);
    if (isNew)
      this.told('moving');
    this.renew();
  }

  // One request at a time, so that an old direction never arrives after a newer one.
  renew() {
    if (this.underWay) {
      this.isDue = true;
      return;
    }
    this.isDue = false;
    const sent = this.vector;
    this.underWay = this.move(sent).then(() => this.arrived(sent), error => this.failed(error));
  }

  arrived(sent) {
    this.underWay = null;
    // Released while it was under way: the move may have reached the service after the stop.
    if (this.vector === null)
      this.stop();
    else if (this.isDue && sent !== this.vector)
      this.renew();
  }

  failed(error) {
    this.underWay = null;
    const wasMoving = this.isMoving;
    this.forget();
    // Refused: nothing moves for this page, and a stop would be refused as well.
    if (!(error.status >= 400 && error.status < 500))
      this.stop();
    if (wasMoving)
      this.told('failed', error);
  }

  release() {
    if (!this.isMoving)
      return;
    this.forget();
    this.stop();
    this.told('still');
  }

  forget() {
    this.vector = null;
    this.isDue = false;
    if (this.timer !== null)
      this.clearTimer(this.timer);
    this.timer = null;
  }
}

// A drag from the middle of a round field: as far out, as fast. Within a tenth of the radius nothing moves.
export function vectorOfDrag(x, y, radius, speed) {
  const reach = Math.min(1, Math.hypot(x, y) / radius);
  if (reach < 0.1)
    return {pan: 0, tilt: 0, zoom: 0};
  const angle = Math.atan2(-y, x);
  const part = factor => Math.round(speed * reach * factor) || 0;
  return {pan: part(Math.cos(angle)), tilt: part(Math.sin(angle)), zoom: 0};
}

const keyVectors = {
  ArrowLeft: [-1, 0, 0],
  ArrowRight: [1, 0, 0],
  ArrowUp: [0, 1, 0],
  ArrowDown: [0, -1, 0],
  '+': [0, 0, 1],
  '=': [0, 0, 1],
  '-': [0, 0, -1],
};

export const isMoveKey = key => key in keyVectors;

// Opposite keys that are held together cancel each other.
export function vectorOfKeys(keys, speed) {
  const sum = [0, 0, 0];
  for (const key of keys)
    keyVectors[key].forEach((part, axis) => {
      sum[axis] += part;
    });
  const [pan, tilt, zoom] = sum.map(part => Math.sign(part) * speed || 0);
  return {pan, tilt, zoom};
}
