// The viewer's instances in node: without a cap every instance is drawn;
// with one (a software renderer), an even sample of each shape's instances
// is drawn and the others keep their slots, so the sample covers the model
// and every instance can still be shown, hidden and coloured.
//
//   node instancedShapes.test.mjs

import assert from 'node:assert/strict';
import { InstancedShapes } from '../../devhost/web/viewer3d/instancedShapes.js';

// n instances on a line, of two shapes: every tenth of the second.
function geometry(n) {
  const transforms = new Float32Array(16 * n);
  for (let i = 0; i < n; i++) transforms.set([1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, i, 0, 0, 1], 16 * i);
  const triangle = { positions: new Float32Array([0, 0, 0, 1, 0, 0, 0, 1, 0]), indices: new Uint32Array([0, 1, 2]) };
  return {
    ids: Array.from({ length: n }, (_, i) => String(i + 1)),
    idpaths: Array.from({ length: n }, (_, i) => `product/n${i}`),
    transforms,
    shapes: [{ ...triangle, color: '0xff0000ff' }, { ...triangle, color: '0x00ff00ff' }],
    shapeOf: Array.from({ length: n }, (_, i) => (i % 10 === 9 ? 1 : 0)),
  };
}

const drawnOf = (mesh) => mesh.userData.instances.slice(0, mesh.count);

{
  const shapes = new InstancedShapes(geometry(1000));
  assert.equal(shapes.drawnCount, 1000);
  assert.deepEqual(shapes.meshes.map((mesh) => mesh.count), [900, 100]);
}

{
  const shapes = new InstancedShapes(geometry(1000), 100);
  assert.equal(shapes.drawnCount, 100);
  assert.deepEqual(shapes.meshes.map((mesh) => mesh.count), [90, 10]);
  for (const mesh of shapes.meshes) {
    // Every instance of the shape keeps a slot, the drawn ones first.
    const all = [...mesh.userData.instances].sort((a, b) => a - b);
    assert.equal(new Set(all).size, all.length);
    const drawn = drawnOf(mesh);
    assert.ok(Math.min(...drawn) < 20 && Math.max(...drawn) > 900, `the sample spans the model: ${Math.min(...drawn)}-${Math.max(...drawn)}`);
  }
  assert.equal(shapes.meshes[0].userData.instances.length + shapes.meshes[1].userData.instances.length, 1000);
  // An instance that is not drawn is still shown, hidden and coloured by the host's state.
  const notDrawn = shapes.meshes[0].userData.instances[500];
  const state = new Map([[Number(shapes.ids[notDrawn]), { visible: false }]]);
  assert.equal(shapes.apply(state, () => false), 999);
  assert.equal(shapes.isVisible(notDrawn), false);
  // The box of all instances is the whole line, drawn or not.
  const box = shapes.boxOf(() => true);
  assert.ok(box.min.x <= 0 && box.max.x >= 999);
}

console.log('instanced shapes: all drawn without a cap, an even sample with one');
