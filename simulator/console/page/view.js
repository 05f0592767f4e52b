// What every view has: its root, its parameters, and listeners that end with it.
import {fill, h} from './dom.js';
import {sentence} from './format.js';
import {live, on} from './live.js';

const spoken = () => document.getElementById('spoken');

// Tells a screen reader something that happened. The same text twice is told twice.
export function say(text) {
  fill(spoken(), h('p', text));
}

export class View {
  // `root` is where the view builds; `parameters` is an object of the address's query.
  constructor(root, parameters) {
    this.root = root;
    this.parameters = parameters;
    this.ends = [];
    this.ended = false;
  }

  end() {
    this.ended = true;
    for (const end of this.ends) end();
  }

  onEnd(end) {
    this.ends.push(end);
  }

  // Calls `listener(state)` now, if there is a state, and with each new one.
  onState(listener) {
    this.onEnd(on('state', listener));
    if (live.state) listener(live.state);
  }

  onTick(listener) {
    this.onEnd(on('tick', listener));
    if (live.state) listener();
  }

  onLines(listener) {
    this.onEnd(on('lines', listener));
  }

  // Calls `work` now and every `ms` milliseconds, never twice at once, not while the page is hidden
  // or the server is gone. Returns a function that asks for it at once.
  poll(ms, work) {
    let timer = 0;
    let busy = false;
    let wanted = false;
    const round = async () => {
      clearTimeout(timer);
      if (busy) {
        wanted = true;
        return;
      }
      busy = true;
      do {
        wanted = false;
        if (!document.hidden && live.goneSince === null) await work();
      } while (wanted && !this.ended);
      busy = false;
      if (!this.ended) timer = setTimeout(round, ms);
    };
    this.onEnd(() => clearTimeout(timer));
    round();
    return round;
  }
}

// A line that says what a view is doing, that it has nothing yet, or what failed. It is empty when
// the view shows something.
export function notice() {
  const element = h('p.empty', 'Reading …');
  return {
    element,
    none(text) {
      element.className = 'empty';
      element.textContent = text;
      element.hidden = false;
    },
    failed(error) {
      element.className = 'empty failed';
      element.textContent = sentence(`This cannot be shown: ${error.message}`);
      element.hidden = false;
    },
    clear() {
      element.hidden = true;
    },
  };
}

// The line of an action's result beside its button, told to screen readers.
export function result() {
  const element = h('p.result', {role: 'status'});
  return {
    element,
    good(text) {
      element.className = 'result good';
      element.textContent = text;
    },
    failed(error) {
      element.className = 'result failed';
      element.textContent = sentence(error.message);
    },
    clear() {
      element.textContent = '';
    },
  };
}

// The head of a view: its title, which takes the focus when the view opens, and what it is for.
export function head(title, text) {
  return h('div.head', h('h1', {tabindex: '-1'}, title), text && h('p.lead', text));
}

// A panel with a title.
export function panel(title, ...children) {
  return h('section.panel', h('h2', title), children);
}

// A button. While its action runs it cannot be pressed again.
export function button(text, act, properties = {}) {
  const element = h('button', {type: 'button', ...properties}, text);
  element.addEventListener('click', async () => {
    if (element.getAttribute('aria-disabled') === 'true') return;
    element.setAttribute('aria-disabled', 'true');
    try {
      await act(element);
    } finally {
      element.removeAttribute('aria-disabled');
    }
  });
  return element;
}

// A button that puts a text into the clipboard, or selects it where the browser refuses.
export function copyButton(text, target) {
  return button('Copy', async (element) => {
    try {
      await navigator.clipboard.writeText(text());
      element.textContent = 'Copied';
      say('Copied.');
      setTimeout(() => {
        element.textContent = 'Copy';
      }, 2000);
    } catch {
      getSelection().selectAllChildren(target);
      say('The text is selected. Copy it with the keyboard.');
    }
  }, {class: 'quiet'});
}

export function visit(id, parameters = {}) {
  const query = new URLSearchParams(parameters).toString();
  return query === '' ? `#${id}` : `#${id}?${query}`;
}
