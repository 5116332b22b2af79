// The structure tree on the sample world, in Chromium, used as a person
// uses a tree view: by keyboard, by search, by its context menu, and seeing
// the viewer's selection that the host makes.
//
//   node tree.test.mjs WEBAPI_DEVHOST ARTEFACT_DIR

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
const errors = [];
page.on('pageerror', (error) => errors.push(error.message));

const tree = page.getByRole('tree', { name: 'Structure' });
const item = (name) => page.getByRole('treeitem', { name, exact: true });
const focusedName = () => tree.evaluate((element) =>
  document.getElementById(element.getAttribute('aria-activedescendant'))?.getAttribute('aria-label') ?? null);

try {
  await page.goto(host.url);
  await page.waitForSelector('body[data-ready]');
  await item('drone').waitFor();

  // ---- keyboard ----
  await tree.focus();
  assert.equal(await focusedName(), 'drone', 'focus enters on the first row');
  assert.equal(await item('drone').getAttribute('aria-expanded'), 'false');
  await page.keyboard.press('ArrowRight');
  assert.equal(await item('drone').getAttribute('aria-expanded'), 'true', 'Right opens a closed branch');
  await page.keyboard.press('ArrowRight');
  assert.equal(await focusedName(), 'frame', 'Right on an open branch goes to its first child');
  assert.equal(await item('frame').getAttribute('aria-level'), '2');
  await page.keyboard.press('ArrowDown');
  assert.equal(await focusedName(), 'propulsion');
  assert.equal(await item('propulsion').getAttribute('aria-selected'), 'true', 'moving selects');
  await page.keyboard.press('Shift+ArrowDown');
  assert.equal(await item('propulsion').getAttribute('aria-selected'), 'true', 'Shift keeps the range');
  assert.equal(await item('electronics').getAttribute('aria-selected'), 'true', 'Shift extends the range');
  await page.keyboard.press('ArrowLeft');
  assert.equal(await focusedName(), 'drone', 'Left on a closed child goes to its parent');
  await page.keyboard.press('End');
  const last = await focusedName();
  await page.keyboard.press('Home');
  assert.equal(await focusedName(), 'drone');
  assert.notEqual(last, 'drone', 'End goes to the last row');
  // Type-ahead: letters find the next row whose name starts so.
  await page.keyboard.type('la');
  assert.equal(await focusedName(), 'landing_gear');
  await page.keyboard.press('Home');
  await page.keyboard.press('ArrowDown');
  await page.keyboard.press('ArrowRight');
  await item('arm_1').waitFor();
  // Ctrl+click adds to the tree's own selection, Space toggles the focused row.
  await item('arm_1').click();
  await item('arm_3').click({ modifiers: ['Control'] });
  assert.equal(await item('arm_1').getAttribute('aria-selected'), 'true');
  assert.equal(await item('arm_3').getAttribute('aria-selected'), 'true');
  await page.keyboard.press('Space');
  assert.equal(await item('arm_3').getAttribute('aria-selected'), 'false', 'Space toggles the focused row');
  assert.match(await page.getByRole('status', { name: 'Tree selection' }).textContent(), /arm_1/);
  // Enter hides the focused row's instance; the icon's label says what it does.
  await page.keyboard.press('ArrowUp');
  assert.equal(await focusedName(), 'arm_2');
  await page.getByRole('button', { name: 'Hide arm_2' }).waitFor();
  await page.keyboard.press('Enter');
  await page.getByRole('button', { name: 'Show arm_2' }).waitFor();
  const arm2 = (await api.get('/host/state?sections=scenes')).scenes[0].shapes.find((shape) => shape.idpath === 'drone/frame/arm_2');
  assert.equal(arm2.visible, false, 'Enter hid arm_2 on the host');
  await page.screenshot({ path: join(artefacts, 'tree-keyboard.png') });

  // ---- the viewer's selection, made on the host, shows within a second ----
  await api.post('/host/control', { action: 'setSelection', scene: 'Model',
    items: [{ contentType: 'objectselectionitem', fields: { instance: 'drone/frame/arm_4' }, representation: true }] });
  const started = Date.now();
  await page.waitForFunction(() => document.querySelector('[role=treeitem][aria-label="arm_4"]')
    ?.getAttribute('aria-description') === 'selected in the viewer', null, { timeout: 1000 });
  assert.ok(Date.now() - started <= 1000);
  assert.match(await page.getByRole('status', { name: 'Viewer selection' }).textContent(), /arm_4/);
  assert.equal(await item('arm_1').getAttribute('aria-description'), null, 'the old viewer selection is unmarked');
  assert.equal(await item('arm_2').getAttribute('aria-selected'), 'true', "the tree's own selection stays apart");

  // ---- the context menu ----
  await item('arm_1').click({ button: 'right' });
  const menu = page.getByRole('menu', { name: 'Row actions' });
  await menu.waitFor();
  const labels = await menu.getByRole('menuitem').allTextContents();
  assert.deepEqual(labels, ['Hide', 'Paint', 'Read colour', 'Select in viewer', 'Zoom to']);
  await page.screenshot({ path: join(artefacts, 'tree-menu.png') });
  await page.keyboard.press('ArrowDown');
  await page.keyboard.press('ArrowDown');
  await page.keyboard.press('Enter');
  await page.getByRole('status').filter({ hasText: 'arm_1:' }).waitFor();
  assert.equal(await menu.isHidden(), true, 'the menu closes after its action');
  // Shift+F10 opens it from the keyboard; Escape gives focus back to the tree.
  await tree.focus();
  await page.keyboard.press('Shift+F10');
  await menu.waitFor();
  await page.keyboard.press('Escape');
  assert.equal(await menu.isHidden(), true);
  assert.equal(await tree.evaluate((element) => element === document.activeElement), true);

  // ---- search ----
  await page.getByRole('button', { name: 'Collapse all' }).click();
  assert.equal(await page.getByRole('treeitem').count(), 1, 'collapsed to the root');
  await page.getByRole('searchbox', { name: 'Search the tree by name' }).fill('arm');
  await page.getByRole('status').filter({ hasText: '4 matches' }).waitFor();
  const rows = await page.getByRole('treeitem').evaluateAll((items) => items.map((element) => element.getAttribute('aria-label')));
  assert.deepEqual(rows, ['drone', 'frame', 'arm_1', 'arm_2', 'arm_3', 'arm_4'], 'matches and their ancestors only');
  await page.screenshot({ path: join(artefacts, 'tree-search.png') });
  await page.getByRole('searchbox', { name: 'Search the tree by name' }).fill('');
  await page.getByRole('button', { name: 'Expand all' }).click();
  assert.ok(await page.getByRole('treeitem').count() > 20, 'Expand all opens every branch');

  // ---- unread proxies: shown as branches; opening one reads it ----
  await page.getByRole('button', { name: 'Collapse all' }).click();
  await page.getByRole('button', { name: 'Expand drone' }).click();
  assert.equal(await item('camera_gimbal').getAttribute('aria-expanded'), 'false', 'an unread proxy is a branch');
  await page.getByRole('button', { name: 'Expand camera_gimbal' }).click();
  await item('yaw_motor').waitFor();
  // A proxy whose read fails says so where the user acted, and stays closed.
  await page.getByRole('button', { name: 'Expand landing_gear' }).click();
  await page.waitForFunction(() => /landing_gear could not be read/.test(document.querySelector('#tree-alert').textContent));
  assert.equal(await item('landing_gear').getAttribute('aria-expanded'), 'false');
  await page.screenshot({ path: join(artefacts, 'tree-proxies.png') });

  // ---- the legend ----
  await page.getByText('Legend').click();
  for (const name of ['Shown, nothing below', 'Hidden, nothing below', 'Thumbnail', 'No state'])
    await page.getByText(name, { exact: true }).waitFor();
  assert.match(await page.getByRole('button', { name: 'Show landing_gear' }).getAttribute('title'), /^Hidden/);
  assert.deepEqual(errors, [], 'the page raises no error');
} finally {
  await browser.close();
  await host.stop();
}
