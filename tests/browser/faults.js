// Every fault of the catalogue, started on its card and healed.
import assert from 'node:assert/strict';
import {describe, it} from 'node:test';
import {Bench, until} from './bench.js';
import {Page} from './page.js';

const kSpeed = 60;
const kLongestMs = 300000;       // for the gateway to show a fault, and to heal
const kUntilStopped = '86400';   // gateway seconds

// These have happened when they have begun, and end by themselves.
const strokes = ['alarm-burst', 'kill-service'];

// The newest run of a fault, active or ended.
async function newestRun(bench, fault) {
  const {active, recent} = await bench.get('/api/faults');
  return [...active, ...recent].filter((run) => run.fault === fault).sort((a, b) => b.run - a.run)[0] ?? null;
}

const unseen = (run) => run.expectations.filter((each) => each.met_unix_s === null);

// Waits until the newest run of a fault passes `test`; says at a failure what has not been seen of it.
async function runThat(bench, fault, test) {
  let run = null;
  await until(fault, async () => {
    run = await newestRun(bench, fault);
    return run !== null && test(run);
  }, kLongestMs).catch((error) => {
    throw new Error(`${error.message}: ${run?.state} ${run?.text} Not seen: ${run ? unseen(run).map((each) => each.text).join(' ') : 'anything'}`);
  });
  return run;
}

async function breakAndHeal(bench, opened, {fault, title}) {
  const card = opened.fault(fault);
  if (!strokes.includes(fault)) await card.getByLabel('Gateway seconds').fill(kUntilStopped);
  await card.getByRole('button', {name: `Start: ${title}`, exact: true}).click();
  await until('a run of the fault', () => newestRun(bench, fault)).catch(async () => {
    throw new Error(`it does not start: ${await card.innerText()} ${opened.trouble.join(' ')} ${bench.output.slice(-1000)}`);
  });
  if (!strokes.includes(fault)) {
    await runThat(bench, fault, (run) => unseen(run).every((each) => each.phase !== 'during'));
    await card.getByRole('button', {name: `Stop: ${title}`, exact: true}).click();
  }
  const run = await runThat(bench, fault, ({state}) => state === 'ended');
  assert.deepEqual([run.verdict, unseen(run)], ['as expected', []], run.text);
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
        // A killed service may leave one archive that it had not recorded. The account must say so.
        const isKilled = faults.some(({fault}) => ['kill-service', 'power-cut', 'refuse-login'].includes(fault));
        const isUnrecorded = () => isKilled && account.reasons.length === 1 && account.total.lost_unrecorded > 0;
        const isNormal = async () => { ({account} = await bench.state()); return account.normal || isUnrecorded(); };
        await until('all normal', isNormal, kLongestMs).catch(() => { throw new Error(`not normal: ${account.reasons.join(' ')}`); });
        const {total} = account;
        assert.equal(total.lost - (isKilled ? total.lost_unrecorded : 0) + total.judged_sent, 0, JSON.stringify(total));
        assert.deepEqual(opened.trouble, []);
      });
    } finally {
      await opened.close();
      await bench.stop();
    }
  });
}

// A bench for each group: faults of one bench disturb each other.
export function faults(browser) {
  describe('the faults of the page', () => {
    group(browser, 'of the cloud', (fault) => fault.group === 'cloud' && fault.fault !== 'redirect');
    group(browser, 'of acquisition side and card', (fault) => ['acquisition', 'card'].includes(fault.group));
    group(browser, 'of service, address and clock', (fault) => fault.fault === 'redirect' || ['service', 'clock'].includes(fault.group));
  });
}
