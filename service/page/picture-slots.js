// How many connections the pictures of all tabs may use together. A browser has six for a host: one is the
// events', one an exchange log's, and one must always be free for a command to a head.

const slots = {
  tile: ['vornhost-picture-0', 'vornhost-picture-1'],
  live: ['vornhost-picture-live']
};

// Without the browser's locks a tab keeps to the limit by itself.
const tails = new Map();
const ownLocks = {
  request(name, action) {
    const turn = (tails.get(name) ?? Promise.resolve()).then(action);
    tails.set(name, turn.catch(() => {}));
    return turn;
  },
};

const users = new Map();  // by slot: how many in this tab have it or wait for it
const usersOf = slot => users.get(slot) ?? 0;

export function withPictureSlot(kind, action, locks = globalThis.navigator?.locks ?? ownLocks) {
  const [slot] = [...slots[kind]].sort((one, other) => usersOf(one) - usersOf(other));
  users.set(slot, usersOf(slot) + 1);
  return locks.request(slot, action).finally(() => users.set(slot, usersOf(slot) - 1));
}
