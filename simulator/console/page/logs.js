// The logs of the service: newest first, live, with a filter by level, a search and explanations.
import {get} from './api.js';
import {changed, field, fill, h, keyed, select} from './dom.js';
import {count, counted, when} from './format.js';
import {gatewayNow} from './live.js';
import {button, notice, panel, say} from './view.js';

const kPollMs = 2000;
const kRecords = 100;

const levels = [['', 'all levels'], ['DEBUG', 'DEBUG'], ['INFO', 'INFO'], ['WARN', 'WARN'], ['ERROR', 'ERROR'], ['FATAL', 'FATAL']];

// Explanations are asked once for each text. A call's address has limited room, and the begin of a record tells it.
const kMostExplained = 300;
const known = new Map();

async function explain(record) {
  const text = record.slice(0, kMostExplained);
  if (!known.has(text)) {
    if (known.size > 200) known.clear();
    known.set(text, (await get('/api/explain', {text})).messages);
  }
  return known.get(text);
}

function explanation(messages) {
  if (messages.length === 0) return h('p', 'The table of messages does not know this line.');
  return messages.slice(0, 5).map((message) =>
    h('p', h('code', message.text), h('span.hint', ` (${message.log}) `), message.meaning));
}

function since(each) {
  return each.first_unix_s ? ` since ${when(each.first_unix_s, gatewayNow())}` : '';
}

// The logs name a point by eight hexadecimal digits, the page by channel, device and point.
function pointName(text) {
  const digits = /can't find id: ([0-9a-f]{8})/.exec(text)?.[1];
  if (!digits) return false;
  const part = (at, length) => digits.slice(at, at + length);
  return h('span.hint', ` (point ${parseInt(part(0, 2), 16)}/${parseInt(part(2, 2), 16)}:${part(4, 4).toUpperCase()})`);
}

function record(each) {
  const place = h('div.explanation');
  const toggle = button('Explain', async () => {
    if (place.hasChildNodes()) {
      fill(place);
    } else {
      try {
        fill(place, explanation(await explain(each.text)));
      } catch (error) {
        fill(place, h('p.failed', error.message));
      }
      say(place.textContent);
    }
    toggle.setAttribute('aria-expanded', String(place.hasChildNodes()));
  }, {class: 'quiet', 'aria-expanded': 'false', 'aria-label': `Explain: ${each.text.slice(0, 60)}`});
  return h('li', {class: `record ${each.reports_error ? 'error' : each.level.toLowerCase()}`},
    h('span.when', when(each.unix_s, gatewayNow())), h('span.level', each.level),
    h('span.text', each.text, pointName(each.text), each.reports_error && h('strong', ` an error, logged as ${each.level}`), each.count > 1 && h('strong.times', ` ${count(each.count)} times${since(each)}`),
      each.file && h('span.hint', ` ${each.file.split('/').at(-1)}:${each.line}`)), toggle, place);
}

// What the filter by level leaves out. Some errors have a low level.
function hiddenText({below, errors, chosen}) {
  if (below === 0) return false;
  const text = `${counted(below, 'record')} below ${chosen} ${below === 1 ? 'is' : 'are'} hidden.`;
  if (errors === 0) return h('p.hint', text);
  return h('p.banner.waiting', h('strong', `${counted(errors, 'hidden record')} ${errors === 1 ? 'reports' : 'report'} an error. `),
    `The service logs some errors as INFO. ${text}`);
}

// Reads the newest records, or the next older ones, and keeps one page of them.
class Reader {
  constructor(filter, show) {
    this.filter = filter;
    this.show = show;
    this.befores = [null];
  }

  get newest() {
    return this.befores.length === 1;
  }

  async load() {
    const before = this.befores.at(-1);
    const reply = await get('/api/logs', {...this.filter(), before, limit: kRecords});
    if (before !== this.befores.at(-1)) return;
    this.records = [...reply.records].sort((a, b) => b.id - a.id);
    this.show(this.records, reply);
  }
}

export function buildLogs(view) {
  const level = select(levels, '');
  const search = h('input', {type: 'search', spellcheck: 'false'});
  const live = h('input', {type: 'checkbox', id: 'logs-live', checked: true});
  const said = notice();
  const list = h('ol.records', {tabindex: '0', 'aria-label': 'Records of the log'});
  const filter = () => ({level: level.value, text: search.value.trim()});
  const hidden = h('div.filter-note');
  const tellHidden = changed((found) => fill(hidden, hiddenText(found)));
  const show = (records, {hidden: below, hidden_errors: errors}) => {
    tellHidden({below, errors, chosen: level.value});
    keyed(list, records, (each) => each.id, record);
    older.disabled = records.length < kRecords;
    newest.disabled = reader.newest;
    if (records.length > 0) said.clear();
    else said.none(level.value || search.value ? 'No record passes this filter.' : 'The service has written no record yet.');
  };
  const reader = new Reader(filter, show);
  const load = () => reader.load().catch(said.failed);
  const restart = () => {
    reader.befores = [null];
    return load();
  };
  const older = button('Older', () => {
    reader.befores.push(reader.records.at(-1).id);
    return load();
  }, {class: 'quiet'});
  const newest = button('Newest', restart, {class: 'quiet'});
  let timer = 0;
  level.addEventListener('change', restart);
  search.addEventListener('input', () => {
    clearTimeout(timer);
    timer = setTimeout(restart, 250);
  });
  view.poll(kPollMs, async () => {
    const first = !reader.records;
    if (first || (live.checked && reader.newest)) await load();
  });
  return panel('Logs', h('div.fields', {role: 'search', 'aria-label': 'Filter the logs'}, field('Level', level), field('Text holds', search),
    h('label.check', {for: 'logs-live'}, live, 'live')), hidden, said.element, list, h('div.pager', newest, older));
}
