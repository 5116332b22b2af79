// Benchmark: the page on a synthetic world beside a bare page that only
// fetches and parses the same bytes, alternated in the same run.
//
//   node bench/page/pageVsBare.mjs build/default/devhost/app/webapi-devhost [N ...] [--runs R] [-- OPTIONS]
//
// OPTIONS go to the program (--web DIR: another page to measure).
//
// For each size (100,000 and 1,000,000 by default), R times (5 by
// default), alternately:
// - the bare page, served by a static server of this script on loopback:
//   it fetches the registration's "treeMapping" document, the same bytes
//   the module sent, from a file, reads them with response.text() and
//   JSON.parse()s them;
// - the page, on a program started for it whose world is built before the
//   page opens: first rows (the first frame with a treeitem in the tree), all
//   initial states shown (the first frame after the mapping and every
//   initial "treeUpdate" document were applied), and a click, as soon as
//   the first rows show, on the first closed row's expander, to the frame
//   in which its children show with their state icons.
// Times run from navigation start. Medians and spreads (min-max) are
// printed, then the program's peak RSS and, once the page is ready, the
// JavaScript heaps of the page's thread and of its tree worker (after a
// garbage collection) and the peak RSS of Chromium's renderer. Rows, buttons and icons are found
// by their roles and labels.

import { createServer } from 'node:http';
import { readdirSync, readFileSync } from 'node:fs';
import { gateway, openBrowser, startHost } from '../../tests/browser/harness.mjs';

const args = process.argv.slice(2);
const extra = args.includes('--') ? args.splice(args.indexOf('--')).slice(1) : [];
const program = args.shift();
const runs = args.includes('--runs') ? Number(args.splice(args.indexOf('--runs'), 2)[1]) : 5;
const sizes = (args.length ? args : ['100000', '1000000']).map(Number);
const limit = Number(process.env.BENCH_LIMIT ?? 180000);

// The registration's documents as the module sends them, read from the
// event stream in node: the mapping's text and how many initial updates
// follow it. They are read from a program of their own (a synthetic world
// of a size is always the same world), so the measured program serves one
// client alone, as when the page opens.
async function registrationDocuments(size) {
  const host = await startHost(program, ['--synthetic', String(size), ...extra]);
  try {
    return await readRegistration(host.url);
  } finally {
    await host.stop();
  }
}

async function readRegistration(url) {
  const token = new URL(url).searchParams.get('token');
  const api = gateway(url);
  const { session } = await api.post('/api/sessions', {});
  const stream = await fetch(new URL(`/api/events?session=${session}`, url), { headers: { Authorization: `Bearer ${token}` } });
  await api.post('/api/call', { method: 'RegisterTreeObserver', args: ['session'], session });
  const end = Buffer.from('"method":"OnTreeUpdateEnd"');
  const chunks = [];
  for await (const chunk of stream.body) {
    chunks.push(Buffer.from(chunk));
    if (Buffer.concat(chunks.slice(-2)).includes(end)) break;
  }
  await fetch(new URL(`/api/sessions/${session}`, url), { method: 'DELETE', headers: { Authorization: `Bearer ${token}` } });
  let mapping = null;
  let updates = 0;
  for (const block of Buffer.concat(chunks).toString('utf8').split('\n\n')) {
    const data = block.split('\n').find((line) => line.startsWith('data: '));
    if (!data || !block.startsWith('id: ')) continue;
    const event = JSON.parse(data.slice(6));
    if (event.method === 'OnTreeMapping' && mapping === null) mapping = event.args[0];
    if (event.method === 'OnTreeUpdate') ++updates;
  }
  return { mapping: Buffer.from(mapping, 'utf8'), updates };
}

// The bare page and the mapping's bytes, on a port of its own.
function bareServer(mapping) {
  const page = `<!doctype html><meta charset="utf-8"><title>bare</title><script type="module">
const response = await fetch('/mapping.json');
const text = await response.text();
const read = performance.now();
const parsed = JSON.parse(text);
window.bare = { read, parsed: performance.now(), entries: parsed.treeMapping.length };
</script>`;
  const server = createServer((request, response) => {
    if (request.url === '/mapping.json') {
      response.writeHead(200, { 'Content-Type': 'application/json', 'Content-Length': mapping.length });
      response.end(mapping);
    } else {
      response.writeHead(200, { 'Content-Type': 'text/html; charset=utf-8' });
      response.end(page);
    }
  });
  return new Promise((resolve) => server.listen(0, '127.0.0.1', () => resolve(server)));
}

async function bareRun(server) {
  const browser = await openBrowser();
  try {
    await browser.page.goto(`http://127.0.0.1:${server.address().port}/`);
    await browser.page.waitForFunction(() => window.bare, null, { timeout: limit, polling: 50 });
    return await browser.page.evaluate(() => window.bare);
  } finally {
    await browser.close();
  }
}

// Watches the page from its first script on: the frame of the first rows,
// then the click and its children's icons, then all initial states.
function watchPage(documents) {
  const times = {};
  window.benchTimes = times;
  const rows = () => [...document.querySelectorAll('[role="tree"] [role="treeitem"]')];
  const noState = (row) => [...row.querySelectorAll('button[title]')].some((b) => b.title === 'No state reported yet');
  let clicked = null;
  const look = () => {
    const now = performance.now();
    const shown = rows();
    if (times.firstRows === undefined && shown.length) {
      times.firstRows = now;
      // The first closed row, opened by its expander as a person would.
      clicked = shown.find((row) => row.getAttribute('aria-expanded') === 'false');
      const expander = clicked && [...clicked.querySelectorAll('button')]
        .find((button) => (button.getAttribute('aria-label') ?? '').startsWith('Expand '));
      if (expander) {
        times.clickAt = performance.now();
        expander.click();
      }
    }
    if (clicked && times.children === undefined) {
      const all = rows();
      const at = all.findIndex((row) => row.id === clicked.id);
      const level = Number(clicked.getAttribute('aria-level'));
      const children = [];
      for (let i = at + 1; at >= 0 && i < all.length && Number(all[i].getAttribute('aria-level')) > level; ++i)
        if (Number(all[i].getAttribute('aria-level')) === level + 1) children.push(all[i]);
      if (children.length && !children.some(noState)) times.children = now;
    }
    if (times.allStates === undefined && (window.webapiPage?.documents ?? 0) >= documents) times.allStates = now;
    if (times.allStates === undefined || (clicked && times.children === undefined)) requestAnimationFrame(look);
  };
  requestAnimationFrame(look);
}

// The JavaScript heaps of the page's thread and of its tree worker, after a
// garbage collection, in MB: used, and the array buffers' backing stores.
async function heaps(page) {
  const devtools = await page.context().newCDPSession(page);
  await devtools.send('HeapProfiler.collectGarbage');
  const main = await devtools.send('Runtime.getHeapUsage');
  // The worker is reached through the page's own session.
  const replies = new Map();
  devtools.on('Target.receivedMessageFromTarget', ({ message }) => {
    const reply = JSON.parse(message);
    replies.get(reply.id)?.(reply.result);
  });
  const attached = new Promise((resolve) => devtools.on('Target.attachedToTarget', resolve));
  await devtools.send('Target.setAutoAttach', { autoAttach: true, waitForDebuggerOnStart: false, flatten: false });
  const { sessionId } = await attached;
  let next = 0;
  const send = (method) => new Promise((resolve) => {
    replies.set(++next, resolve);
    devtools.send('Target.sendMessageToTarget', { sessionId, message: JSON.stringify({ id: next, method, params: {} }) });
  });
  await send('HeapProfiler.collectGarbage');
  const worker = await send('Runtime.getHeapUsage');
  const mb = (bytes) => bytes / 1e6;
  return { main: mb(main.usedSize), mainBuffers: mb(main.backingStorageSize ?? 0),
           worker: mb(worker.usedSize), workerBuffers: mb(worker.backingStorageSize ?? 0) };
}

// The peak resident memory of Chromium's renderer processes (the page's
// thread and its worker live in one), in MB.
function rendererPeak() {
  let peak = 0;
  for (const pid of readdirSync('/proc').filter((name) => /^\d+$/.test(name))) {
    try {
      const command = readFileSync(`/proc/${pid}/cmdline`, 'utf8');
      if (!command.includes('--type=renderer') || !command.includes('webapi-chromium-')) continue;
      peak = Math.max(peak, Number(readFileSync(`/proc/${pid}/status`, 'utf8').match(/VmHWM:\s+(\d+)/)[1]) / 1024);
    } catch {
      // A process that ended meanwhile.
    }
  }
  return peak;
}

async function pageRun(url, documents) {
  const browser = await openBrowser();
  const { page } = browser;
  try {
    await page.addInitScript(watchPage, documents);
    await page.goto(url);
    await page.waitForFunction(() => {
      const t = window.benchTimes;
      return t && t.allStates !== undefined && (t.clickAt === undefined || t.children !== undefined);
    }, null, { timeout: limit, polling: 100 }).catch(async (error) => {
      const seen = await page.evaluate(() => ({ times: window.benchTimes, documents: window.webapiPage?.documents }));
      throw new Error(`${error.message}; seen ${JSON.stringify(seen)}`);
    });
    const times = await page.evaluate(() => window.benchTimes);
    await page.waitForSelector('body[data-ready]', { timeout: limit });
    return { ...times, heaps: await heaps(page), renderer: rendererPeak() };
  } finally {
    await browser.close();
  }
}

const median = (values) => [...values].sort((a, b) => a - b)[Math.floor(values.length / 2)];
const figure = (values) => (values.some((v) => v === undefined || Number.isNaN(v)) ? 'n/a'
  : `${median(values).toFixed(0)} ms (${Math.min(...values).toFixed(0)}-${Math.max(...values).toFixed(0)})`);
const ratio = (values, base) => `${(median(values) / median(base)).toFixed(2)}x`;

console.log(`== ${new Date().toISOString()}, load ${readFileSync('/proc/loadavg', 'utf8').split(' ').slice(0, 3).join(' ')}`);
for (const size of sizes) {
  const { mapping, updates } = await registrationDocuments(size);
  const server = await bareServer(mapping);
  const bare = [];
  const page = [];
  const peaks = [];
  try {
    for (let run = 0; run < runs; ++run) {
      bare.push(await bareRun(server));
      // A program of its own for each page, its world built before the
      // page opens.
      const host = await startHost(program, ['--synthetic', String(size), ...extra]);
      try {
        page.push(await pageRun(host.url, 1 + updates));
        const status = readFileSync(`/proc/${host.pid}/status`, 'utf8');
        peaks.push(Number(status.match(/VmHWM:\s+(\d+)/)[1]) / 1024);
      } finally {
        await host.stop();
      }
      const b = bare.at(-1);
      const p = page.at(-1);
      console.log(`${size} run ${run + 1}: bare parsed ${b.parsed.toFixed(0)} ms; page first rows ` +
        `${p.firstRows?.toFixed(0)} ms, all states ${p.allStates?.toFixed(0)} ms, click to children's icons ` +
        `${(p.children - p.clickAt).toFixed(0)} ms`);
    }
  } finally {
    server.close();
  }
  const base = bare.map((b) => b.parsed);
  const first = page.map((p) => p.firstRows);
  const states = page.map((p) => p.allStates);
  const click = page.map((p) => p.children - p.clickAt);
  console.log(`${size} instances, mapping ${(mapping.length / 1e6).toFixed(1)} MB and ${updates} updates, ${runs} runs:`);
  console.log(`  bare page fetched and parsed ${figure(base)}`);
  console.log(`  first rows ${figure(first)}, ${ratio(first, base)} the bare page`);
  console.log(`  all initial states shown ${figure(states)}, ${ratio(states, base)} the bare page`);
  console.log(`  click to its children's icons ${figure(click)}`);
  const megabytes = (values) => figure(values).replace(/ ms/g, '').replace(/\)$/, ') MB');
  console.log(`  program's peak RSS ${megabytes(peaks)}`);
  console.log(`  page, once ready: JS heap of its thread ${megabytes(page.map((p) => p.heaps.main))} and array buffers ` +
    `${megabytes(page.map((p) => p.heaps.mainBuffers))}; of its tree worker ${megabytes(page.map((p) => p.heaps.worker))} and ` +
    `${megabytes(page.map((p) => p.heaps.workerBuffers))}; renderer's peak RSS ${megabytes(page.map((p) => p.renderer))}`);
}
