// Every fault of the catalogue, started on its card and healed by itself.
import assert from 'node:assert/strict';
import {describe, it} from 'node:test';
import {Bench, until} from './bench.js';
import {Page} from './page.js';

const kSpeed = 60;
const kLongestMs = 150000; // a fault and its healing

// What the card is given instead of what it offers: the stall is in real time.
const inputs = {stall: {seconds: '3'}};

// The newest run of a fault, when it has ended.
async function ended(bench, fault) {
  const {recent} = await bench.get('/api/faults');
  return recent.filter((run) => run.fault === fault).sort((a, b) => b.run - a.run)[0] ?? null;
}

function told(run) {
  const missed = run.expectations.filter((each) => each.met_unix_s === null).map((each) => each.text);
  return `${run.verdict}: ${run.text} Not seen: ${missed.join(' ') || 'nothing'}`;
}

async function breakAndHeal(bench, opened, {fault, title, params}) {
  const card = opened.fault(fault);
  for (const [name, value] of Object.entries(inputs[fault] ?? {})) {
    await card.getByLabel(params.find((each) => each.name === name).title, {exact: true}).fill(value);
  }
  await card.getByRole('button', {name: `Start: ${title}`, exact: true}).click();
  await card.getByRole('button', {name: `Stop: ${title}`, exact: true}).waitFor().catch(async () => {
    throw new Error(`it does not start: ${await card.innerText()} ${opened.trouble.join(' ')} ${bench.output.slice(-1000)}`);
  });
  const run = await until(`the end of ${fault}`, () => ended(bench, fault), kLongestMs);
  assert.equal(run.verdict, 'as expected', told(run));
  await card.getByText('as expected', {exact: true}).waitFor();
  assert.equal(await card.locator('.expectations .met').count(), run.expectations.length);
}

function group(browser, name, chosen) {
  it(`ends each fault ${name} as its card says`, async (test) => {
    const bench = await Bench.start({speed: kSpeed});
    const opened = await Page.open(await browser(), bench.address, {hash: '#faults'});
    try {
      await bench.moreAccepted('realdata');
      const {catalogue} = await bench.get('/api/faults');
      const faults = catalogue.filter(chosen);
      assert.ok(faults.length > 0);
      for (const fault of faults) {
        await test.test(`breaks and heals: ${fault.title}`, () => breakAndHeal(bench, opened, fault));
      }
      await test.test('has lost no file in the end, and nothing is wrong', async () => {
        let account = null;
        const isNormal = async () => { ({account} = await bench.state()); return account.normal; };
        await until('all normal', isNormal).catch(() => { throw new Error(`not normal: ${account.reasons.join(' ')}`); });
        const {total} = account;
        assert.equal(total.lost + total.judged_sent, 0, JSON.stringify(total));
        assert.deepEqual(opened.trouble, []);
      });
    } finally {
      await opened.close();
      await bench.stop();
    }
  });
}

// Three benches at once: faults of one bench disturb each other.
export function faults(browser) {
  describe('the faults of the page', () => {
    group(browser, 'of the cloud', (fault) => fault.group === 'cloud' && fault.fault !== 'redirect');
    group(browser, 'of acquisition side and card', (fault) => ['acquisition', 'card'].includes(fault.group));
    group(browser, 'of service, address and clock', (fault) => fault.fault === 'redirect' || ['service', 'clock'].includes(fault.group));
  });
}
