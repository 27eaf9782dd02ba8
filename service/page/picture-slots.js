// How many connections the pictures of all tabs may use together. A browser has six for a host: one is the
// events', one an exchange log's, and one must always be free for a command to a head.

const slots = {
  tile: ['vornhost-picture-0', 'vornhost-picture-1'],
  live: ['vornhost-picture-live']
};

// Without the browser's locks a tab keeps to the limit by itself.
class OwnLocks {
  constructor() { this.tails = new Map(); }

  request(name, action) {
    const turn = (this.tails.get(name) ?? Promise.resolve()).then(action);
    this.tails.set(name, turn.catch(() => {}));
    return turn;
  }
}

let turn = 0;
const ownLocks = new OwnLocks();

export function withPictureSlot(kind, action, locks = globalThis.navigator?.locks ?? ownLocks) {
  turn += 1;
  return locks.request(slots[kind][turn % slots[kind].length], action);
}
