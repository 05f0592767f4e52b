// The page in several tabs of a browser. They share one event stream.
import assert from 'node:assert/strict';
import {after, before, describe, it} from 'node:test';
import {Bench, until} from './bench.js';
import {Page} from './page.js';

const kTabs = 10;

// The tabs of a context that ask for the event stream, in their order.
function streamsOf(opened) {
  const asked = [];
  opened.context.on('request', (request) => {
    if (request.url().endsWith('/api/events')) asked.push(request.frame().page());
  });
  return asked;
}

const produced = async (tab) => Number(await tab.locator('tr.total .produced .figure').innerText());

// Resolves when the tab shows more files than now.
async function goesOn(tab) {
  const before = await produced(tab);
  await until('more files on the page', async () => (await produced(tab)) > before);
}

// What the browser tells a page. A headless one freezes no tab, and keeps no page of this server for the way back.
const freeze = () => document.dispatchEvent(new Event('freeze'));
const resume = () => document.dispatchEvent(new Event('resume'));
const hide = () => dispatchEvent(new PageTransitionEvent('pagehide', {persisted: true}));
const show = () => dispatchEvent(new PageTransitionEvent('pageshow', {persisted: true}));

export function tabs(browser) {
  describe('the page in several tabs', {concurrency: 1}, () => {
    let bench;
    let opened;
    let asked;
    let first;

    // A further tab, as soon as it shows figures.
    const openTab = async () => {
      const tab = await opened.context.newPage();
      await tab.goto(`${bench.address}/#road`);
      await tab.locator('tr.total').waitFor();
      return tab;
    };
    const open = async (options = {}) => {
      opened = await Page.open(await browser(), null, options);
      asked = streamsOf(opened);
      first = opened.page;
      await first.goto(`${bench.address}/`);
      await first.locator('tr.total').waitFor();
    };

    before(async () => { bench = await Bench.start({speed: 30}); });
    after(() => bench?.stop());

    it('goes on in ten tabs at once while files reach the cloud', async () => {
      await open();
      const all = [first, ...await Promise.all(Array.from({length: kTabs - 1}, openTab))];
      const [[files]] = await bench.ledger('SELECT count(*) FROM tJsonFileNames WHERE Result=1');

      await Promise.all([bench.moreAccepted('realdata', 3), ...all.map(goesOn)]);

      const [[filesNow]] = await bench.ledger('SELECT count(*) FROM tJsonFileNames WHERE Result=1');
      assert.ok(Number(filesNow) >= Number(files) + 3);
      assert.deepEqual(asked, [first]);
      await opened.close();
    });

    it('hands the stream to the next tab when the tab that has it closes', async () => {
      await open();
      const next = await openTab();
      await first.close();
      await until('the stream of the next tab', () => asked.includes(next));
      await goesOn(next);
      await opened.close();
    });

    for (const [what, leave, wake] of [['freezes a tab', freeze, resume], ['keeps a page for the way back', hide, show]]) {
      it(`hands the stream on when the browser ${what}, which hears the other tab when it is back`, async () => {
        await open();
        const next = await openTab();
        await first.evaluate(leave);
        await until('the stream of the next tab', () => asked.includes(next));
        await first.evaluate(wake);
        await goesOn(first);
        assert.deepEqual(asked, [first, next]);
        await opened.close();
      });
    }

    it('takes the stream over from a tab that hangs', async () => {
      await open();
      await first.goto(`${bench.address}/api/state`);
      await first.evaluate(() => new Promise((has) => {
        navigator.locks.request('bench-events', () => { has(); return new Promise(() => {}); });
      }));
      const next = await openTab();
      await until('the stream of the next tab', () => asked.includes(next));
      await goesOn(next);
      await opened.close();
    });

    it('opens a stream for each tab where the browser has no locks', async () => {
      await open({begin: () => { delete Navigator.prototype.locks; }});
      const next = await openTab();
      assert.deepEqual(asked, [first, next]);
      await Promise.all([goesOn(first), goesOn(next)]);
      assert.deepEqual(opened.trouble, []);
      await opened.close();
    });
  });
}
