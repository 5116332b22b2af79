// The page: a web client of the module through the gateway, and a live view
// of the development host. The tree is fed only by the module's tree
// documents; what the host shows (views, selections, shapes, progress,
// workflow messages) comes from its event stream through HostState.

import { Session, request } from './api.js';
import { opening, registering, takeTreeOver } from './boot.js';
import { Commands } from './commands.js';
import { colorSwatch, showDocument } from './documentView.js';
import { hexColor, parseDocument, parseViewable } from './documents.js';
import { HostPanel } from './hostPanel.js';
import { HostState } from './hostState.js';
import { Banner, Notices } from './notices.js';
import { STATE_NAMES, STATES, HIDING_STATES, TreeModel } from './treeModel.js';
import { TreeMenu } from './treeMenu.js';
import { ICONS, TreeView } from './treeView.js';

const $ = (selector) => document.querySelector(selector);
const panel = (id) => Notices.of($(id));

const model = new TreeModel();
const banner = new Banner($('#banner'));
const page = { treeShownAt: null, startedAt: performance.now(), documents: 0, changes: 0, firstNodesAt: null,
               viewables: new Map(), treeLoaded: false };
window.webapiPage = page;
let session;
let host;
let commands;
let hostPanel;

const notices = {
  toolbar: new Notices($('#status'), $('#toolbar-alert')),
  tree: new Notices($('#tree-outcome'), $('#tree-alert')),
  selection: panel('#selection-panel'),
  paint: panel('#paint-panel'),
  instances: panel('#instances-panel'),
  viewables: panel('#viewables-panel'),
  annotations: panel('#annotations-panel'),
  sets: panel('#sets-panel'),
  label: panel('#label-panel'),
};

// ---- the tree ----------------------------------------------------------------

const menu = new TreeMenu($('#tree-menu'), () => $('#tree').focus());

const treeView = new TreeView($('#tree'), model, {
  // The module decides from the node's state whether to hide or to show.
  onToggleVisibility: (node, others) => toggleVisibility(node, others),
  // Asks the states of the children, which the module sends as changes.
  onExpand: (nodes) => {
    const ask = nodes.filter((node) => !node.asked);
    if (!ask.length) return;
    for (const node of ask) node.asked = true;
    session.expectAnswer();
    commands.call(notices.tree, 'SelectTreeNodes', [JSON.stringify({ nodes: ask.map((node) => node.id), depth: 1 })],
      { label: ask.length === 1 ? `Reading ${ask[0].name}` : `Reading ${ask.length} branches`, effects: null,
        done: () => '' });
  },
  onReadProxy: async (node) => {
    await toggleVisibility(node, [], `Reading ${node.name}`);
    // A branch that stayed unread stays closed.
    if (node.unread) node.expanded = false;
    treeView.refresh();
  },
  onUnstated: (nodes) => askStatesLater(nodes),
  onSelect: () => showTreeSelection(),
  onMenu: (node, x, y) => openMenu(node, x, y),
});

// While a tree's initial states are on their way (a large tree's take
// seconds behind its mapping), a row in sight that is still without its
// state a moment after it showed asks for it; the answer comes on a stream
// of its own. An opened branch and its rows are answered by its opening.
const STATE_WAIT_MS = 300;
let unstated = new Set();
let unstatedTimer = null;

function askStatesLater(nodes) {
  if (!page.statesWaiting) return;
  for (const node of nodes) if (!node.stateAsked) unstated.add(node);
  if (!unstated.size || unstatedTimer !== null) return;
  unstatedTimer = setTimeout(() => {
    unstatedTimer = null;
    const ask = [...unstated].filter((node) => model.holds(node) && !node.state && !node.stateAsked && !node.asked
      && !node.parent?.asked);
    unstated = new Set();
    if (!page.statesWaiting || !ask.length) return;
    for (const node of ask) node.stateAsked = true;
    session.expectAnswer();
    session.call('SelectTreeNodes', JSON.stringify({ nodes: ask.map((node) => node.id), depth: 0 })).catch(() => {});
  }, STATE_WAIT_MS);
}

async function toggleVisibility(node, others, label = null) {
  const hide = HIDING_STATES.has(node.state);
  label ??= `${hide ? 'Hiding' : 'Showing'} ${node.name}`;
  const before = await traceMark();
  await commands.call(notices.tree, 'SelectTreeNodes', [JSON.stringify({
    primaryNode: node.id, selectedNodes: others.map((other) => other.id),
  })], {
    label,
    done: () => `${node.name}: ${hide ? 'hidden' : 'shown'}`,
    // A proxy that the host failed to read shows nothing, and says so only
    // in the trace.
    check: async () => {
      const failed = await traceLines(before, (text) => text.includes(' is a proxy that failed to expand.'));
      if (node.proxy) markProxies(await host.readProxies().catch(() => host.proxies));
      if (failed.length) return `${node.name} could not be shown: the host failed to read its branch (${failed[0].trim()})`;
      if (node.proxy === 'failed') return `${node.name} could not be read: the host failed to read its branch.`;
      return null;
    },
  });
}

async function traceMark() {
  try {
    return (await request('GET', `/host/traces?since=${Number.MAX_SAFE_INTEGER}&limit=1`)).last;
  } catch {
    return null;
  }
}

async function traceLines(since, test) {
  if (since === null) return [];
  try {
    const { entries } = await request('GET', `/host/traces?since=${since}&limit=2000`);
    return entries.map((entry) => entry.text).filter(test);
  } catch {
    return [];
  }
}

// The tree's selection; nodes of a tree cleared since are not in it.
function selectedNodes() {
  return [...treeView.selected].filter((node) => model.holds(node));
}

function showTreeSelection() {
  const nodes = selectedNodes();
  $('#tree-selection').textContent = nodes.length
    ? `Tree selection: ${nodes.slice(0, 4).map((node) => node.name).join(', ')}${nodes.length > 4 ? ` and ${nodes.length - 4} more` : ''}`
    : 'Tree selection: none (click rows; Shift and Ctrl add)';
}

function openMenu(node, x, y) {
  const targets = treeView.selected.has(node) ? selectedNodes() : [node];
  const hide = HIDING_STATES.has(node.state);
  menu.open([
    { label: hide ? 'Hide' : 'Show', run: () => toggleVisibility(node, targets.filter((other) => other !== node)) },
    { label: 'Paint', run: () => paint(targets) },
    { label: 'Read colour', run: () => readColor(node) },
    { label: 'Select in viewer', run: () => selectInViewer(node) },
    { label: 'Zoom to', run: () => zoomTo(node) },
  ], x, y);
}

// The viewer's own pick: selection set 0 of the active shape scene.
async function selectInViewer(node, quiet = false) {
  const scene = host.activeScene();
  if (!scene) {
    notices.tree.failed('No shape view is active: switch to one to select in the viewer.');
    return false;
  }
  try {
    await request('POST', '/host/control', { action: 'pickShape', scene: scene.name, idpath: node.idpath, add: false });
    if (!quiet) notices.tree.done(`${node.name} is the viewer's selection`);
    return true;
  } catch (error) {
    notices.tree.failed(`Select in viewer failed: ${error.message}`);
    return false;
  }
}

async function zoomTo(node) {
  if (await selectInViewer(node, true)) await commands.call(notices.tree, 'ZoomToSelected', [0], { label: `Zoom to ${node.name}` });
}

function markProxies(proxies) {
  model.markProxies(proxies);
  treeView.refresh();
}

// ---- the viewer's selection ---------------------------------------------------

// The idpaths that the items of a selection name.
function selectionPaths(selection) {
  const paths = [];
  for (const item of selection ?? []) {
    const path = item.fields?.instance ?? item.fields?.sbomIdPath ?? item.fields?.idpath ?? item.fields?.parent_instance;
    if (path) paths.push(path);
  }
  return paths;
}

function showHostSelection() {
  const scene = host.activeScene();
  const paths = selectionPaths(scene?.selection);
  treeView.setHostSelection(paths);
  const line = $('#viewer-selection');
  line.textContent = '';
  if (!scene) {
    line.textContent = 'Viewer selection: no shape view is active';
    return;
  }
  line.append(paths.length ? 'Viewer selection: ' : 'Viewer selection: none');
  paths.slice(0, 6).forEach((path, i) => {
    const link = document.createElement('button');
    link.type = 'button';
    link.className = 'link';
    link.textContent = path.slice(path.lastIndexOf('/') + 1);
    link.title = `Show ${path} in the tree`;
    link.addEventListener('click', () => {
      const node = model.find(path);
      if (node) treeView.reveal(node);
      $('#tree').focus();
    });
    line.append(i ? ', ' : '', link);
  });
  if (paths.length > 6) line.append(` and ${paths.length - 6} more`);
}

// ---- views --------------------------------------------------------------------

const VIEW_KINDS = { 17: 'shape view', 18: 'drawing', 19: 'image', 20: 'document', 52: 'illustration' };

function viewKind(view) {
  return VIEW_KINDS[view.class] ?? `view class ${view.class}`;
}

function drawViews() {
  const select = $('#views');
  select.textContent = '';
  if (!host.activeView) select.add(new Option('(no active view)', '', true, true));
  for (const view of host.views) {
    const option = new Option(`${view.active ? '● ' : ''}${view.name} — ${viewKind(view)}, scene ${view.scene}`, view.name,
      view.active, view.active);
    select.add(option);
  }
}

async function activateView(name, notice = notices.toolbar) {
  notice.busy(`Switching to ${name || 'no view'}…`);
  try {
    await request('POST', '/host/control', { action: 'activateView', view: name });
    notice.done(`The active view is ${name || 'none'}`);
  } catch (error) {
    notice.failed(`Switching views failed: ${error.message}`);
  }
}

// Says that a call switched the view, with a way back: to the view, or,
// when the host took it away with its scene, to a world that has it.
let viewSwitch = null;

function noteViewSwitch(what, from, to) {
  viewSwitch = { what, from, to };
  drawViewSwitch();
}

// Drawn again when the host's views are read again: the host tells that
// views went before the page knows which.
function drawViewSwitch() {
  const note = $('#views-note');
  if (!viewSwitch) return;
  const { what, from, to } = viewSwitch;
  const kept = host.views.some((view) => view.name === from);
  note.textContent = `${what} switched the view from ${from ?? 'none'} to ${to ?? 'none'}`
    + `${from && !kept ? `, and the host removed ${from} with its scene` : ''}. `;
  if (!from) return;
  const back = document.createElement('button');
  back.type = 'button';
  back.textContent = kept ? `Back to ${from}` : 'Load the sample world again';
  back.addEventListener('click', async () => {
    if (kept) {
      await activateView(from, notices.sets);
    } else {
      notices.sets.busy('Loading the sample world…');
      try {
        await request('POST', '/host/control', { action: 'loadWorld', path: '' });
        notices.sets.done('The sample world is loaded again');
      } catch (error) {
        notices.sets.failed(`Loading the sample world failed: ${error.message}`);
        return;
      }
    }
    viewSwitch = null;
    note.textContent = '';
  });
  note.append(back);
}

// ---- callbacks ----------------------------------------------------------------

// What the tree worker read of a tree document: nodes, states or removals
// as they arrive, then the document's end.
function onTree(part) {
  if (part.kind === 'end') {
    page.documents++;
    commands?.noteTreeDocument();
    // Answers to the state query, for whoever waits for one.
    if (part.document === 'treeUpdateChanges') page.changes++;
    if (part.document === 'clearTree') {
      showLoading(true);
      readTreeAgain();
    }
    return;
  }
  treeView.refresh(model.apply(part));
  $('#tree-count').textContent = `${model.size} nodes`;
  if (!page.treeLoaded) $('#tree-loading-text').textContent = `${model.size} nodes received`;
  // From the first frame with rows on, the page tells how many nodes it holds.
  if (page.treeShownAt !== null) {
    document.body.dataset.treeReady = String(model.size);
  } else if (model.size && page.firstNodesAt === null) {
    page.firstNodesAt = performance.now();
    requestAnimationFrame(() => {
      page.treeShownAt = performance.now();
      document.body.dataset.treeReady = String(model.size);
      startViewer();
    });
  }
}

function onEvent(event) {
  switch (event.method) {
    case 'OnTreeMappingBegin':
      page.mappingBegun = true;
      page.statesWaiting = true;
      if (!page.treeLoaded) showLoading(true);
      break;
    case 'OnTreeMappingEnd':
      if (model.size) showLoading(false);
      markProxies(host.proxies);
      showHostSelection();
      break;
    case 'OnTreeUpdateEnd':
      page.statesWaiting = false;
      if (page.mappingBegun) initialStatesIn();
      break;
    // The request id is the only argument of the start and the end.
    case 'StartViewablesResult':
      page.viewables.set(event.args[0], []);
      $('#viewables').textContent = '';
      break;
    case 'ViewablesResult': {
      const [text, requestId] = event.args;
      const viewable = parseViewable(text);
      page.viewables.get(requestId)?.push(viewable);
      showViewable(viewable);
      break;
    }
    case 'EndViewablesResult': {
      const [requestId] = event.args;
      $('#viewables').dataset.done = String(requestId);
      notices.viewables.done(`${page.viewables.get(requestId)?.length ?? 0} viewables received (request ${requestId})`);
      break;
    }
    default:
      break;
  }
}

// While the tree's first documents arrive, commands that act on the tree
// wait for it.
function showLoading(loading) {
  page.treeLoaded = !loading;
  $('#tree-loading').hidden = !loading;
  if (loading) $('#tree-loading-text').textContent = `${model.size} nodes received`;
  for (const element of document.querySelectorAll('[data-needs-tree]')) element.disabled = loading;
  document.body.dataset.treeLoading = String(loading);
}

function showViewable(viewable) {
  const card = document.createElement('figure');
  card.className = 'viewable';
  if (viewable.pngb64) {
    const image = document.createElement('img');
    image.src = `data:image/png;base64,${viewable.pngb64}`;
    image.alt = viewable.name ?? '';
    card.append(image);
  }
  const caption = document.createElement('figcaption');
  caption.append(`${viewable.name ?? '?'}`, document.createElement('br'));
  const small = document.createElement('small');
  small.textContent = `${viewable.viewableType ?? ''} · ${viewable.idpath ?? ''}`;
  caption.append(small);
  card.append(caption);
  $('#viewables').append(card);
}

// ---- panels -------------------------------------------------------------------

async function paint(nodes) {
  if (!nodes.length) {
    notices.paint.failed('The tree selection is empty: click a row first.');
    return;
  }
  const color = hexColor($('#paint-color').value);
  await commands.call(notices.paint, 'SetInstancesColor', [nodes.map((node) => node.idpath), $('#paint-branch').checked, color], {
    label: `Painting ${nodes.length === 1 ? nodes[0].name : `${nodes.length} rows`}`,
    done: () => `Painted ${nodes.length === 1 ? nodes[0].name : `${nodes.length} rows`}`,
  });
}

async function readColor(node) {
  if (!node) {
    notices.paint.failed('No row has the focus: click a row first.');
    return;
  }
  const reply = await commands.call(notices.paint, 'GetInstanceColor', [node.idpath], {
    label: `Reading the colour of ${node.name}`,
    done: () => '',
  });
  if (!reply) return;
  const text = reply.result;
  if (text) notices.paint.done(`${node.name}:`, colorSwatch(text));
  else notices.paint.done(`${node.name} has no colour of its own`);
}

const LARGE_TREE = 100000;
const SEARCH_PAUSE_MS = 250;

function wirePanels() {
  for (const button of document.querySelectorAll('[data-call]')) {
    const where = button.closest('details') ? Notices.of(button.closest('details')) : notices.toolbar;
    button.addEventListener('click', () => commands.call(where, button.dataset.call, JSON.parse(button.dataset.args ?? '[]'),
      { label: button.textContent.trim() }));
  }
  $('#views').addEventListener('change', (event) => activateView(event.target.value));
  $('#cross-selection').addEventListener('change', (event) =>
    commands.call(notices.toolbar, 'SetCrossSelection', [event.target.checked], { label: 'Cross selection' }));
  $('#profiles-reload').addEventListener('click', readProfiles);
  $('#profiles').addEventListener('change', (event) => event.target.value
    && commands.call(notices.toolbar, 'SetProfile', [event.target.value], { label: `Profile ${event.target.value}` }));

  $('#selection-read').addEventListener('click', async () => {
    const reply = await commands.call(notices.selection, 'GetCurrentSelection', [], { label: "Reading the viewer's selection" });
    if (reply) showDocument($('#selection-doc'), reply.result, "The viewer's selection");
  });
  $('#paint').addEventListener('click', () => paint(selectedNodes()));
  $('#paint-read').addEventListener('click', () => readColor(treeView.primary));

  const instances = (method) => commands.call(notices.instances, method, [$('#instances-text').value], {
    label: method,
    // A list inside an update is only gathered; the end applies it.
    effects: /\[.*\]/s.test($('#instances-text').value) || /update\s+end|end/.test($('#instances-text').value)
      ? ['shapes', 'shapesAdded', 'progress'] : null,
  });
  $('#instances-load').addEventListener('click', () => instances('LoadInstances'));
  $('#instances-unload').addEventListener('click', () => instances('UnloadInstances'));
  $('#instances-begin').addEventListener('click', () => { $('#instances-text').value = 'update begin'; });
  $('#instances-end').addEventListener('click', () => { $('#instances-text').value = 'update end'; });
  $('#instances-selection').addEventListener('click', () => {
    $('#instances-text').value = JSON.stringify(selectedNodes().map((node) => node.idpath));
  });

  let viewablesRequest = 0;
  $('#viewables-get').addEventListener('click', () =>
    commands.call(notices.viewables, 'GetViewables', ['session', ++viewablesRequest], { label: 'Get viewables', done: () => 'Asked; the viewables follow' }));
  $('#annotations-get').addEventListener('click', listAnnotations);
  $('#sets-get').addEventListener('click', listSets);
  $('#label-add').addEventListener('click', () => commands.call(notices.label, 'AddAnnotationLabel', [$('#label-text').value,
    Number($('#label-x').value), Number($('#label-y').value), Number($('#label-z').value)], { label: 'Add a label' }));

  // A search reads every name: in a large tree, typing is not held up by a
  // search per letter, only the pause after the last one.
  let searchTimer = null;
  $('#tree-search').addEventListener('input', (event) => {
    const search = () => {
      const matches = treeView.search(event.target.value);
      $('#tree-matches').textContent = matches === null ? '' : `${matches} ${matches === 1 ? 'match' : 'matches'}`;
    };
    clearTimeout(searchTimer);
    if (model.size > LARGE_TREE) searchTimer = setTimeout(search, SEARCH_PAUSE_MS);
    else search();
  });
  $('#tree-search').addEventListener('keydown', (event) => {
    if (event.key === 'ArrowDown' || event.key === 'Enter') {
      event.preventDefault();
      $('#tree').focus();
      treeView.focusRow(0, false);
    }
  });
  $('#expand-all').addEventListener('click', () => treeView.expandAll());
  $('#collapse-all').addEventListener('click', () => treeView.collapseAll());
}

async function readProfiles() {
  const reply = await commands.call(notices.toolbar, 'GetProfiles', [], { label: 'Reading the profiles' });
  const select = $('#profiles');
  select.length = 1;
  const text = reply?.result;
  if (!text) return;
  const parsed = parseDocument(text);
  const names = Array.isArray(parsed) ? parsed : Array.isArray(parsed?.profiles) ? parsed.profiles : String(text).split(/[\n,]/);
  for (const name of names) select.add(new Option(typeof name === 'string' ? name : JSON.stringify(name)));
  notices.toolbar.done(`${names.length} profiles`);
}

async function listAnnotations() {
  const reply = await commands.call(notices.annotations, 'GetAllModelAnnotations', [null], { label: 'Listing model annotations' });
  const parsed = parseDocument(reply?.out?.[0] ?? '');
  const table = $('#annotations');
  table.textContent = '';
  const list = parsed?.modelannotations ?? [];
  if (reply) notices.annotations.done(`${list.length} model annotations`);
  for (const { id, idpath } of list) {
    const row = table.insertRow();
    row.insertCell().textContent = `${idpath} · ${id}`;
    const cell = row.insertCell();
    const where = notices.annotations;
    for (const [label, run] of [
      ['show', () => commands.call(where, 'ShowModelAnnoations', [idpath, id], { label: `Show ${id}` })],
      ['hide', () => commands.call(where, 'HideModelAnnoations', [idpath, id], { label: `Hide ${id}` })],
      ['colour', () => commands.call(where, 'SetModelAnnotationColor', [idpath, id, hexColor($('#annotation-color').value)], { label: `Colour ${id}` })],
      ['read', async () => {
        const read = await commands.call(where, 'GetModelAnnotationColor', [idpath, id], { label: `Read ${id}`, done: () => '' });
        if (read) where.done(`${id}:`, read.result ? colorSwatch(read.result) : 'no colour');
      }],
    ]) {
      const button = document.createElement('button');
      button.textContent = label;
      button.setAttribute('aria-label', `${label} ${id}`);
      button.addEventListener('click', run);
      cell.append(button);
    }
  }
}

// The list shows once every name is read, with its outcome, so that a set
// loaded from it tells its own outcome last.
async function listSets() {
  const list = $('#sets');
  list.textContent = '';
  const count = (await commands.call(notices.sets, 'GetNumberOfAnnotationSets', [], { label: 'Listing annotation sets' }))?.result ?? 0;
  const names = [];
  for (let i = 0; i < count; i++) {
    try {
      names.push((await session.call('GetAnnotationSetName', i)).result);
    } catch (error) {
      commands.failed(notices.sets, 'GetAnnotationSetName', error);
      return;
    }
  }
  for (const name of names) {
    const item = document.createElement('li');
    const button = document.createElement('button');
    button.textContent = 'Load';
    button.setAttribute('aria-label', `Load ${name ?? '(null)'}`);
    button.addEventListener('click', () => loadSet(name));
    item.append(`${name ?? '(null)'} `, button);
    list.append(item);
  }
  notices.sets.done(`${count} annotation sets`);
}

// A set is applied by the host after the call: the outcome is the applied
// status it reports, and a set may switch the active view.
async function loadSet(name) {
  const viewBefore = host.activeView;
  const setsBefore = host.appliedSets.length;
  let status = null;
  waitingSet = null;
  await commands.call(notices.sets, 'LoadAnnotationSet', [name], {
    label: `Loading ${name}`,
    check: async (seen) => {
      status = await commands.appliedStatus(name, seen);
      return status !== null && status !== 0 ? `${name} failed to apply: the host reported status ${status}.` : null;
    },
    done: () => (status === null ? `${name} is being applied; its end shows here.` : `${name} applied`),
  });
  if (status === null) {
    // Its end may have come while the outcome was being told.
    waitingSet = name;
    const ended = host.appliedSets.slice(setsBefore).find((set) => set?.name === name && set.status !== -1);
    if (ended) onAppliedSet(ended);
  }
  if (host.activeView !== viewBefore) noteViewSwitch(`Loading ${name}`, viewBefore, host.activeView);
}

// The set whose end came after the page stopped waiting for it, told when
// it comes.
let waitingSet = null;
function onAppliedSet(set) {
  if (set.status === -1 || set.name !== waitingSet) return;
  waitingSet = null;
  if (set.status === 0) notices.sets.done(`${set.name} applied`);
  else notices.sets.failed(`${set.name} failed to apply: the host reported status ${set.status}.`);
}

function drawLegend() {
  $('#legend-list').innerHTML = Object.keys(STATE_NAMES).map((state) =>
    `<li><svg viewBox="0 0 18 18" aria-hidden="true">${ICONS[state]}</svg><span><strong>${STATE_NAMES[state]}</strong>`
    + ` <span class="muted">(${state}) ${STATES[state]}</span></span></li>`).join('');
}

// ---- the host -----------------------------------------------------------------

function followHost() {
  const redraw = () => {
    drawViews();
    showHostSelection();
    hostPanel.drawProgress();
    hostPanel.drawWorkflow();
  };
  host.addEventListener('resync', () => {
    redraw();
    markProxies(host.proxies);
    drawViewSwitch();
    hostPanel.readTraces();
  });
  host.addEventListener('change', ({ detail: event }) => {
    switch (event.kind) {
      case 'activeView':
        drawViews();
        showHostSelection();
        hostPanel.drawWorkflow();
        break;
      case 'selection':
        if (event.scene === host.activeScene()?.name) showHostSelection();
        break;
      case 'progress':
        hostPanel.drawProgress();
        break;
      case 'workflowMessage':
        if (event.view === host.activeView) hostPanel.drawWorkflow();
        break;
      case 'appliedSet':
        onAppliedSet(event.set);
        break;
      default:
        break;
    }
    traceSoon();
  });
  host.addEventListener('connection', ({ detail: { connected, retryIn } }) => {
    if (connected) {
      banner.clear('connection');
      if (!commands.moduleEnded) notices.toolbar.done('Connected again; the page shows the host as it is now');
      return;
    }
    if (banner.kind === 'module') return;
    banner.show('connection', `The connection to the program is lost: is it still running? Trying again in ${Math.round(retryIn / 100) / 10} s.`,
      'Try now', () => host.reconnectNow());
  });
  redraw();
}

let traceTimer = null;
function traceSoon() {
  if (traceTimer) return;
  traceTimer = setTimeout(() => {
    traceTimer = null;
    hostPanel?.readTraces();
  }, 200);
}

// ---- the session ----------------------------------------------------------------

// Takes the tree over (boot.js) and tells the registration's outcome; sent
// is the registration's reply when boot.js made it already.
async function registerTree(sent = takeTreeOver(session)) {
  const registered = await commands.call(notices.toolbar, 'RegisterTreeObserver', ['session'],
    { label: 'Registering the tree observer', effects: null, sent });
  if (registered) notices.toolbar.done(`Session ${session.id}`);
  return registered;
}

// A session that a program started anew does not know ends; once the
// program answers again the page opens a new one and reads the tree again.
let renewing = null;
function sessionEnded(reason) {
  if (renewing) return;
  if (!/unknown-session|session-ended|^404|^410/.test(reason)) {
    banner.show('session', `The page's session ended (${reason}). Reload the page for a new one.`, 'Reload the page', () => location.reload());
    return;
  }
  renewing = (async () => {
    while (!host.connected) await new Promise((resolve) => host.addEventListener('connection', resolve, { once: true }));
    try {
      session = await Session.open();
      session.listen({ onEvent, onTree, onEnd: sessionEnded });
      commands.session = session;
      page.session = session.id;
      model.clear();
      page.treeLoaded = false;
      page.mappingBegun = false;
      treeView.refresh();
      showLoading(true);
      if (await registerTree()) notices.toolbar.done('Connected again to a program started anew: a new session reads its tree');
    } catch (error) {
      banner.show('session', `A new session could not be opened (${error.message}). Reload the page.`, 'Reload the page', () => location.reload());
    } finally {
      renewing = null;
    }
  })();
}

// The host's tree was cleared (its world replaced): the module tells of the
// new world's states but not of its nodes, so the page asks for the tree
// again, as a new observer would.
let treeAgain = null;
function readTreeAgain() {
  clearTimeout(treeAgain);
  treeAgain = setTimeout(async () => {
    if (!commands || renewing) return;
    await registerTree();
  }, 200);
}

// ---- start --------------------------------------------------------------------

// The viewer (and the 3D library it loads) starts once the tree's first rows
// are up, or once it is known that no tree comes: drawing a large scene holds
// the page for seconds in a software renderer, and the tree must not wait
// for it.
let viewerStarted = false;
async function startViewer() {
  if (viewerStarted || !hostPanel) return;
  viewerStarted = true;
  $('#viewer-caption').textContent = 'starting the viewer…';
  try {
    const { Viewer } = await import('./viewer.js');
    new Viewer($('#viewer-pane'), host);
  } catch (error) {
    $('#viewer-caption').textContent = `The viewer could not start: ${error.message}`;
  }
}

// The registration's initial states applied (or, at the latest, after
// INITIAL_STATES_MS, should the module not end them).
const INITIAL_STATES_MS = 20000;
let initialStatesIn;
const initialStates = new Promise((resolve) => { initialStatesIn = resolve; });

function unreachable(error) {
  banner.show('connection', `The program does not answer (${error.message}). Start it with scripts/devhost.sh, then reload.`,
    'Reload the page', () => location.reload());
  throw error;
}

async function start() {
  drawLegend();
  showTreeSelection();
  showLoading(true);
  wirePanels();
  // The tree comes first: boot.js registered its observer while the page's
  // scripts loaded, and the host's state (views, the scenes' shapes, ...) is
  // read once the module has sent the registration's documents, so that
  // neither slows the other.
  host = new HostState();
  session = await opening.catch(unreachable);
  session.listen({ onEvent, onTree, onEnd: sessionEnded });
  commands = new Commands({ session, host, banner, afterCall: traceSoon });
  page.session = session.id;
  page.registeredAt = performance.now();
  await registerTree(registering);
  await request('POST', '/host/settle', {});
  // The module has sent the registration's documents: the mapping, then the
  // states, ended by OnTreeUpdateEnd; a world without a tree sends none.
  await new Promise((resolve) => setTimeout(resolve, page.mappingBegun ? 0 : 1500));
  if (page.mappingBegun) await Promise.race([initialStates, new Promise((resolve) => setTimeout(resolve, INITIAL_STATES_MS))]);
  await host.connect().catch(unreachable);
  hostPanel = new HostPanel(host, { progress: $('#progress'), workflow: $('#workflow'), traces: $('#traces') });
  followHost();
  markProxies(host.proxies);
  if (!page.mappingBegun && !model.size) {
    showLoading(false);
    $('#tree-count').textContent = 'no tree: the module sent none';
  }
  startViewer();
  hostPanel.readTraces();
  page.ready = true;
  document.body.dataset.ready = 'true';
}

start().catch((error) => {
  notices.toolbar.failed(`The page could not start: ${error.message}`);
  console.error(error);
});
