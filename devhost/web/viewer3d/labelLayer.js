// Labels of a scene as text at their 3D positions: one element each over
// the canvas, moved to the projection of its point after every frame, and
// hidden while the point is behind the camera.

import * as THREE from './three.js';

export class LabelLayer {
  constructor(container) {
    this.element = document.createElement('div');
    this.element.className = 'viewer-labels';
    container.append(this.element);
    this.labels = [];
  }

  // labels: [{x, y, z, text: [rows]}] as the host lists them.
  show(labels) {
    this.element.textContent = '';
    this.labels = (labels ?? []).map((label) => {
      const element = document.createElement('div');
      element.className = 'viewer-label';
      element.setAttribute('role', 'note');
      element.textContent = (label.text ?? []).join('\n');
      this.element.append(element);
      return { element, point: new THREE.Vector3(label.x, label.y, label.z) };
    });
  }

  place(camera, width, height) {
    const projected = new THREE.Vector3();
    for (const { element, point } of this.labels) {
      projected.copy(point).project(camera);
      const shown = projected.z > -1 && projected.z < 1;
      element.hidden = !shown;
      if (shown)
        element.style.transform =
          `translate(${((projected.x + 1) / 2) * width}px, ${((1 - projected.y) / 2) * height}px)`;
    }
  }
}
