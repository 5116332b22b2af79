// Reads a shape scene's geometry from the host (GATEWAY.md, "Geometry"): a
// u32 length, a JSON header, then the typed arrays the header points into,
// every shape once and per shape instance its id, idpath, shape and world
// transform.

import { apiUrl } from '../api.js';

export async function fetchSceneGeometry(sceneName) {
  const response = await fetch(apiUrl(`/host/geometry?scene=${encodeURIComponent(sceneName)}`));
  if (!response.ok) throw new Error(`geometry of ${sceneName}: ${response.status}`);
  return decodeSceneGeometry(await response.arrayBuffer());
}

export function decodeSceneGeometry(buffer) {
  const headerLength = new DataView(buffer).getUint32(0, true);
  const header = JSON.parse(new TextDecoder().decode(new Uint8Array(buffer, 4, headerLength)));
  const body = 4 + headerLength;
  const floats = (offset, count) => new Float32Array(buffer, body + offset, count);
  const uints = (offset, count) => new Uint32Array(buffer, body + offset, count);
  const { instances } = header;
  return {
    scene: header.scene,
    shapes: header.shapes.map((shape) => ({
      name: shape.name,
      color: shape.color,
      box: shape.box,
      positions: floats(shape.positions, shape.vertices * 3),
      indices: uints(shape.indices, shape.triangles * 3),
    })),
    ids: instances.ids,
    idpaths: instances.idpaths,
    transforms: floats(instances.transforms, instances.count * 16),
    shapeOf: uints(instances.shapes, instances.count),
  };
}
