// Measures the page and the console's server while the gateway's clock runs at 60 times real time.
//
// usage: node measure.js [MINUTES]     (real minutes; 24 are a day of the gateway)
import {setTimeout as sleep} from 'node:timers/promises';
import {Bench, until} from './bench.js';
import {Page, openBrowser} from './page.js';

const kMega = 1 << 20;
const minutes = Number(process.argv[2] ?? 24);
const round = (number, digits = 1) => Number(number.toFixed(digits));

// Runs in the page before its own code. Times each event of the stream, with the layout that follows from it.
function watchUpdates() {
  globalThis.updates = [];
  globalThis.longTasks = [];
  new PerformanceObserver((list) => globalThis.longTasks.push(...list.getEntries().map((entry) => entry.duration))).observe({type: 'longtask'});
  const add = EventSource.prototype.addEventListener;
  EventSource.prototype.addEventListener = function listen(name, take, ...more) {
    if (name !== 'state') return add.call(this, name, take, ...more);
    return add.call(this, name, (event) => {
      const begun = performance.now();
      take(event);
      document.body.getBoundingClientRect();
      globalThis.updates.push(performance.now() - begun);
    }, ...more);
  };
}

function quantile(sorted, part) {
  return sorted.length === 0 ? 0 : sorted[Math.min(sorted.length - 1, Math.floor(sorted.length * part))];
}

// One page that stays on one view.
class Watched {
  static async open(browser, bench, hash) {
    const watched = new Watched();
    watched.hash = hash;
    const opened = await Page.open(browser, bench.address, {begin: watchUpdates, hash});
    watched.opened = opened;
    watched.devtools = await opened.context.newCDPSession(opened.page);
    await watched.devtools.send('Performance.enable', {timeDomain: 'threadTicks'});
    return watched;
  }

  async figures() {
    await this.devtools.send('HeapProfiler.collectGarbage');
    const {metrics} = await this.devtools.send('Performance.getMetrics');
    const metric = (name) => metrics.find((each) => each.name === name).value;
    const {updates, longTasks} = await this.opened.page.evaluate(() => ({updates: globalThis.updates, longTasks: globalThis.longTasks}));
    const sorted = [...updates].sort((a, b) => a - b);
    return {
      view: this.hash.replace(/\?.*/, ''), updates: sorted.length,
      median_ms: round(quantile(sorted, 0.5)), p99_ms: round(quantile(sorted, 0.99)), longest_ms: round(sorted.at(-1) ?? 0),
      long_tasks: longTasks.length, over_100_ms: longTasks.filter((each) => each > 100).length, longest_task_ms: round(Math.max(0, ...longTasks)),
      cpu_ms_an_update: round(metric('TaskDuration') * 1000 / sorted.length), heap_mb: round(metric('JSHeapUsedSize') / kMega), elements: metric('Nodes'), trouble: this.opened.trouble.length,
    };
  }
}

// From the start of scripts/run on a built tree to the first value that the page shows.
async function firstValues(browser) {
  const bench = await Bench.start({speed: 10});
  const opened = await Page.open(browser, bench.address, {hash: '#values'});
  await opened.page.locator('.point .value').filter({hasText: /\d/}).first().waitFor({timeout: 120000});
  const published = Date.now() - bench.begun;
  await until('a received value', async () => (await bench.state()).account.total.accepted > 0, 120000);
  const received = Date.now() - bench.begun;
  await opened.close();
  await bench.stop();
  return {first_value_on_the_page_s: round(published / 1000), first_file_accepted_s: round(received / 1000)};
}

async function main() {
  const browser = await openBrowser();
  console.log(JSON.stringify(await firstValues(browser)));
  const bench = await Bench.start({speed: 60});
  const {points} = await until('the points', async () => {
    const reply = await bench.get('/api/values/points');
    return reply.points.length > 0 ? reply : null;
  });
  const ids = points.slice(0, 8).map((point) => point.id).join(',');
  const pages = [];
  for (const hash of ['#road', `#values?ids=${ids}`, '#month', '#uploads', '#faults', '#card']) {
    pages.push(await Watched.open(browser, bench, hash));
  }
  await pages[1].opened.page.getByLabel('Span').selectOption('600');
  const end = Date.now() + minutes * 60000;
  while (Date.now() < end) {
    await sleep(Math.min(60000, Math.max(0, end - Date.now())));
    const memory = await bench.consoleMemory();
    const {account, clocks} = await bench.state();
    console.log(JSON.stringify({at: new Date().toISOString(), gateway: clocks.gateway_text, points: points.length, total: account.total,
      text: account.text, server_rss_mb: round(memory.rss / kMega), server_most_mb: round(memory.most / kMega)}));
    for (const page of pages) console.log(JSON.stringify(await page.figures()));
  }
  await browser.close();
  await bench.stop();
}

await main();
