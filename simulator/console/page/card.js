// The card and the logs: space, rows of the ledger by kind and age, the ledger itself, the logs.
import {get} from './api.js';
import {badge, changed, facts, field, fill, h, select, table} from './dom.js';
import {count, kind, kindChoices, spaceText, stamp} from './format.js';
import {buildLogs} from './logs.js';
import {Pager} from './pager.js';
import {head, notice, panel, visit} from './view.js';

const kPollMs = 3000;

function usedSpace({free_bytes: free, total_bytes: total}) {
  if (!(total > 0)) return [];
  const part = Math.round(((total - free) / total) * 100);
  return [h('meter', {min: '0', max: '100', high: '90', value: part, 'aria-label': `${part} percent of the card is used`}),
    h('p.hint', `${part} % used`)];
}

function space(card) {
  return h('div', facts([
    ['Free', spaceText(card)],
    ['Ledger', [badge(card.ledger.state === 'good' ? 'good' : 'broken', card.ledger.state), ' ', card.ledger.detail]],
  ]), usedSpace(card));
}

function buildCard(view) {
  const said = notice();
  const place = h('div');
  const none = h('p.empty', {hidden: true}, 'The ledger has no row yet.');
  const rows = table('Rows of the ledger by kind and age', [{title: 'Kind'}, {title: 'Age'}, {title: 'Pending', class: 'num'}, {title: 'Accepted', class: 'num'}]);
  const draw = changed((card) => {
    fill(place, space(card));
    none.hidden = card.rows.length > 0;
    rows.element.hidden = card.rows.length === 0;
    rows.fill(card.rows.filter((row) => row.pending + row.accepted > 0), (row) => `${row.kind} ${row.age}`, (row) => [kind(row.kind), row.age, count(row.pending), count(row.accepted)]);
  });
  view.poll(kPollMs, async () => {
    try {
      draw(await get('/api/card'));
      said.clear();
    } catch (error) {
      said.failed(error);
    }
  });
  return h('div.columns', panel('Card', said.element, place), panel('Ledger by age', none, rows.element));
}

function ledgerCells(row) {
  const file = row.name.split('/').at(-1);
  return [h('a.file', {href: visit('trace', {name: file})}, file), kind(row.kind), stamp(row.stamp_unix_s),
    badge(row.accepted ? 'good' : 'waiting', row.accepted ? 'accepted' : 'pending')];
}

function buildLedger(view) {
  const kindBox = select(kindChoices, '');
  const stateBox = select([['', 'all'], ['pending', 'pending'], ['accepted', 'accepted']], '');
  const said = notice();
  const rows = table('Rows of the ledger, newest first', [{title: 'File'}, {title: 'Kind'}, {title: 'Stamp'}, {title: 'Ledger says'}]);
  const show = (page) => {
    rows.element.hidden = page.rows.length === 0;
    rows.fill(page.rows, (row) => row.row, ledgerCells);
    if (page.rows.length > 0) said.clear();
    else said.none(kindBox.value || stateBox.value ? 'No row of the ledger passes this filter.' : 'The ledger has no row yet.');
  };
  const pager = new Pager('row', (before) => get('/api/ledger', {before, kind: kindBox.value, state: stateBox.value, limit: 20}), show);
  const restart = () => pager.restart().catch(said.failed);
  kindBox.addEventListener('change', restart);
  stateBox.addEventListener('change', restart);
  view.poll(kPollMs, async () => {
    if (pager.first) await pager.load().catch(said.failed);
  });
  return panel('Ledger', h('div.fields', field('Kind', kindBox), field('State', stateBox)), said.element, rows.element, pager.element);
}

export const card = {
  id: 'card',
  title: 'Card and logs',
  build(view) {
    view.root.append(head('Card and logs', 'What stands on the card, and what the service wrote about it.'),
      buildCard(view), buildLogs(view), buildLedger(view));
  },
};
