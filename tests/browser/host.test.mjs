// The page following the development host live, in Chromium: progress bars
// that move and end, views switched and back, failures told where the user
// acted (a set that fails to apply, a call that an armed fault makes do
// nothing), and a program that dies and comes back.
//
//   node host.test.mjs WEBAPI_DEVHOST ARTEFACT_DIR

import assert from 'node:assert/strict';
import { mkdirSync } from 'node:fs';
import { createServer } from 'node:net';
import { join } from 'node:path';
import { gateway, openBrowser, startHost } from './harness.mjs';

const [program, artefacts = '.'] = process.argv.slice(2);
mkdirSync(artefacts, { recursive: true });

// A port free now, so that the program can be started again on it.
const port = await new Promise((resolve) => {
  const probe = createServer().listen(0, '127.0.0.1', () => {
    const { port: free } = probe.address();
    probe.close(() => resolve(free));
  });
});
const options = ['--port', String(port), '--token', 'page-host-test'];
let host = await startHost(program, options);
const api = gateway(host.url);
const browser = await openBrowser();
const { page } = browser;
const errors = [];
page.on('pageerror', (error) => errors.push(error.message));
const panel = (name) => page.locator('details').filter({ has: page.getByText(name, { exact: true }) });

try {
  await page.goto(host.url);
  await page.waitForSelector('body[data-ready]');

  // ---- views: switched from the page, and by the host, and back ----
  const views = page.getByRole('combobox', { name: 'View' });
  assert.match(await views.locator('option:checked').textContent(), /Main — shape view/);
  await views.selectOption('Manual');
  await page.waitForFunction(async () => true);
  let state = await api.get('/host/state?sections=activeView');
  for (let tries = 0; state.activeView !== 'Manual' && tries < 50; tries++) {
    await page.waitForTimeout(20);
    state = await api.get('/host/state?sections=activeView');
  }
  assert.equal(state.activeView, 'Manual', 'the switcher switches the host');
  await api.post('/host/control', { action: 'activateView', view: 'Main' });
  await page.waitForFunction(() => document.querySelector('#views').value === 'Main', null, { timeout: 1000 });

  // A set that replaces the view says so, and offers the way back: its
  // scene took the model's away, so back is the world that has it.
  await panel('Annotation sets').locator('summary').click();
  await page.getByRole('button', { name: 'List', exact: true }).last().click();
  await page.getByRole('button', { name: 'Load Service steps' }).click();
  const back = page.getByRole('button', { name: 'Load the sample world again' });
  await back.waitFor();
  assert.match(await page.getByRole('status').filter({ hasText: 'switched the view' }).textContent(),
    /from Main to Service steps, and the host removed Main with its scene/);
  await page.screenshot({ path: join(artefacts, 'host-view-switched.png') });
  await back.click();
  await page.waitForFunction(() => document.querySelector('#views').value === 'Main');
  assert.equal((await api.get('/host/state?sections=activeView')).activeView, 'Main');
  await page.getByRole('button', { name: 'List', exact: true }).last().click();
  await page.getByRole('button', { name: 'Load Inspection marks' }).waitFor();

  // ---- a set that fails to apply raises an alert in its panel ----
  await page.getByRole('button', { name: 'Load Inspection marks' }).click();
  const setAlert = panel('Annotation sets').getByRole('alert');
  await page.waitForFunction(() => /failed to apply.*status 1/.test(document.querySelector('#sets-panel [role=alert]').textContent));
  assert.match(await setAlert.textContent(), /Inspection marks failed to apply/);

  // ---- an armed fault that makes a call do nothing raises an alert ----
  await api.post('/host/control', { action: 'armFault', point: 'qxkapp::SceneManager::GetActiveView' });
  await page.getByRole('button', { name: 'Zoom all' }).click();
  const toolbarAlert = page.locator('#toolbar-alert');
  await page.waitForFunction(() => /changed nothing on the host/.test(document.querySelector('#toolbar-alert').textContent));
  assert.equal(await toolbarAlert.getAttribute('role'), 'alert');
  await page.screenshot({ path: join(artefacts, 'host-fault-alert.png') });
  await api.post('/host/control', { action: 'disarmFaults' });
  await page.getByRole('button', { name: 'Zoom all' }).click();
  await page.getByRole('status').filter({ hasText: 'Zoom all done' }).waitFor();
  assert.equal(await toolbarAlert.textContent(), '', 'a call that works clears the alert');

  // ---- a progress bar moves and ends ----
  await api.post('/host/control', { action: 'loadWorld', world: {
    structure: [{ name: 'car', children: [{ name: 'body' }, { name: 'wheel' }] }],
    scenes: [{ name: 'Model', shapes: ['car'], views: [{ name: 'v', kind: 'shape', viewerProgress: 'manual' }] }],
    activeView: 'v' } });
  await page.waitForFunction(() => document.querySelector('#views').value === 'v');
  // The new world's tree replaces the old one.
  await page.getByRole('treeitem', { name: 'car', exact: true }).waitFor();
  assert.equal(await page.getByRole('treeitem', { name: 'drone', exact: true }).count(), 0);
  await panel('Load and unload instances').locator('summary').click();
  await page.getByRole('textbox', { name: 'Idpath list, or update words' }).fill('["car/body"]');
  await page.getByRole('button', { name: 'Load', exact: true }).click();
  const bar = page.getByRole('progressbar', { name: 'Loading the model' });
  await bar.waitFor();
  assert.equal(await bar.getAttribute('aria-valuenow'), '0');
  await api.post('/host/control', { action: 'reportViewerProgress', view: 'v', percentage: 60, finish: false });
  await page.waitForFunction(() => document.querySelector('[role=progressbar]')?.getAttribute('aria-valuenow') === '60',
    null, { timeout: 1000 });
  await page.screenshot({ path: join(artefacts, 'host-progress-60.png') });
  await api.post('/host/control', { action: 'reportViewerProgress', view: 'v' });
  await page.getByText('done', { exact: true }).waitFor();
  await bar.waitFor({ state: 'detached', timeout: 5000 });

  // ---- the program dies: a banner; it comes back: the page reads it again ----
  await host.stop();
  const banner = page.getByRole('alert').filter({ hasText: 'connection to the program is lost' });
  await banner.waitFor({ timeout: 5000 });
  await page.screenshot({ path: join(artefacts, 'host-lost.png') });
  host = await startHost(program, options);
  await banner.waitFor({ state: 'hidden', timeout: 15000 });
  // The new program has the sample world: the page shows its views again.
  await page.waitForFunction(() => document.querySelector('#views').value === 'Main', null, { timeout: 5000 });
  await page.getByRole('status').filter({ hasText: 'Connected again' }).waitFor();
  // A new session reads the new program's tree.
  await page.getByRole('treeitem', { name: 'drone', exact: true }).waitFor({ timeout: 5000 });
  assert.equal(await page.getByRole('treeitem', { name: 'car', exact: true }).count(), 0);
  assert.equal(await page.locator('#banner').isHidden(), true, 'no banner once back');
  await page.screenshot({ path: join(artefacts, 'host-back.png') });
  assert.deepEqual(errors, [], 'the page raises no error');
} finally {
  await browser.close();
  await host.stop();
}
