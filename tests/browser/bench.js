// A whole gateway on the desk, and a browser that looks at its page.
//
// `scripts/run` starts the gateway. Its card and its configuration stay in a folder, so that a test can hold
// what the page shows against the files and the ledger.
import {execFile, spawn} from 'node:child_process';
import {mkdtemp, readFile, rm} from 'node:fs/promises';
import {createRequire} from 'node:module';
import {tmpdir} from 'node:os';
import path from 'node:path';
import {fileURLToPath} from 'node:url';
import {promisify} from 'node:util';
import {chromium} from 'playwright-core';

export const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '../..');
const axeFile = createRequire(import.meta.url).resolve('axe-core/axe.min.js');

// Chromium asks its maker's hosts for updates and the like, unless it is told not to.
const kArguments = ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking',
  '--disable-component-update', '--disable-sync'];

// Resolves when `look` gives something true; fails with `what` after `ms`.
export async function until(what, look, ms = 60000) {
  const end = Date.now() + ms;
  for (;;) {
    const found = await look();
    if (found) return found;
    if (Date.now() > end) throw new Error(`it did not come in ${ms / 1000} s: ${what}`);
    await new Promise((resolve) => setTimeout(resolve, 200));
  }
}

export class Bench {
  // `speed`: how many times faster than real time the gateway's clock runs.
  static async start({speed = 30, keep = true} = {}) {
    const bench = new Bench();
    bench.folder = await mkdtemp(path.join(tmpdir(), 'brennik-browser-'));
    const environment = {...process.env, ...(keep ? {BRENNIK_SANDBOX_KEEP: bench.folder} : {})};
    bench.begun = Date.now();
    bench.process = spawn(path.join(root, 'scripts/run'), ['--speed', String(speed)], {env: environment, stdio: ['ignore', 'pipe', 'pipe']});
    bench.output = '';
    for (const stream of [bench.process.stdout, bench.process.stderr]) stream.on('data', (data) => { bench.output += data; });
    bench.ended = new Promise((resolve) => bench.process.on('exit', resolve));
    const page = await until('the page\'s address', () => {
      if (bench.process.exitCode !== null) throw new Error(`scripts/run has ended:\n${bench.output}`);
      return bench.output.match(/page (http:\/\/127\.0\.0\.1:\d+)\//);
    }, 900000);
    bench.address = page[1];
    return bench;
  }

  async stop() {
    this.process.kill('SIGTERM');
    await this.ended;
    await rm(this.folder, {recursive: true, force: true});
  }

  async get(place) {
    const reply = await fetch(this.address + place);
    if (!reply.ok) throw new Error(`${place}: HTTP ${reply.status} ${await reply.text()}`);
    return reply.json();
  }

  async post(place, body) {
    const reply = await fetch(this.address + place, {method: 'POST', headers: {'Content-Type': 'application/json'}, body: JSON.stringify(body)});
    const answer = await reply.json();
    if (!reply.ok) throw new Error(`${place}: HTTP ${reply.status} ${answer.error}`);
    return answer;
  }

  state() { return this.get('/api/state'); }

  // A path of the gateway in the kept folder.
  at(place) { return path.join(this.folder, place); }

  // Rows of the ledger on the card, read by SQLite's own program.
  async ledger(query) {
    const {stdout} = await promisify(execFile)('sqlite3', ['-readonly', '-cmd', '.timeout 2000', this.at('media/mmcblk0p1/Cloud/DB/CloudDB.db'), query]);
    return stdout.trim();
  }
}

// A page with a record of everything that it must not do.
export class Page {
  static async browser() {
    return chromium.launch({executablePath: '/usr/bin/chromium', args: kArguments});
  }

  static async open(browser, address, options = {}) {
    const context = await browser.newContext({viewport: {width: 1280, height: 900}, acceptDownloads: true, ...options});
    const opened = new Page();
    opened.context = context;
    opened.trouble = [];
    opened.page = await context.newPage();
    opened.page.on('console', (message) => {
      if (['error', 'warning'].includes(message.type())) opened.trouble.push(`console: ${message.text()}`);
    });
    opened.page.on('pageerror', (error) => opened.trouble.push(`error: ${error.message}`));
    opened.page.on('request', (request) => {
      if (!/^(http:\/\/127\.0\.0\.1[:/]|data:|blob:)/.test(request.url())) opened.trouble.push(`request to ${request.url()}`);
    });
    // A violation of the content security policy is an error on the console, too.
    await opened.page.goto(`${address}/`);
    return opened;
  }

  async show(hash) {
    await this.page.evaluate((to) => { location.hash = to; }, hash);
    await this.page.locator('main h1').waitFor();
  }

  text(selector = 'main') { return this.page.locator(selector).innerText(); }

  // What axe-core finds on the page as it is: one line each.
  async faults() {
    await this.page.evaluate(`${await readFile(axeFile, 'utf8')};0`);
    return this.page.evaluate(async () => {
      const result = await globalThis.axe.run(document, {resultTypes: ['violations']});
      return result.violations.map((one) => `${one.id}: ${one.nodes.map((node) => node.target.join(' ')).join(', ')}`);
    });
  }

  async close() { await this.context.close(); }
}
