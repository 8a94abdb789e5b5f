// The page of quorvel-fleet: all meters in a list, and one meter with its history. Names come from
// strangers: they are only ever set as text.
'use strict';

const RANGES = [ // shown time and step, in seconds; without a step it is what is stored
  {name: '1 min', span: 60}, {name: '10 min', span: 600, step: 1}, {name: '1 h', span: 3600, step: 5},
  {name: '1 day', span: 86400, step: 120}, {name: '1 week', span: 604800, step: 900},
  {name: '30 days', span: 2592000, step: 3600}, {name: '1 year', span: 31536000, step: 43200},
];
const SHORTEST_REFRESH_MS = 2000;
const EVENTS_REFRESH_MS = 5000;
const LIST_REFRESH_MS = 500;
const ROWS_BEYOND = 5; // drawn above and below those that are seen
const FORWARD_COLOR = '#2277cc';
const REFLECTED_COLOR = '#cc6622';
const LIMIT_COLOR = '#cc2222';

const COLUMNS = [
  {key: 'state', title: 'State', of: row => row.rank, text: row => row.word},
  {key: 'name', title: 'Name', of: row => row.meter.name || row.meter.meter,
    text: row => row.meter.name || row.meter.meter},
  {key: 'place', title: 'Place', of: row => row.meter.place, text: row => row.meter.place},
  {key: 'serial', title: 'Meter', of: row => row.meter.meter, text: row => row.meter.meter},
  {key: 'channelNumber', title: 'Ch.', of: row => row.channel.channel, text: row => row.channel.channel},
  {key: 'sensor', title: 'Sensor', of: row => row.channel.sensor, text: row => row.channel.sensor},
  {key: 'forward', title: 'Forward', of: row => row.channel.forward_W, isNumber: true,
    text: row => watts(row.channel.forward_W)},
  {key: 'reflected', title: 'Reflected', of: row => row.channel.reflected_W, isNumber: true,
    text: row => watts(row.channel.reflected_W)},
  {key: 'vswr', title: 'VSWR', of: row => row.channel.vswr, isNumber: true,
    text: row => fixed(row.channel.vswr, 2)},
  {key: 'frequency', title: 'Frequency', of: row => row.channel.frequency_MHz, isNumber: true,
    text: row => fixed(row.channel.frequency_MHz, 3, ' MHz')},
  {key: 'temperature', title: 'Temp.', of: row => row.channel.temperature_C, isNumber: true,
    text: row => fixed(row.channel.temperature_C, 1, ' \u00b0C')},
  {key: 'age', title: 'Age', of: row => ageOf(row.channel), isNumber: true,
    text: row => ageText(ageOf(row.channel))},
];
const RANKS = {gone: 0, limit: 1, silent: 2, measuring: 3, 'no sensor': 4};

const meters = new Map(); // by address
let clockAhead_ms = 0;    // of the service, against this computer
let rows = [];            // of the list, searched and sorted
let sortKey = 'state';
let isDescending = false;
let isListOld = true;
let shown = null;         // the meter's page: {name, range, sections, due...}
let isAllAwaited = true;  // the stream begins with all meters: those of which it says nothing are no more

const $ = id => document.getElementById(id);

function element(tag, className, text) {
  const made = document.createElement(tag);
  if (className) made.className = className;
  if (text !== undefined) made.textContent = text;
  return made;
}

function setText(node, text) {
  const wanted = text === undefined || text === null ? '' : String(text);
  if (node.textContent !== wanted) node.textContent = wanted;
}

function fixed(number, digits, unit = '') {
  return number === undefined || number === null ? '' : number.toFixed(digits) + unit;
}

function watts(power) {
  if (power === undefined || power === null) return '';
  const size = Math.abs(power);
  if (size >= 1000) return (power / 1000).toPrecision(4) + ' kW';
  if (size >= 1 || size === 0) return power.toPrecision(4) + ' W';
  return size >= 0.001 ? (power * 1000).toPrecision(4) + ' mW' : (power * 1e6).toPrecision(4) + ' \u00b5W';
}

function ageOf(channel) {
  return channel.time ? Math.max(0, (Date.now() + clockAhead_ms - Date.parse(channel.time)) / 1000) : undefined;
}

function ageText(age_s) {
  if (age_s === undefined) return '';
  if (age_s < 10) return age_s.toFixed(1) + ' s';
  if (age_s < 120) return age_s.toFixed(0) + ' s';
  if (age_s < 7200) return (age_s / 60).toFixed(0) + ' min';
  return age_s < 172800 ? (age_s / 3600).toFixed(0) + ' h' : (age_s / 86400).toFixed(0) + ' d';
}

function durationText(time_s) {
  const [unit, name] = [[86400, 'd'], [3600, 'h'], [60, 'min'], [1, 's']].find(([size]) => time_s >= size);
  return `${time_s / unit} ${name}`;
}

function limitName(name) {
  return name.replace(/_W$/, '').replace('_', ' ');
}

// The word for a state, and the class that gives it its colour.
function wordOf(channel) {
  const isExceeded = channel.exceeded.length > 0 && channel.state === 'measuring';
  return isExceeded ? [channel.exceeded.map(limitName).join(', '), 'limit']
                    : [channel.state, channel.state.replace(' ', '')];
}

// --- the list ---

// A row for each channel with a sensor, one at least.
function rowsOf(meter) {
  const used = meter.channels.filter(channel => channel.state !== 'no sensor' && (channel.sensor || channel.time));
  return (used.length > 0 ? used : meter.channels.slice(0, 1)).map(channel => {
    const [word, className] = wordOf(channel);
    return {
      meter, channel, word, className, rank: RANKS[className] ?? RANKS['no sensor'],
      sought: [meter.name, meter.place, meter.meter, meter.address, channel.sensor, word]
        .join(' ').toLowerCase(),
    };
  });
}

function compare(a, b) {
  if (a === b) return 0;
  if (a === undefined) return 1;
  if (b === undefined) return -1;
  return a < b ? -1 : 1;
}

function makeRows() {
  const words = $('search').value.toLowerCase().split(/\s+/).filter(word => word);
  const value = COLUMNS.find(column => column.key === sortKey).of;
  const direction = isDescending ? -1 : 1;
  rows = [];
  for (const meter of meters.values()) {
    for (const row of rowsOf(meter)) {
      if (words.every(word => row.sought.includes(word))) {
        row.value = value(row);
        rows.push(row);
      }
    }
  }
  rows.sort((a, b) => (a.value === undefined || b.value === undefined ? 1 : direction) * compare(a.value, b.value) ||
    compare(a.meter.meter, b.meter.meter) || a.channel.channel - b.channel.channel);
  isListOld = false;
}

function makeRow() {
  const line = element('a', 'row');
  line.setAttribute('role', 'row');
  for (const column of COLUMNS) {
    const cell = element('span', column.key + (column.isNumber ? ' number' : ''));
    cell.setAttribute('role', 'cell');
    line.append(cell);
  }
  return line;
}

function fillRow(line, row, top) {
  line.style.top = top + 'px';
  line.href = '#' + encodeURIComponent(row.meter.meter);
  COLUMNS.forEach((column, index) => setText(line.children[index], column.text(row)));
  line.firstChild.className = 'state ' + row.className;
}

// Only the rows that are seen are in the document.
function drawRows() {
  const box = $('rows');
  if (!box.firstChild) box.append(makeRow());
  const height = box.firstChild.offsetHeight || 34;
  const top = box.getBoundingClientRect().top;
  const first = Math.max(0, Math.floor(-top / height) - ROWS_BEYOND);
  const last = Math.min(rows.length, Math.ceil((window.innerHeight - top) / height) + ROWS_BEYOND);
  const count = Math.max(0, last - first);
  box.style.height = Math.max(rows.length, 1) * height + 'px';
  while (box.childElementCount < count) box.append(makeRow());
  for (let i = 0; i < box.childElementCount; ++i) {
    box.children[i].hidden = i >= count;
    if (i < count) fillRow(box.children[i], rows[first + i], (first + i) * height);
  }
}

function drawSummary() {
  const counts = {};
  for (const meter of meters.values()) counts[meter.state] = (counts[meter.state] || 0) + 1;
  const parts = Object.entries(counts).map(([state, count]) => `${count} ${state}`);
  setText($('summary'), `${meters.size} meter${meters.size === 1 ? '' : 's'}` +
    (parts.length ? ': ' + parts.sort().join(', ') : ''));
}

function drawList() {
  makeRows();
  drawRows();
  drawSummary();
}

function sortBy(key) {
  isDescending = key === sortKey && !isDescending;
  sortKey = key;
  for (const cell of $('head').children) {
    cell.setAttribute('aria-sort', cell.dataset.key !== key ? 'none' : isDescending ? 'descending' : 'ascending');
  }
  $('sort').value = key;
  drawList();
}

function makeHead() {
  for (const column of COLUMNS) {
    const cell = element('span', column.key + 'Title' + (column.isNumber ? ' number' : ''));
    const button = element('button', '', column.title);
    cell.setAttribute('role', 'columnheader');
    cell.dataset.key = column.key;
    button.addEventListener('click', () => sortBy(column.key));
    cell.append(button);
    $('head').append(cell);
    const option = element('option', '', column.title);
    option.value = column.key;
    $('sort').append(option);
  }
}

// --- one meter ---

function meterNamed(name) {
  return [...meters.values()].find(meter => meter.meter === name);
}

function makeValues(section) {
  const list = element('dl', 'values');
  section.values = {};
  for (const title of ['Forward', 'Reflected', 'VSWR', 'Frequency', 'Temperature', 'Age']) {
    const pair = element('div');
    section.values[title] = element('dd');
    pair.append(element('dt', '', title), section.values[title]);
    list.append(pair);
  }
  return list;
}

function makeSection(number) {
  const section = {number, box: element('section', 'channel')};
  const head = element('h3');
  section.title = element('span', 'strange');
  section.state = element('span', 'state');
  section.csv = element('a', 'button csv', 'CSV');
  section.csv.setAttribute('download', '');
  section.power = element('div', 'chart power');
  section.vswr = element('div', 'chart small vswr');
  section.caption = element('p', 'caption');
  head.append(section.title, ' ', section.state);
  section.box.append(head, makeValues(section), section.power, section.vswr, section.caption, section.csv);
  return section;
}

function drawSection(section, channel) {
  const [word, className] = wordOf(channel);
  setText(section.title, `Channel ${section.number}: ${channel.sensor || ''} ${channel.sensor_serial || ''}`);
  setText(section.state, word);
  section.state.className = 'state ' + className;
  setText(section.values.Forward, watts(channel.forward_W));
  setText(section.values.Reflected, watts(channel.reflected_W));
  setText(section.values.VSWR, fixed(channel.vswr, 2));
  setText(section.values.Frequency, fixed(channel.frequency_MHz, 3, ' MHz'));
  setText(section.values.Temperature, fixed(channel.temperature_C, 1, ' \u00b0C'));
  setText(section.values.Age, ageText(ageOf(channel)));
  section.limits = channel.limits;
}

function drawMeter() {
  const meter = meterNamed(shown.name);
  setText($('title'), meter ? meter.name || meter.meter : shown.name);
  setText($('identity'), meter ? [meter.place, `${meter.model} ${meter.meter}`, meter.address,
    meter.firmware && 'firmware ' + meter.firmware].filter(text => text).join(' \u00b7 ') : '');
  setText($('meterState'), meter ? meter.state : 'is not watched');
  $('meterState').className = 'state ' + (meter ? meter.state.replace(' ', '') : 'gone');
  if (!meter) return;
  for (const channel of meter.channels) {
    const isUsed = channel.state !== 'no sensor' || channel.time;
    let section = shown.sections.find(known => known.number === channel.channel);
    if (!section && isUsed) {
      section = makeSection(channel.channel);
      shown.sections.push(section);
      $('channels').append(section.box);
      shown.chartsDue_ms = 0;
    }
    if (section) drawSection(section, channel);
  }
}

function stepText(range) {
  return range.step ? `&step=${range.step}s` : '';
}

function timeText(time_ms) {
  return new Date(time_ms).toISOString();
}

// Where readings are missing the line is to break.
function rowsOfChart(told, range, values) {
  const times = told.time.map(time => Date.parse(time));
  const pauses = times.slice(1).map((time, i) => time - times[i]).sort((a, b) => a - b);
  const usual = pauses.length ? pauses[pauses.length >> 1] : 0;
  const longest = Math.max(3 * usual, 2.5 * 1000 * (range.step || 0));
  const chart = [];
  times.forEach((time, i) => {
    if (i > 0 && time - times[i - 1] > longest) {
      chart.push([new Date(times[i - 1] + usual), ...values(undefined)]);
    }
    chart.push([new Date(time), ...values(i)]);
  });
  return chart;
}

function band(told, name, i) {
  const at = column => (i === undefined || !told[column] || told[column][i] === null ? NaN : told[column][i]);
  return [at(name + '_min_W'), at(name + '_W'), at(name + '_max_W')];
}

function drawLimits(section, names) {
  return (canvas, area, chart) => {
    canvas.save();
    canvas.strokeStyle = LIMIT_COLOR;
    canvas.setLineDash([6, 4]);
    for (const name of names.filter(known => section.limits[known] !== undefined)) {
      const y = chart.toDomYCoord(section.limits[name]);
      canvas.beginPath();
      canvas.moveTo(area.x, y);
      canvas.lineTo(area.x + area.w, y);
      canvas.stroke();
    }
    canvas.restore();
  };
}

// From zero (or one) to a little above all that is shown, limits included.
function valueRange(data, section, names, least) {
  const greatest = data.reduce((most, row) => Math.max(most, ...row.slice(1).flat().filter(Number.isFinite)), least);
  const limits = names.map(name => section.limits[name]).filter(limit => limit !== undefined);
  return [least, Math.max(greatest, ...limits) * 1.05 || 1];
}

function drawChart(section, place, data, names, options) {
  const all = {
    dateWindow: section.window, valueRange: valueRange(data, section, names, options.least),
    underlayCallback: drawLimits(section, names), ...options.chart,
  };
  if (section.charts[place]) {
    section.charts[place].updateOptions({file: data, ...all});
  } else {
    section.charts[place] = new Dygraph(section[place], data, {
      ...all, legend: 'follow', connectSeparatedPoints: false, rightGap: 8, axisLabelFontSize: 12,
      zoomCallback: (from, to) => linkCsv(section, from, to),
      axes: {x: {pixelsPerLabel: 80}, y: {axisLabelWidth: 64, axisLabelFormatter: options.label}},
    });
  }
}

function linkCsv(section, from_ms, to_ms) {
  section.csv.href = `api/meters/${encodeURIComponent(shown.name)}/readings.csv?channel=${section.number}` +
    `&from=${timeText(from_ms)}&to=${timeText(to_ms)}${stepText(shown.range)}`;
}

function drawCharts(section, told, range) {
  performance.mark('draw');
  section.charts = section.charts || {};
  const powers = rowsOfChart(told, range, i => [band(told, 'forward', i), band(told, 'reflected', i)]);
  const vswrs = rowsOfChart(told, range, i => [told.vswr && i !== undefined ? told.vswr[i] : NaN]);
  setText(section.caption, told.time.length === 0 ? 'no readings' : `${told.time.length} ` +
    (range.step ? `steps of ${durationText(range.step)}` : 'readings') +
    '; the bands reach from the least to the greatest power');
  if (typeof Dygraph === 'undefined') {
    setText(section.caption, 'There are no charts: the package libjs-dygraphs is missing where quorvel-fleet runs.');
  } else {
    drawChart(section, 'power', powers.length ? powers : [[new Date(section.window[0]), [NaN, NaN, NaN], [NaN, NaN, NaN]]],
      ['forward_low_W', 'forward_high_W'], {least: 0, label: watts, chart: {
        labels: ['Time', 'Forward', 'Reflected'], customBars: true, colors: [FORWARD_COLOR, REFLECTED_COLOR],
        valueFormatter: (value, opts) => (opts('labels')[0] && value > 1e11 ? new Date(value).toLocaleString() : watts(value)),
      }});
    drawChart(section, 'vswr', vswrs.length ? vswrs : [[new Date(section.window[0]), NaN]], ['vswr_high'],
      {least: 1, label: value => value.toFixed(2), chart: {labels: ['Time', 'VSWR'], colors: [FORWARD_COLOR]}});
  }
  performance.measure('draw', 'draw');
}

async function ask(path) {
  const answer = await fetch(path);
  const told = await answer.json();
  if (!answer.ok) throw new Error(told.error);
  return told;
}

async function refreshCharts(page) {
  const range = page.range;
  const to_ms = Date.now() + clockAhead_ms;
  const from_ms = to_ms - range.span * 1000;
  for (const section of page.sections) {
    const told = await ask(`api/meters/${encodeURIComponent(page.name)}/readings?channel=${section.number}` +
      `&from=${timeText(from_ms)}&to=${timeText(to_ms)}${stepText(range)}`);
    if (page !== shown || range !== page.range) return;
    const isZoomed = section.charts && section.charts.power && section.charts.power.isZoomed('x');
    if (isZoomed && page.drawnRange === range) continue; // somebody looks closer
    section.window = [from_ms, to_ms];
    linkCsv(section, from_ms, to_ms);
    drawCharts(section, told, range);
  }
  page.drawnRange = range;
}

async function refreshEvents(page) {
  const told = await ask(`api/events?meter=${encodeURIComponent(page.name)}&from=1y&limit=50`);
  if (page !== shown) return;
  $('events').replaceChildren(...told.events.map(event => {
    const line = element('div', 'event');
    line.append(element('span', '', new Date(event.time).toLocaleString()),
      element('span', '', event.channel ? 'ch. ' + event.channel : ''),
      element('span', '', event.event), element('span', 'strange', event.detail));
    return line;
  }));
}

function showTrouble(page, text) {
  if (page === shown) setText($('trouble'), text);
}

// Charts as often as there can be news on them; one question of each kind at a time.
function refreshMeter(page) {
  const now = performance.now();
  const refresh = (due, isAsking, period, work) => {
    if (page[isAsking] || now < page[due]) return;
    page[isAsking] = true;
    page[due] = now + period;
    work(page).then(() => showTrouble(page, ''), error => showTrouble(page, error.message))
      .finally(() => { page[isAsking] = false; });
  };
  if (page.sections.length > 0) {
    refresh('chartsDue_ms', 'asksCharts', Math.max(SHORTEST_REFRESH_MS, (page.range.step || 0) * 1000), refreshCharts);
  }
  refresh('eventsDue_ms', 'asksEvents', EVENTS_REFRESH_MS, refreshEvents);
}

// The answer is looked at first: an image that is refused does not tell why.
async function askScreen(page) {
  const answer = await fetch(`api/meters/${encodeURIComponent(page.name)}/screen`);
  if (!answer.ok) throw new Error((await answer.json()).error);
  return answer.blob();
}

async function showScreen(page) {
  setText($('screenTrouble'), 'is asked for\u2026');
  const told = await askScreen(page).catch(error => error);
  if (page !== shown) return;
  const isPicture = told instanceof Blob;
  setText($('screenTrouble'), isPicture ? '' : told.message);
  hideScreen();
  if (isPicture) {
    $('screen').src = URL.createObjectURL(told);
    $('screen').hidden = false;
  }
}

function hideScreen() {
  if ($('screen').src) URL.revokeObjectURL($('screen').src);
  $('screen').removeAttribute('src');
  $('screen').hidden = true;
}

function chooseRange(range) {
  shown.range = range;
  shown.chartsDue_ms = 0;
  for (const button of $('ranges').children) button.classList.toggle('chosen', button.textContent === range.name);
  refreshMeter(shown);
}

function closeMeter() {
  for (const section of shown ? shown.sections : []) {
    for (const chart of Object.values(section.charts || {})) chart.destroy();
  }
  shown = null;
  $('channels').replaceChildren();
  $('events').replaceChildren();
  setText($('screenTrouble'), '');
  setText($('trouble'), '');
  hideScreen();
}

function nameAsked() {
  try {
    return decodeURIComponent(location.hash.slice(1));
  } catch {
    return location.hash.slice(1); // somebody has typed it
  }
}

function showWhatIsAsked() {
  const name = nameAsked();
  closeMeter();
  $('list').hidden = name !== '';
  $('meter').hidden = name === '';
  if (name === '') {
    drawList();
    return;
  }
  window.scrollTo(0, 0);
  shown = {name, sections: [], chartsDue_ms: 0, eventsDue_ms: 0};
  drawMeter();
  chooseRange(RANGES[1]);
}

// --- news ---

function takeNews(told) {
  clockAhead_ms = Date.parse(told.time) - Date.now();
  if (isAllAwaited) meters.clear();
  isAllAwaited = false;
  for (const meter of told.meters) meters.set(meter.address, meter);
  for (const address of told.dropped || []) meters.delete(address);
  isListOld = true;
}

function listen() {
  const stream = new EventSource('api/stream');
  stream.onopen = () => {
    isAllAwaited = true;
    setText($('link'), 'live');
    $('link').className = '';
  };
  stream.onerror = () => {
    setText($('link'), 'no connection: what is shown is old');
    $('link').className = 'lost';
    if (stream.readyState === EventSource.CLOSED) setTimeout(listen, SHORTEST_REFRESH_MS);
  };
  stream.onmessage = event => takeNews(JSON.parse(event.data));
}

function tick() {
  if (shown) {
    drawMeter();
    refreshMeter(shown);
    drawSummary();
  } else if (isListOld) {
    drawList();
  } else {
    drawRows(); // the age goes on
  }
}

makeHead();
for (const range of RANGES) {
  const button = element('button', '', range.name);
  button.addEventListener('click', () => chooseRange(range));
  $('ranges').append(button);
}
$('screenButton').addEventListener('click', () => showScreen(shown));
$('search').addEventListener('input', drawList);
$('sort').addEventListener('change', event => sortBy(event.target.value));
window.addEventListener('scroll', () => shown || drawRows(), {passive: true});
window.addEventListener('resize', () => shown || drawRows());
window.addEventListener('hashchange', showWhatIsAsked);
setInterval(tick, LIST_REFRESH_MS);
listen();
showWhatIsAsked();
