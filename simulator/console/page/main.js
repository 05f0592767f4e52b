// The frame of the page: which view is shown, the list of views, and the line of the last request.
import {requests, onRequest} from './api.js';
import {startBar} from './bar.js';
import {fill, h, setText} from './dom.js';
import {on, start} from './live.js';
import {View, copyButton, visit} from './view.js';
import {alarms} from './alarms.js';
import {card} from './card.js';
import {faults} from './faults.js';
import {month} from './month.js';
import {recalls} from './recalls.js';
import {road} from './road.js';
import {scenarios} from './scenarios.js';
import {trace} from './trace.js';
import {uploads} from './uploads.js';
import {values} from './values.js';

const views = [road, values, month, uploads, alarms, recalls, card, faults, scenarios, trace];
const main = document.getElementById('main');
let shown = null;

function links() {
  return h('ul', {id: 'views'}, views.map((view) =>
    h('li', h('a', {href: visit(view.id), id: `to-${view.id}`}, view.title))));
}

function buildNav() {
  const open = h('button.menu', {type: 'button', 'aria-expanded': 'false', 'aria-controls': 'views'}, 'Views');
  const nav = document.getElementById('nav');
  open.addEventListener('click', () => {
    const wide = nav.classList.toggle('open');
    open.setAttribute('aria-expanded', String(wide));
  });
  fill(nav, open, links());
  return {
    show(view) {
      nav.classList.remove('open');
      open.setAttribute('aria-expanded', 'false');
      open.textContent = `Views: ${view.title}`;
      for (const each of views) {
        const link = document.getElementById(`to-${each.id}`);
        if (each === view) link.setAttribute('aria-current', 'page');
        else link.removeAttribute('aria-current');
      }
    },
  };
}

function where() {
  const [id, query = ''] = location.hash.slice(1).split('?');
  const parameters = Object.fromEntries(new URLSearchParams(query));
  return {view: views.find((each) => each.id === id) ?? views[0], parameters};
}

function show(nav, focus) {
  const {view, parameters} = where();
  shown?.end();
  const root = h('div.view');
  shown = new View(root, parameters);
  fill(main, root);
  nav.show(view);
  document.title = `${view.title} – Bench console`;
  view.build(shown);
  if (!focus) return;
  scrollTo(0, 0);
  (main.querySelector('h1') ?? main).focus({preventScroll: true});
}

// The footer shows the last action as a curl line: of any page, once the state has it.
function buildFoot() {
  const line = h('code', {id: 'last-curl'}, 'No action was sent yet.');
  const copy = copyButton(() => line.textContent, line);
  copy.setAttribute('aria-label', 'Copy the curl line of the last action');
  fill(document.getElementById('foot'), h('span.label', 'Last action'), line, copy);
  const showLine = (text) => {
    if (text) setText(line, text);
  };
  onRequest(() => showLine(requests[0].curl));
  on('state', (state) => showLine(state.scenario?.last_curl));
}

function skip(event) {
  event.preventDefault();
  (main.querySelector('h1') ?? main).focus();
}

// Titles take the focus for those who hear the page. Only who uses the keyboard needs to see it there.
function noteKeys() {
  const note = (keys) => () => document.body.classList.toggle('by-keys', keys);
  addEventListener('keydown', note(true), true);
  addEventListener('pointerdown', note(false), true);
}

noteKeys();
document.getElementById('skip').addEventListener('click', skip);
const nav = buildNav();
startBar(document.getElementById('bar'), () => where().view.id);
buildFoot();
show(nav, false);
addEventListener('hashchange', () => show(nav, true));
start();
