// A whole gateway on the desk. `scripts/run` starts it; its card and databases are read from outside.
import {execFile, spawn} from 'node:child_process';
import path from 'node:path';
import {fileURLToPath} from 'node:url';
import {promisify} from 'node:util';
import {descendants, memoryOf} from './processes.js';

export const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '../..');
const run = promisify(execFile);

const kBuildMs = 900000; // a tree that was never built is built first
const kCard = '/media/mmcblk0p1';

// Resolves when `look` gives something true; fails with `what` after `ms`.
export async function until(what, look, ms = 60000) {
  const end = Date.now() + ms;
  for (;;) {
    const found = await look();
    if (found) return found;
    if (Date.now() > end) throw new Error(`it did not come in ${ms / 1000} s: ${what}`);
    await new Promise((resolve) => { setTimeout(resolve, 200); });
  }
}

// scripts/run builds first, so two of them must not start at the same time.
let lastStart = Promise.resolve();

export class Bench {
  static running = new Set();

  // `speed`: how many times faster than real time the gateway's clock runs. `port` is that of the page, 0 a free one.
  static start({speed = 30, port = 0} = {}) {
    const started = lastStart.catch(() => {}).then(() => Bench.#start(speed, port));
    lastStart = started;
    return started;
  }

  static async #start(speed, port) {
    const bench = new Bench();
    bench.begun = Date.now();
    bench.output = '';
    bench.process = spawn(path.join(root, 'scripts/run'), ['--speed', String(speed), ...(port ? ['--page-port', String(port)] : [])],
      {stdio: ['ignore', 'pipe', 'pipe']});
    Bench.running.add(bench);
    for (const stream of [bench.process.stdout, bench.process.stderr]) stream.on('data', (data) => { bench.output += data; });
    bench.ended = new Promise((resolve) => { bench.process.on('exit', resolve); });
    bench.ended.then(() => Bench.running.delete(bench));
    const page = await until('the page\'s address', () => {
      if (bench.process.exitCode !== null) throw new Error(`scripts/run has ended:\n${bench.output}`);
      return bench.output.match(/page (http:\/\/127\.0\.0\.1:(\d+))\//);
    }, kBuildMs);
    bench.address = page[1];
    bench.port = Number(page[2]);
    [bench.console] = await descendants(bench.process.pid, 'bench-console');
    return bench;
  }

  async stop() {
    this.process.kill('SIGTERM');
    await this.ended;
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

  // Resolves when the cloud has accepted `files` more files of a kind than now.
  async moreAccepted(kind, files = 1) {
    const before = (await this.state()).account[kind].accepted;
    await until(`${files} more accepted files of ${kind}`, async () => (await this.state()).account[kind].accepted >= before + files);
  }

  // What a command says that runs among the gateway's files: the console has mounts of its own.
  async inside(...command) {
    const asUser = process.getuid() === 0 ? [] : ['--user', '--preserve-credentials'];
    const {stdout} = await run('nsenter', ['--target', String(this.console), ...asUser, '--mount', '--wd=/', ...command], {maxBuffer: 1 << 26});
    return stdout;
  }

  // What SQLite's own program says of a database of the card: rows, each a list of texts.
  async rows(database, query) {
    const output = await this.inside('sqlite3', '-readonly', '-cmd', '.timeout 5000', `${kCard}/${database}`, query);
    return output.split('\n').filter(Boolean).map((line) => line.split('|'));
  }

  ledger(query) { return this.rows('Cloud/DB/CloudDB.db', query); }

  // How many files wait by the ledger itself: rows with Result 0.
  async waiting() { return Number((await this.ledger('SELECT count(*) FROM tJsonFileNames WHERE Result=0'))[0][0]); }

  history(query) { return this.rows('demand_history.db', query); }

  // The names of the files of a kind that the cloud has accepted.
  async accepted(kind) { return (await this.inside('ls', `/tmp/cloud/${kind}`)).split('\n').filter(Boolean); }

  // The document in an archive that the cloud has accepted, as tar unpacks it.
  async document(kind, name) {
    return JSON.parse(await this.inside('tar', '-xzOf', `/tmp/cloud/${kind}/${name}`));
  }

  // The processes of this name on the bench.
  processes(name) { return descendants(this.process.pid, name); }

  // {rss, most}: the bytes that the console's server holds now, and the most that it has held.
  consoleMemory() { return memoryOf(this.console); }
}
