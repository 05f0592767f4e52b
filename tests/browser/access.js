// For whom and where the page works: keyboard alone, a phone, light and dark, little motion.
import assert from 'node:assert/strict';
import {mkdir, stat} from 'node:fs/promises';
import path from 'node:path';
import {after, before, describe, it} from 'node:test';
import {Bench, root, until} from './bench.js';
import {Page, views} from './page.js';

const kPhone = {viewport: {width: 360, height: 740}, isMobile: true, hasTouch: true};
const kLargestPicture = 150 * 1024; // bytes
const kPicturesIn = process.env.BRENNIK_SCREENSHOTS || path.join(root, 'build/screenshots');
const kPictured = ['road', 'values', 'month', 'uploads', 'faults'];

// Addresses of every view, with something in it to show.
async function filledViews(bench) {
  const [upload] = (await bench.get('/api/uploads?kind=realdata&limit=1')).uploads;
  const [recall] = (await bench.get('/api/recalls')).recalls;
  const more = [`values?ids=1/1:0001,1/1:0002`, `uploads?id=${upload.id}`, `recalls?id=${recall.id}`, `trace?name=${upload.name}`];
  return [...views, ...more].map((view) => `#${view}`);
}

// What has the focus, by the name that a screen reader says.
const focused = (page) => page.evaluate(() => {
  const element = document.activeElement;
  return element.getAttribute('aria-label') ?? element.innerText.trim();
});

// Presses Tab until the control of this name has the focus.
async function tabTo(page, name) {
  const passed = [];
  while (passed.length < 150) {
    await page.keyboard.press('Tab');
    passed.push(await focused(page));
    if (passed.at(-1) === name) return;
  }
  throw new Error(`Tab does not reach "${name}", only ${passed.join(', ')}`);
}

// The names of what is wider than the page.
const tooWide = (page) => page.evaluate(() => {
  const width = document.documentElement.clientWidth;
  if (document.documentElement.scrollWidth <= width) return [];
  return [...document.querySelectorAll('body *')].filter((each) => each.getBoundingClientRect().right > width + 1)
    .map((each) => `${each.tagName.toLowerCase()}.${each.className}`);
});

// Whether the element with the focus shows that it has it.
const hasRing = (page) => page.evaluate(() => getComputedStyle(document.activeElement).outlineStyle !== 'none');

// Puts a program's text without a blank into each place that shows such texts. Returns the places that it leaves.
const leftByRawText = (page) => page.evaluate(() => {
  const places = [...document.querySelectorAll('.stage .hint, .reasons li, .side p, .facts dd, .banner')];
  for (const place of places) place.textContent = JSON.stringify({status: 1, message: 'refused'.repeat(40)});
  return places.filter((each) => each.scrollWidth > each.clientWidth + 1 || each.getBoundingClientRect().right > each.parentElement.getBoundingClientRect().right + 1)
    .map((each) => `${each.parentElement.className} ${each.className}`);
});

async function takePicture(opened, view) {
  const file = path.join(kPicturesIn, `${view}.png`);
  await mkdir(kPicturesIn, {recursive: true});
  await opened.page.mouse.move(0, 0);
  await opened.page.screenshot({path: file});
  const {size} = await stat(file);
  assert.ok(size < kLargestPicture, `${view}.png has ${size} bytes`);
}

export function access(browser) {
  describe('the page for everybody', {concurrency: 1}, () => {
    let bench;

    before(async () => {
      bench = await Bench.start({speed: 30});
      await until('a file of each kind', async () => {
        const {realdata, alarmdata, calldata} = (await bench.state()).account;
        return realdata.accepted > 2 && alarmdata.accepted > 0 && calldata.accepted > 0;
      });
    });

    after(() => bench?.stop());

    it('lets a fault be started and stopped with the keyboard alone', async () => {
      const opened = await Page.open(await browser(), bench.address);
      const {page} = opened;
      const runs = async () => (await bench.state()).faults.active.filter((run) => run.fault === 'unpublished-point');
      await tabTo(page, 'Faults');
      await page.keyboard.press('Enter');
      await until('the focus on the title of the view', async () => (await focused(page)) === 'Faults' && page.url().endsWith('#faults'));
      await opened.fault('unpublished-point').waitFor();
      assert.equal(await hasRing(page), true);

      await tabTo(page, 'Start: Unpublished point');
      await page.keyboard.press('Shift+Tab');
      await page.keyboard.press('Control+A');
      await page.keyboard.type('86400');
      await page.keyboard.press('Tab');
      await page.keyboard.press('Enter');
      await until('the fault is active', async () => (await runs()).some((run) => run.state === 'active'));
      await tabTo(page, 'Stop: Unpublished point');
      await page.keyboard.press('Space');
      await until('the fault is over', async () => (await runs()).every((run) => run.state !== 'active'));

      await until('the focus on what comes next', async () => (await focused(page)) === 'Start: Unpublished point');
      assert.deepEqual(opened.trouble, []);
      await opened.close();
    });

    it('gives the focus to the title of a view that the mouse opens, and shows no ring', async () => {
      const opened = await Page.open(await browser(), bench.address);
      await opened.page.locator('#to-month').click();
      await until('the focus on the title', async () => (await focused(opened.page)) === 'Month' && opened.page.url().endsWith('#month'));
      assert.equal(await hasRing(opened.page), false);
      await opened.close();
    });

    it('fits every view on a phone without scrolling sideways and without a fault of access', async () => {
      const opened = await Page.open(await browser(), bench.address, kPhone);
      for (const hash of await filledViews(bench)) {
        await opened.show(hash);
        await opened.settled();
        assert.deepEqual(await tooWide(opened.page), [], hash);
        assert.deepEqual(await opened.findings(), [], hash);
      }
      assert.deepEqual(opened.trouble, []);
      await opened.close();
    });

    // Only the contrast differs in the dark.
    for (const [colorScheme, rules] of [['light', null], ['dark', ['color-contrast']]]) {
      it(`shows every view in ${colorScheme} colours without a fault of access and without an error`, async () => {
        const opened = await Page.open(await browser(), bench.address, {colorScheme});
        for (const hash of await filledViews(bench)) {
          await opened.show(hash);
          await opened.settled();
          assert.deepEqual(await opened.findings(rules), [], hash);
        }
        assert.deepEqual(opened.trouble, []);
        await opened.close();
      });
    }

    for (const [name, options] of [['a desk', {}], ['a phone', kPhone]]) {
      it(`keeps a program's raw text within its box on the screen of ${name}`, async () => {
        const opened = await Page.open(await browser(), bench.address, {hash: '#road', ...options});
        await opened.page.locator('.stage').nth(4).waitFor();
        assert.deepEqual(await leftByRawText(opened.page), []);
        await opened.close();
      });
    }

    it('moves nothing for those who want little motion', async () => {
      const opened = await Page.open(await browser(), bench.address, {hash: '#road', reducedMotion: 'reduce'});
      const moving = () => opened.page.evaluate(() => [...document.querySelectorAll('*')].filter((each) => {
        const {transitionDuration, animationDuration} = getComputedStyle(each);
        return [...transitionDuration.split(','), ...animationDuration.split(',')].some((time) => parseFloat(time) > 0.01);
      }).map((each) => `${each.tagName.toLowerCase()}.${each.className}`));
      await opened.page.locator('.workers li').first().waitFor();
      assert.deepEqual(await moving(), []);
      await opened.close();
    });

    it('looks as in the pictures of the documents', async () => {
      const opened = await Page.open(await browser(), bench.address, {colorScheme: 'light', viewport: {width: 1280, height: 720}});
      for (const view of kPictured) {
        await opened.show(view === 'values' ? '#values?ids=1/1:0001,1/1:0002' : `#${view}`);
        await opened.settled();
        await takePicture(opened, view);
      }
      await opened.close();
    });
  });
}
