// What the development host shows, kept live: read once from /host/state,
// then followed through /host/events (GATEWAY.md, "Host events"). After a
// lost connection it reconnects with a growing pause and reads everything
// again, so nothing the host did while the page was away is missed.
//
// Events: 'change' (detail: the host event, after it was applied),
// 'resync' (after a whole read), 'connection' (detail: {connected, retryIn}).

import { apiUrl, request } from './api.js';

const SECTIONS = ['activeView', 'views', 'scenes', 'progress', 'appliedSets', 'moduleCalls', 'crossSelection', 'proxies'];
const RETRY_FIRST_MS = 500;
const RETRY_MOST_MS = 8000;
// Calls of the host's modules and of the plug-in link kept for the page.
const KEEP_CALLS = 200;

export class HostState extends EventTarget {
  // maxShapes: the shape instances read of each scene at most (a large
  // world has more than a page draws).
  constructor(maxShapes = 50000) {
    super();
    this.maxShapes = maxShapes;
    this.activeView = null;
    this.views = [];
    this.scenes = new Map();
    this.progress = [];
    this.appliedSets = [];
    this.moduleCalls = [];
    this.pluginLinks = [];
    this.crossSelection = null;
    this.proxies = [];
    this.connected = false;
    this.lastSeq = null;
    this.source = null;
    this.retryMs = RETRY_FIRST_MS;
    this.retryTimer = null;
    this.closed = false;
    addEventListener('pagehide', () => this.close());
  }

  // The active view's scene entry when it is a shape scene, else null.
  activeScene() {
    const view = this.views.find((each) => each.name === this.activeView);
    const scene = view && this.scenes.get(view.scene);
    return scene?.shapeScene ? scene : null;
  }

  activeViewEntry() {
    return this.views.find((each) => each.name === this.activeView) ?? null;
  }

  close() {
    this.closed = true;
    clearTimeout(this.retryTimer);
    this.source?.close();
  }

  // Opens the stream, then reads the whole state; events that arrive during
  // the read wait and are applied after it, so none is lost.
  connect() {
    return new Promise((resolve, reject) => {
      let pending = [];
      let settled = false;
      const source = new EventSource(apiUrl('/host/events'));
      this.source = source;
      source.onmessage = (message) => {
        let event;
        try {
          event = JSON.parse(message.data);
        } catch {
          return;
        }
        if (pending) pending.push(event);
        else this.apply(event);
      };
      source.onopen = async () => {
        try {
          await this.readAll();
          this.retryMs = RETRY_FIRST_MS;
          this.setConnected(true);
          const waiting = pending;
          pending = null;
          for (const event of waiting) this.apply(event);
          if (!settled) {
            settled = true;
            resolve();
          }
        } catch (error) {
          source.close();
          this.lost();
          if (!settled) {
            settled = true;
            reject(error);
          }
        }
      };
      source.onerror = () => {
        source.close();
        this.lost();
        if (!settled) {
          settled = true;
          reject(new Error('the host event stream could not be opened'));
        }
      };
    });
  }

  lost() {
    if (this.closed) return;
    const retryIn = this.retryMs;
    this.retryMs = Math.min(RETRY_MOST_MS, this.retryMs * 2);
    this.setConnected(false, retryIn);
    clearTimeout(this.retryTimer);
    this.retryTimer = setTimeout(() => this.connect().catch(() => {}), retryIn);
  }

  // Tries again at once (a user's "reconnect now").
  reconnectNow() {
    if (this.connected || this.closed) return;
    clearTimeout(this.retryTimer);
    this.source?.close();
    this.connect().catch(() => {});
  }

  setConnected(connected, retryIn = 0) {
    const changed = this.connected !== connected;
    this.connected = connected;
    if (changed || !connected)
      this.dispatchEvent(new CustomEvent('connection', { detail: { connected, retryIn } }));
  }

  async readAll() {
    const state = await request('GET', `/host/state?sections=${SECTIONS.join(',')}&maxShapes=${this.maxShapes}`);
    this.activeView = state.activeView;
    this.views = state.views;
    this.scenes = new Map(state.scenes.map((scene) => [scene.name, indexScene(scene)]));
    this.progress = state.progress;
    this.appliedSets = state.appliedSets;
    this.moduleCalls = state.moduleCalls.slice(-KEEP_CALLS);
    this.crossSelection = state.crossSelection;
    this.proxies = state.proxies ?? [];
    this.dispatchEvent(new CustomEvent('resync'));
  }

  // The unread proxies again (a read of one has ended).
  async readProxies() {
    this.proxies = (await request('GET', '/host/state?sections=proxies')).proxies;
    return this.proxies;
  }

  // A whole read later, once a burst of such events has passed.
  resyncSoon() {
    clearTimeout(this.resyncTimer);
    this.resyncTimer = setTimeout(() => this.readAll().catch(() => this.source?.close()), 150);
  }

  apply(event) {
    this.lastSeq = event.seq;
    const scene = event.scene === undefined ? null : this.scenes.get(event.scene);
    const view = event.view === undefined ? null : this.views.find((each) => each.name === event.view);
    switch (event.kind) {
      case 'activeView':
        this.activeView = event.view;
        for (const each of this.views) each.active = each.name === event.view;
        break;
      case 'views':
      case 'world':
        this.resyncSoon();
        break;
      case 'selection':
        if (scene) scene.selection = event.selection;
        break;
      case 'shapes':
      case 'shapesAdded':
        if (scene) for (const shape of event.shapes) putShape(scene, shape);
        break;
      case 'shapesRemoved':
        if (scene) removeShapes(scene, event.ids);
        break;
      case 'labels':
        if (scene) scene.labels = event.labels;
        break;
      case 'progress': {
        const at = this.progress.findIndex((each) => each.id === event.progress.id);
        if (at >= 0) this.progress[at] = event.progress;
        else this.progress.push(event.progress);
        break;
      }
      case 'workflowMessage':
        view?.workflowMessages.push(event.message);
        break;
      case 'zoom':
        view?.zoomCodes.push(event.code);
        break;
      case 'viewCommand':
        view?.viewCommands.push(event.command);
        break;
      case 'appliedSet':
        if (Number.isInteger(event.set.index)) this.appliedSets[event.set.index] = event.set;
        else this.appliedSets.push(event.set);
        break;
      case 'moduleCall':
        keep(this.moduleCalls, event.call);
        break;
      case 'pluginLink':
        keep(this.pluginLinks, event.call);
        break;
      default:
        break;
    }
    this.dispatchEvent(new CustomEvent('change', { detail: event }));
  }
}

function indexScene(scene) {
  scene.shapesById = new Map(scene.shapes.map((shape) => [shape.id, shape]));
  return scene;
}

function putShape(scene, shape) {
  const present = scene.shapesById.get(shape.id);
  if (present) {
    Object.assign(present, shape);
    return;
  }
  scene.shapesById.set(shape.id, shape);
  scene.shapes.push(shape);
  scene.shapeCount = Math.max(scene.shapeCount ?? 0, scene.shapesById.size);
}

function removeShapes(scene, ids) {
  let removed = 0;
  for (const id of ids) if (scene.shapesById.delete(id)) removed++;
  if (!removed) return;
  scene.shapes = scene.shapes.filter((shape) => scene.shapesById.has(shape.id));
  scene.shapeCount = Math.max(scene.shapesById.size, (scene.shapeCount ?? 0) - removed);
}

function keep(list, item) {
  list.push(item);
  if (list.length > KEEP_CALLS) list.splice(0, list.length - KEEP_CALLS);
}
