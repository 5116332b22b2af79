// Benchmark: how long the page takes to show the structure tree of a
// synthetic world and answer a click, in Chromium. Targets: 100,000
// instances under one second, 1,000,000 under three.
//
//   node bench/page/treeTiming.mjs build/default/devhost/app/webapi-devhost [N ...] [--shots DIR]
//
// Times run from the page's navigation to the first frame with the tree
// (shown) and to the frame after a click on the root's expander (interactive).

import { openBrowser, startHost } from '../../tests/browser/harness.mjs';

const args = process.argv.slice(2);
const program = args.shift();
const shots = args.includes('--shots') ? args.splice(args.indexOf('--shots'), 2)[1] : null;
const sizes = (args.length ? args : ['100000', '1000000']).map(Number);

for (const size of sizes) {
  const host = await startHost(program, ['--synthetic', String(size)]);
  const browser = await openBrowser();
  const { page } = browser;
  try {
    await page.goto(host.url);
    await page.waitForSelector('body[data-tree-ready]', { timeout: 120000 });
    const shown = await page.evaluate(() => window.webapiPage.treeShownAt);
    const interactive = await page.evaluate(() => new Promise((resolve) => {
      const start = performance.now();
      document.querySelector('.row .twisty').click();
      requestAnimationFrame(() => requestAnimationFrame(() => resolve(performance.now() - start)));
    }));
    const nodes = await page.evaluate(() => document.body.dataset.treeReady);
    const line = `${size} instances: tree shown after ${shown.toFixed(0)} ms (${nodes} nodes), ` +
      `a click answered in ${interactive.toFixed(0)} ms`;
    console.log(line);
    if (shots) await page.screenshot({ path: `${shots}/page-synthetic-${size}.png` });
  } finally {
    await browser.close();
    await host.stop();
  }
}
