// The page when something is gone: the service, the server, or room for one more.
import assert from 'node:assert/strict';
import {after, before, describe, it} from 'node:test';
import {Bench, until} from './bench.js';
import {Page} from './page.js';

const kTabs = 10;
const kSaysGoneMs = 5000;

const isGone = (opened) => opened.page.locator('body.is-gone #gone .banner');

export function outages(browser) {
  describe('the page of what is gone', {concurrency: 1}, () => {
    let bench;

    before(async () => { bench = await Bench.start({speed: 30}); });
    after(() => bench?.stop());

    it('goes on in ten tabs at once while files reach the cloud', async () => {
      const {context, page} = await Page.open(await browser(), bench.address);
      const tabs = [page, ...await Promise.all(Array.from({length: kTabs - 1}, () => context.newPage()))];
      await Promise.all(tabs.slice(1).map((tab) => tab.goto(`${bench.address}/#uploads`)));
      const clock = (tab) => tab.locator('.clocks time').first().innerText();
      await Promise.all(tabs.map((tab) => tab.locator('.clocks time', {hasText: /\d/}).first().waitFor()));
      const before = await Promise.all(tabs.map(clock));
      const files = await bench.ledger('SELECT count(*) FROM tJsonFileNames WHERE Result=1');

      await bench.moreAccepted('realdata', 3);

      const now = await Promise.all(tabs.map(clock));
      assert.ok(now.every((text, at) => text > before[at]), `${before} and then ${now}`);
      assert.equal(await context.pages().length, kTabs);
      const [[filesNow]] = await bench.ledger('SELECT count(*) FROM tJsonFileNames WHERE Result=1');
      assert.ok(Number(filesNow) >= Number(files[0][0]) + 3);
      await context.close();
    });

    it('says in plain words why and since when the service is down', async () => {
      const opened = await Page.open(await browser(), bench.address);
      await bench.post('/api/clock', {speed: 1}); // it is down for two seconds of the gateway
      const [service] = await bench.processes('brennik');
      const {gateway_unix_s: killed} = (await bench.state()).clocks;
      process.kill(service, 'SIGKILL');
      const banner = await opened.page.waitForFunction(() => document.querySelector('#down .banner')?.innerText, null, {polling: 50});
      const text = await banner.jsonValue();
      const {gateway_offset_s: offset} = (await bench.state()).clocks;
      const times = [0, 1, 2, 3].map((late) => new Date((killed + offset + late) * 1000).toISOString().slice(11, 19));
      assert.match(text, new RegExp(`^The service is down: killed by signal 9 at (${times.join('|')})\\.`));
      await opened.page.locator('#down .banner').waitFor({state: 'detached'});
      await bench.post('/api/clock', {speed: 30});
      await opened.close();
    });

    it('says within 5 s that the server is silent, and goes on when it answers again', async () => {
      const opened = await Page.open(await browser(), bench.address);
      await opened.page.locator('tr.total').waitFor();
      process.kill(bench.console, 'SIGSTOP');
      try {
        await isGone(opened).waitFor({timeout: kSaysGoneMs});
      } finally {
        process.kill(bench.console, 'SIGCONT');
      }
      await opened.page.locator('body:not(.is-gone)').waitFor();
      await opened.close();
    });

    it('says within 5 s that the server was killed, greys, and comes back with a new one', async () => {
      const opened = await Page.open(await browser(), bench.address);
      await opened.page.locator('tr.total').waitFor();
      const colours = () => opened.page.locator('.frame').evaluate((frame) => getComputedStyle(frame).filter);
      assert.equal(await colours(), 'none');
      process.kill(bench.console, 'SIGKILL');
      await isGone(opened).waitFor({timeout: kSaysGoneMs});
      assert.match(await isGone(opened).innerText(), /server is gone since \d\d:\d\d:\d\d/);
      assert.equal(await colours(), 'grayscale(1)');
      await bench.ended;

      bench = await Bench.start({port: bench.port});
      await opened.page.locator('body:not(.is-gone)').waitFor();
      await until('figures of the new gateway', async () => (await opened.account('produced')) === (await bench.state()).account.total.produced);
      await opened.close();
    });
  });
}
