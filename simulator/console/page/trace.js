// One file's trace: from the snapshot to the acceptance as spans over time, with faults behind.
import {get} from './api.js';
import {badge, changed, field, fill, h} from './dom.js';
import {clock, duration, sentence, stamp} from './format.js';
import {gatewayNow} from './live.js';
import {button, head, notice, panel, visit} from './view.js';

const kPollMs = 2000;

function range(trace, now) {
  const times = trace.spans.flatMap((span) => [span.from_unix_s, span.to_unix_s ?? now]);
  const from = Math.min(...times);
  const to = Math.max(...times, from + 1);
  return {from, to, part: (unix) => Math.max(0, Math.min(1, (unix - from) / (to - from)))};
}

// Places an element between two times, at least wide enough to be seen.
function put(element, scale, from, to) {
  const left = scale.part(from) * 100;
  const width = Math.max(0.6, scale.part(to) * 100 - left);
  element.style.left = `${Math.min(left, 99.4).toFixed(2)}%`;
  element.style.width = `${width.toFixed(2)}%`;
  return element;
}

function spanRow(span, scale, now) {
  const to = span.to_unix_s ?? now;
  const open = span.to_unix_s === null;
  const took = to - span.from_unix_s;
  const bar = put(h(`span.span.${open ? 'waiting' : span.good ? 'good' : 'broken'}`), scale, span.from_unix_s, to);
  const how = open ? `since ${clock(span.from_unix_s)}, for ${duration(took)} so far`
    : took > 0 ? `${clock(span.from_unix_s)} to ${clock(to)}, ${duration(took)}` : `at ${clock(span.from_unix_s)}`;
  return h('li', h('div.span-head', h('strong', span.title), ' ', badge(open ? 'waiting' : span.good ? 'good' : 'broken', open ? 'goes on' : span.good ? 'good' : 'failed'),
    h('span.hint', how)), h('div.track', {'aria-hidden': 'true'}, bar), span.text && h('p.hint', sentence(span.text)));
}

function faultBands(trace, scale, now) {
  return h('div.bands', {'aria-hidden': 'true'}, trace.faults.filter((fault) => fault.from_unix_s <= scale.to && (fault.to_unix_s ?? now) >= scale.from)
    .map((fault) => put(h('span.band'), scale, fault.from_unix_s, fault.to_unix_s ?? now)));
}

function show(place, trace) {
  const now = gatewayNow() ?? 0;
  const scale = range(trace, now);
  fill(place, panel('Spans',
    h('div.trace', faultBands(trace, scale, now), h('ol', trace.spans.map((span) => spanRow(span, scale, now))),
      h('div.axis', {'aria-hidden': 'true'}, h('span', clock(scale.from)), h('span', clock(scale.to)))),
    h('p.hint', `From ${stamp(scale.from)} to ${stamp(scale.to)}.`)),
  panel('Faults in this time', trace.faults.length === 0 ? h('p.empty', 'No fault was active in this time.')
    : h('ul.plain', trace.faults.map((fault) => h('li', h('span.key.band', {'aria-hidden': 'true'}), h('strong', fault.title),
      ` from ${clock(fault.from_unix_s)} ${fault.to_unix_s === null ? 'until now' : `to ${clock(fault.to_unix_s)}`}`)))),
  h('p', h('a', {href: visit('uploads', {file: trace.name})}, 'Upload of this file')));
}

function buildForm(name) {
  const input = h('input', {type: 'text', value: name, spellcheck: 'false', placeholder: 'S20261122150000.tar.gz'});
  const go = () => {
    location.hash = visit('trace', {name: input.value.trim()});
  };
  input.addEventListener('keydown', (event) => {
    if (event.key === 'Enter') go();
  });
  return h('div.fields', field('Name of the file', input), button('Show', go, {class: 'primary'}));
}

// The newest files, to begin with.
async function offer(place) {
  try {
    const {uploads} = await get('/api/uploads', {limit: 5});
    fill(place, uploads.length === 0 ? h('p.empty', 'No file has reached the cloud yet.')
      : panel('Newest files at the cloud', h('ul.plain', uploads.map((each) => h('li', h('a.file', {href: visit('trace', {name: each.name})}, each.name))))));
  } catch (error) {
    fill(place, h('p.failed', error.message));
  }
}

export const trace = {
  id: 'trace',
  title: 'Trace',
  build(view) {
    const name = view.parameters.name ?? '';
    const said = notice();
    const place = h('div.stack');
    const title = head(name === '' ? 'Trace' : `Trace of ${name}`, 'The way of one file, from the snapshot of the values to its acceptance.');
    view.root.append(title, buildForm(name), said.element, place);
    if (name === '') {
      said.none('Type the name of a file, or open a trace from the month, the uploads or the ledger.');
      offer(place);
      return;
    }
    const draw = changed(({reply}) => show(place, reply));
    view.poll(kPollMs, async () => {
      try {
        const reply = await get('/api/trace', {name});
        if (view.ended) return;
        const open = reply.spans.some((span) => span.to_unix_s === null);
        if (reply.spans.length === 0) {
          said.none('Nothing is known of this file.');
          return;
        }
        said.clear();
        draw({reply, now: open ? Math.floor(gatewayNow()) : 0});
      } catch (error) {
        said.failed(error);
      }
    });
  },
};
