// Which cameras are shown, and in which order.

const collator = new Intl.Collator('en', {numeric: true, sensitivity: 'base'});
// A camera that works may have something to mend all the same.
export const stateKind = ({state, problem}) => (state === 'up' && problem ? 'warning' : state);

const ranks = ['down', 'degraded', 'unknown', 'warning', 'drift', 'active', 'quiet'];

// A camera that is down, or that nobody could get into, is not asked for pictures: each would be refused.
const withoutPicture = new Set(['address', 'identify', 'initialize', 'site']);
export const mayHavePicture = ({state, problem}) =>
  state === 'up' || state === 'degraded' && !withoutPicture.has(problem?.phase);

const hasDrift = camera => camera.drift?.state === 'differs' || camera.drift?.state === 'fault';
export const activeInputs = camera =>
  (camera.inputs ?? []).filter(input => input.state === 'active').map(input => input.input).sort();

export function attentionRank(camera) {
  const kind = stateKind(camera);
  if (kind !== 'up')
    return ranks.indexOf(kind);
  const isActive = activeInputs(camera).length > 0;
  return ranks.indexOf(hasDrift(camera) ? 'drift' : isActive ? 'active' : 'quiet');
}

export const needsAttention =
  camera => ['down', 'degraded', 'warning'].includes(stateKind(camera)) || hasDrift(camera);

const byName = (one, other) => collator.compare(one.name, other.name);
const bySince = (one, other) => (other.since ?? '').localeCompare(one.since ?? '');

// An input that opens and closes all the time must not make the list jump: it counts for the rank, its time
// does not.
const orders = {
  attention: (one, other) =>
    attentionRank(one) - attentionRank(other) || bySinceOfTroubled(one, other) || byName(one, other),
  name: byName,
  since: (one, other) => bySince(one, other) || byName(one, other),
  file: null,
};

function bySinceOfTroubled(one, other) {
  return one.state === 'down' || one.state === 'degraded' ? bySince(one, other) : 0;
}

export function sorted(cameras, order) {
  const compare = orders[order];
  return compare ? [...cameras].sort(compare) : [...cameras];
}

// Those of `before` in their places, and who is new behind them.
export function inOrderOf(before, cameras) {
  const places = new Map(before.map(({name}, place) => [name, place]));
  const placeOf = ({name}) => places.get(name) ?? places.size;
  return [...cameras].sort((one, other) => placeOf(one) - placeOf(other));
}

// Every word must be found; the cause is searched by its name and by its words.
function haystack(camera, causeText) {
  const cause = camera.problem ? `${camera.problem.cause} ${causeText(camera.problem)}` : '';
  return [
    camera.name, camera.address, camera.model, camera.serialNumber, camera.firmware, cause,
    ...(camera.tags ?? [])
  ].join('\n')
    .toLowerCase();
}

// A warning is found among the problems.
const shownState = camera => (stateKind(camera) === 'warning' ? 'degraded' : camera.state);

export function matches(camera, {words = '', state = '', tag = ''}, causeText = problem => problem.cause) {
  if (state && shownState(camera) !== state)
    return false;
  if (tag && !(camera.tags ?? []).includes(tag))
    return false;
  const wanted = words.toLowerCase().split(/\s+/).filter(Boolean);
  if (wanted.length === 0)
    return true;
  const text = haystack(camera, causeText);
  return wanted.every(word => text.includes(word));
}

export function countStates(cameras) {
  const counts = {down: 0, degraded: 0, unknown: 0, up: 0};
  for (const camera of cameras)
    counts[shownState(camera)] += 1;
  return counts;
}

export const tagsOf = cameras => [...new Set(cameras.flatMap(({tags = []}) => tags))].sort(collator.compare);
