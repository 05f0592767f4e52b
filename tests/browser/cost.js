// What an open page costs: its updates and its heap.
export const kMega = 1 << 20;

// To run in the page before its own code. Times each event of the stream, with the layout that follows from it.
export function watchUpdates() {
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

export function quantile(sorted, part) {
  return sorted.length === 0 ? 0 : sorted[Math.min(sorted.length - 1, Math.floor(sorted.length * part))];
}

// The milliseconds of all updates so far, rising, and of the long tasks.
export async function updatesOf(opened) {
  const {updates, longTasks} = await opened.page.evaluate(() => ({updates: globalThis.updates, longTasks: globalThis.longTasks}));
  return {updates: updates.sort((a, b) => a - b), longTasks};
}

export class Devtools {
  static async open(opened) {
    const devtools = new Devtools();
    devtools.session = await opened.context.newCDPSession(opened.page);
    await devtools.session.send('Performance.enable', {timeDomain: 'threadTicks'});
    return devtools;
  }

  // The browser's metrics of the page, after its garbage was collected.
  async metric() {
    await this.session.send('HeapProfiler.collectGarbage');
    const {metrics} = await this.session.send('Performance.getMetrics');
    return (name) => metrics.find((each) => each.name === name).value;
  }
}
