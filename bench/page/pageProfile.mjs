// Where the page's time goes while it shows the tree of a synthetic world:
// a CPU profile of the page's main thread (Chromium's sampling profiler
// through the DevTools protocol; the tree worker's reading is not in it)
// from navigation until the page is ready and two seconds more, summed by
// function.
//
//   node bench/page/pageProfile.mjs build/default/devhost/app/webapi-devhost N [--web DIR]

import { openBrowser, startHost } from '../../tests/browser/harness.mjs';

const args = process.argv.slice(2);
const web = args.includes('--web') ? args.splice(args.indexOf('--web'), 2)[1] : null;
const [program, size = '100000'] = args;
const host = await startHost(program, ['--synthetic', size, ...(web ? ['--web', web] : [])]);
const browser = await openBrowser();
const { page } = browser;
try {
  const devtools = await page.context().newCDPSession(page);
  await devtools.send('Profiler.enable');
  await devtools.send('Profiler.setSamplingInterval', { interval: 500 });
  await devtools.send('Profiler.start');
  await page.goto(host.url);
  await page.waitForSelector('body[data-ready]', { timeout: 300000 });
  await page.waitForTimeout(2000);
  const { profile } = await devtools.send('Profiler.stop');
  const nodes = new Map(profile.nodes.map((node) => [node.id, node]));
  const self = new Map();
  profile.samples.forEach((id, i) => {
    const { functionName, url, lineNumber } = nodes.get(id).callFrame;
    const key = `${functionName || '(anonymous)'} ${url.split('/').pop()}:${lineNumber + 1}`;
    self.set(key, (self.get(key) ?? 0) + (profile.timeDeltas[i] ?? 0) / 1000);
  });
  const { treeShownAt, firstNodesAt } = await page.evaluate(() => window.webapiPage);
  console.log(`${size} instances: tree shown at ${treeShownAt.toFixed(0)} ms, its first nodes placed at ` +
    `${firstNodesAt.toFixed(0)} ms; self time by function:`);
  for (const [key, ms] of [...self].sort((a, b) => b[1] - a[1]).slice(0, 20))
    console.log(`${ms.toFixed(0).padStart(7)} ms  ${key}`);
} finally {
  await browser.close();
  await host.stop();
}
