// Keeps the state of the bench as the server tells it, over one event stream. Notices within five
// seconds when the server is gone and comes back by itself.
import {get} from './api.js';
import {setOffset} from './format.js';

const kAskAfterMs = 3300;   // no event for so long: ask
const kGoneAfterMs = 4300;  // no event and no answer for so long: gone
const kAgainAfterMs = 2000;
const kLinesKept = 300;

// A browser opens at most six connections to a server, all its tabs together. So one tab has the stream and passes
// each event on to the others; when it closes, the next one takes over.
const tabs = new BroadcastChannel('bench-events');
const takes = {};

let source = null;
let seenAt = performance.now();
let stateAt = performance.now();
let asking = false;
let leads = false; // this tab has the stream
let again = 0;
const listeners = {state: new Set(), lines: new Set(), gone: new Set(), tick: new Set()};

// `goneSince` is a time of the browser in milliseconds, null while the server is there.
export const live = {state: null, lines: [], goneSince: null};

// Calls `listener` on 'state' (state), 'lines' (new lines), 'gone' (goneSince) and 'tick' (twice a
// second). Returns a function that ends it.
export function on(what, listener) {
  listeners[what].add(listener);
  return () => listeners[what].delete(listener);
}

function tell(what, value) {
  for (const listener of [...listeners[what]]) {
    try {
      listener(value);
    } catch (error) {
      console.error(error);
    }
  }
}

// The gateway's time now, in Unix seconds with fraction. It runs on between two states.
export function gatewayNow() {
  const clocks = live.state?.clocks;
  if (!clocks) return null;
  if (live.goneSince !== null) return clocks.gateway_unix_s;
  return clocks.gateway_unix_s + ((performance.now() - stateAt) / 1000) * clocks.speed;
}

// The real time of the desk, in Unix seconds.
export function realNow() {
  const clocks = live.state?.clocks;
  return clocks ? clocks.real_unix_s + (performance.now() - stateAt) / 1000 : null;
}

function takeState(state) {
  const settled = state.clocks.gateway_unix_s !== live.state?.clocks.gateway_unix_s
    || state.clocks.speed !== live.state?.clocks.speed;
  if (settled) stateAt = performance.now();
  live.state = state;
  setOffset(state.clocks.gateway_offset_s);
  tell('state', state);
}

function takeLines(lines) {
  live.lines.push(...lines);
  live.lines.splice(0, live.lines.length - kLinesKept);
  tell('lines', lines);
}

function seen() {
  seenAt = performance.now();
  if (live.goneSince === null) return;
  live.goneSince = null;
  tell('gone', null);
  readState();
}

function lost() {
  if (source) source.close();
  source = null;
  if (leads && !again) again = setTimeout(open, kAgainAfterMs);
  if (live.goneSince !== null) return;
  live.goneSince = Date.now();
  tell('gone', live.goneSince);
}

async function readState() {
  if (asking) return;
  asking = true;
  try {
    const state = await get('/api/state', {}, kGoneAfterMs - kAskAfterMs);
    seen();
    takeState(state);
  } catch {
    // Silence says enough: look() notices it.
  } finally {
    asking = false;
  }
}

takes.state = takeState;
takes.lines = (data) => takeLines(data.lines);
takes.heartbeat = () => {};
takes.resync = readState;

function take(name, data) {
  seen();
  takes[name](data);
}

function listen(name) {
  source.addEventListener(name, (event) => {
    const data = JSON.parse(event.data || 'null');
    tabs.postMessage({name, data});
    take(name, data);
  });
}

function open() {
  clearTimeout(again);
  again = 0;
  source = new EventSource('/api/events');
  source.addEventListener('open', seen);
  source.addEventListener('error', lost);
  Object.keys(takes).forEach(listen);
}

function look() {
  const silent = performance.now() - seenAt;
  if (live.goneSince === null && silent > kGoneAfterMs) lost();
  else if (live.goneSince === null && silent > kAskAfterMs) readState();
  tell('tick', null);
}

// Starts the stream. Called once.
export function start() {
  readState();
  tabs.addEventListener('message', (event) => take(event.data.name, event.data.data));
  // The lock is never given back: it ends with the tab.
  navigator.locks.request('bench-events', () => {
    leads = true;
    open();
    return new Promise(() => {});
  });
  setInterval(look, 500);
  document.addEventListener('visibilitychange', () => {
    if (!document.hidden) readState();
  });
}
