// Keeps the state of the bench as the server tells it, over one event stream. Notices within five
// seconds when the server is gone and comes back by itself.
import {get} from './api.js';
import {setOffset} from './format.js';
import {Stream} from './stream.js';

const kAskAfterMs = 3300;    // no event for so long: ask
const kGoneAfterMs = 4300;   // no event and no answer for so long: gone
const kAgainAfterMs = 2000;  // ask a server that is gone
const kStuckAfterMs = 7000;  // the server answers, but there was no event for so long: not even a heartbeat
const kAsleepMs = 2000;      // the page itself did not run for so long
const kLinesKept = 300;

let seenAt = performance.now();   // an event or an answer
let heardAt = performance.now();  // an event
let lookedAt = performance.now();
let askedAt = 0;
let stateAt = performance.now();
let asking = false;
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

function gone() {
  if (live.goneSince !== null) return;
  live.goneSince = Date.now();
  tell('gone', live.goneSince);
}

// Asks for the state, and calls `failed()` when no answer comes. An event may have overtaken the answer.
async function readState(failed = () => {}) {
  if (asking) return;
  asking = true;
  askedAt = performance.now();
  try {
    const state = await get('/api/state', {}, kGoneAfterMs - kAskAfterMs);
    seen();
    if (!live.state || state.clocks.real_unix_s >= live.state.clocks.real_unix_s || heardAt < askedAt) takeState(state);
    // A hidden tab need not hear anything.
    if (performance.now() - heardAt > kStuckAfterMs && !document.hidden) stream.takeOver();
  } catch {
    failed();
  } finally {
    asking = false;
  }
}

const takes = {state: takeState, lines: (data) => takeLines(data.lines), heartbeat() {}, resync() { readState(); }};

function take(name, data) {
  heardAt = performance.now();
  seen();
  takes[name](data);
}

// A stream that ends at once tells of a server that has ended, unless it answers.
const stream = new Stream(take, () => readState(gone));

function look() {
  const now = performance.now();
  // After a sleep the page asks first: it was not the server that was silent.
  if (now - lookedAt > kAsleepMs) seenAt = Math.max(seenAt, now - kAskAfterMs);
  lookedAt = now;
  const silent = now - seenAt;
  if (silent > kGoneAfterMs) gone();
  if (silent > kAskAfterMs && (live.goneSince === null || now - askedAt > kAgainAfterMs)) readState();
  tell('tick', null);
}

// Starts the stream. Called once. A page that the browser keeps for the way back, or freezes, lets another tab have
// the stream.
export function start() {
  readState();
  stream.start();
  setInterval(look, 500);
  const wake = () => {
    stream.start();
    readState();
  };
  addEventListener('pagehide', () => stream.stop());
  addEventListener('pageshow', (event) => {
    if (event.persisted) wake();
  });
  document.addEventListener('freeze', () => stream.stop());
  document.addEventListener('resume', wake);
  document.addEventListener('visibilitychange', () => {
    if (!document.hidden) readState();
  });
}
