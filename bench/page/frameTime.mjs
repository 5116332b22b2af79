// Frame time of the viewer pane in Chromium's software WebGL: the page
// opened on a world, the camera turned a little before each frame and every
// frame finished before the next (Viewer.measureFrames).
//
//   node bench/page/frameTime.mjs build/default/devhost/app/webapi-devhost --synthetic 100000
//   node bench/page/frameTime.mjs build/default/devhost/app/webapi-devhost --model FILE

import { openBrowser, startHost, WEBGL_FLAGS } from '../../tests/browser/harness.mjs';

const [program, ...options] = process.argv.slice(2);
const host = await startHost(program, options);
const browser = await openBrowser({ width: 1400, height: 860 }, WEBGL_FLAGS);
const { page } = browser;
try {
  const started = Date.now();
  await page.goto(host.url);
  await page.waitForFunction(() => Number(document.querySelector('[aria-label="3D view"]')?.dataset.loaded) > 0,
    null, { timeout: 600000 });
  const shownAfter = Date.now() - started;
  const result = await page.evaluate(() => {
    const viewer = window.webapiViewer;
    viewer.measureFrames(5);  // shaders compiled, buffers uploaded
    const canvas = document.querySelector('[aria-label="3D view"]');
    return { instances: Number(canvas.dataset.loaded), width: canvas.width, height: canvas.height,
             frameMs: viewer.measureFrames(30) };
  });
  console.log(JSON.stringify({ options: options.join(' '), shownAfterMs: shownAfter, ...result }));
} finally {
  await browser.close();
  await host.stop();
}
