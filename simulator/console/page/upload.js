// One upload: what came, each check of the cloud, and what the cloud answered.
import {get, url} from './api.js';
import {badge, code, facts, fill, h, table} from './dom.js';
import {bytes, count, counted, kind, stamp} from './format.js';
import {copyButton, head, notice, panel, visit} from './view.js';

function verdict(passed) {
  if (passed === null) return badge('off', 'not checked');
  return passed ? badge('good', 'passed') : badge('broken', 'failed');
}

function buildChecks(checks) {
  if (checks.length === 0) return panel('Checks of the cloud', h('p.empty', 'The cloud noted no check.'));
  const failed = checks.filter((check) => check.passed === false);
  const open = checks.filter((check) => check.passed === null);
  const rows = table('Checks of the cloud', [{title: 'Check', class: 'term'}, {title: 'Result'}, {title: 'What was found'}]);
  rows.fill([...failed, ...open, ...checks.filter((check) => check.passed)], (check) => check.name, (check) =>
    [check.name, verdict(check.passed), check.text.replace(/^not checked, /, '')]); // the badge says so
  const summary = failed.length + open.length === 0
    ? `All ${counted(checks.length, 'check')} passed.`
    : `${count(failed.length)} of ${counted(checks.length, 'check')} failed, ${count(open.length)} could not be made.`;
  return panel('Checks of the cloud', h('p', summary), rows.element);
}

function buildParts(upload) {
  const parts = upload.parts ?? [];
  const rows = table('Parts of the request', [{title: 'Part'}, {title: 'File name'}, {title: 'Type'}, {title: 'Size', class: 'num'}]);
  rows.fill(parts, (part) => part.name, (part) => [part.name, part.filename ?? '–', part.type ?? '–', bytes(part.bytes)]);
  return panel('Request', code('Head of the request', upload.head || 'The head was not kept.'),
    parts.length === 0 ? h('p.empty', 'The request has no parts.') : rows.element);
}

function buildDocument(upload) {
  if (!upload.document) return panel('Document', h('p.empty', 'The cloud could not read a document from this upload.'));
  return panel('Document', h('p', 'Member of the archive: ', h('code', upload.member || 'none')),
    code('Document, formatted', upload.document));
}

function buildCurl(upload) {
  const line = h('pre.code.wrap', {tabindex: '0', role: 'region', 'aria-label': 'curl line that repeats the upload'}, upload.curl ?? '');
  return panel('Repeat it', h('p', 'This line of bash sends the same upload again. It works inside the sandbox, where the cloud is, in the folder of the downloaded archive.'), line,
    copyButton(() => upload.curl ?? '', line));
}

function show(root, upload) {
  fill(root,
    h('p', badge(upload.accepted ? 'good' : 'broken', upload.accepted ? 'accepted' : 'not accepted'),
      !upload.accepted && ` ${upload.verdict}`),
    h('p.actions',
      upload.bytes > 0 && h('a.button', {href: url('/api/uploads/archive', {id: upload.id}), download: upload.name}, 'Download the archive'),
      upload.name && h('a.button', {href: visit('trace', {name: upload.name})}, 'Trace of the file')),
    panel('Upload', facts([
      ['Kind', kind(upload.kind)], ['Stamp', stamp(upload.stamp_unix_s)], ['Received', stamp(upload.time_unix_s)],
      ['Size', bytes(upload.bytes)], upload.name && ['Attempt', `${count(upload.attempt)} of ${count(upload.attempts)}`],
      ['Devices and points', `${counted(upload.devices, 'device')}, ${counted(upload.points, 'point')}`],
    ])),
    buildChecks(upload.checks ?? []), buildDocument(upload), buildParts(upload),
    panel('Answer', h('p', `Status ${upload.answer_status ?? 'not known'}`),
      code('Answer of the cloud', upload.answer || 'The cloud sent no answer.')),
    buildCurl(upload));
}

// Builds the detail of upload `id` in the view.
export async function buildUpload(view, id) {
  const said = notice();
  const title = head('Upload');
  const body = h('div.stack');
  view.root.append(h('p', h('a', {href: visit('uploads')}, '← All uploads')), title, said.element, body);
  try {
    const upload = await get('/api/uploads/one', {id});
    if (view.ended) return;
    title.firstChild.textContent = upload.name || 'Upload without a file name';
    show(body, upload);
    said.clear();
  } catch (error) {
    said.failed(error);
  }
}
