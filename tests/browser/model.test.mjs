// The viewer pane in 3D on a real model: the engine assembly of Debian's
// assimp-testmodels, opened with --model, in Chromium's software WebGL. The
// canvas draws the engine; hiding a branch in the tree takes its pixels
// away; a click on a part makes it the module's current selection; the
// module's ZoomToAll moves the camera; an instance added at run time and a
// label appear without a reload; on a drawing view the pane says which view
// is active. Screenshots go to the folder given.
//
// node model.test.mjs PATH/TO/webapi-devhost ARTEFACTS_DIR

import assert from 'node:assert/strict';
import { mkdirSync } from 'node:fs';
import { join } from 'node:path';
import { gateway, openBrowser, startHost, WEBGL_FLAGS } from './harness.mjs';

const [program, artefacts = 'artefacts'] = process.argv.slice(2);
const ENGINE = '/usr/share/assimp/models/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb';
const BRANCH = 'nodes(10)';
mkdirSync(artefacts, { recursive: true });

const host = await startHost(program, ['--model', ENGINE]);
const browser = await openBrowser({ width: 1400, height: 860 }, WEBGL_FLAGS);
const { page } = browser;
const api = gateway(host.url);
page.on('pageerror', (error) => console.error('page error:', error.message));

const view = page.getByRole('img', { name: '3D view' });
const shot = (name) => page.screenshot({ path: join(artefacts, name) });

// The canvas's pixels, red, green and blue of each.
const pixels = () => view.evaluate((canvas) => {
  const copy = document.createElement('canvas');
  copy.width = canvas.width;
  copy.height = canvas.height;
  const g = copy.getContext('2d');
  g.drawImage(canvas, 0, 0);
  const { data } = g.getImageData(0, 0, copy.width, copy.height);
  return Array.from(data.filter((_, i) => i % 4 !== 3));
});
const different = (a, b) => Math.abs(a[0] - b[0]) + Math.abs(a[1] - b[1]) + Math.abs(a[2] - b[2]) > 24;
const pixelAt = (image, i) => image.slice(i * 3, i * 3 + 3);
// Pixels that differ from the canvas's clear colour, and pixels that differ
// between two images.
const drawnPixels = (image) => {
  let drawn = 0;
  for (let i = 0; i < image.length / 3; i++) drawn += different(pixelAt(image, i), [0xf4, 0xf6, 0xf9]);
  return drawn;
};
const changedPixels = (a, b) => {
  let changed = 0;
  for (let i = 0; i < a.length / 3; i++) changed += different(pixelAt(a, i), pixelAt(b, i));
  return changed;
};
const hitAt = (x, y) => page.evaluate(([px, py]) => window.webapiViewer.hitAt(px, py), [x, y]);
// A point of the page where the viewer draws a shape whose idpath passes
// the test, searched on a grid over the canvas.
async function pointOn(test) {
  const box = await view.boundingBox();
  for (let fy = 0.2; fy <= 0.8; fy += 0.04)
    for (let fx = 0.2; fx <= 0.8; fx += 0.04) {
      const x = Math.round(box.x + box.width * fx), y = Math.round(box.y + box.height * fy);
      const hit = await hitAt(x, y);
      if (hit && test(hit.idpath)) return { x, y, idpath: hit.idpath };
    }
  return null;
}
const camera = () => view.getAttribute('data-camera');

try {
  await page.goto(host.url);
  await page.waitForFunction(() => document.querySelector('[aria-label="3D view"]')?.dataset.loaded === '67');
  await page.waitForTimeout(300);
  const image = await pixels();
  const drawn = drawnPixels(image);
  assert.ok(drawn > 20000, `the canvas draws the engine (${drawn} pixels)`);
  await shot('model-engine.png');

  // Hiding a branch in the tree takes its pixels out of the canvas.
  const inBranch = (idpath) => idpath.includes(`/${BRANCH}/`);
  const onBranch = await pointOn(inBranch);
  assert.ok(onBranch, `${BRANCH} is drawn somewhere in the middle of the canvas`);
  await page.getByRole('button', { name: 'Expand 2CylinderEngine' }).click();
  await page.getByRole('button', { name: 'Expand nodes(0)' }).click();
  // The branch has no shape of its own and all below it shows (state 6):
  // its eye offers to show it, and a click hides it, as the module decides.
  await page.getByRole('button', { name: new RegExp(`^(Hide|Show) ${BRANCH.replace(/[()]/g, '\\$&')}$`) }).click();
  await page.waitForFunction(() => Number(document.querySelector('[aria-label="3D view"]').dataset.visible) < 67);
  await page.waitForTimeout(300);
  const after = await hitAt(onBranch.x, onBranch.y);
  assert.ok(!after || !inBranch(after.idpath), `nothing of ${BRANCH} is drawn at (${onBranch.x}, ${onBranch.y})`);
  // Where the branch stood, the canvas shows what was behind it.
  const hidden = await pixels();
  const changed = changedPixels(image, hidden);
  assert.ok(changed > 100, `hiding ${BRANCH} changes its pixels (${changed} changed)`);
  const box = await view.boundingBox();
  const at = Math.round(onBranch.y - box.y) * Math.round(box.width) + Math.round(onBranch.x - box.x);
  assert.ok(different(pixelAt(image, at), pixelAt(hidden, at)), `the pixel where ${BRANCH} was drawn changed`);
  await shot('model-branch-hidden.png');

  // A click on a part makes it the module's current selection.
  const part = await pointOn(() => true);
  assert.ok(part, 'a part is drawn in the middle of the canvas');
  await page.mouse.click(part.x, part.y);
  const { session } = await api.post('/api/sessions', {});
  let selection = '';
  for (let tries = 0; tries < 50 && !selection.includes(part.idpath); tries++) {
    await api.post('/host/settle', {});
    const reply = await api.post('/api/call', { session, method: 'GetCurrentSelection', args: [] });
    selection = reply.result ?? '';
    if (!selection.includes(part.idpath)) await page.waitForTimeout(100);
  }
  assert.ok(selection.includes(`"${part.idpath}"`), `GetCurrentSelection names ${part.idpath}: ${selection}`);
  await page.waitForTimeout(300);
  await shot('model-part-picked.png');

  // The module's ZoomToAll flies the camera to what is shown.
  await view.hover();
  await page.mouse.wheel(0, -600);
  await page.waitForTimeout(300);
  const flights = Number(await view.getAttribute('data-flights'));
  const before = await camera();
  await page.getByRole('button', { name: 'Zoom all' }).click();
  await page.waitForFunction((count) =>
    Number(document.querySelector('[aria-label="3D view"]').dataset.flights) > count, flights);
  assert.notEqual(await camera(), before, 'ZoomToAll moves the camera');
  await shot('model-zoomed-to-all.png');

  // An instance added and shown at run time is drawn without a reload, and
  // a label stands as text over the canvas.
  await api.post('/host/control', { action: 'addInstances', instances: [{ parent: '2CylinderEngine', name: 'spare' }] });
  await api.post('/host/control', { action: 'showInstance', scene: 'Model', idpath: '2CylinderEngine/spare', visible: true });
  await page.waitForFunction(() => document.querySelector('[aria-label="3D view"]').dataset.loaded === '68');
  await api.post('/api/call', { session, method: 'AddAnnotationLabel', args: ['Check the bolts', 0, 0, 0] });
  await page.getByRole('note').filter({ hasText: 'Check the bolts' }).waitFor();
  await shot('model-added-and-labelled.png');

  // A drawing view: the pane says which view is active instead of drawing.
  await api.post('/host/control', { action: 'loadWorld', path: '' });
  await api.post('/host/control', { action: 'activateView', view: 'Assembly drawing' });
  await page.getByRole('status').filter({ hasText: 'The active view "Assembly drawing" is a drawing view' }).waitFor();
  assert.ok(await view.isHidden(), 'nothing is drawn on a drawing view');
  await shot('model-drawing-view.png');
  console.log('model in the viewer pane: ok');
} finally {
  await browser.close();
  await host.stop();
}
