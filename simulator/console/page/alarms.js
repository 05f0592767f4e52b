// The alarm events, decoded, newest first.
import {get} from './api.js';
import {badge, h, table} from './dom.js';
import {value, when} from './format.js';
import {gatewayNow} from './live.js';
import {Pager} from './pager.js';
import {head, notice, visit} from './view.js';

const kPollMs = 3000;

const states = {recorded: ['waiting', 'recorded, not yet taken'], taken: ['waiting', 'taken by the service'], accepted: ['good', 'accepted']};

function measured(alarm) {
  const unit = alarm.unit ? ` ${alarm.unit}` : '';
  return `${value(alarm.trigger)}${unit} against ${value(alarm.threshold)}${unit}`;
}

function stateCell(alarm) {
  const [state, text] = states[alarm.state] ?? ['off', alarm.state];
  return [badge(state, text),
    alarm.upload_id !== null && h('p', h('a', {href: visit('uploads', {id: alarm.upload_id})},
      'Document', h('span.unseen', ` of the alarm of ${alarm.name}`)))];
}

function cells(alarm) {
  return [
    when(alarm.unix_s, gatewayNow()),
    [h('strong', alarm.name || 'point without a name'), h('p.hint', `${alarm.device}, `, h('code', alarm.point))],
    badge(alarm.raised ? 'broken' : 'good', alarm.raised ? 'raised' : 'cleared'),
    [h('code', alarm.code), ' ', alarm.meaning], alarm.grade, measured(alarm), stateCell(alarm),
  ];
}

export const alarms = {
  id: 'alarms',
  title: 'Alarms',
  build(view) {
    const said = notice();
    const rows = table('Alarm events, newest first', [{title: 'Time', class: 'time'}, {title: 'Point'}, {title: 'Event'}, {title: 'Code'},
      {title: 'Grade', class: 'num'}, {title: 'Value and threshold'}, {title: 'State'}]);
    const show = (page) => {
      rows.fill(page.alarms, (alarm) => alarm.key, cells);
      rows.element.hidden = page.alarms.length === 0;
      if (page.alarms.length > 0) said.clear();
      else said.none('No alarm event yet. The acquisition side records one every minute of gateway time, unless it was told otherwise.');
    };
    const pager = new Pager('alarm', (before) => get('/api/alarms', {before, limit: 50}), show);
    view.root.append(head('Alarms', 'Each event of the plant, what it means, and whether the cloud has it.'),
      said.element, rows.element, pager.element);
    view.poll(kPollMs, async () => {
      if (pager.first) await pager.load().catch(said.failed);
    });
  },
};
