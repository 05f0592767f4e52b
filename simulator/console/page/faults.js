// Faults: what can go wrong, in groups; what runs now; random faults and their report.
import {get, post} from './api.js';
import {changed, field, fill, h, table} from './dom.js';
import {clock, sentence, when} from './format.js';
import {FaultCard, runText, verdictBadge} from './faultcard.js';
import {gatewayNow, on} from './live.js';
import {button, head, notice, panel, result} from './view.js';

const groups = [['cloud', 'Cloud'], ['acquisition', 'Acquisition side'], ['card', 'Card'], ['service', 'Service'], ['clock', 'Clock']];

function buildRandom(view) {
  const minutes = h('input', {type: 'number', min: '1', max: '1440', value: '5'});
  const seed = h('input', {type: 'number', min: '0', value: '1'});
  const outcome = result();
  const running = h('p.hint');
  const begin = button('Start random faults', async () => {
    try {
      await post('/api/faults/random', {minutes: Number(minutes.value), seed: Number(seed.value)});
      outcome.good('Random faults have started. The same seed gives the same faults.');
    } catch (error) {
      outcome.failed(error);
    }
  }, {class: 'primary'});
  view.onState((state) => {
    const random = state.faults?.random;
    running.textContent = random ? `Random faults run until ${clock(random.until_unix_s)} with seed ${random.seed}.` : 'No random faults run.';
  });
  return panel('Random faults', h('p', 'Starts faults one after the other. The report has the account, each fault and its verdict.'),
    h('div.fields', field('Gateway minutes', minutes), field('Seed', seed), begin,
      h('a.button', {href: '/api/faults/report', download: 'bench-report.json'}, 'Download the report')), running, outcome.element);
}

function buildRecent(view) {
  const none = h('p.empty', 'No fault has ended yet.');
  const rows = table('Faults that have ended', [{title: 'Fault'}, {title: 'Started', class: 'time'}, {title: 'Verdict'}, {title: 'Why'}]);
  const draw = changed((runs) => {
    none.hidden = runs.length > 0;
    rows.element.hidden = runs.length === 0;
    rows.fill(runs, (run) => run.run, (run) => [run.title, when(run.started_unix_s, gatewayNow()), verdictBadge(run), sentence(run.text) || '–']);
  });
  view.onState((state) => draw([...(state.faults?.recent ?? [])].sort((a, b) => b.run - a.run).slice(0, 30)));
  return panel('Ended', none, rows.element);
}

function newestRun(faults, id) {
  const mine = [...(faults?.active ?? []), ...(faults?.recent ?? [])].filter((run) => run.fault === id);
  return mine.reduce((best, run) => (best === null || run.run > best.run ? run : best), null);
}

function buildNow(view) {
  const list = h('ul.plain');
  const names = changed((runs) => fill(list, runs.length === 0 && h('li.hint', 'The console has no fault active. Trouble that comes from elsewhere is not listed here: look at the road.'),
    runs.map((run) => h('li', verdictBadge(run), ' ', h('strong', run.title), ' ', runText(run)))));
  // Rounded to five seconds: the list is read, not watched.
  view.onState((state) => names((state.faults?.active ?? []).map((run) => ({...run, expectations: [], text: Math.ceil(gatewayNow() / 5)}))));
  return panel('Active faults of the console', list);
}

function buildCatalogue(view, place, catalogue) {
  const cards = catalogue.map((fault) => new FaultCard(fault));
  const known = new Set(groups.map(([id]) => id));
  const others = catalogue.filter((fault) => !known.has(fault.group)).map((fault) => [fault.group, fault.group]);
  const heads = [];
  const sections = [...groups, ...new Map(others)].map(([id, title]) => {
    const mine = cards.filter((card) => card.fault.group === id);
    if (mine.length === 0) return null;
    heads.push(h('h2', {tabindex: '-1'}, title));
    return h('section.group', {'aria-label': `Faults: ${title}`}, heads.at(-1), h('div.cards', mine.map((card) => card.element)));
  });
  fill(place, h('p.actions', h('span.label', 'Go to'), heads.map((each) => button(each.textContent, () => each.focus(), {class: 'quiet'}))),
    sections);
  view.onState((state) => cards.forEach((card) => card.take(newestRun(state.faults, card.fault.fault))));
  view.onTick(() => cards.forEach((card) => card.tick()));
  const wanted = cards.find((card) => card.fault.fault === view.parameters.fault);
  if (wanted) {
    wanted.title.focus();
    wanted.element.scrollIntoView({block: 'start'});
  }
}

export const faults = {
  id: 'faults',
  title: 'Faults',
  build(view) {
    const said = notice();
    const place = h('div.stack');
    const load = async () => {
      try {
        const {catalogue} = await get('/api/faults');
        if (view.ended) return;
        if (catalogue.length === 0) said.none('The server knows no fault.');
        else said.clear();
        buildCatalogue(view, place, catalogue);
      } catch (error) {
        said.failed(error);
      }
    };
    view.root.append(head('Faults', 'Break something and see what happens. Each fault says beforehand what should happen, ends by itself, and gets a verdict.'),
      buildNow(view), said.element, place, buildRandom(view), buildRecent(view));
    view.onEnd(on('gone', (since) => {
      if (since === null && !place.hasChildNodes()) load();
    }));
    load();
  },
};
