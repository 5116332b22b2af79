// The page on the sample world, in Chromium, as a person uses it: the tree
// shows; hiding and showing a branch by its eye changes the icons and the
// host; an instance is painted and its colour read as a swatch; a shape
// clicked in the viewer becomes the module's current selection, shown
// formatted and marked in the tree; the viewables show a thumbnail; at
// 800 px the panels stack and the viewer keeps its room. Then a synthetic
// world: opening the root shows its children with their states.
//
//   node page.test.mjs WEBAPI_DEVHOST ARTEFACT_DIR

import assert from 'node:assert/strict';
import { mkdirSync } from 'node:fs';
import { join } from 'node:path';
import { gateway, openBrowser, startHost } from './harness.mjs';

const [program, artefacts = '.'] = process.argv.slice(2);
mkdirSync(artefacts, { recursive: true });
const host = await startHost(program);
const api = gateway(host.url);
const browser = await openBrowser();
const { page } = browser;
let synthetic = null;
const errors = [];
page.on('pageerror', (error) => errors.push(error.message));

const item = (name) => page.getByRole('treeitem', { name, exact: true });
const eye = (name) => page.getByRole('button', { name: new RegExp(`^(Hide|Show) ${name}$`) });
const panel = (name) => page.locator('details').filter({ has: page.getByText(name, { exact: true }) });
const shapeOnHost = async (idpath) => (await api.get('/host/state?sections=scenes')).scenes
  .flatMap((scene) => scene.shapes).find((shape) => shape.idpath === idpath);
const hitAt = (x, y) => page.evaluate(([px, py]) => window.webapiViewer.hitAt(px, py), [x, y]);

try {
  await page.goto(host.url);
  await page.waitForSelector('body[data-ready]');
  await page.getByRole('status').filter({ hasText: /^Session / }).waitFor();
  await page.getByRole('button', { name: 'Expand drone' }).click();
  await item('electronics').waitFor();

  // A partly shown branch: its eye shows it all, then hides it, as the
  // module decides from its state; the label says which comes.
  await page.getByRole('button', { name: 'Show electronics' }).click();
  await page.getByRole('button', { name: 'Hide electronics' }).waitFor();
  assert.equal((await shapeOnHost('drone/electronics/esc_board')).visible, true, 'the host showed the whole branch');
  await page.getByRole('button', { name: 'Hide electronics' }).click();
  await page.getByRole('button', { name: 'Show electronics' }).waitFor();
  await page.getByRole('status').filter({ hasText: 'electronics: hidden' }).waitFor();
  assert.equal((await shapeOnHost('drone/electronics/battery')).visible, false, 'the host hid the branch');
  await page.screenshot({ path: join(artefacts, 'page-branch-hidden.png') });

  // Paint: select an instance, pick a colour, paint; the host's shape
  // instance takes it, and reading it back shows a swatch.
  await page.getByRole('button', { name: 'Expand frame' }).click();
  await item('arm_1').click();
  await page.getByLabel('Colour').first().evaluate((input) => { input.value = '#00ff00'; });
  await page.getByRole('button', { name: 'Paint tree selection' }).click();
  await page.getByRole('status').filter({ hasText: 'Painted arm_1' }).waitFor();
  assert.equal((await shapeOnHost('drone/frame/arm_1')).color, '0x00ff00ff');
  await page.getByRole('button', { name: 'Read colour of focused row' }).click();
  await page.getByRole('img', { name: 'colour rgb(0,255,0)' }).waitFor();

  // A shape clicked in the viewer becomes the host's selection: the
  // module's current selection names it, and the tree marks its row.
  const canvas = page.getByRole('img', { name: '3D view' });
  await page.waitForFunction(() => Number(document.querySelector('[aria-label="3D view"]')?.dataset.loaded) > 0);
  const box = await canvas.boundingBox();
  let picked = null;
  for (let fy = 0.3; fy <= 0.7 && !picked; fy += 0.05)
    for (let fx = 0.3; fx <= 0.7 && !picked; fx += 0.05) {
      const x = Math.round(box.x + box.width * fx), y = Math.round(box.y + box.height * fy);
      const hit = await hitAt(x, y);
      if (hit) picked = { x, y, idpath: hit.idpath };
    }
  assert.ok(picked, 'a shape is drawn in the middle of the viewer');
  await page.mouse.click(picked.x, picked.y);
  const name = picked.idpath.slice(picked.idpath.lastIndexOf('/') + 1);
  await page.getByRole('status', { name: 'Viewer selection' }).filter({ hasText: name }).waitFor();
  await page.getByRole('button', { name: "Read the viewer's selection" }).click();
  await page.getByRole('status').filter({ hasText: "Reading the viewer's selection done" }).waitFor();
  const formatted = page.getByLabel("The viewer's selection");
  assert.match(await formatted.textContent(), new RegExp(picked.idpath));
  await page.getByRole('button', { name: 'Raw text' }).click();
  assert.match(await page.locator('#selection-doc pre').textContent(), new RegExp(`"${picked.idpath}"`));
  await page.screenshot({ path: join(artefacts, 'page-viewer-pick.png') });

  // Viewables: open the panel and ask; the thumbnails come as callbacks,
  // and the end names the request.
  await panel('Viewables').locator('summary').click();
  await page.getByRole('button', { name: 'Get viewables' }).click();
  await page.locator('#viewables img').first().waitFor();
  await page.getByRole('status').filter({ hasText: /viewables received \(request 1\)/ }).waitFor();
  assert.ok(await page.locator('#viewables img').first().evaluate((image) => image.naturalWidth > 0));
  await page.screenshot({ path: join(artefacts, 'page-sample-world.png') });

  // 800 px: the panels stack, the viewer keeps at least 320 px each way.
  await page.setViewportSize({ width: 800, height: 900 });
  await page.waitForTimeout(200);
  const viewer = await canvas.boundingBox();
  const tree = await page.getByRole('tree', { name: 'Structure' }).boundingBox();
  assert.ok(viewer.width >= 320 && viewer.height >= 320, `the viewer is ${viewer.width} × ${viewer.height}`);
  assert.ok(tree.y >= viewer.y + viewer.height - 1, 'the tree comes below the viewer');
  const clipped = await page.locator('ol, ul').evaluateAll((lists) => lists.filter((list) =>
    list.getBoundingClientRect().width > 0 && parseFloat(getComputedStyle(list).paddingLeft) < 24).length);
  assert.equal(clipped, 0, 'list numbers have room');
  await page.screenshot({ path: join(artefacts, 'page-800.png'), fullPage: true });
  await page.setViewportSize({ width: 1400, height: 860 });

  // A reloaded page takes the tree over from the page it replaced, whose
  // observer the module still holds.
  await page.reload();
  await page.waitForSelector('body[data-ready]');
  await page.getByRole('button', { name: 'Expand drone' }).waitFor();

  // A synthetic world: while its tree arrives the commands that need it
  // wait; a click on the root's expander shows its ten children, and the
  // module's answer to the page's state query for them arrives.
  synthetic = await startHost(program, ['--synthetic', '3000']);
  await page.goto(synthetic.url);
  await page.waitForSelector('body[data-tree-ready="3000"]');
  await page.waitForSelector('body[data-ready]');
  assert.equal(await page.getByRole('button', { name: 'Expand all' }).isEnabled(), true);
  const changes = await page.evaluate(() => window.webapiPage.changes);
  await page.getByRole('button', { name: 'Expand product' }).click();
  for (let n = 0; n < 10; n++) await item(`n${n}`).waitFor();
  await page.waitForFunction((count) => window.webapiPage.changes > count, changes);
  for (let n = 0; n < 10; n++)
    assert.notEqual(await eye(`n${n}`).first().getAttribute('data-state'), '0', `n${n} shows a visibility state`);
  await page.screenshot({ path: join(artefacts, 'page-synthetic-root-open.png') });
  assert.deepEqual(errors, [], 'the page raises no error');
} finally {
  await browser.close();
  if (synthetic) await synthetic.stop();
  const ended = await host.stop();
  assert.equal(ended.code, 0, 'webapi-devhost ends cleanly on SIGTERM');
}
