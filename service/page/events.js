// The page's end of the events: over the shared worker, or by itself where the browser has none.

import {EventHub} from './event-hub.js';

const alivePeriod = 20000;
const listeners = new Set();
let order = () => {};

export function onMessage(listener) {
  listeners.add(listener);
  return () => listeners.delete(listener);
}

function tell(message) {
  for (const listener of [...listeners])
    listener(message);
}

function startAlone() {
  const hub = new EventHub();
  hub.add(tell);
  order = message => {
    if (message.kind === 'exchanges')
      hub.wantExchanges(tell, message.name);
    if (message.kind === 'reconnect')
      hub.reconnect();
  };
}

function startShared() {
  const worker = new SharedWorker(
    new URL('./events-worker.js', import.meta.url), {type: 'module', name: 'vornhost-events'});
  worker.onerror = () => startAlone();
  worker.port.onmessage = ({data}) => tell(data);
  order = message => worker.port.postMessage(message);
  setInterval(() => order({kind: 'alive'}), alivePeriod);
  addEventListener('pagehide', () => order({kind: 'leave'}));
  addEventListener('pageshow', event => {
    if (event.persisted)
      order({kind: 'alive'});
  });
}

export function startEvents() {
  if (typeof SharedWorker === 'undefined')
    startAlone();
  else
    startShared();
}

export const followExchanges = name => order({kind: 'exchanges', name});
export const reconnectEvents = () => order({kind: 'reconnect'});
