// Scenarios: every action is a request. A session is recorded into a file that plays by itself.
import {onRequest, post, requests} from './api.js';
import {badge, changed, field, fill, h, keyed} from './dom.js';
import {counted, sentence} from './format.js';
import {button, copyButton, head, panel, result} from './view.js';

function buildRecorder(view) {
  const outcome = result();
  const state = h('p');
  let recording = false;
  const toggle = button('Start recording', async () => {
    const wanted = !recording;
    try {
      await post('/api/scenario/record', {on: wanted});
      outcome.good(wanted ? 'Recording. Every action of any page becomes a line.' : 'The recording has ended. Download the file.');
    } catch (error) {
      outcome.failed(error);
    }
  }, {class: 'primary'});
  const draw = changed((scenario) => {
    recording = scenario.recording;
    toggle.textContent = recording ? 'Stop recording' : 'Start recording';
    fill(state, badge(recording ? 'waiting' : 'off', recording ? 'recording' : 'not recording'), ` ${counted(scenario.lines, 'line')} so far`);
  });
  view.onState((now) => draw({recording: now.scenario?.recording ?? false, lines: now.scenario?.lines ?? 0}));
  return panel('Record', h('p', 'Record what you do on the pages. The times between become pauses.'), state,
    h('p.actions', toggle, h('a.button', {href: '/api/scenario/file', download: 'session.scenario'}, 'Download the file')), outcome.element);
}

function buildPlay() {
  const line = h('pre.code', {tabindex: '0', role: 'region', 'aria-label': 'Command that plays a scenario'}, 'scripts/run --scenario session.scenario');
  return panel('Play', h('p', 'A scenario plays by itself and ends with 0, or with 1 when an expectation fails.'), line,
    h('p', 'Add expectations to the file by hand, for instance:'),
    h('pre.code', {tabindex: '0', role: 'region', 'aria-label': 'Example of expectations'},
      'wait 120 account.total.pending >= 1\nexpect account.total.lost == 0'));
}

function request(each) {
  const line = h('code', each.curl);
  return h('li', badge(each.error ? 'broken' : 'good', each.error ? 'failed' : 'done'),
    h('div', line, each.error && h('p.failed', sentence(each.error))), copyButton(() => each.curl, line));
}

function buildRequests(view) {
  const none = h('p.empty', 'No action was sent from this page yet.');
  const list = h('ol.requests');
  const draw = () => {
    none.hidden = requests.length > 0;
    keyed(list, requests, (each) => `${each.at} ${each.curl}`, request);
  };
  view.onEnd(onRequest(draw));
  draw();
  return panel('Actions of this page', none, list);
}

// Sends any action by hand, as a scenario file can.
function buildByHand() {
  const path = h('input', {type: 'text', value: '/api/clock', spellcheck: 'false'});
  const body = h('textarea', {rows: '3', spellcheck: 'false'}, '{"speed": 10}');
  const outcome = result();
  const send = button('Send', async () => {
    try {
      const reply = await post(path.value, JSON.parse(body.value));
      outcome.good(JSON.stringify(reply).slice(0, 500));
    } catch (error) {
      outcome.failed(error instanceof SyntaxError ? new Error('The object is no valid JSON.') : error);
    }
  });
  return panel('Send an action by hand', h('div.fields', field('Path', path), field('JSON object', body), send), outcome.element);
}

export const scenarios = {
  id: 'scenarios',
  title: 'Scenarios',
  build(view) {
    view.root.append(head('Scenarios', 'Every click is a request. Repeat it in a terminal, or record a session and play it again.'),
      h('div.columns', buildRecorder(view), buildPlay()), buildRequests(view), buildByHand());
  },
};
