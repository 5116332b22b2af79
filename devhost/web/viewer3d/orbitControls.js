// Orbit, pan and zoom with the mouse round a target point: the left button
// turns the camera round the target, the right button (or the left with
// Shift) moves camera and target across the view, the wheel moves the
// camera towards or away from the target. Dispatches 'change' after every
// move.

import * as THREE from './three.js';

const TURN_PER_PIXEL = 0.008;
const ZOOM_PER_NOTCH = 1.1;
// Keeps the camera off the poles, where "up" would flip.
const MOST_POLAR = Math.PI - 1e-3;
const LEAST_POLAR = 1e-3;

export class OrbitControls extends EventTarget {
  constructor(camera, element) {
    super();
    this.camera = camera;
    this.element = element;
    this.target = new THREE.Vector3();
    let drag = null;
    element.addEventListener('contextmenu', (event) => event.preventDefault());
    element.addEventListener('pointerdown', (event) => {
      drag = { x: event.clientX, y: event.clientY, pan: event.button === 2 || event.shiftKey };
      element.setPointerCapture?.(event.pointerId);
    });
    element.addEventListener('pointermove', (event) => {
      if (!drag) return;
      const dx = event.clientX - drag.x, dy = event.clientY - drag.y;
      drag.x = event.clientX;
      drag.y = event.clientY;
      if (drag.pan) this.pan(dx, dy);
      else this.turn(-dx * TURN_PER_PIXEL, -dy * TURN_PER_PIXEL);
    });
    const end = () => { drag = null; };
    element.addEventListener('pointerup', end);
    element.addEventListener('pointercancel', end);
    element.addEventListener('wheel', (event) => {
      event.preventDefault();
      this.zoom(event.deltaY > 0 ? ZOOM_PER_NOTCH : 1 / ZOOM_PER_NOTCH);
    }, { passive: false });
  }

  turn(azimuth, polar) {
    const offset = this.camera.position.clone().sub(this.target);
    const sphere = new THREE.Spherical().setFromVector3(offset);
    sphere.theta += azimuth;
    sphere.phi = Math.min(MOST_POLAR, Math.max(LEAST_POLAR, sphere.phi + polar));
    this.camera.position.copy(this.target).add(offset.setFromSpherical(sphere));
    this.update();
  }

  // Moves by pixels of the view at the target's distance.
  pan(dx, dy) {
    const distance = this.camera.position.distanceTo(this.target);
    const perPixel = (2 * distance * Math.tan(THREE.MathUtils.degToRad(this.camera.fov) / 2)) /
      this.element.clientHeight;
    const right = new THREE.Vector3().setFromMatrixColumn(this.camera.matrix, 0).multiplyScalar(-dx * perPixel);
    const up = new THREE.Vector3().setFromMatrixColumn(this.camera.matrix, 1).multiplyScalar(dy * perPixel);
    this.camera.position.add(right).add(up);
    this.target.add(right).add(up);
    this.update();
  }

  zoom(factor) {
    const offset = this.camera.position.clone().sub(this.target).multiplyScalar(factor);
    this.camera.position.copy(this.target).add(offset);
    this.update();
  }

  // Points the camera at the target after its position or the target moved.
  update() {
    this.camera.lookAt(this.target);
    this.camera.updateMatrixWorld();
    this.dispatchEvent(new Event('change'));
  }
}
