// The uploads that the cloud received, newest first. One opens into its detail.
import {get} from './api.js';
import {badge, field, h, select, table} from './dom.js';
import {bytes, count, kind, kindChoices, when} from './format.js';
import {gatewayNow} from './live.js';
import {Pager} from './pager.js';
import {buildUpload} from './upload.js';
import {head, notice, visit} from './view.js';

const kPollMs = 2000;

function verdictBadge(upload) {
  return badge(upload.accepted ? 'good' : 'broken', upload.accepted ? 'accepted' : 'not accepted');
}

function cells(upload) {
  return [
    h('a.file', {href: visit('uploads', {id: upload.id})}, upload.name || 'no file name'),
    kind(upload.kind), when(upload.time_unix_s, gatewayNow()), bytes(upload.bytes),
    `${count(upload.attempt)} of ${count(upload.attempts)}`, `${count(upload.devices)} / ${count(upload.points)}`,
    [verdictBadge(upload), !upload.accepted && h('p.hint', upload.verdict)],
  ];
}

function buildFilters(parameters, changedFilter) {
  const kindBox = select(kindChoices, parameters.kind ?? '');
  const verdictBox = select([['', 'all'], ['accepted', 'accepted'], ['not', 'not accepted']], parameters.verdict ?? '');
  const nameBox = h('input', {type: 'search', value: parameters.name ?? '', placeholder: 'S20261122', spellcheck: 'false'});
  const filter = () => ({kind: kindBox.value, verdict: verdictBox.value, name: nameBox.value.trim()});
  let timer = 0;
  kindBox.addEventListener('change', changedFilter);
  verdictBox.addEventListener('change', changedFilter);
  nameBox.addEventListener('input', () => {
    clearTimeout(timer);
    timer = setTimeout(changedFilter, 250);
  });
  const element = h('div.fields', {role: 'search', 'aria-label': 'Filter the uploads'},
    field('Kind', kindBox), field('Verdict', verdictBox), field('Name of the file holds', nameBox));
  return {element, filter};
}

function buildList(view) {
  const said = notice();
  const rows = table('Uploads, newest first', [{title: 'File'}, {title: 'Kind'}, {title: 'Received', class: 'time'},
    {title: 'Size', class: 'num'}, {title: 'Attempt', class: 'num'}, {title: 'Devices / points', class: 'num'},
    {title: 'Verdict'}]);
  const show = (page) => {
    rows.fill(page.uploads, (upload) => upload.id, cells);
    rows.element.hidden = page.uploads.length === 0;
    if (page.uploads.length > 0) said.clear();
    else if (Object.values(filters.filter()).some(Boolean)) said.none('No upload passes this filter.');
    else said.none('The cloud has received no upload yet. The first one comes within two minutes of gateway time.');
  };
  const pager = new Pager('upload', (before) => get('/api/uploads', {before, ...filters.filter(), limit: 50}), show);
  const load = (again) => (again ? pager.restart() : pager.load()).catch(said.failed);
  const filters = buildFilters(view.parameters, () => load(true));
  view.root.append(head('Uploads', 'Every file that reached the cloud, also the refused ones.'),
    filters.element, said.element, rows.element, pager.element);
  view.poll(kPollMs, async () => {
    if (pager.first) await load(false);
  });
}

// Opens the newest upload of a file when the address names a whole file.
async function buildFile(view) {
  const said = notice();
  const name = view.parameters.file;
  view.root.append(head(name), said.element);
  try {
    const page = await get('/api/uploads', {name, limit: 1});
    if (view.ended) return;
    if (page.uploads.length > 0) {
      location.replace(visit('uploads', {id: page.uploads[0].id}));
    } else {
      said.none('The cloud has received no upload of this file yet.');
      view.root.append(h('p', h('a', {href: visit('trace', {name})}, 'Trace of the file')));
    }
  } catch (error) {
    said.failed(error);
  }
}

export const uploads = {
  id: 'uploads',
  title: 'Uploads',
  build(view) {
    if (view.parameters.id) buildUpload(view, view.parameters.id);
    else if (view.parameters.file) buildFile(view);
    else buildList(view);
  },
};
