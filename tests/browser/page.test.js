// The bench console's page in a browser. One process runs all parts, so that benches start one after the other.
import {after, describe} from 'node:test';
import {Bench} from './bench.js';
import {openBrowser} from './page.js';
import {access} from './access.js';
import {faults} from './faults.js';
import {journeys} from './journeys.js';
import {outages} from './outage.js';
import {shown} from './shown.js';
import {tabs} from './tabs.js';

let opened = null;
const browser = () => { opened ??= openBrowser(); return opened; };

// Whatever ends this process ends the benches and the browser, too.
for (const signal of ['SIGINT', 'SIGTERM', 'SIGHUP']) {
  process.once(signal, () => Promise.allSettled([...Bench.running].map((bench) => bench.stop())).then(() => process.exit(1)));
}

describe('the bench console', {concurrency: 3}, () => {
  faults(browser);
  access(browser);
  journeys(browser);
  outages(browser);
  tabs(browser);
  shown(browser);
  after(async () => (await opened)?.close());
});
