// The page on the sample world, in Chromium, as a person uses it: the tree
// shows, hiding and showing a branch by its icon changes the icons and the
// viewer pane, an instance is painted, the viewables show a thumbnail. Then
// on a synthetic world: opening the root shows its children.
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

// The page waits for the host after each action; a test waits for what the
// page then shows.
const rowOf = (name) => page.locator('.row', { has: page.locator('.name', { hasText: new RegExp(`^${name}$`) }) });
const stateOf = async (name) => Number(await rowOf(name).locator('svg.vis').getAttribute('data-state'));
const shownShapes = async () => Number(await page.locator('#viewer').getAttribute('data-visible'));

try {
  await page.goto(host.url);
  await page.waitForSelector('body[data-ready]');
  assert.equal(await page.locator('#status').textContent(), `session ${await page.evaluate(() => window.webapiPage.session)}`);
  assert.ok(await shownShapes() > 0, 'the viewer pane draws the scene');

  await page.waitForSelector('body[data-tree-ready]');
  // The tree starts closed; opening a branch asks its children's states.
  await rowOf('drone').locator('.twisty').click();
  await rowOf('propulsion').locator('.twisty').click();
  await rowOf('motor_1').waitFor();
  // A branch shown whole: a click on its icon hides it, a second shows it again.
  const branch = await page.evaluate(() => {
    const row = [...document.querySelectorAll('.row')].find((r) =>
      r.querySelector('.type') && ['1', '5'].includes(r.querySelector('svg.vis').dataset.state));
    return row?.querySelector('.name').textContent;
  });
  assert.ok(branch, 'a visible branch is in the tree');
  const before = await stateOf(branch);
  const shapesBefore = await shownShapes();
  const clickAndWait = async () => {
    await page.evaluate(() => { document.querySelector('#status').textContent = ''; });
    await rowOf(branch).locator('svg.vis').click();
    await page.waitForFunction(() => document.querySelector('#status').textContent === 'SelectTreeNodes done');
  };
  await clickAndWait();
  await page.waitForFunction(({ name, state }) => {
    const row = [...document.querySelectorAll('.row')].find((r) => r.querySelector('.name').textContent === name);
    return Number(row.querySelector('svg.vis').dataset.state) !== state;
  }, { name: branch, state: before });
  assert.ok(await shownShapes() < shapesBefore, `hiding ${branch} takes its shapes out of the viewer pane`);
  await page.screenshot({ path: join(artefacts, 'page-branch-hidden.png') });
  await clickAndWait();
  await page.waitForFunction((count) => Number(document.querySelector('#viewer').dataset.visible) === count,
    shapesBefore);

  // Paint: select an instance, pick a colour, paint; the host's shape
  // instance takes it.
  await rowOf('frame').locator('.twisty').click();
  await rowOf('arm_1').click();
  await page.locator('#paint-color').evaluate((input) => { input.value = '#00ff00'; });
  await page.locator('#paint').click();
  await page.waitForFunction(() => document.querySelector('#status').textContent === 'SetInstancesColor done');
  const painted = (await api.get('/host/state?sections=scenes')).scenes
    .flatMap((scene) => scene.shapes).find((shape) => shape.idpath === 'drone/frame/arm_1');
  assert.equal(painted.color, '0x00ff00ff');

  // Viewables: open the panel and ask; the thumbnails come as callbacks.
  await page.locator('#viewables-panel summary').click();
  await page.locator('#viewables-get').click();
  await page.locator('#viewables img').first().waitFor();
  assert.ok(await page.locator('#viewables img').first().evaluate((image) => image.naturalWidth > 0));

  await page.screenshot({ path: join(artefacts, 'page-sample-world.png') });

  // A synthetic world: a click on the root's expander shows the root's ten
  // children, and the module's answer to the page's state query for them
  // arrives.
  synthetic = await startHost(program, ['--synthetic', '3000']);
  await page.goto(synthetic.url);
  await page.waitForSelector('body[data-tree-ready="3000"]');
  await page.waitForSelector('body[data-ready]');
  const changes = await page.evaluate(() => window.webapiPage.changes);
  await rowOf('product').locator('.twisty').click();
  await page.waitForFunction(() => {
    const rows = [...document.querySelectorAll('.row')];
    const names = rows.map((row) => row.querySelector('.name').textContent);
    return rows[0]?.querySelector('.twisty').textContent === '▾'
      && [...Array(10).keys()].every((n) => names.includes(`n${n}`));
  });
  await page.waitForFunction((before) => window.webapiPage.changes > before, changes);
  for (let n = 0; n < 10; n++) assert.notEqual(await stateOf(`n${n}`), 0, `n${n} shows a visibility state`);
  await page.screenshot({ path: join(artefacts, 'page-synthetic-root-open.png') });
  assert.deepEqual(errors, [], 'the page raises no error');
} finally {
  await browser.close();
  if (synthetic) await synthetic.stop();
  const ended = await host.stop();
  assert.equal(ended.code, 0, 'webapi-devhost ends cleanly on SIGTERM');
}

