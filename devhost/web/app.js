// The page: a web client of the module through the gateway. The tree is fed
// only by the module's tree documents; the viewer pane and the host panel
// show what the development host did after each call.

import { Session, host } from './api.js';
import { parseDocument, parseTreeDocument, parseViewable, hexColor } from './documents.js';
import { TreeModel } from './treeModel.js';
import { TreeView } from './treeView.js';
import { HostState } from './hostState.js';
import { Viewer } from './viewer.js';

const $ = (selector) => document.querySelector(selector);
const status = (text) => { $('#status').textContent = text; };

const model = new TreeModel();
const page = { treeShownAt: null, startedAt: performance.now(), documents: 0, changes: 0, timings: null,
               viewables: new Map() };
window.webapiPage = page;
let session;

const treeView = new TreeView($('#tree'), model, {
  // The module decides from the node's state whether to hide or to show.
  onToggleVisibility: (node, others) => act('SelectTreeNodes', JSON.stringify({
    primaryNode: node.id, selectedNodes: others.map((other) => other.id),
  })),
  // Asks the states of the children, which the module sends as changes.
  onExpand: (node) => {
    if (node.asked) return;
    node.asked = true;
    session.call('SelectTreeNodes', JSON.stringify({ nodes: [node.id], depth: 1 })).catch(report);
  },
});

function report(error) {
  status(String(error.message ?? error));
  console.error(error);
}

// ---- callbacks -------------------------------------------------------------

function onEvent(arrived, event) {
  const [text, requestId] = event.args;
  switch (event.method) {
    case 'OnTreeMapping':
    case 'OnTreeUpdate': {
      page.documents++;
      const parsed = parseTreeDocument(text);
      // Answers to the state query, for whoever waits for one.
      if (parsed?.treeUpdateChanges) page.changes++;
      const parsedAt = performance.now();
      const shapeChanged = model.apply(parsed);
      treeView.refresh(shapeChanged);
      $('#tree-count').textContent = `${model.size} nodes`;
      if (model.size && page.treeShownAt === null) {
        // How the first document with nodes took its time, for the benchmark.
        page.timings ??= { arrived, parsed: parsedAt, indexed: performance.now() };
        requestAnimationFrame(() => {
          page.treeShownAt = performance.now();
          document.body.dataset.treeReady = String(model.size);
        });
      }
      break;
    }
    case 'StartViewablesResult':
      page.viewables.set(requestId, []);
      $('#viewables').textContent = '';
      break;
    case 'ViewablesResult':
      showViewable(parseViewable(text));
      break;
    case 'EndViewablesResult':
      $('#viewables').dataset.done = String(requestId);
      break;
    default:
      break;
  }
}

function showViewable(viewable) {
  const card = document.createElement('div');
  card.className = 'viewable';
  if (viewable.pngb64) {
    const image = document.createElement('img');
    image.src = `data:image/png;base64,${viewable.pngb64}`;
    image.alt = viewable.name ?? '';
    card.append(image);
  }
  card.append(`${viewable.name ?? '?'}`, document.createElement('br'));
  const small = document.createElement('small');
  small.textContent = `${viewable.viewableType ?? ''} · ${viewable.idpath ?? ''}`;
  card.append(small);
  $('#viewables').append(card);
}

// ---- host side --------------------------------------------------------------

let refreshing = null;
async function refreshHost() {
  if (refreshing) return refreshing;
  refreshing = (async () => {
    try {
      const state = await host.state(['views', 'progress']);
      const view = state.views.find((each) => each.active);
      showProgress(state.progress);
      showWorkflow(view);
    } catch (error) {
      report(error);
    } finally {
      refreshing = null;
    }
  })();
  return refreshing;
}

function showProgress(displays) {
  $('#progress').innerHTML = displays.slice(-5).map((display) => `
    <div class="progress ${display.running ? '' : 'done'}">
      <div>${escape(display.text || `progress ${display.id}`)} — ${display.type === 'bar' ? `${display.percentage}%` : 'busy'}</div>
      <div class="bar"><div style="width:${display.type === 'bar' ? display.percentage : 100}%"></div></div>
    </div>`).join('');
}

function showWorkflow(view) {
  const messages = view ? view.workflowMessages.slice(-30) : [];
  $('#workflow').innerHTML = messages.map((message) =>
    `<li>${escape(message.workflow)} · ${escape(message.message)} · ${message.value}${message.data ? ` · ${escape(JSON.stringify(message.data))}` : ''}</li>`).join('');
}

// Trace lines are shown up to this length: a tree document's trace holds
// the whole document.
const TRACE_TEXT = 400;
let traceSeq = 0;
let traceLast = null;
async function pollTraces() {
  try {
    // Far behind (a large tree traces each instance): the latest lines only,
    // found without reading the ones skipped.
    if (traceLast === null || traceLast - traceSeq > 4000) {
      traceLast = (await host.traces(Number.MAX_SAFE_INTEGER, 1)).last;
      traceSeq = Math.max(traceSeq, traceLast - 400);
    }
    const { entries, last } = await host.traces(traceSeq, 2000);
    traceLast = last;
    const log = $('#traces');
    for (const entry of entries) {
      const line = document.createElement('div');
      if (entry.type === 3) line.className = 't3';
      line.innerHTML = `<span class="seq">${entry.seq}</span>`;
      const text = `${entry.names.join(':')} ${entry.text}`;
      line.append(text.length > TRACE_TEXT ? `${text.slice(0, TRACE_TEXT)}… (${text.length} characters)` : text);
      log.append(line);
      traceSeq = entry.seq;
    }
    while (log.childElementCount > 400) log.firstElementChild.remove();
    if (entries.length) log.scrollTop = log.scrollHeight;
  } catch (error) {
    report(error);
  }
  setTimeout(pollTraces, 1000);
}

// A call whose effect shows on the host: the page waits until the host is
// quiet, then draws what it shows now.
async function act(method, ...args) {
  try {
    status(`${method}…`);
    const reply = await session.call(method, ...args);
    await host.settle();
    await refreshHost();
    status(`${method} done`);
    return reply;
  } catch (error) {
    report(error);
    return null;
  }
}

// ---- panels -----------------------------------------------------------------

function selectedPaths() {
  return [...treeView.selected].map((node) => node.idpath);
}

function wirePanels() {
  for (const button of document.querySelectorAll('[data-call]'))
    button.addEventListener('click', () => act(button.dataset.call, ...JSON.parse(button.dataset.args ?? '[]')));
  $('#zoom-selected').addEventListener('click', () => act('ZoomToSelected', 0));
  $('#cross-selection').addEventListener('change', (event) => act('SetCrossSelection', event.target.checked));
  $('#profiles-reload').addEventListener('click', async () => {
    const reply = await act('GetProfiles');
    const select = $('#profiles');
    select.length = 1;
    const text = reply?.result;
    if (!text) return;
    const parsed = parseDocument(text);
    const names = Array.isArray(parsed) ? parsed : Array.isArray(parsed?.profiles) ? parsed.profiles : String(text).split(/[\n,]/);
    for (const name of names) select.add(new Option(typeof name === 'string' ? name : JSON.stringify(name)));
  });
  $('#profiles').addEventListener('change', (event) => event.target.value && act('SetProfile', event.target.value));

  $('#selection-read').addEventListener('click', async () => {
    const reply = await act('GetCurrentSelection');
    $('#selection-text').textContent = reply?.result ?? '(nothing selected)';
  });
  $('#paint').addEventListener('click', () =>
    act('SetInstancesColor', selectedPaths(), $('#paint-branch').checked, hexColor($('#paint-color').value)));
  $('#paint-read').addEventListener('click', async () => {
    const reply = await act('GetInstanceColor', treeView.primary?.idpath ?? '');
    $('#paint-result').textContent = reply?.result ?? '(none)';
  });
  let viewablesRequest = 0;
  $('#viewables-get').addEventListener('click', () => act('GetViewables', 'session', ++viewablesRequest));
  $('#annotations-get').addEventListener('click', listAnnotations);
  $('#sets-get').addEventListener('click', listSets);
  $('#label-add').addEventListener('click', () => act('AddAnnotationLabel', $('#label-text').value,
    Number($('#label-x').value), Number($('#label-y').value), Number($('#label-z').value)));
}

async function listAnnotations() {
  const reply = await act('GetAllModelAnnotations', null);
  const parsed = parseDocument(reply?.out?.[0] ?? '');
  const table = $('#annotations');
  table.textContent = '';
  for (const { id, idpath } of parsed?.modelannotations ?? []) {
    const row = table.insertRow();
    row.insertCell().textContent = `${idpath} · ${id}`;
    const cell = row.insertCell();
    for (const [label, run] of [
      ['show', () => act('ShowModelAnnoations', idpath, id)],
      ['hide', () => act('HideModelAnnoations', idpath, id)],
      ['colour', () => act('SetModelAnnotationColor', idpath, id, hexColor($('#annotation-color').value))],
      ['read', async () => { const r = await act('GetModelAnnotationColor', idpath, id); status(`${id}: ${r?.result ?? 'no colour'}`); }],
    ]) {
      const button = document.createElement('button');
      button.textContent = label;
      button.addEventListener('click', run);
      cell.append(button);
    }
  }
}

async function listSets() {
  const count = (await act('GetNumberOfAnnotationSets'))?.result ?? 0;
  const list = $('#sets');
  list.textContent = '';
  for (let i = 0; i < count; i++) {
    const name = (await session.call('GetAnnotationSetName', i)).result;
    const item = document.createElement('li');
    const button = document.createElement('button');
    button.textContent = 'load';
    button.addEventListener('click', () => act('LoadAnnotationSet', name));
    item.append(`${name ?? '(null)'} `, button);
    list.append(item);
  }
}

function escape(text) {
  return String(text).replace(/[&<>"]/g, (c) => ({ '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;' }[c]));
}

// ---- start ------------------------------------------------------------------

async function start() {
  wirePanels();
  session = await Session.open(onEvent, (reason) => status(`session ended: ${reason}`));
  page.session = session.id;
  page.registeredAt = performance.now();
  await session.call('RegisterTreeObserver', 'session');
  status(`session ${session.id}`);
  // The tree first: the host's state (a scene of every shape instance) is
  // read once the module has sent its documents.
  await host.settle();
  await refreshHost();
  new Viewer($('#viewer-pane'), await HostState.open());
  pollTraces();
  page.ready = true;
  document.body.dataset.ready = 'true';
}

start().catch(report);
