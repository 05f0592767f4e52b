// One hour of the month: its slots, each with its file.
import {get} from './api.js';
import {badge, fill, h, table} from './dom.js';
import {clock, count} from './format.js';
import {slotStates} from './month.js';
import {button, notice, visit} from './view.js';

const looks = {missing: 'broken', pending: 'waiting', 'judged-sent': 'broken', aged: 'waiting', 'sent-again': 'waiting', accepted: 'good'};

function cells(slot) {
  return [
    clock(slot.unix_s), badge(looks[slot.state] ?? 'off', slotStates[slot.state]?.[1] ?? slot.state),
    slot.name ? [h('a.file', {href: visit('uploads', {file: slot.name})}, slot.name), ' ',
      h('a', {href: visit('trace', {name: slot.name})}, 'trace', h('span.unseen', ` of ${slot.name}`))] : 'no file',
    count(slot.attempts), slot.cause || '–',
  ];
}

// Shows the hour that begins at `from` in `place` and takes the focus. `back()` gets it when the hour closes.
export async function buildHour(place, from, title, back) {
  const said = notice();
  const rows = table(`Files of ${title}`, [{title: 'Due', class: 'time'}, {title: 'State'}, {title: 'File'}, {title: 'Attempts', class: 'num'}, {title: 'Cause'}]);
  const name = h('h2', {tabindex: '-1'}, `Hour: ${title}`);
  const close = () => {
    fill(place);
    back();
  };
  const section = h('section.panel', h('div.spread', name, button('Close', close, {class: 'quiet'})), said.element, rows.element);
  section.addEventListener('keydown', (event) => {
    if (event.key === 'Escape') close();
  });
  fill(place, section);
  name.focus();
  rows.element.hidden = true;
  try {
    const {slots} = await get('/api/month/hour', {from});
    if (slots.length === 0) {
      said.none('No file was due in this hour.');
      return;
    }
    rows.element.hidden = false;
    rows.fill(slots, (slot) => slot.unix_s, cells);
    said.clear();
  } catch (error) {
    said.failed(error);
  }
}
