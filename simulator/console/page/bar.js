// The bar at the top, always in sight: the verdict, the account, the clocks, active faults, and
// what is wrong with the server or the service.
import {post} from './api.js';
import {changed, fill, h, setText} from './dom.js';
import {clock, count, counted, duration, kind, sentence, stamp, zone} from './format.js';
import {gatewayNow, live, on, realNow} from './live.js';
import {button, say, visit} from './view.js';

const columns = [
  ['produced', 'produced', ''], ['accepted', 'accepted', '='], ['pending', 'pending', '+'],
  ['aged', 'aged', '+'], ['judged_sent', 'judged sent', '+'], ['lost', 'lost', '+'],
  ['delivered_twice', 'delivered twice', ''], ['never_made', 'never made', ''],
];
const rows = ['realdata', 'alarmdata', 'calldata'];

// What of the account is not as it should be: it must sum, and nothing may be lost.
function sums(sum) {
  return sum.produced === sum.accepted + sum.pending + sum.aged + sum.judged_sent + sum.lost;
}

function cell([id, title, sign], sum) {
  const bad = (id === 'lost' || id === 'judged_sent') && sum[id] > 0;
  return h('td', {class: `${id}${bad ? ' bad' : ''}`, 'data-title': title},
    sign && h('span.sign', {'aria-hidden': 'true'}, sign),
    id === 'never_made' && sum[id] > 0 ? h('a.figure', {href: visit('month'), title: 'Files of real data that were due: see the gaps of the month'}, count(sum[id]))
      : h('span.figure', count(sum[id])));
}

function accountRow(title, sum, className) {
  return h('tr', {class: className}, h('th', {scope: 'row'}, title), columns.map((column) => cell(column, sum)));
}

function accountTable(account) {
  return h('table.account', h('caption.unseen', 'Files produced, and what became of them'),
    h('thead', h('tr', h('td'), columns.map(([id, title]) => h('th', {scope: 'col', class: id}, title)))),
    h('tbody', accountRow('All files', {...account.total, never_made: account.never_made}, 'total'),
      rows.filter((id) => account[id]).map((id) => accountRow(kind(id), id === 'realdata' ? {...account[id], never_made: account.never_made} : account[id], 'kind'))));
}

function verdictOf(account) {
  const reasons = [...(account.reasons ?? [])].map(sentence);
  if (!sums(account.total)) reasons.push('The account does not sum. Tell the developers of the console.');
  const normal = account.normal && reasons.length === 0;
  return {state: normal ? 'good' : 'broken', reasons, text: normal ? 'All normal' : `Not normal: ${counted(Math.max(1, reasons.length), 'reason')}`};
}

// `shownView()` gives the name of the view below the bar.
function buildVerdict(shownView) {
  const title = h('p.verdict-title', {role: 'status'}, 'Waiting for the first state');
  const list = h('ul.reasons');
  const element = h('div.verdict.off', title, list);
  const draw = changed((verdict) => {
    element.className = `verdict ${verdict.state}`;
    setText(title, verdict.text);
    const more = verdict.reasons.length - 2;
    fill(list, verdict.reasons.slice(0, 2).map((reason) => h('li', reason)),
      more > 0 && h('li', verdict.onRoad ? `and ${more} more, listed below` : h('a', {href: visit('road')}, `and ${more} more, on the view Road`)));
  });
  const show = () => {
    if (live.goneSince !== null) draw({state: 'off', text: 'Not known', reasons: ['The console’s server is gone.']});
    else if (live.state) draw({...verdictOf(live.state.account), onRoad: shownView() === 'road'});
  };
  on('gone', show);
  addEventListener('hashchange', show);
  return {element, draw: show};
}

function buildAccount() {
  const place = h('div.account-place');
  const toggle = h('button.quiet', {type: 'button', 'aria-expanded': 'false'}, 'By kind');
  const element = h('div.account-box', place, toggle);
  const open = (wide) => {
    element.classList.toggle('kinds', wide);
    toggle.setAttribute('aria-expanded', String(wide));
  };
  toggle.addEventListener('click', () => open(!element.classList.contains('kinds')));
  open(matchMedia('(min-width: 1100px) and (min-height: 700px)').matches);
  return {element, draw: changed((account) => fill(place, accountTable(account)))};
}

function buildClocks() {
  const gateway = h('time');
  const real = h('time');
  const speed = h('span.speed');
  const place = h('span.place');
  const element = h('div.clocks',
    h('div.clock-line', h('span.label', 'Gateway'), gateway, speed),
    h('div.clock-line.real', h('span.label', 'Real'), real, place));
  const show = () => {
    if (!live.state) return;
    setText(gateway, stamp(gatewayNow()));
    setText(real, stamp(realNow()));
    setText(speed, `×${live.state.clocks.speed}`);
    setText(place, `${live.state.clocks.place}, ${zone()}`);
  };
  on('state', show);
  on('tick', show);
  return element;
}

async function allOff() {
  try {
    await post('/api/faults/off', {});
    say('All faults are off, and the clock is back.');
    document.querySelector('#main h1')?.focus();
  } catch (error) {
    say(`The faults are not off: ${error.message}`);
  }
}

function left(run) {
  if (run.state === 'healing') return 'healing';
  return run.ends_unix_s === null ? 'until stopped' : `${duration(run.ends_unix_s - gatewayNow())} left`;
}

// What was changed at the gateway's clock without a fault; empty: nothing.
function clockText(runs, {speed, first_speed: first, stepped_s: stepped}) {
  const byFault = (name) => runs.some((run) => run.fault === name);
  return [
    stepped !== 0 && !byFault('step-clock') && `clock set ${duration(Math.abs(stepped))} ${stepped > 0 ? 'ahead' : 'back'}`,
    speed !== first && !byFault('speed') && `speed ×${speed}, ×${first} at first`,
  ].filter(Boolean).join(', ');
}

function buildActive() {
  const list = h('ul.active-list');
  const clocks = h('a', {href: visit('road')});
  const element = h('section.active', {hidden: true, 'aria-label': 'Active faults'},
    h('span.label', 'Active faults'), list, clocks, button('All faults off', allOff, {class: 'danger', id: 'all-off'}));
  let runs = [];
  let times = [];
  const draw = changed((state) => {
    times = runs.map(() => h('span.left'));
    fill(list, runs.map((run, at) => h('li',
      h('a', {href: visit('faults', {fault: run.fault})}, run.title), ' ', times[at])),
    state.random && h('li', `random faults, seed ${state.random.seed}`));
    setText(clocks, state.clock);
    clocks.hidden = state.clock === '';
    element.hidden = runs.length === 0 && !state.random && !state.clock;
  });
  const tick = () => runs.forEach((run, at) => setText(times[at], left(run)));
  on('tick', tick);
  return {
    element,
    draw(faults, clock) {
      runs = faults?.active ?? [];
      draw({names: runs.map((run) => run.run), random: faults?.random ?? null, clock: clockText(runs, clock)});
      tick();
    },
  };
}

function sayGone(place) {
  on('gone', (since) => {
    document.body.classList.toggle('is-gone', since !== null);
    const at = since === null ? '' : new Date(since).toLocaleTimeString('en-GB');
    fill(place, since !== null && h('p.banner.broken', h('strong', 'The console’s server is gone since '
      + `${at} on this computer’s clock.`), ' The page shows the last known figures and tries again every 2 seconds.'));
    if (since === null) say('The server is back.');
  });
}

// Why and since when the service is down. Its text has the time already, unless it never ran.
function downText({text, since_unix_s: since}) {
  const why = text || 'it was never started';
  const at = typeof since === 'number' ? clock(since) : null;
  return sentence(at === null || why.includes(at) ? `The service is down: ${why}` : `The service is down since ${at}: ${why}`);
}

// Says that the service is down. `restarts` and times change, so only a new text is told.
function sayDown(place) {
  const draw = changed((text) => fill(place, text && h('p.banner.broken', h('strong', text))));
  return (processes) => {
    const service = (processes ?? []).find((process) => process.name === 'service');
    if (!service || service.running) draw('');
    else draw(downText(service));
  };
}

// On a low screen the bar scrolls away; then this line stays. It repeats the account, for the eye only.
function buildLine(bar) {
  const line = h('p.account-line', {'aria-hidden': 'true'});
  bar.after(line);
  return ({account}) => setText(line, `${verdictOf(account).text}: ${columns.slice(0, 6)
    .map(([id, title, sign]) => `${sign} ${count(account.total[id])} ${title}`).join(' ').trim()}`);
}

// Fills the bar and keeps it up to date. `shownView()` gives the name of the view below it.
export function startBar(bar, shownView) {
  const verdict = buildVerdict(shownView);
  const account = buildAccount();
  const active = buildActive();
  const line = buildLine(bar);
  const down = sayDown(document.getElementById('down'));
  sayGone(document.getElementById('gone'));
  bar.prepend(h('div.bar-top', h('p.brand', 'Brennik ', h('span', 'bench console')), buildClocks()),
    h('div.bar-main', verdict.element, account.element));
  bar.append(active.element);
  on('state', (state) => {
    verdict.draw();
    account.draw(state.account);
    line(state);
    active.draw(state.faults, state.clocks);
    down(state.processes);
  });
  new ResizeObserver(() => {
    document.documentElement.style.setProperty('--bar', `${bar.offsetHeight}px`);
  }).observe(bar);
}
