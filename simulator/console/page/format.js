// Makes texts of numbers and times. Times are local times of the gateway, whatever the browser's zone.

let offsetSeconds = 0;

// Seconds that the gateway's local time is ahead of UTC.
export function setOffset(seconds) {
  offsetSeconds = seconds ?? 0;
}

const text = (unix) => new Date((unix + offsetSeconds) * 1000).toISOString();
const known = (unix) => typeof unix === 'number' && Number.isFinite(unix);

// "2026-11-22 15:00:05"
export function stamp(unix) {
  return known(unix) ? text(unix).slice(0, 19).replace('T', ' ') : 'not known';
}

// "2026-11-22"
export function day(unix) {
  return text(unix).slice(0, 10);
}

// "15:00:05"
export function clock(unix) {
  return known(unix) ? text(unix).slice(11, 19) : 'not known';
}

// "15:00"
export function minute(unix) {
  return text(unix).slice(11, 16);
}

// The time alone when it is the same day as `now`, else with its date.
export function when(unix, now) {
  if (!known(unix)) return 'not yet';
  return known(now) && day(unix) === day(now) ? clock(unix) : stamp(unix);
}

// "UTC+08:00"
export function zone() {
  const minutes = Math.round(Math.abs(offsetSeconds) / 60);
  const two = (number) => String(number).padStart(2, '0');
  return `UTC${offsetSeconds < 0 ? '−' : '+'}${two(Math.floor(minutes / 60))}:${two(minutes % 60)}`;
}

// "48 s", "5 min 3 s", "2 h 5 min", "3 d 4 h"
export function duration(seconds) {
  if (!known(seconds)) return 'not known';
  const s = Math.max(0, Math.round(seconds));
  const pair = (big, bigUnit, small, smallUnit) =>
    (small > 0 ? `${big} ${bigUnit} ${small} ${smallUnit}` : `${big} ${bigUnit}`);
  if (s < 60) return `${s} s`;
  if (s < 3600) return pair(Math.floor(s / 60), 'min', s % 60, 's');
  if (s < 86400) return pair(Math.floor(s / 3600), 'h', Math.floor((s % 3600) / 60), 'min');
  return pair(Math.floor(s / 86400), 'd', Math.floor((s % 86400) / 3600), 'h');
}

const whole = new Intl.NumberFormat('en');

export function count(number) {
  return known(number) ? whole.format(number) : '–';
}

// "1 file", "2 files"
export function counted(number, one, many = `${one}s`) {
  return `${count(number)} ${number === 1 ? one : many}`;
}

// "The newest 100 of 340 recalls are shown."; empty when nothing is cut.
export function cutText(shown, total, one, which = 'newest') {
  return total > shown ? `The ${which} ${count(shown)} of ${counted(total, one)} are shown.` : '';
}

export function bytes(number) {
  if (!known(number)) return '–';
  const units = ['bytes', 'KB', 'MB', 'GB'];
  let value = number;
  let unit = 0;
  while (value >= 1000 && unit < units.length - 1) {
    value /= 1000;
    unit += 1;
  }
  return unit === 0 ? counted(number, 'byte') : `${value.toFixed(value < 10 ? 1 : 0)} ${units[unit]}`;
}

// The free space of the card, or why it is not known.
export function spaceText({free_bytes: free, total_bytes: total, space_trouble: trouble}) {
  return known(free) ? `${bytes(free)} of ${bytes(total)}` : `not known: ${trouble}`;
}

// What comes once in an interval is old when three of it would have come since. Empty: it is not.
export function oldText(unix, now, interval) {
  const seconds = now - unix;
  return interval > 0 && seconds > 3 * interval ? `, which is old: ${duration(seconds)} ago` : '';
}

// A measured value, as the files have it: at most three decimals.
export function value(number) {
  return known(number) ? String(Math.round(number * 1000) / 1000) : 'no value';
}

// The server's words as a sentence: a capital and a full stop. Names of programs and files stay.
export function sentence(words) {
  const text = String(words ?? '').trim();
  if (text === '') return '';
  const start = /^[a-z]+[\s,:]/.test(text) ? text[0].toUpperCase() + text.slice(1) : text;
  return /[.!?…]$/.test(start) ? start : `${start}.`;
}

const kinds = {realdata: 'Real data', alarmdata: 'Alarms', calldata: 'Recalls'};

export function kind(id) {
  return kinds[id] ?? id;
}

export const kindChoices = [['', 'all kinds'], ...Object.entries(kinds)];
