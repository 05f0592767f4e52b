// Chooses points of the plant by name, device or identifier.
import {get} from './api.js';
import {fill, h, setText} from './dom.js';
import {count, value} from './format.js';
import {notice, say} from './view.js';

const kPollMs = 3000;

function words(point) {
  return `${point.name} ${point.device} ${point.id} ${logName(point)} ${point.type} ${point.unit ?? ''}`.toLowerCase();
}

// The point's name in the logs: eight hexadecimal digits.
function logName(point) {
  return point.data_id.toString(16).padStart(8, '0');
}

function pointRow(point, toggle) {
  const box = h('input', {type: 'checkbox', on: {change: () => toggle(point.id, box.checked)}});
  const shown = h('span.value', '–');
  const element = h('label.point', box, h('span.name', point.name || 'without a name', ' ', h('code', point.id)),
    shown, h('span.hint.device', point.device, ', ', point.type, ', in the logs ', h('code', logName(point))));
  return {point, box, shown, element, words: words(point)};
}

// A picker. `chosen` is the Set of identifiers; `changed()` is called after each change of it. At
// most `most` points can be chosen.
export function pointPicker(view, chosen, most, changed) {
  const said = notice();
  const search = h('input', {type: 'search', id: 'point-search', placeholder: 'name, device or 1/1:0001', spellcheck: 'false'});
  const list = h('div.points', {role: 'group', 'aria-label': 'Points', tabindex: '0'});
  const found = h('p.hint');
  const chips = h('div.chips');
  let rows = [];

  const filter = () => {
    const parts = search.value.toLowerCase().split(/\s+/).filter(Boolean);
    let matches = 0;
    for (const row of rows) {
      const fits = parts.every((part) => row.words.includes(part));
      row.element.hidden = !fits;
      if (fits) matches += 1;
    }
    setText(found, matches === 0 ? 'No point has this name or identifier.'
      : `${count(matches)} of ${count(rows.length)} points, ${count(chosen.size)} of at most ${most} chosen`);
  };
  const chip = (id) => {
    const name = rows.find((row) => row.point.id === id)?.point.name ?? id;
    return h('button.chip', {type: 'button', 'aria-label': `Remove ${name}`, on: {click: () => {
      toggle(id, false);
      search.focus();
    }}}, name, ' ', h('span', {'aria-hidden': 'true'}, '×'));
  };
  const draw = () => {
    const full = chosen.size >= most;
    for (const row of rows) {
      row.box.checked = chosen.has(row.point.id);
      row.box.disabled = full && !row.box.checked;
    }
    fill(chips, [...chosen].map(chip));
    filter();
  };
  const toggle = (id, on) => {
    if (on) chosen.add(id);
    else chosen.delete(id);
    if (chosen.size >= most) say(`${most} points are chosen. No more fit.`);
    draw();
    changed();
  };
  const takePoints = (points) => {
    if (points.length !== rows.length) {
      rows = points.map((point) => pointRow(point, toggle));
      fill(list, rows.map((row) => row.element));
      draw();
    }
    points.forEach((point, at) => setText(rows[at].shown, point.value === null ? 'no value' : `${value(point.value)} ${point.unit ?? ''}`));
    if (points.length === 0) said.none('The plant has no point yet: the acquisition side publishes nothing and no configuration was read.');
    else said.clear();
  };
  search.addEventListener('input', filter);
  view.poll(kPollMs, async () => {
    try {
      takePoints((await get('/api/values/points')).points);
    } catch (error) {
      said.failed(error);
    }
  });
  return h('div.picker', h('label', {for: 'point-search'}, 'Find a point'), search, found, chips, said.element, list);
}
