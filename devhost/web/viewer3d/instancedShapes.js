// The shape instances of a scene drawn with instancing: one InstancedMesh
// per shape, so a shape shared by many instances is uploaded once. Hidden
// instances get an empty matrix (drawn as nothing, never hit by a ray);
// colours are per instance: the shape's own, a painted one, or the
// selection's.

import * as THREE from './three.js';

const SELECTED = new THREE.Color('#ff7a00');
const NOTHING = new THREE.Matrix4().makeScale(0, 0, 0);

// '0xRRGGBBAA' as a three.js colour.
export function colorOf(text) {
  const value = Number.parseInt(String(text).slice(2, 8), 16);
  return new THREE.Color(Number.isNaN(value) ? 0xb4b9c3 : value);
}

// The instances of a shape in the order they take its slots: with a cap,
// an even sample of them first (drawn), the others after (placed, not
// drawn), so that a capped scene still covers the whole model.
function slotOrder(members, drawn) {
  if (drawn >= members.length) return members;
  const sampled = new Uint8Array(members.length);
  const order = [];
  for (let k = 0; k < drawn; k++) {
    const at = Math.floor((k * members.length) / drawn);
    sampled[at] = 1;
    order.push(members[at]);
  }
  members.forEach((index, at) => sampled[at] || order.push(index));
  return order;
}

export class InstancedShapes {
  // cap: the instances drawn at most (a share of it per shape), or Infinity.
  constructor(geometry, cap = Infinity) {
    this.group = new THREE.Group();
    this.ids = geometry.ids;
    this.idpaths = geometry.idpaths;
    this.transforms = geometry.transforms;
    this.byId = new Map(geometry.ids.map((id, index) => [id, index]));
    // Per instance: its mesh and its place in that mesh.
    this.meshOf = new Array(geometry.ids.length);
    this.slotOf = new Uint32Array(geometry.ids.length);
    this.visible = new Uint8Array(geometry.ids.length).fill(1);
    const members = geometry.shapes.map(() => []);
    geometry.shapeOf.forEach((shape, index) => members[shape].push(index));
    const share = Math.min(1, cap / Math.max(1, geometry.ids.length));
    this.drawnCount = 0;
    this.meshes = geometry.shapes.map((shape, s) => {
      const drawn = share < 1 ? Math.max(1, Math.floor(members[s].length * share)) : members[s].length;
      members[s] = slotOrder(members[s], drawn);
      this.drawnCount += Math.min(drawn, members[s].length);
      const buffer = new THREE.BufferGeometry();
      buffer.setAttribute('position', new THREE.BufferAttribute(shape.positions, 3));
      buffer.setIndex(new THREE.BufferAttribute(shape.indices, 1));
      buffer.computeVertexNormals();
      buffer.computeBoundingSphere();
      const material = new THREE.MeshLambertMaterial({ side: THREE.DoubleSide });
      const mesh = new THREE.InstancedMesh(buffer, material, Math.max(1, members[s].length));
      mesh.count = Math.min(drawn, members[s].length);
      mesh.userData.instances = members[s];
      mesh.userData.own = colorOf(shape.color);
      members[s].forEach((index, slot) => {
        this.meshOf[index] = mesh;
        this.slotOf[index] = slot;
        mesh.setColorAt(slot, mesh.userData.own);
      });
      this.group.add(mesh);
      return mesh;
    });
    for (let index = 0; index < this.ids.length; index++) this.placeMatrix(index);
    this.touchAll();
  }

  placeMatrix(index) {
    const matrix = this.visible[index] ? new THREE.Matrix4().fromArray(this.transforms, index * 16) : NOTHING;
    this.meshOf[index].setMatrixAt(this.slotOf[index], matrix);
  }

  touchAll() {
    for (const mesh of this.meshes) {
      mesh.instanceMatrix.needsUpdate = true;
      if (mesh.instanceColor) mesh.instanceColor.needsUpdate = true;
      mesh.computeBoundingSphere();
    }
  }

  // Shows the host's state: shapes (by id) with visible, color and painted;
  // selected, a predicate on idpaths. Instances the host did not list are
  // shown in their own colour.
  apply(shapesById, selected) {
    let visibleCount = 0;
    const color = new THREE.Color();
    for (let index = 0; index < this.ids.length; index++) {
      const state = shapesById.get(Number(this.ids[index])) ?? shapesById.get(this.ids[index]);
      const visible = state ? state.visible !== false : true;
      if (visible !== Boolean(this.visible[index])) {
        this.visible[index] = visible ? 1 : 0;
        this.placeMatrix(index);
      }
      visibleCount += visible;
      const mesh = this.meshOf[index];
      if (selected(this.idpaths[index])) color.copy(SELECTED);
      else if (state?.painted) color.copy(colorOf(state.color));
      else color.copy(mesh.userData.own);
      mesh.setColorAt(this.slotOf[index], color);
    }
    this.touchAll();
    return visibleCount;
  }

  // The world box of the instances the filter takes (indexes), or null.
  boxOf(filter) {
    const box = new THREE.Box3();
    const part = new THREE.Box3();
    const matrix = new THREE.Matrix4();
    for (let index = 0; index < this.ids.length; index++) {
      if (!filter(index)) continue;
      const mesh = this.meshOf[index];
      if (!mesh.geometry.boundingBox) mesh.geometry.computeBoundingBox();
      part.copy(mesh.geometry.boundingBox).applyMatrix4(matrix.fromArray(this.transforms, index * 16));
      box.union(part);
    }
    return box.isEmpty() ? null : box;
  }

  isVisible(index) {
    return Boolean(this.visible[index]);
  }

  // The instance a ray hits first, as {index, point}, or null.
  pick(raycaster) {
    const hit = raycaster.intersectObjects(this.meshes, false)[0];
    if (!hit || hit.instanceId === undefined) return null;
    return { index: hit.object.userData.instances[hit.instanceId], point: hit.point };
  }

  dispose() {
    for (const mesh of this.meshes) {
      mesh.geometry.dispose();
      mesh.material.dispose();
      mesh.dispose();
    }
  }
}
