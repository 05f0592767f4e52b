// The server's event stream. A browser opens at most six connections to a server, all its tabs together. So one tab
// has the stream and passes each event on to the others. A lock says which: the browser gives it to the next tab
// when its holder closes, crashes or is frozen. A browser without such locks opens a stream for each tab.

const kAgainAfterMs = 2000;
const kName = 'bench-events';
const kEvents = ['state', 'lines', 'heartbeat', 'resync'];

export class Stream {
  #take;
  #broken;
  #turn = 0;        // counts the times that this tab has queued; an older turn has nothing to say
  #waiting = null;  // ends the wait for the lock
  #release = null;  // gives the lock back
  #tabs = null;
  #source = null;
  #again = 0;

  // `take(name, data)` gets each event, `broken()` is called when this tab's own stream has ended. It is opened again.
  constructor(take, broken) {
    this.#take = take;
    this.#broken = broken;
  }

  start() {
    this.stop();
    if (!navigator.locks || !globalThis.BroadcastChannel) {
      this.#open();
      return;
    }
    this.#tabs = new BroadcastChannel(kName);
    this.#tabs.addEventListener('message', (event) => this.#take(event.data.name, event.data.data));
    this.#queue({});
  }

  // Lets the next tab have the stream, and hears nothing any more.
  stop() {
    this.#turn += 1;
    this.#waiting?.abort();
    this.#giveBack();
    this.#tabs?.close();
    this.#tabs = null;
  }

  // Opens the stream here, also when a tab has it that passes nothing on.
  takeOver() {
    if (this.#source || this.#again || !this.#tabs) this.#open();
    else this.#queue({steal: true});
  }

  async #queue(how) {
    this.#turn += 1;
    const turn = this.#turn;
    this.#waiting?.abort();
    this.#waiting = new AbortController();
    let had = false;
    const hold = () => {
      if (turn !== this.#turn) return null;
      had = true;
      this.#open();
      return new Promise((release) => { this.#release = release; });
    };
    try {
      await navigator.locks.request(kName, how.steal ? how : {signal: this.#waiting.signal}, hold);
    } catch {
      // Another tab has taken the lock, or this tab may have none.
    }
    if (turn !== this.#turn) return;
    this.#giveBack();
    if (had) this.#queue({});
    else this.#open();
  }

  #giveBack() {
    clearTimeout(this.#again);
    this.#again = 0;
    this.#source?.close();
    this.#source = null;
    this.#release?.();
    this.#release = null;
  }

  #open() {
    clearTimeout(this.#again);
    this.#again = 0;
    this.#source?.close();
    this.#source = new EventSource('/api/events');
    this.#source.addEventListener('error', () => this.#end());
    for (const name of kEvents) {
      this.#source.addEventListener(name, (event) => {
        const data = JSON.parse(event.data || 'null');
        this.#tabs?.postMessage({name, data});
        this.#take(name, data);
      });
    }
  }

  #end() {
    this.#source.close();
    this.#source = null;
    this.#again = setTimeout(() => this.#open(), kAgainAfterMs);
    this.#broken();
  }
}
