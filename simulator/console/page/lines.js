// Line charts over time, drawn by Chart.js. Sizes come from the style sheet; colours from its variables.
import {h} from './dom.js';
import {clock, minute, value} from './format.js';

const steps = [1, 5, 10, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 10800, 21600, 43200, 86400];
const kTicks = 6;

function colour(name) {
  return getComputedStyle(document.documentElement).getPropertyValue(`--${name}`).trim();
}

// Marks of the time axis stand on whole minutes and hours.
function timeTicks(axis) {
  const step = steps.find((each) => (axis.max - axis.min) / each <= kTicks) ?? 86400;
  axis.ticks = [];
  for (let at = Math.ceil(axis.min / step) * step; at <= axis.max; at += step) axis.ticks.push({value: at});
}

function timeAxis() {
  return {
    type: 'linear',
    afterBuildTicks: timeTicks,
    ticks: {color: colour('muted'), callback: (at) => minute(at), maxRotation: 0, autoSkip: false},
    grid: {color: colour('line')},
  };
}

function options() {
  return {
    animation: false, parsing: false, normalized: true, responsive: true, maintainAspectRatio: false, spanGaps: false,
    interaction: {mode: 'nearest', intersect: false},
    plugins: {
      legend: {display: false},
      tooltip: {animation: false, callbacks: {
        title: (items) => (items.length > 0 ? clock(items[0].raw.x) : ''),
        label: (item) => `${item.dataset.label}: ${item.raw.text ?? value(item.raw.y)}`,
      }},
    },
    scales: {x: timeAxis(), y: {ticks: {color: colour('muted'), maxTicksLimit: 5}, grid: {color: colour('line')}}},
  };
}

const looks = {
  published: () => ({label: 'published', borderColor: colour('published'), borderWidth: 1.5, pointRadius: 0, order: 2}),
  received: () => ({label: 'received', borderColor: colour('received'), backgroundColor: colour('received'), borderWidth: 2,
    borderDash: [5, 4], pointRadius: 1.5, order: 1}),
  alarms: () => ({label: 'alarm', showLine: false, pointStyle: 'triangle', pointRadius: 7, borderColor: colour('broken'),
    backgroundColor: (context) => (context.raw?.raised ? colour('broken') : colour('panel')), borderWidth: 2, order: 0}),
};

// An input or output is on or off: its line has steps.
function isDigital(series) {
  const all = [...(series.published ?? []), ...(series.received ?? [])];
  return all.length > 0 && all.every(([, y]) => y === null || y === 0 || y === 1);
}

const xy = (pairs) => pairs.map(([x, y]) => ({x, y}));

// The value of the curve at the time of a mark, so that the mark stands on the curve.
function heightAt(pairs, time) {
  let best = null;
  for (const [x, y] of pairs) {
    if (y !== null && (best === null || Math.abs(x - time) < Math.abs(best[0] - time))) best = [x, y];
  }
  return best === null ? 0 : best[1];
}

function marks(series) {
  const curve = series.published?.length > 0 ? series.published : series.received ?? [];
  return (series.alarms ?? []).map((alarm) => ({x: alarm.unix_s, y: heightAt(curve, alarm.unix_s), text: alarm.text, raised: alarm.raised}));
}

// A chart of one series: {published, received, alarms}, each may be missing. `element` goes into the
// page, `show(series, from, to)` draws, `end()` frees it. Without Chart.js it says so.
export function lineChart(title) {
  const canvas = h('canvas', {role: 'img', 'aria-label': title});
  const element = h('div.chart', canvas);
  if (!globalThis.Chart) {
    element.replaceChildren(h('p.empty', 'The chart library is not there (package libjs-chart.js). The table has the values.'));
    return {element, show() {}, end() {}};
  }
  let chart = null;
  let last = null;
  const make = () => new globalThis.Chart(canvas, {type: 'line', options: options(), data: {datasets:
    ['published', 'received', 'alarms'].map((id) => ({...looks[id](), data: []}))}});
  const show = (series, from, to) => {
    last = [series, from, to];
    chart ??= make();
    const [published, received, alarms] = chart.data.datasets;
    published.data = xy(series.published ?? []);
    received.data = xy(series.received ?? []);
    alarms.data = marks(series);
    const stepped = isDigital(series) ? 'before' : false;
    Object.assign(published, {stepped});
    Object.assign(received, {stepped});
    Object.assign(chart.options.scales.x, {min: from, max: to});
    chart.update('none');
  };
  const dark = matchMedia('(prefers-color-scheme: dark)');
  const again = () => {
    chart?.destroy();
    chart = null;
    if (last) show(...last);
  };
  dark.addEventListener('change', again);
  return {element, show, end() {
    dark.removeEventListener('change', again);
    chart?.destroy();
  }};
}

// The same values as a table: the newest first, at most `limit` rows.
export function seriesRows(series, limit) {
  const rows = new Map();
  const put = (unix, name, number) => rows.set(unix, {...rows.get(unix), [name]: number});
  for (const [unix, number] of series.published ?? []) put(unix, 'published', number);
  for (const [unix, number] of series.received ?? []) put(unix, 'received', number);
  return [...rows].sort((a, b) => b[0] - a[0]).slice(0, limit).map(([unix, row]) => ({unix, ...row}));
}
