// One for all tabs of a browser: each tab is a port.

import {EventHub} from './event-hub.js';

const hub = new EventHub();

// A tab that is killed says no goodbye; it is left out once it has not been heard for so long. Hidden ones
// have their timers slowed down to one a minute.
const longestQuiet = 150000;

self.onconnect = ({ports: [port]}) => {
  const listener = message => port.postMessage(message);
  let lastHeard = Date.now();
  const watch = setInterval(() => {
    if (Date.now() - lastHeard > longestQuiet)
      leave();
  }, longestQuiet / 2);
  const leave = () => {
    clearInterval(watch);
    hub.remove(listener);
  };
  const actions = {
    exchanges: ({name}) => hub.wantExchanges(listener, name),
    reconnect: () => hub.reconnect(),
    leave,
    alive: () => {
      if (hub.listeners.has(listener))
        return;
      hub.add(listener);
      port.postMessage({kind: 'event', type: 'resync', data: {}});
    },
  };
  port.onmessage = ({data}) => {
    lastHeard = Date.now();
    actions[data.kind]?.(data);
  };
  hub.add(listener);
};
