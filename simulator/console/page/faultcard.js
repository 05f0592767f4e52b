// The card of one fault: what it does, what should happen, its parameters, and its run.
import {post} from './api.js';
import {badge, changed, field, fill, h, select, setText} from './dom.js';
import {clock, duration, sentence} from './format.js';
import {gatewayNow} from './live.js';
import {button, result, say} from './view.js';

const phases = {during: 'while it lasts', after: 'after its end'};

function expectation(each, run) {
  const met = each.met_unix_s ?? null;
  const over = run?.verdict;
  const state = met !== null ? 'met' : over ? 'missed' : 'open';
  const told = {met: `seen at ${clock(met)}`, missed: 'not seen', open: run ? 'not seen yet' : ''}[state];
  return h('li', {class: state}, h('span.tick', {'aria-hidden': 'true'}), h('span', each.text,
    each.phase && h('span.hint', ` (${phases[each.phase] ?? each.phase})`), told && h('span.told', ` ${told}`)));
}

// What the run is at, in a sentence.
export function runText(run) {
  if (run.state === 'healing') return 'The fault is over. Waiting until everything has healed.';
  if (run.state === 'active') {
    return run.ends_unix_s === null ? 'until it is stopped.' : `${duration(run.ends_unix_s - gatewayNow())} left.`;
  }
  return `Ran at ${clock(run.started_unix_s)}.`;
}

export function verdictBadge(run) {
  if (run.state === 'active') return badge('waiting', 'active');
  if (run.state === 'healing') return badge('waiting', 'healing');
  if (!run.verdict) return badge('off', 'no verdict');
  return badge(run.verdict === 'as expected' ? 'good' : 'broken', run.verdict);
}

function control(parameter) {
  if (parameter.kind === 'choice') return select(parameter.choices, String(parameter.default));
  if (parameter.kind === 'number') {
    return h('input', {type: 'number', min: parameter.min, max: parameter.max, step: 'any', value: parameter.default ?? ''});
  }
  return h('input', {type: 'text', value: parameter.default ?? ''});
}

function read(parameter, element) {
  return parameter.kind === 'number' ? Number(element.value) : element.value;
}

export class FaultCard {
  constructor(fault) {
    this.fault = fault;
    this.run = null;
    this.outcome = result();
    this.state = h('p.run');
    this.left = h('span');
    this.list = h('ul.expectations');
    this.controls = (fault.params ?? []).map((parameter) => [parameter, control(parameter)]);
    this.seconds = fault.seconds > 0 ? h('input', {type: 'number', min: '1', max: '86400', value: fault.seconds}) : null;
    this.start = button('Start', () => this.begin(), {class: 'primary', 'aria-label': `Start: ${fault.title}`});
    this.stop = button('Stop', () => this.finish(), {'aria-label': `Stop: ${fault.title}`, hidden: true});
    this.draw = changed(() => this.show());
    this.element = this.build();
    this.draw(null);
  }

  build() {
    const {fault} = this;
    const title = h('h3', {tabindex: '-1', id: `fault-${fault.fault}`}, fault.title);
    this.title = title;
    const fields = h('div.fields', this.controls.map(([parameter, element]) => field(parameter.title, element)),
      this.seconds && field('Gateway seconds', this.seconds), this.start, this.stop);
    const cannot = h('p.hint', `Not possible here: ${fault.reason}`);
    return h('article.panel.fault', {'aria-labelledby': title.id}, title, h('p', fault.text),
      h('h4', 'What should happen'), this.list, this.state, fault.available === false ? cannot : fields, this.outcome.element);
  }

  // Takes the newest run of this fault, or null.
  take(run) {
    this.run = run;
    this.draw(run);
    this.tick();
  }

  show() {
    const {run} = this;
    const active = run && run.state !== 'ended';
    this.element.classList.toggle('is-active', Boolean(active));
    const expected = run?.expectations ?? this.fault.expectation_texts.map((text) => ({text}));
    fill(this.list, expected.map((each) => expectation(each, run)));
    fill(this.state, run && [verdictBadge(run), ' ', this.left, run.text && ` ${sentence(run.text)}`]);
    if (run?.state === 'ended') this.outcome.clear();
    const focused = document.activeElement === this.stop;
    this.stop.hidden = run?.state !== 'active';
    if (focused && this.stop.hidden) this.start.focus();
  }

  tick() {
    if (this.run) setText(this.left, runText(this.run));
  }

  async begin() {
    const params = Object.fromEntries(this.controls.map(([parameter, element]) => [parameter.name, read(parameter, element)]));
    const body = {fault: this.fault.fault, ...(this.seconds && {seconds: Number(this.seconds.value)}), params};
    try {
      const run = await post('/api/faults/start', body);
      this.outcome.good('Started. What should happen is ticked off as it comes.');
      if (run.state) this.take(run);
    } catch (error) {
      this.outcome.failed(error);
    }
  }

  async finish() {
    try {
      await post('/api/faults/stop', {run: this.run.run});
      this.outcome.good('Stopped.');
      say(`${this.fault.title} is stopped.`);
    } catch (error) {
      this.outcome.failed(error);
    }
  }
}
