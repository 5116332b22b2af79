// Benchmark: how long the page takes to show the structure tree of a
// synthetic world and to open its root, in Chromium. Targets: shown and
// interactive, 100,000 instances under one second, 1,000,000 under three.
//
//   node bench/page/treeTiming.mjs build/default/devhost/app/webapi-devhost [N ...] [--shots DIR]
//
// Times run from the page's navigation: to the first frame with the tree
// (shown); to the frame that shows the root's children after a click on the
// root's expander made as soon as the tree showed (interactive); and to the
// module's answer with those children's states. The page's own split is
// printed beside them: when it registered its tree observer and when it
// placed the first nodes its tree worker read.

import { openBrowser, startHost } from '../../tests/browser/harness.mjs';

const args = process.argv.slice(2);
const program = args.shift();
const shots = args.includes('--shots') ? args.splice(args.indexOf('--shots'), 2)[1] : null;
const sizes = (args.length ? args : ['100000', '1000000']).map(Number);
const ms = (value) => `${value.toFixed(0)} ms`;

for (const size of sizes) {
  const host = await startHost(program, ['--synthetic', String(size)]);
  const browser = await openBrowser();
  const { page } = browser;
  try {
    await page.goto(host.url);
    await page.waitForSelector('body[data-tree-ready]', { timeout: 120000 });
    const click = await page.evaluate(() => new Promise((resolve) => {
      const at = performance.now();
      const page = window.webapiPage;
      const changes = page.changes;
      const root = document.querySelector('.row[data-row="0"]');
      const children = Number(root.querySelector('.type')?.textContent ?? 0);
      root.querySelector('.twisty').click();
      const times = { at };
      const look = () => {
        const now = performance.now();
        if (times.shown === undefined && document.querySelectorAll('.row').length >= Math.min(children + 1, 20))
          times.shown = now;
        if (times.answered === undefined && page.changes > changes) times.answered = now;
        if ((times.shown !== undefined && times.answered !== undefined) || now - at > 60000) resolve(times);
        else requestAnimationFrame(look);
      };
      requestAnimationFrame(look);
    }));
    const { treeShownAt, firstNodesAt, registeredAt } = await page.evaluate(() => window.webapiPage);
    const nodes = await page.evaluate(() => document.body.dataset.treeReady);
    const after = (time) => (time === undefined ? 'not within 60 s' : `${ms(time)} (${ms(time - click.at)} after the click)`);
    console.log(`${size} instances (${nodes} nodes): tree shown at ${ms(treeShownAt)}; ` +
      `root opened at ${ms(click.at)}, its children shown at ${after(click.shown)}, their states answered at ` +
      `${after(click.answered)}; the observer registered at ${ms(registeredAt)}, the first nodes placed at ` +
      `${ms(firstNodesAt)}`);
    if (shots) await page.screenshot({ path: `${shots}/page-synthetic-${size}.png` });
  } finally {
    await browser.close();
    await host.stop();
  }
}
