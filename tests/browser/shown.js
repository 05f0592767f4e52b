// What the page makes of states that the test makes up. The page's files come from the source tree, and no bench runs.
import assert from 'node:assert/strict';
import path from 'node:path';
import {before, describe, it} from 'node:test';
import {root} from './bench.js';
import {Page} from './page.js';

const kFiles = path.join(root, 'simulator/console/page');
const kServer = 'http://127.0.0.1:7999'; // nobody listens there: the browser is answered here
const kNoon = 1772884800;

const counts = {produced: 0, accepted: 0, pending: 0, aged: 0, judged_sent: 0, lost: 0, lost_unrecorded: 0, delivered_twice: 0};

const madeUp = () => ({
  schema: 1,
  clocks: {gateway_unix_s: kNoon, real_unix_s: kNoon, speed: 1, first_speed: 1, stepped_s: 0, gateway_offset_s: 0, gateway_text: '', place: 'sandbox'},
  account: {normal: true, text: 'all normal', reasons: [], total: counts, realdata: counts, alarmdata: counts, calldata: counts, never_made: 0},
  road: {stages: [], login: {done: true, since_unix_s: kNoon, text: ''}, address: null, heartbeat_unix_s: kNoon, workers: []},
  verdicts: {
    status: {exit: 0, level: 'ok', code: null, text: 'fine', age_real_s: 0}, witness: {level: 'ok', text: 'all normal'},
    agree: true, text: '', note: '', differ_since_unix_s: null, patience_s: 100,
  },
  card: {free_bytes: 1e6, total_bytes: 2e6, space_trouble: ''},
  faults: {active: [], recent: [], ended: 0, random: null}, processes: [], scenario: {recording: false, lines: 0, last_curl: null},
});

// Opens a view of the page. `replies` has what the server says at a path of the API, a function of the call's query.
async function openWith(browser, hash, replies) {
  const opened = await Page.open(browser, null);
  const stream = {contentType: 'text/event-stream', body: 'event: heartbeat\ndata: null\n\n'};
  await opened.context.route(`${kServer}/**`, (route) => {
    const {pathname, searchParams} = new URL(route.request().url());
    if (pathname === '/api/events') return route.fulfill(stream);
    const reply = replies[pathname];
    if (reply) return route.fulfill({json: reply(Object.fromEntries(searchParams))});
    if (/^\/(api\/|chart\.js)/.test(pathname)) return route.fulfill({status: 404, json: {error: 'not made up'}});
    return route.fulfill({path: path.join(kFiles, pathname === '/' ? 'index.html' : pathname)});
  });
  await opened.page.goto(`${kServer}/${hash}`);
  await opened.page.locator('tr.total').waitFor();
  return opened;
}

// The view Road of a state.
const road = (browser, state) => openWith(browser, '#road', {'/api/state': () => state});

// The value of a fact on the view.
const fact = (opened, name) => opened.page.locator('.facts > div', {has: opened.page.getByText(name, {exact: true})}).locator('dd').innerText();

export function shown(browser) {
  describe('the page of a made-up state', {concurrency: 1}, () => {
    let chromium;
    before(async () => { chromium = await browser(); });

    it('says beside the verdict why a folder as the card is no fault', async () => {
      const state = madeUp();
      Object.assign(state.verdicts.status, {exit: 2, level: 'critical', code: 'BRN-CARD-NOT-MOUNTED', text: 'nothing is mounted'});
      state.verdicts.note = 'this is no fault here: the card is a folder';
      const opened = await road(chromium, state);
      const side = opened.page.locator('.side', {hasText: 'brennik-status says'});
      assert.equal(await side.locator('p').first().innerText(), 'Nothing is mounted. This is no fault here: the card is a folder.');
      assert.equal(await side.locator('.badge.off').innerText(), 'critical, does not count here');
      await opened.close();
    });

    it('says why the space on the card is not known', async () => {
      const space = {free_bytes: null, total_bytes: null, space_trouble: 'the card is a folder'};
      const card = () => ({...space, ledger: {state: 'good', detail: ''}, rows: []});
      const opened = await openWith(chromium, '#road', {'/api/state': () => ({...madeUp(), card: space}), '/api/card': card});
      assert.equal(await fact(opened, 'Free on the card'), 'not known: the card is a folder');
      await opened.show('#card');
      assert.equal(await fact(opened, 'Free'), 'not known: the card is a folder');
      assert.equal(await opened.page.locator('meter').count(), 0);
      await opened.close();
    });

    it('says of each view where further reasons stand', async () => {
      const state = madeUp();
      Object.assign(state.account, {normal: false, reasons: ['one', 'two', 'three']});
      const opened = await road(chromium, state);
      const last = opened.page.locator('.reasons li').last();
      assert.equal(await last.innerText(), 'and 1 more, listed below');
      await opened.show('#month');
      assert.equal(await last.innerText(), 'and 1 more, on the view Road');
      await last.getByRole('link').click();
      await opened.page.locator('.attention').getByText('Three.').waitFor();
      assert.equal(await last.innerText(), 'and 1 more, listed below');
      await opened.close();
    });

    it('marks a process that a signal has stopped', async () => {
      const cloud = {name: 'cloud', running: true, stopped: true, pid: 7, since_unix_s: kNoon, real_since_unix_s: kNoon, restarts: 0, text: 'stopped (SIGSTOP), started at 12:00:00'};
      const opened = await road(chromium, {...madeUp(), processes: [cloud]});
      const row = opened.page.locator('li', {hasText: 'Stopped (SIGSTOP), started at 12:00:00.'});
      assert.equal(await row.locator('.badge.waiting').innerText(), 'cloud');
      await opened.close();
    });

    it('marks a heartbeat that is old', async () => {
      const state = madeUp();
      state.road.workers = [{id: 'address-check', title: 'Address check', interval_s: 600, next_unix_s: null}];
      state.road.heartbeat_unix_s = kNoon - 1800;
      let opened = await road(chromium, state);
      assert.equal(await fact(opened, 'Last heartbeat'), '11:30:00');
      await opened.close();
      state.road.heartbeat_unix_s = kNoon - 1860;
      opened = await road(chromium, state);
      assert.equal(await fact(opened, 'Last heartbeat'), '11:29:00, which is old: 31 min ago');
      await opened.close();
    });

    it('marks an error that is logged as INFO, and says when the filter hides it', async () => {
      const error = {id: 1, replaces: null, unix_s: kNoon, first_unix_s: kNoon, level: 'INFO', reports_error: true, text: 'x Error, no', file: '', line: 0, count: 1};
      const logs = ({level}) => (level === 'WARN' ? {records: [], newest: 1, hidden: 2, hidden_errors: 1} : {records: [error], newest: 1, hidden: 0, hidden_errors: 0});
      const opened = await openWith(chromium, '#card', {'/api/state': madeUp, '/api/logs': logs});
      await opened.page.locator('.record.error').getByText('an error, logged as INFO').waitFor();
      const note = opened.page.locator('.filter-note');
      assert.equal(await note.innerText(), '');
      await opened.page.getByLabel('Level').selectOption('WARN');
      await note.getByText('1 hidden record reports an error.').waitFor();
      assert.match(await note.innerText(), /2 records below WARN are hidden\.$/);
      await opened.close();
    });
  });
}
