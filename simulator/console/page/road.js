// The road of the values: its stages with counts, login, workers, processes, verdicts and the
// lines of the terminal.
import {post} from './api.js';
import {badge, changed, facts, field, fill, h, keyed, select, setText} from './dom.js';
import {clock, count, counted, duration, oldText, sentence, spaceText, when} from './format.js';
import {gatewayNow, live} from './live.js';
import {button, head, panel, result, say, visit} from './view.js';

const words = {good: 'works', waiting: 'waits', broken: 'fails', off: 'off'};
const levels = {ok: 'good', warning: 'waiting', critical: 'broken', unknown: 'off'};
const kLinesShown = 100;

function stage(each) {
  return h('li', {class: `stage ${each.state}`},
    h('h2', each.title), h('p.big', count(each.count), ' ', h('span.unit', each.unit ?? '')),
    badge(each.state, words[each.state] ?? each.state), h('p.hint', sentence(each.text)));
}

function buildStages(view) {
  const list = h('ol.road', {'aria-label': 'The stages of the road'});
  const draw = changed((stages) => keyed(list, stages, (each) => each.id, stage));
  view.onState((state) => draw(state.road?.stages ?? []));
  return list;
}

function buildReasons(view) {
  const place = h('div');
  const draw = changed((account) => fill(place, account.reasons?.length > 0
    && h('section.panel.attention', h('h2', 'What is not normal'), h('ul', account.reasons.map((text) => h('li', sentence(text)))))));
  view.onState((state) => draw(state.account));
  return place;
}

// With a note the verdict says nothing about this bench.
function verdict(title, level, text, more, note) {
  return h('div.side', h('h3', title), note ? badge('off', `${level}, does not count here`) : badge(levels[level] ?? 'off', level),
    h('p', sentence(text), note && ` ${sentence(note)}`), more && h('p.hint', more));
}

function buildVerdicts(view) {
  const place = h('div');
  const draw = changed(({status, witness, agree, text, note, differ_since_unix_s: since, patience_s: patience}) => fill(place,
    h('div', {class: agree ? 'sides' : 'sides disagree'},
      verdict('brennik-status says', status.level, status.text,
        `${status.code ? `${status.code}, ` : ''}exit status ${status.exit ?? 'not known'}`, note),
      verdict('The outside witness says', witness.level, witness.text)),
    note ? h('p.hint', 'The two are not compared.')
      : !agree ? h('p.banner.waiting', h('strong', 'They disagree. '), sentence(text))
        : since ? h('p.hint', `They differ since ${clock(since)}. They look at different moments, so it counts as a disagreement after ${duration(patience)}.`)
          : h('p.hint', witness.level === 'ok' ? 'Both agree that all is normal.' : 'Both agree on what is wrong.')));
  view.onState((state) => {
    if (state.verdicts) draw({...state.verdicts, status: {...state.verdicts.status, age_real_s: 0}});
    else fill(place, h('p.empty', 'There is no verdict yet.'));
  });
  return panel('Two verdicts', place);
}

function buildWorkers(view) {
  const list = h('ul.workers');
  let rows = [];
  const draw = changed((workers) => {
    rows = workers.map((worker) => ({worker, left: h('span.left'), done: h('span.filled')}));
    fill(list, rows.map(({worker, left, done}) => h('li', h('span.name', worker.title),
      h('span.hint', `every ${duration(worker.interval_s)}`), left, h('span.track', {'aria-hidden': 'true'}, done))));
  });
  const tick = () => {
    for (const {worker, left, done} of rows) {
      const next = live.state?.road?.workers.find((each) => each.id === worker.id)?.next_unix_s ?? null;
      const seconds = next === null ? null : Math.max(0, next - gatewayNow());
      setText(left, seconds === null ? 'not running' : `in ${duration(seconds)}`);
      const part = seconds === null ? 0 : 1 - Math.min(1, seconds / worker.interval_s);
      done.style.transform = `scaleX(${part.toFixed(3)})`;
    }
  };
  view.onState((state) => draw((state.road?.workers ?? []).map(({id, title, interval_s}) => ({id, title, interval_s}))));
  view.onTick(tick);
  return panel('Next boundary of each worker', list);
}

function oldHeartbeat({heartbeat_unix_s: last, workers}, {gateway_unix_s: now}) {
  const interval = workers.find((each) => each.id === 'address-check')?.interval_s ?? 0;
  return typeof last === 'number' ? oldText(last, Math.floor(now / 60) * 60, interval) : '';
}

function buildLink(view) {
  const place = h('div');
  const draw = changed(({road, card, now, old}) => fill(place, facts([
    ['Login', road.login?.done ? `done at ${when(road.login.since_unix_s, now)}` : road.login?.text ?? 'not done yet'],
    ['Address in use', road.address ?? 'not known yet'],
    ['Last heartbeat', `${when(road.heartbeat_unix_s, now)}${old}`],
    card && ['Free on the card', spaceText(card)],
  ])));
  view.onState(({road, card, clocks}) => {
    // The day is enough of `now`: it says whether a time needs its date.
    if (road) draw({road: {...road, stages: 0, workers: 0}, card, now: Math.floor(clocks.gateway_unix_s / 3600) * 3600, old: oldHeartbeat(road, clocks)});
  });
  return panel('Link to the cloud', place);
}

function buildProcesses(view) {
  const list = h('ul.plain');
  const draw = changed((processes) => fill(list, processes.length === 0 && h('li.hint', 'No process is known yet.'),
    processes.map((each) => h('li', badge(each.stopped ? 'waiting' : each.running ? 'good' : 'broken', each.name), ' ',
      sentence(each.text || (each.running ? 'running' : 'not running')),
      h('span.hint', ` process ${each.pid ?? 'none'}, restarted ${counted(each.restarts, 'time')}`)))));
  view.onState((state) => draw(state.processes ?? []));
  return panel('Processes', list);
}

function buildClock() {
  const outcome = result();
  const speed = select(['1', '2', '5', '10', '20', '30', '60'].map((each) => [each, `${each} times real time`]),
    String(live.state?.clocks.speed ?? 10));
  const step = h('input', {type: 'number', value: '3600', min: '-86400', max: '2678400', step: '1'});
  const send = async (body, text) => {
    try {
      await post('/api/clock', body);
      outcome.good(text);
    } catch (error) {
      outcome.failed(error);
    }
  };
  return panel('The gateway’s clock',
    h('div.fields', field('Speed', speed),
      button('Set speed', () => send({speed: Number(speed.value)}, `The clock runs ${speed.value} times real time.`))),
    h('div.fields', field('Step in seconds, minus goes back', step),
      button('Step the clock', () => send({step_s: Number(step.value)}, `The clock was stepped by ${step.value} s.`))),
    h('p.hint', 'Both stay until “All faults off” in the bar puts them back: the speed to that of the start, the time by the sum of all steps.'),
    outcome.element);
}

function line(each) {
  return h('div', {class: `line from-${each.label}`}, h('span.from', each.label), ' ', each.text);
}

function buildLines(view) {
  const log = h('div.terminal', {tabindex: '0', role: 'region', 'aria-label': 'Lines of the terminal'});
  const empty = h('p.empty', 'No line since this page was opened.');
  const add = (lines) => {
    const atEnd = log.scrollHeight - log.scrollTop - log.clientHeight < 40;
    log.append(...lines.slice(-kLinesShown).map(line));
    while (log.childElementCount > kLinesShown) log.firstElementChild.remove();
    empty.hidden = log.childElementCount > 0;
    if (atEnd) log.scrollTop = log.scrollHeight;
  };
  add(live.lines);
  view.onLines(add);
  const clear = button('Clear', () => {
    live.lines.length = 0;
    log.replaceChildren();
    empty.hidden = false;
    say('The lines are cleared.');
  }, {class: 'quiet', 'aria-label': 'Clear the lines of the terminal'});
  return panel('What the terminal shows', empty, log, clear);
}

export const road = {
  id: 'road',
  title: 'Road',
  build(view) {
    view.root.append(
      head('Road', 'The way of every value, from the acquisition side to the cloud.'),
      buildStages(view), buildReasons(view),
      h('div.columns', buildVerdicts(view), buildWorkers(view), buildLink(view), buildProcesses(view)),
      buildLines(view), buildClock(),
      h('p.hint', 'Something does not arrive? Look for the first stage that fails or waits, then at the ',
        h('a', {href: visit('card')}, 'logs'), ' and the ', h('a', {href: visit('month')}, 'month'), '.'));
  },
};
