// The viewer pane: the active view's shape scene in 3D, drawn with WebGL
// through three.js, following the host's state live (hostState.js). It
// fetches the scene's geometry itself, shows visibility, painted colours,
// the host's selection and labels, flies the camera when the module asks a
// shape view to fly, and turns a click on a shape into the host's pick.

import { request } from './api.js';
import { CameraFlight } from './viewer3d/cameraFlight.js';
import { InstancedShapes } from './viewer3d/instancedShapes.js';
import { LabelLayer } from './viewer3d/labelLayer.js';
import { OrbitControls } from './viewer3d/orbitControls.js';
import { fetchSceneGeometry } from './viewer3d/sceneGeometry.js';
import * as THREE from './viewer3d/three.js';

// basicnav::ShapeViewFlyToData's flag for fitting only what is shown.
const FIT_VISIBLE_ONLY = 0x04;
// A press that moves less than this many pixels before its release is a click.
const CLICK_SLOP = 5;
// The instances a software renderer draws at most: a frame of about a
// quarter of a second on two cores.
const SOFTWARE_INSTANCE_CAP = 10000;
const VIEW_KINDS = { 0x12: 'drawing', 0x13: 'image', 0x14: 'document', 0x34: 'illustration' };

export class Viewer {
  constructor(pane, hostState) {
    this.pane = pane;
    this.hostState = hostState;
    this.shapes = null;       // InstancedShapes of the scene drawn
    this.sceneName = null;
    this.loading = 0;         // the generation of the newest geometry read
    this.visibleCount = 0;
    this.frameRequested = false;
    this.buildPane();
    try {
      this.buildScene();
    } catch (error) {
      // A browser without WebGL keeps the rest of the page working.
      this.say(`This browser draws no WebGL, so the viewer pane cannot show the scene (${error.message}).`);
      return;
    }
    hostState.addEventListener('resync', () => this.follow(true));
    hostState.addEventListener('change', (event) => this.onHostEvent(event.detail));
    this.follow(true);
    // For benchmarks and tests that ask what is drawn where.
    window.webapiViewer = this;
  }

  buildPane() {
    const title = this.pane.querySelector('.pane-title');
    this.caption = this.pane.querySelector('#viewer-caption') ?? title?.appendChild(document.createElement('span'));
    this.fitButton = document.createElement('button');
    this.fitButton.type = 'button';
    this.fitButton.textContent = 'Fit all';
    this.fitButton.className = 'viewer-fit';
    this.fitButton.addEventListener('click', () => this.fit(() => true));
    title?.append(this.fitButton);
    this.stage = document.createElement('div');
    this.stage.className = 'viewer-stage';
    this.canvas = this.pane.querySelector('canvas') ?? document.createElement('canvas');
    this.canvas.id = 'viewer';
    this.canvas.setAttribute('role', 'img');
    this.canvas.setAttribute('aria-label', '3D view');
    this.message = document.createElement('div');
    this.message.className = 'viewer-message';
    this.message.setAttribute('role', 'status');
    this.stage.append(this.canvas, this.message);
    this.pane.append(this.stage);
    this.labels = new LabelLayer(this.stage);
  }

  buildScene() {
    this.renderer = new THREE.WebGLRenderer({ canvas: this.canvas, antialias: true, preserveDrawingBuffer: true });
    this.renderer.setPixelRatio(devicePixelRatio || 1);
    // A software renderer (no GPU: SwiftShader, llvmpipe) takes seconds a
    // frame for a hundred thousand instances and holds the page meanwhile:
    // there, a large scene is drawn as an even sample of its instances.
    const gl = this.renderer.getContext();
    const info = gl.getExtension('WEBGL_debug_renderer_info');
    const rendererName = info ? String(gl.getParameter(info.UNMASKED_RENDERER_WEBGL)) : '';
    this.instanceCap = /swiftshader|llvmpipe|software/i.test(rendererName) ? SOFTWARE_INSTANCE_CAP : Infinity;
    this.renderer.setClearColor('#f4f6f9');
    this.scene = new THREE.Scene();
    this.camera = new THREE.PerspectiveCamera(40, 1, 0.1, 10000);
    this.camera.position.set(3, 2.4, 3.6);
    this.scene.add(new THREE.HemisphereLight('#ffffff', '#8a93a3', 1.6));
    const light = new THREE.DirectionalLight('#ffffff', 1.8);
    light.position.set(0.4, 1, 0.7);
    this.camera.add(light);
    this.scene.add(this.camera);
    this.controls = new OrbitControls(this.camera, this.canvas);
    this.controls.addEventListener('change', () => this.requestFrame());
    this.flight = new CameraFlight(this.camera, this.controls, (done) => {
      this.draw();
      if (done) this.noteCamera();
    });
    new ResizeObserver(() => this.resize()).observe(this.stage);
    this.wirePicking();
  }

  resize() {
    const width = this.stage.clientWidth, height = this.stage.clientHeight;
    if (!width || !height) return;
    this.renderer.setSize(width, height, false);
    this.camera.aspect = width / height;
    this.camera.updateProjectionMatrix();
    this.draw();
  }

  requestFrame() {
    if (this.frameRequested) return;
    this.frameRequested = true;
    requestAnimationFrame(() => {
      this.frameRequested = false;
      this.draw();
    });
  }

  draw() {
    this.renderer.render(this.scene, this.camera);
    this.labels.place(this.camera, this.stage.clientWidth, this.stage.clientHeight);
  }

  // What the camera shows, for whoever checks that it moved.
  noteCamera() {
    const round = (vector) => vector.toArray().map((value) => Number(value.toFixed(3)));
    this.canvas.dataset.camera = JSON.stringify({ position: round(this.camera.position),
                                                  target: round(this.controls.target) });
    this.canvas.dataset.flights = String(Number(this.canvas.dataset.flights ?? 0) + 1);
  }

  // ---- following the host ---------------------------------------------------

  onHostEvent(event) {
    const scene = this.hostState.activeScene();
    switch (event.kind) {
      case 'activeView':
      case 'views':
      case 'world':
        this.follow(event.kind === 'world');
        break;
      case 'shapesAdded':
      case 'shapesRemoved':
        if (scene && event.scene === scene.name) this.reloadSoon();
        break;
      case 'shapes':
      case 'selection':
        if (scene && event.scene === scene.name) this.showStateSoon();
        break;
      case 'labels':
        if (scene && event.scene === scene.name) {
          this.labels.show(scene.labels);
          this.requestFrame();
        }
        break;
      case 'workflowMessage':
        if (event.view === this.hostState.activeView) this.onWorkflowMessage(event.message);
        break;
      default:
        break;
    }
  }

  // The module's camera calls reach a shape view as its fly-to workflow.
  onWorkflowMessage(message) {
    if (message.workflow !== 'shapeviewflyto' || !this.shapes) return;
    if (message.message === 'MsgFlyToAll') {
      const visibleOnly = (message.data?.fitFlags ?? 0) & FIT_VISIBLE_ONLY;
      this.fit((index) => !visibleOnly || this.shapes.isVisible(index));
    } else if (message.message === 'MsgFlyToSelected') {
      const selected = this.selectedTest();
      this.fit((index) => selected(this.shapes.idpaths[index]));
    }
  }

  fit(filter) {
    if (!this.shapes) return Promise.resolve();
    return this.flight.fly(this.shapes.boxOf(filter));
  }

  // Draws the active view's scene, or says why there is none; reads the
  // geometry again when the scene is another, or when asked to.
  follow(reload) {
    const scene = this.hostState.activeScene();
    this.fitButton.disabled = !scene;
    if (!scene) {
      this.drop();
      const view = this.hostState.views.find((each) => each.name === this.hostState.activeView);
      const kind = view ? VIEW_KINDS[view.class] ?? `class 0x${view.class.toString(16)}` : null;
      this.say(view ? `The active view "${view.name}" is a ${kind} view: the viewer pane draws shape views.`
                    : 'No view is active.');
      this.caption.textContent = view ? `${view.name} (${kind} view)` : 'no active view';
      return;
    }
    this.say('');
    if (reload || scene.name !== this.sceneName) this.reload(scene.name);
    else this.showState();
  }

  say(text) {
    this.message.textContent = text;
    this.message.hidden = !text;
    this.canvas.hidden = Boolean(text);
  }

  drop() {
    if (this.shapes) {
      this.scene.remove(this.shapes.group);
      this.shapes.dispose();
    }
    this.shapes = null;
    this.sceneName = null;
    this.labels.show([]);
    this.canvas.dataset.visible = '0';
  }

  reloadSoon() {
    clearTimeout(this.reloadTimer);
    this.reloadTimer = setTimeout(() => this.sceneName && this.reload(this.sceneName), 80);
  }

  async reload(sceneName) {
    const generation = ++this.loading;
    const first = sceneName !== this.sceneName;
    this.sceneName = sceneName;
    let geometry;
    this.caption.textContent = `${sceneName}: reading the geometry…`;
    try {
      geometry = await fetchSceneGeometry(sceneName);
    } catch (error) {
      if (generation === this.loading) this.say(String(error.message ?? error));
      return;
    }
    if (generation !== this.loading) return;
    // A large scene's first frame holds the page a while in a software
    // renderer: the caption says so before it.
    this.caption.textContent = `${sceneName}: drawing ${geometry.ids.length} shapes…`;
    await new Promise((resolve) => requestAnimationFrame(() => setTimeout(resolve, 0)));
    if (generation !== this.loading) return;
    if (this.shapes) {
      this.scene.remove(this.shapes.group);
      this.shapes.dispose();
    }
    this.shapes = new InstancedShapes(geometry, this.instanceCap);
    this.scene.add(this.shapes.group);
    this.showState();
    if (first) await this.flight.fly(this.shapes.boxOf(() => true), false);
    this.canvas.dataset.loaded = String(geometry.ids.length);
  }

  showStateSoon() {
    if (this.stateRequested) return;
    this.stateRequested = true;
    requestAnimationFrame(() => {
      this.stateRequested = false;
      this.showState();
    });
  }

  showState() {
    const scene = this.hostState.activeScene();
    if (!scene || !this.shapes || scene.name !== this.sceneName) return;
    this.visibleCount = this.shapes.apply(scene.shapesById, this.selectedTest());
    this.labels.show(scene.labels);
    const view = this.hostState.activeView;
    const sample = this.shapes.drawnCount < this.shapes.ids.length
      ? ` (${this.shapes.drawnCount} drawn: software renderer)` : '';
    this.caption.textContent = `${view} / ${scene.name}: ${this.visibleCount} of ${this.shapes.ids.length} shapes shown${sample}`;
    this.canvas.dataset.visible = String(this.visibleCount);
    this.requestFrame();
  }

  // Whether an idpath is in the host's selection: the instance itself or a
  // branch it belongs to.
  selectedTest() {
    const scene = this.hostState.activeScene();
    const paths = new Set();
    for (const item of scene?.selection ?? []) {
      const path = item.fields?.instance ?? item.fields?.sbomIdPath;
      if (path) paths.add(path);
    }
    if (!paths.size) return () => false;
    return (idpath) => {
      if (paths.has(idpath)) return true;
      for (let at = idpath.lastIndexOf('/'); at > 0; at = idpath.lastIndexOf('/', at - 1))
        if (paths.has(idpath.slice(0, at))) return true;
      return false;
    };
  }

  // ---- picking ----------------------------------------------------------------

  wirePicking() {
    let down = null;
    this.canvas.addEventListener('pointerdown', (event) => { down = { x: event.clientX, y: event.clientY }; });
    this.canvas.addEventListener('pointerup', (event) => {
      if (!down || event.button !== 0) return;
      const moved = Math.hypot(event.clientX - down.x, event.clientY - down.y);
      down = null;
      if (moved < CLICK_SLOP) this.pick(event);
    });
  }

  // A click selects the shape under it in the host's scene selection, as
  // the viewer's own pick does (with Ctrl or Shift it adds); a click on
  // nothing clears the selection.
  pick(event) {
    if (!this.shapes) return null;
    const hit = this.hitAt(event.clientX, event.clientY);
    const body = { action: 'pickShape', scene: this.sceneName, idpath: hit?.idpath ?? null,
                   add: event.ctrlKey || event.shiftKey || event.metaKey };
    if (hit) body.point = hit.point;
    return request('POST', '/host/control', body).catch((error) => console.error(error));
  }

  // The shape instance drawn at a point of the page, as {idpath, point}
  // (the point in the world), or null.
  hitAt(clientX, clientY) {
    if (!this.shapes) return null;
    const bounds = this.canvas.getBoundingClientRect();
    const pointer = new THREE.Vector2(((clientX - bounds.left) / bounds.width) * 2 - 1,
                                      -((clientY - bounds.top) / bounds.height) * 2 + 1);
    const raycaster = new THREE.Raycaster();
    raycaster.setFromCamera(pointer, this.camera);
    const hit = this.shapes.pick(raycaster);
    return hit && { idpath: this.shapes.idpaths[hit.index], point: hit.point.toArray() };
  }

  // Average time of a frame over count frames, each finished by the GPU
  // (or the software renderer) before the next: for benchmarks.
  measureFrames(count = 30) {
    const gl = this.renderer.getContext();
    const pixel = new Uint8Array(4);
    const started = performance.now();
    const up = new THREE.Vector3(0, 1, 0);
    for (let i = 0; i < count; i++) {
      // A turn round the target each frame, as an orbiting user makes.
      this.camera.position.sub(this.controls.target).applyAxisAngle(up, 0.01).add(this.controls.target);
      this.camera.lookAt(this.controls.target);
      this.renderer.render(this.scene, this.camera);
      gl.readPixels(0, 0, 1, 1, gl.RGBA, gl.UNSIGNED_BYTE, pixel);
    }
    return (performance.now() - started) / count;
  }
}
