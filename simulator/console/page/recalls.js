// Recalls: orders history, follows each order through poll, file and upload, and shows its values.
import {get, post} from './api.js';
import {changed, facts, field, fill, h, table} from './dom.js';
import {clock, stamp, value, when} from './format.js';
import {lineChart} from './lines.js';
import {gatewayNow} from './live.js';
import {pointPicker} from './points.js';
import {button, head, notice, panel, result, visit} from './view.js';

const kPoints = 20;
const kPollMs = 2000;

const flags = {0: '0: a minute is missing, so no value came', 1: '1: every minute is there'};

function buildForm(view, ordered) {
  const chosen = new Set();
  const now = Math.floor((gatewayNow() ?? 0) / 60) * 60;
  const local = (unix) => stamp(unix).slice(0, 16).replace(' ', 'T');
  const from = h('input', {type: 'datetime-local', value: local(now - 900)});
  const to = h('input', {type: 'datetime-local', value: local(now - 300)});
  const outcome = result();
  const order = button('Order the recall', async () => {
    if (chosen.size === 0) {
      outcome.failed(new Error('Choose at least one point first.'));
      return;
    }
    try {
      const body = {points: [...chosen], from: from.value.replace('T', ' '), to: to.value.replace('T', ' ')};
      const {id} = await post('/api/recalls', body);
      outcome.good(`Recall ${id} is ordered. The service fetches it at its next recall check.`);
      ordered();
    } catch (error) {
      outcome.failed(error);
    }
  }, {class: 'primary'});
  return h('section.panel.order', h('h2', 'Order a recall'), pointPicker(view, chosen, kPoints, () => {}),
    h('div.fields', field('From, gateway time', from), field('To, gateway time', to), order), outcome.element);
}

function steps(recall) {
  const step = (name, unix) => h('li', {class: unix ? 'done' : 'open'}, h('strong', name), ' ',
    unix ? when(unix, gatewayNow()) : 'not yet');
  return h('ol.steps', step('ordered', recall.ordered_unix_s), step('fetched', recall.polled_unix_s),
    step('packed', recall.packed_unix_s), step('accepted', recall.accepted_unix_s));
}

function fileCell(recall) {
  if (!recall.file) return 'no file yet';
  const to = recall.upload_id ? {id: recall.upload_id} : {file: recall.file};
  return h('a.file', {href: visit('uploads', to)}, recall.file);
}

function cells(recall) {
  return [h('a', {href: visit('recalls', {id: recall.id})}, `Recall ${recall.id}`),
    h('span.cut', recall.points.join(', ')), `${recall.from} to ${recall.to}`, steps(recall), fileCell(recall)];
}

function buildList(view) {
  const said = notice();
  const rows = table('Recalls', [{title: 'Order'}, {title: 'Points'}, {title: 'Span'}, {title: 'Way'}, {title: 'File'}]);
  const load = view.poll(kPollMs, async () => {
    try {
      const list = (await get('/api/recalls')).recalls;
      rows.element.hidden = list.length === 0;
      rows.fill([...list].sort((a, b) => b.id - a.id).slice(0, 100), (recall) => recall.id, cells);
      if (list.length === 0) said.none('No recall was ordered yet.');
      else said.clear();
    } catch (error) {
      said.failed(error);
    }
  });
  view.root.append(head('Recalls', 'The cloud can order the history of chosen points. Here you order it for the cloud.'),
    buildForm(view, load), panel('Orders', said.element, rows.element));
}

function valuesText({values, left_out: leftOut}) {
  return leftOut > 0 ? `${values.length} of ${values.length + leftOut}; the file has the others` : String(values.length);
}

function seriesPanel(view, series) {
  const chart = lineChart(`${series.name}: recalled values over time. The table below has the same values.`);
  view.onEnd(() => chart.end());
  const rows = table(`Recalled values of ${series.name}`, [{title: 'Time'}, {title: 'Value', class: 'num'}]);
  rows.fill(series.values.slice(0, 600), (pair) => pair[0], ([unix, number]) => [stamp(unix), value(number)]);
  const element = h('section.panel.series', h('h2', series.name, ' ', h('code', series.id)),
    facts([['Flag', flags[series.flag] ?? String(series.flag)], ['Values', valuesText(series)]]),
    series.values.length === 0 ? h('p.empty', 'The file holds no value of this point.')
      : [chart.element, h('details', h('summary', 'As a table', h('span.unseen', `: ${series.name}`)), rows.element)]);
  const unix = series.values.map((pair) => pair[0]);
  return {element, draw: () => chart.show({received: series.values}, Math.min(...unix), Math.max(...unix))};
}

function buildOne(view, id) {
  const said = notice();
  const way = h('div');
  const place = h('div.series-list');
  view.root.append(h('p', h('a', {href: visit('recalls')}, '← All recalls')), head(`Recall ${id}`), way, said.element, place);
  const draw = changed((list) => {
    const panels = list.map((series) => seriesPanel(view, series));
    fill(place, panels.map((each) => each.element));
    panels.forEach((each, at) => list[at].values.length > 0 && each.draw());
  });
  const drawWay = changed((recall) => fill(way, panel('Its way', h('p', `${recall.from} to ${recall.to}`), steps(recall), h('p', fileCell(recall)))));
  view.poll(kPollMs, async () => {
    try {
      const recall = (await get('/api/recalls')).recalls.find((each) => String(each.id) === String(id));
      if (recall) drawWay(recall);
      const {series} = await get('/api/recalls/one', {id});
      if (view.ended) return;
      draw(series);
      if (series.length > 0) said.clear();
      else said.none(`The cloud has no values of this recall yet. It is ${clock(gatewayNow())} at the gateway.`);
    } catch (error) {
      said.failed(error);
    }
  });
}

export const recalls = {
  id: 'recalls',
  title: 'Recalls',
  build(view) {
    if (view.parameters.id) buildOne(view, view.parameters.id);
    else buildList(view);
  },
};
