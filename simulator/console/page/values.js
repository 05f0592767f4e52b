// Values of chosen points: what the acquisition side published against what the cloud received.
import {get} from './api.js';
import {changed, field, fill, h, select, setText, table} from './dom.js';
import {clock, count, cutText, oldText, sentence, value} from './format.js';
import {lineChart, seriesRows} from './lines.js';
import {gatewayNow, live} from './live.js';
import {pointPicker} from './points.js';
import {head, notice, visit} from './view.js';

const kSeries = 8;
const kPollMs = 2000;
const kTableRows = 120;
const kAlarmsTold = 5;

const known = (pairs) => pairs.filter(([, number]) => number !== null);

// Why the published values are old, as the road says it; null while they are not.
function whyOld() {
  const stage = live.state?.road?.stages.find((each) => each.id === 'acquisition');
  return stage && stage.state !== 'good' ? stage.text : null;
}

function summary(series, now) {
  const interval = live.state?.road?.workers.find((each) => each.id === 'realdata')?.interval_s ?? 0;
  const published = known(series.published);
  const received = known(series.received);
  const last = (pairs) => (pairs.length === 0 ? 'none yet' : `${value(pairs.at(-1)[1])} ${series.unit ?? ''} at ${clock(pairs.at(-1)[0])}${oldText(pairs.at(-1)[0], now, interval)}`);
  const gaps = series.received.length - received.length;
  return `Published: ${last(published)}. Received: ${last(received)}${gaps > 0 ? `, with ${count(gaps)} ${gaps === 1 ? 'gap' : 'gaps'}` : ''}.`;
}

// One series: its chart, a sentence, the alarms in words and the values as a table.
class Card {
  constructor(series) {
    this.chart = lineChart(`${series.name}: published against received values over time. The table below has the same values.`);
    this.text = h('p.hint');
    this.alarms = h('ul.marks');
    this.tellAlarms = changed((alarms) => fill(this.alarms, alarms.slice(-kAlarmsTold).map((alarm) =>
      h('li', `${clock(alarm.unix_s)} alarm ${alarm.raised ? 'raised' : 'cleared'}: ${alarm.text}`)),
    alarms.length > kAlarmsTold && h('li.hint', cutText(kAlarmsTold, alarms.length, 'alarm'))));
    this.rows = table(`Values of ${series.name}`, [{title: 'Time', class: 'time'}, {title: 'Published', class: 'num'}, {title: 'Received', class: 'num'}]);
    this.cut = h('p.hint');
    this.details = h('details', h('summary', 'As a table', h('span.unseen', `: ${series.name}`)), this.rows.element, this.cut);
    this.details.addEventListener('toggle', () => this.fillTable());
    this.element = h('section.panel.series', h('h2', series.name, ' ', h('code', series.id), series.unit && h('span.unit', ` ${series.unit}`)),
      this.chart.element, this.text, this.alarms, this.details);
  }

  show(series, from, to) {
    this.series = series;
    this.chart.show(series, from, to);
    setText(this.text, summary(series, to));
    this.tellAlarms(series.alarms ?? []);
    this.fillTable();
  }

  fillTable() {
    if (!this.details.open || !this.series) return;
    const all = seriesRows(this.series);
    setText(this.cut, cutText(kTableRows, all.length, 'row'));
    this.rows.fill(all.slice(0, kTableRows), (row) => row.unix, (row) =>
      [clock(row.unix), row.published === undefined ? '–' : value(row.published), row.received === undefined ? '–' : value(row.received)]);
  }
}

// Keeps one card for each series.
function buildCards(view) {
  const element = h('div.series-list');
  const cards = new Map();
  view.onEnd(() => cards.forEach((card) => card.chart.end()));
  return {
    element,
    // Draws one card at a time, so that the page answers in between.
    async show(list, from, to) {
      for (const [id, card] of cards) {
        if (list.some((series) => series.id === id)) continue;
        card.chart.end();
        card.element.remove();
        cards.delete(id);
      }
      for (const series of list) {
        if (!cards.has(series.id)) {
          cards.set(series.id, new Card(series));
          element.append(cards.get(series.id).element);
        }
        cards.get(series.id).show(series, from, to);
        await new Promise((done) => setTimeout(done));
        if (view.ended) return;
      }
    },
  };
}

function legend() {
  const entry = (name, text) => h('li', h(`span.key.${name}`, {'aria-hidden': 'true'}), text);
  return h('ul.legend', entry('published', 'published by the acquisition side'), entry('received', 'received by the cloud'),
    entry('alarm', 'alarm raised (filled) or cleared (hollow)'), h('li', 'A break in a line is a gap: no value.'));
}

export const values = {
  id: 'values',
  title: 'Values',
  build(view) {
    const chosen = new Set((view.parameters.ids ?? '').split(',').filter(Boolean).slice(0, kSeries));
    const minutes = select([['15', '15 minutes'], ['60', '1 hour'], ['240', '4 hours'], ['600', '10 hours']], '60');
    const said = notice();
    const cards = buildCards(view);
    const old = h('div');
    const tellOld = changed((text) => fill(old, text && h('p.banner.waiting', h('strong', 'Not every published value is fresh. '), sentence(text))));
    view.onState(() => tellOld(whyOld()));
    const load = async () => {
      if (chosen.size === 0) {
        cards.show([]);
        said.none('Choose up to eight points to see their curves.');
        return;
      }
      try {
        const {series} = await get('/api/values', {ids: [...chosen].join(','), minutes: minutes.value});
        if (view.ended) return;
        const to = Math.ceil(gatewayNow() ?? 0);
        await cards.show(series, to - minutes.value * 60, to);
        if (series.length > 0) said.clear();
        else said.none('Nothing is known of these points yet.');
      } catch (error) {
        said.failed(error);
      }
    };
    let ask = () => {};
    const picker = pointPicker(view, chosen, kSeries, () => {
      history.replaceState(null, '', visit('values', {ids: [...chosen].join(',')}));
      ask();
    });
    minutes.addEventListener('change', () => ask());
    view.root.append(head('Values', 'What the acquisition side publishes, against what the cloud has received.'),
      h('div.with-side', h('aside.panel', {'aria-label': 'Choice of points'}, picker),
        h('div', h('div.fields', field('Span', minutes)), legend(), old, said.element, cards.element)));
    ask = view.poll(kPollMs, load);
  },
};
