// The page when the service or the server is gone. The page's clock stands still or is moved by the test, so that its
// five seconds are measured in its own time.
import assert from 'node:assert/strict';
import {after, before, describe, it} from 'node:test';
import {Bench, until} from './bench.js';
import {Page} from './page.js';

const kSaysGoneMs = 5000;
const kStepMs = 100;
const kAheadMs = 60000;

const isGone = (opened) => opened.page.locator('body.is-gone #gone .banner');

// Runs in the page before its own code: keeps the time of the latest event.
function noteEvents() {
  const add = EventSource.prototype.addEventListener;
  EventSource.prototype.addEventListener = function listen(name, take, ...more) {
    return add.call(this, name, (event) => {
      if (name !== 'error') globalThis.heardAt = performance.now();
      take(event);
    }, ...more);
  };
}

// The milliseconds of the page's clock since the latest event.
const silence = (opened) => opened.page.evaluate(() => performance.now() - globalThis.heardAt);

// A page whose clock stands, and that hears the server.
async function openHeld(browser, bench) {
  const opened = await Page.open(browser, bench.address, {clock: true, begin: noteEvents});
  await opened.page.locator('tr.total').waitFor();
  await opened.page.clock.pauseAt(Date.now() + kAheadMs); // the clock can be held in its future only
  await until('an event', async () => (await silence(opened)) === 0 && (await isGone(opened).count()) === 0);
  return opened;
}

// Moves the page's clock until it says that the server is gone. Resolves to the milliseconds since the latest event.
async function saysGone(opened) {
  for (let moved = 0; moved <= 2 * kSaysGoneMs; moved += kStepMs) {
    if (await isGone(opened).count() > 0) return silence(opened);
    await opened.page.clock.runFor(kStepMs);
  }
  throw new Error(`${await silence(opened)} ms after the latest event it does not say it`);
}

export function outages(browser) {
  describe('the page of what is gone', {concurrency: 1}, () => {
    let bench;

    before(async () => { bench = await Bench.start({speed: 30}); });
    after(() => bench?.stop());

    it('says in plain words why and since when the service is down', async () => {
      const opened = await Page.open(await browser(), bench.address);
      await bench.post('/api/clock', {speed: 1}); // the supervisor waits for two seconds of the gateway
      const {clocks: before} = await bench.state();
      const {run} = await bench.post('/api/faults/start', {fault: 'power-cut', seconds: 86400});
      const text = await opened.page.locator('#down .banner').innerText();
      const {clocks: after} = await bench.state();
      const times = [];
      for (let at = before.gateway_unix_s - 1; at <= after.gateway_unix_s; at += 1) {
        times.push(new Date((at + after.gateway_offset_s) * 1000).toISOString().slice(11, 19));
      }
      assert.match(text, new RegExp(`^The service is down: killed by signal 9 at (${times.join('|')})\\.`));
      await bench.post('/api/faults/stop', {run});
      await opened.page.locator('#down .banner').waitFor({state: 'detached'});
      await bench.post('/api/clock', {speed: 30});
      await opened.close();
    });

    it('says within 5 s that the server is silent, and goes on when it answers again', async () => {
      const opened = await openHeld(await browser(), bench);
      process.kill(bench.console, 'SIGSTOP');
      try {
        const silentMs = await saysGone(opened);
        assert.ok(silentMs <= kSaysGoneMs, `after ${silentMs} ms`);
      } finally {
        process.kill(bench.console, 'SIGCONT');
      }
      await opened.page.clock.resume();
      await opened.page.locator('body:not(.is-gone)').waitFor();
      await opened.close();
    });

    it('says within 5 s that the server was killed, greys, and comes back with a new one', async () => {
      const opened = await openHeld(await browser(), bench);
      const colours = () => opened.page.locator('.frame').evaluate((frame) => getComputedStyle(frame).filter);
      assert.equal(await colours(), 'none');
      process.kill(bench.console, 'SIGKILL');
      const silentMs = await saysGone(opened);
      assert.ok(silentMs <= kSaysGoneMs, `after ${silentMs} ms`);
      assert.match(await isGone(opened).innerText(), /server is gone since \d\d:\d\d:\d\d/);
      assert.equal(await colours(), 'grayscale(1)');
      await opened.page.clock.resume();
      await bench.ended;

      bench = await Bench.start({port: bench.port});
      await opened.page.locator('body:not(.is-gone)').waitFor();
      await until('figures of the new gateway', async () => (await opened.account('produced')) === (await bench.state()).account.total.produced);
      await opened.close();
    });
  });
}
