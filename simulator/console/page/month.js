// The month: 31 days by hours, each cell the worst state of its files. An hour opens into its slots.
import {get} from './api.js';
import {changed, fill, h, setText, table} from './dom.js';
import {counted, duration, minute, stamp} from './format.js';
import {gatewayNow} from './live.js';
import {buildHour} from './hour.js';
import {head, notice, panel} from './view.js';

const kPollMs = 5000;
const kHourSeconds = 3600;

// From the worst to the best, then what is no state of a file. The mark stands in the cell too.
export const slotStates = {
  missing: ['×', 'missing', 'no file was made'],
  pending: ['…', 'waits', 'made, and waits to be sent'],
  'judged-sent': ['?', 'judged sent', 'counts as sent on the gateway, but the cloud never accepted it'],
  aged: ['−', 'aged', 'removed unsent after 31 days'],
  'sent-again': ['↻', 'sent again', 'it took more than one attempt, or was accepted more than once'],
  accepted: ['✓', 'accepted', 'accepted by the cloud'],
  none: ['', 'nothing due', 'no file was due'],
  before: ['', 'before the start', 'before the first file'],
  future: ['', 'still to come', 'still to come'],
};

const months = ['January', 'February', 'March', 'April', 'May', 'June', 'July', 'August', 'September', 'October', 'November', 'December'];

function dayName(date) {
  return `${Number(date.slice(8))} ${months[Number(date.slice(5, 7)) - 1]}`;
}

const two = (number) => String(number).padStart(2, '0');

function words(day, hour) {
  return `${dayName(day.date)}, ${two(hour)}:00: ${slotStates[day.hours[hour]]?.[1] ?? day.hours[hour]}`;
}

function legend() {
  return h('ul.legend', Object.entries(slotStates).filter(([id]) => !['none', 'before'].includes(id)).map(([id, [mark, name, text]]) =>
    h('li', h(`span.cell.${id}`, {'aria-hidden': 'true'}, mark), h('span', h('strong', name), text === name ? '' : `: ${text}`))));
}

// The grid of hours, the newest day on top. Arrow keys move, Enter opens, as in a spreadsheet; one cell takes part in the tab order.
class Grid {
  constructor(open) {
    this.open = open;
    this.days = [];
    this.at = null;
    this.readout = h('p.readout', 'Move over an hour, or use the arrow keys. Enter or a click opens it.');
    this.element = h('div.month', {role: 'grid', 'aria-label': 'Hours of the last 31 days', 'aria-readonly': 'true'});
    this.element.addEventListener('keydown', (event) => this.key(event));
    for (const name of ['click', 'focusin', 'pointerover']) this.element.addEventListener(name, (event) => this.point(name, event));
  }

  draw(days) {
    const had = this.element.contains(document.activeElement);
    this.days = days;
    this.at ??= [0, 0];
    this.at[0] = Math.min(this.at[0], days.length - 1);
    fill(this.element, this.hours(), days.map((day, row) => this.row(day, row)));
    if (had) this.cell(...this.at).focus({preventScroll: true});
  }

  hours() {
    const heads = Array.from({length: 24}, (_, hour) =>
      h('span.hour', {role: 'columnheader', 'aria-label': `${two(hour)}:00`}, h('span', {class: hour % 6 === 0 ? 'six' : ''}, two(hour))));
    return h('div.month-row', {role: 'row'}, h('span.day', {role: 'columnheader'}, h('span.unseen', 'Day')), heads);
  }

  row(day, row) {
    return h('div.month-row', {role: 'row'},
      h('span.day', {role: 'rowheader'}, h('span.wide', day.date.slice(0, 8)), day.date.slice(8)),
      day.hours.map((state, hour) => h(`span.cell.${state}`, {
        role: 'gridcell', tabindex: this.at[0] === row && this.at[1] === hour ? '0' : '-1',
        'aria-label': words(day, hour), 'data-at': `${row} ${hour}`,
      }, slotStates[state]?.[0] ?? '')));
  }

  cell(row, hour) {
    return this.element.children[row + 1].children[hour + 1];
  }

  move(row, hour) {
    this.cell(...this.at).tabIndex = -1;
    this.at = [Math.max(0, Math.min(this.days.length - 1, row)), Math.max(0, Math.min(23, hour))];
    const cell = this.cell(...this.at);
    cell.tabIndex = 0;
    cell.focus();
  }

  key(event) {
    const [row, hour] = this.at;
    const moves = {ArrowUp: [row - 1, hour], ArrowDown: [row + 1, hour], ArrowLeft: [row, hour - 1], ArrowRight: [row, hour + 1],
      Home: [row, 0], End: [row, 23], PageUp: [0, hour], PageDown: [this.days.length - 1, hour]};
    if (moves[event.key]) this.move(...moves[event.key]);
    else if (event.key === 'Enter' || event.key === ' ') this.openAt(row, hour);
    else return;
    event.preventDefault();
  }

  point(name, event) {
    const at = event.target.closest('[data-at]')?.dataset.at.split(' ').map(Number);
    if (!at) return;
    setText(this.readout, words(this.days[at[0]], at[1]));
    if (name !== 'click') return;
    this.move(...at);
    this.openAt(...at);
  }

  openAt(row, hour) {
    this.open(this.days[row].from_unix_s + hour * kHourSeconds, words(this.days[row], hour).split(':')[0] + ':00');
  }
}

const kMostGaps = 200;

// The newest gaps first.
function gapTable() {
  const rows = table('Gaps', [{title: 'First missing', class: 'time'}, {title: 'Last missing', class: 'time'}, {title: 'Missing', class: 'num'}, {title: 'Cause'}]);
  const none = h('p.empty', 'There is no gap: every file that was due was made.');
  const more = h('p.hint', {hidden: true});
  const element = panel('Gaps', none, rows.element, more);
  element.hidden = true;
  return {element, draw: changed((gaps) => {
    element.hidden = false;
    none.hidden = gaps.length > 0;
    rows.element.hidden = gaps.length === 0;
    more.hidden = gaps.length <= kMostGaps;
    setText(more, `${counted(gaps.length - kMostGaps, 'older gap')} not shown`);
    rows.fill([...gaps].reverse().slice(0, kMostGaps), (gap) => gap.from_unix_s, (gap) => [stamp(gap.from_unix_s), `${stamp(gap.to_unix_s)}${gap.open ? ', goes on' : ''}`,
      counted(gap.missing, 'file'), gap.cause || 'not known']);
  })};
}

export const month = {
  id: 'month',
  title: 'Month',
  build(view) {
    const said = notice();
    const hour = h('div');
    const interval = h('p.hint');
    const gaps = gapTable();
    const grid = new Grid((from, title) => buildHour(hour, from, title, () => grid.cell(...grid.at).focus()));
    const draw = changed((days) => grid.draw(days));
    const sheet = h('div.panel', {hidden: true}, grid.readout, grid.element, interval);
    view.root.append(head('Month', 'Each cell is an hour of real data and shows the worst state of its files.'),
      said.element, sheet, hour, panel('Legend', legend()), gaps.element);
    view.poll(kPollMs, async () => {
      try {
        const reply = await get('/api/month');
        if (reply.days.length === 0) {
          said.none('No file was made yet.');
          return;
        }
        sheet.hidden = false;
        draw([...reply.days].reverse());
        gaps.draw(reply.gaps);
        const now = gatewayNow();
        setText(interval, `A file is due every ${duration(reply.interval_s)}.${now ? ` Now it is ${minute(now)} at the gateway.` : ''}`);
        said.clear();
      } catch (error) {
        said.failed(error);
      }
    });
  },
};
