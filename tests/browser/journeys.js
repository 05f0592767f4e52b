// What an integrator does on the page, each step held against the gateway's own files and databases.
import assert from 'node:assert/strict';
import {after, before, describe, it} from 'node:test';
import {Bench, until} from './bench.js';
import {Devtools, kMega, quantile, updatesOf, watchUpdates} from './cost.js';
import {Page} from './page.js';

const kPoint = '1/1:0001';
const kDataId = 0x01010001;
const kUntilStopped = '86400'; // gateway seconds of a fault
const kHealsMs = 300000;

const texts = (locator) => locator.allInnerTexts();

// The rows of a table as lists of texts.
async function cells(table) {
  const rows = await table.locator('tbody tr').all();
  return Promise.all(rows.map((row) => texts(row.locator('td'))));
}

// The value of a point in a document of live values, as a number.
function valueIn(document, groupId, eqpId, pointId) {
  const device = document.data.find((each) => each.groupId === groupId && each.eqpId === eqpId);
  return Number(device.values.find((each) => each.pointId === pointId).value);
}

const stampOf = (name) => name.match(/^[STR](\d{14})/)[1];
const clockOf = (stamp) => stamp.slice(8).replace(/(..)(..)(..)/, '$1:$2:$3');

export function journeys(browser) {
  describe('the page of a gateway', {concurrency: 1}, () => {
    let bench;
    let opened;
    let page;

    before(async () => {
      bench = await Bench.start({speed: 30});
      opened = await Page.open(await browser(), bench.address, {begin: watchUpdates});
      page = opened.page;
    });

    after(async () => {
      await opened?.close();
      await bench?.stop();
    });

    it('shows a first value within a minute of its start', async () => {
      await opened.show('#values');
      await page.locator('.point .value').filter({hasText: /\d/}).first().waitFor();
      const seconds = (Date.now() - bench.begun) / 1000;
      assert.ok(seconds < 60, `${seconds} s`);
    });

    it('shows a value being published, and received as the accepted file has it', async () => {
      await opened.show('#values');
      await page.getByLabel('Find a point').fill(kPoint);
      await page.getByRole('checkbox', {name: kPoint}).check();
      const card = page.locator('section.series', {hasText: kPoint});
      await card.getByText(/Published: -?\d.*Received: -?\d/).waitFor();
      await card.getByText('As a table').click();

      const received = await until('a received value in the table', async () => {
        const rows = (await cells(card)).filter((row) => /\d/.test(row[2])); // others: not due, or a gap
        return rows.length > 0 && rows;
      });
      const names = new Map((await bench.accepted('realdata')).map((name) => [clockOf(stampOf(name)), name]));
      for (const [time, , value] of received.slice(0, 5)) {
        const document = await bench.document('realdata', names.get(time));
        assert.equal(Number(value), valueIn(document, 1, 1, '0001'), `the value of ${time}`);
      }
    });

    it('lets a recall be ordered, ticks off its way, and shows the values of the history', async () => {
      await opened.show('#recalls');
      await page.getByLabel('Find a point').fill(kPoint);
      await page.getByRole('checkbox', {name: kPoint}).check();
      await page.getByRole('button', {name: 'Order the recall'}).click();
      const said = await page.getByText(/Recall \d+ is ordered/).innerText();
      const id = Number(said.match(/\d+/)[0]);
      const row = page.locator('tr', {has: page.getByRole('link', {name: `Recall ${id}`, exact: true})});
      await until('four steps of the recall', async () => (await row.locator('.steps .done').count()) === 4);

      const file = await row.locator('a.file').innerText();
      await opened.show(`#recalls?id=${id}`);
      const card = page.locator('section.series', {hasText: kPoint});
      await card.getByText('As a table').click();
      const shown = (await cells(card)).map(([time, value]) => [Date.parse(`${time}Z`) / 1000, Number(value)]);
      const {groupId, eqpId, pointId, flag, values} = (await bench.document('calldata', file)).data[0];
      assert.deepEqual([groupId, eqpId, pointId, flag].map(String), ['1', '1', '0001', '1']);
      const offset = (await bench.state()).clocks.gateway_offset_s;
      const local = shown.map(([time]) => time - offset);
      const history = await bench.history(`SELECT UnixTime, round(TriggerValue, 3) FROM history_0101_tbl
        WHERE dataid=${kDataId} AND UnixTime BETWEEN ${local[0]} AND ${local.at(-1)} ORDER BY UnixTime`);
      assert.ok(shown.length >= 10, `${shown.length} values`);
      assert.deepEqual(shown.map(([time, value]) => [time - offset, value]), history.map((each) => each.map(Number)));
      assert.deepEqual(shown.map(([, value]) => value), values.map((each) => Number(each.value)));
    });

    it('lets the history of a whole device be ordered', async () => {
      const {points} = await bench.get('/api/values/points');
      const ids = points.map((point) => point.id).filter((id) => id.startsWith('2/11:')).sort();
      await opened.show('#recalls');
      await page.getByLabel('Or a whole device').selectOption('2/11');
      await page.getByRole('button', {name: 'Choose the device'}).click();
      await page.getByRole('button', {name: 'Order the recall'}).click();
      const id = Number((await page.getByText(/Recall \d+ is ordered/).innerText()).match(/\d+/)[0]);
      const recall = async () => (await bench.get('/api/recalls')).recalls.find((each) => each.id === id);
      assert.ok(ids.length > 20, `${ids.length} points`);
      assert.deepEqual([...(await recall()).points].sort(), ids);
      await until('the accepted recall', async () => (await recall()).accepted_unix_s);
      assert.equal((await bench.get(`/api/recalls/one?id=${id}`)).series.length, ids.length);
    });

    it('shows refused files waiting as the ledger has them, and draining when the cloud accepts again', async () => {
      await opened.show('#faults');
      const card = opened.fault('refuse-uploads');
      await card.getByLabel('Gateway seconds').fill(kUntilStopped);
      await card.getByRole('button', {name: /^Start: /}).click();
      await until('waiting files in the account, as many as rows with Result 0',
        async () => (await opened.account('pending')) >= 3 && (await opened.account('pending')) === await bench.waiting());
      await page.locator('#bar').getByRole('link', {name: 'Refuse uploads'}).waitFor();

      await opened.show('#uploads?verdict=not');
      await page.getByText('not accepted').nth(1).waitFor();
      const refused = (await page.locator('main a.file').first().innerText()).trim();
      await page.locator('main a.file').first().click();
      await page.getByRole('heading', {name: refused, level: 1}).waitFor();
      await page.getByRole('region', {name: 'Answer of the cloud'}).getByText('"status":1').waitFor();

      await opened.show('#faults');
      await until('what should happen meanwhile, ticked off', async () => (await card.locator('.expectations .met').count()) >= 4);
      await card.getByRole('button', {name: /^Stop: /}).click();
      await card.getByText('as expected', {exact: true}).waitFor({timeout: kHealsMs});
      assert.equal(await card.locator('.expectations .met').count(), await card.locator('.expectations li').count());
      await until('no file waits, in the account and in the ledger',
        async () => (await opened.account('pending')) === 0 && (await bench.waiting()) === 0);
      const [[result]] = await bench.ledger(`SELECT Result FROM tJsonFileNames WHERE FileName LIKE '%${refused}'`);
      assert.equal(result, '1');
    });

    it('shows a gap and names its cause, where the ledger has no file', async () => {
      await opened.show('#faults');
      const card = opened.fault('stop-acquisition');
      await card.getByLabel('Gateway seconds').fill(kUntilStopped);
      await card.getByRole('button', {name: /^Start: /}).click();
      await opened.show('#road');
      await page.locator('.stage', {hasText: 'the acquisition side does not run'}).waitFor();
      await opened.show('#faults');
      await until('what should happen meanwhile, ticked off', async () => (await card.locator('.expectations .met').count()) >= 2);
      await card.getByRole('button', {name: /^Stop: /}).click();
      await card.getByText('as expected', {exact: true}).waitFor({timeout: kHealsMs});

      await opened.show('#month');
      const gaps = page.locator('section', {has: page.getByRole('heading', {name: 'Gaps'})});
      // A busy desk may have gaps of its own, for another cause.
      const [from, to, missing] = await until('a gap whose cause is the acquisition side', async () =>
        (await cells(gaps)).find((row) => /the acquisition side published nothing/.test(row[3])));
      const {interval_s: interval} = await bench.get('/api/month');
      const unix = (text) => Date.parse(`${text}Z`) / 1000;
      const due = Math.round((unix(to) - unix(from)) / interval) + 1;
      assert.equal(missing, `${due} ${due === 1 ? 'file' : 'files'}`);
      const stamp = (text) => text.replace(/\D/g, '');
      const files = await bench.ledger(`SELECT FileName FROM tJsonFileNames WHERE FileType=2
        AND substr(FileName,-21,14) BETWEEN '${stamp(from)}' AND '${stamp(to)}'`);
      assert.deepEqual(files, []);

      await page.getByRole('gridcell', {name: 'missing'}).first().click();
      const hour = page.locator('section', {has: page.getByRole('heading', {name: /^Hour:/})});
      await hour.locator('tr', {hasText: /missing\s*no file/}).first().waitFor();
    });

    it('tells what a fault does with the parameters that are chosen', async () => {
      await opened.show('#faults');
      const card = opened.fault('alarm-burst');
      await card.getByLabel('Alarm events').fill('61');
      await card.getByLabel('Alarm events').press('Tab');
      await card.getByText('The service makes 4 files of alarms.').waitFor();
    });

    it('takes back with all faults off what was set at the clock', async () => {
      await opened.show('#road');
      await page.getByLabel('Step in seconds').fill('3600');
      await page.getByRole('button', {name: 'Step the clock'}).click();
      await page.getByLabel('Speed').selectOption('60');
      await page.getByRole('button', {name: 'Set speed'}).click();
      await page.locator('#bar').getByText('clock set 1 h ahead, speed ×60, ×30 at first').waitFor();

      await page.getByRole('button', {name: 'All faults off'}).click();

      await until('the clock as at the start', async () => {
        const {speed, stepped_s: stepped} = (await bench.state()).clocks;
        return speed === 30 && stepped === 0;
      });
      await page.locator('#bar .active').waitFor({state: 'hidden'});
    });

    it('costs little, on the page and in the console', async () => {
      const metric = await (await Devtools.open(opened)).metric();
      const {updates} = await updatesOf(opened);
      const {most} = await bench.consoleMemory();
      assert.ok(updates.length > 20, `${updates.length} updates`);
      assert.ok(quantile(updates, 0.5) < 100, `an update takes ${quantile(updates, 0.5)} ms in the median`);
      assert.ok(metric('JSHeapUsedSize') < 64 * kMega, `the page has ${metric('JSHeapUsedSize')} bytes of heap`);
      assert.ok(most < 64 * kMega, `the console's server has had ${most} bytes`);
    });

    it('keeps to this machine and logs no error on all of this way', () => {
      assert.deepEqual(opened.trouble, []);
    });
  });
}
