// The bench console's page in a headless browser, with a record of everything that it must not do.
import {readFile} from 'node:fs/promises';
import {createRequire} from 'node:module';
import {chromium} from 'playwright-core';

const axeFile = createRequire(import.meta.url).resolve('axe-core/axe.min.js');

// Chromium asks its maker's hosts for updates and the like, unless it is told not to. Whole pixels make screenshots small.
const kArguments = ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking',
  '--disable-component-update', '--disable-sync', '--disable-font-subpixel-positioning'];

const kLongestWaitMs = 60000; // for one thing on the page

export const views = ['road', 'values', 'month', 'uploads', 'alarms', 'recalls', 'card', 'faults', 'scenarios', 'trace'];

export function openBrowser() {
  return chromium.launch({executablePath: '/usr/bin/chromium', args: kArguments});
}

export class Page {
  // `hash` is the view; `begin` is a function that runs in the page before the page's own code; with `clock` the test
  // can hold and move the page's clock.
  static async open(browser, address, {hash = '', begin = null, clock = false, ...options} = {}) {
    const opened = new Page();
    opened.context = await browser.newContext({viewport: {width: 1280, height: 900}, acceptDownloads: true, ...options});
    opened.context.setDefaultTimeout(kLongestWaitMs);
    opened.trouble = [];
    if (begin) await opened.context.addInitScript(begin);
    opened.page = await opened.context.newPage();
    if (clock) await opened.page.clock.install();
    opened.#watch();
    if (address) await opened.#go(`${address}/${hash}`);
    return opened;
  }

  async #go(to) {
    await this.page.goto(to);
    await this.page.locator('main h1').waitFor();
  }

  #watch() {
    // A violation of the content security policy is an error on the console, too.
    this.page.on('console', (message) => {
      if (['error', 'warning'].includes(message.type())) this.trouble.push(`console: ${message.text()}`);
    });
    this.page.on('pageerror', (error) => this.trouble.push(`error: ${error.message}`));
    this.page.on('request', (request) => {
      if (!/^(http:\/\/127\.0\.0\.1[:/]|data:|blob:)/.test(request.url())) this.trouble.push(`request to ${request.url()}`);
    });
  }

  // Opens a view, as following its link does.
  async show(hash) {
    await this.page.evaluate((to) => { location.hash = to; }, hash);
    await this.page.locator(`#to-${hash.match(/\w+/)[0]}[aria-current=page]`).waitFor({state: 'attached'});
    await this.page.locator('main h1').waitFor();
  }

  // Resolves when the view has read what it shows.
  async settled() {
    await this.page.locator('tr.total').waitFor();
    await this.page.waitForFunction(() => ![...document.querySelectorAll('main .empty')]
      .some((each) => each.checkVisibility() && each.textContent.startsWith('Reading')));
  }

  text(selector = 'main') { return this.page.locator(selector).innerText(); }

  // The figure of a column of the account in the bar, for all files.
  async account(column) { return Number(await this.text(`tr.total .${column} .figure`)); }

  // The card of a fault on the view of faults.
  fault(name) { return this.page.locator('article.fault', {has: this.page.locator(`#fault-${name}`)}); }

  // What axe-core finds on the page as it is, by all of its rules or by some: one line each.
  async findings(rules = null) {
    await this.page.evaluate(`${await readFile(axeFile, 'utf8')};0`);
    return this.page.evaluate(async (runOnly) => {
      const result = await globalThis.axe.run(document, {resultTypes: ['violations'], ...(runOnly && {runOnly})});
      return result.violations.map((one) => `${one.id}: ${one.nodes.map((node) => node.target.join(' ')).join(', ')}`);
    }, rules);
  }

  close() { return this.context.close(); }
}
