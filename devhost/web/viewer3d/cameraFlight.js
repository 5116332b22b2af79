// Moves the camera onto a box, animated: the target to the box's middle and
// the camera back along its present direction until the box's bounding
// sphere fills the view. Flights last FLIGHT_MS, well under a second.

import * as THREE from './three.js';

export const FLIGHT_MS = 450;

export class CameraFlight {
  constructor(camera, controls, onFrame) {
    this.camera = camera;
    this.controls = controls;
    this.onFrame = onFrame;
    this.frame = 0;
  }

  // Where the camera ends for a box: target and position.
  goal(box) {
    const sphere = box.getBoundingSphere(new THREE.Sphere());
    const radius = Math.max(sphere.radius, 1e-3);
    const fov = THREE.MathUtils.degToRad(this.camera.fov);
    const fit = Math.min(fov, 2 * Math.atan(Math.tan(fov / 2) * this.camera.aspect));
    const distance = radius / Math.tan(fit / 2);
    const direction = this.camera.position.clone().sub(this.controls.target);
    if (direction.lengthSq() < 1e-12) direction.set(1, 0.8, 1.2);
    direction.normalize();
    this.camera.near = distance / 1000;
    this.camera.far = distance * 100;
    this.camera.updateProjectionMatrix();
    return { target: sphere.center.clone(), position: sphere.center.clone().addScaledVector(direction, distance) };
  }

  // Flies to the box; with animate false the camera jumps there.
  fly(box, animate = true) {
    if (!box) return Promise.resolve();
    cancelAnimationFrame(this.frame);
    const { target, position } = this.goal(box);
    const fromTarget = this.controls.target.clone();
    const fromPosition = this.camera.position.clone();
    const started = performance.now();
    return new Promise((resolve) => {
      const step = () => {
        const t = animate ? Math.min(1, (performance.now() - started) / FLIGHT_MS) : 1;
        const eased = t * t * (3 - 2 * t);
        this.controls.target.lerpVectors(fromTarget, target, eased);
        this.camera.position.lerpVectors(fromPosition, position, eased);
        this.controls.update();
        this.onFrame(t === 1);
        if (t < 1) this.frame = requestAnimationFrame(step);
        else resolve();
      };
      step();
    });
  }
}
