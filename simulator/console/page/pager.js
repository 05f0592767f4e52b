// Pages through a list that the server gives newest first, with a cursor to the next older page.
import {h, setText} from './dom.js';
import {counted} from './format.js';
import {button, say} from './view.js';

// `read(before)` resolves to the page of the cursor `before` (null: the newest). `show(page, first)`
// shows it. `name` is what is counted: "upload".
export class Pager {
  constructor(name, read, show) {
    this.name = name;
    this.read = read;
    this.show = show;
    this.cursors = [null];
    this.next = null;
    this.text = h('span.hint');
    this.newer = button('Newer', () => this.turn(-1), {class: 'quiet'});
    this.older = button('Older', () => this.turn(1), {class: 'quiet'});
    this.element = h('nav.pager', {'aria-label': `Pages of the ${name} list`}, this.newer, this.older, this.text);
  }

  // True while the newest page is shown, the only one that changes by itself.
  get first() {
    return this.cursors.length === 1;
  }

  // Goes back to the newest page, for instance after a filter changed.
  restart() {
    this.cursors = [null];
    return this.load();
  }

  async turn(by) {
    if (by > 0 && this.next === null) return;
    if (by < 0 && this.first) return;
    if (by > 0) this.cursors.push(this.next);
    else this.cursors.pop();
    await this.load();
    say(`Page ${this.cursors.length} of the ${this.name} list.`);
    this.keepFocus(by);
  }

  // A button that cannot be pressed any more hands the focus to the other one.
  keepFocus(by) {
    const [used, other] = by > 0 ? [this.older, this.newer] : [this.newer, this.older];
    if (used.disabled) other.focus();
  }

  // Reads the page shown. A reply that was overtaken by a turn is dropped.
  async load() {
    const before = this.cursors.at(-1);
    const page = await this.read(before);
    if (before !== this.cursors.at(-1)) return;
    this.next = page.next ?? null;
    this.show(page, this.first);
    this.newer.disabled = this.first;
    this.older.disabled = this.next === null;
    const total = typeof page.total === 'number' ? `, ${counted(page.total, this.name)} in all` : '';
    setText(this.text, `Page ${this.cursors.length}${total}`);
  }
}
