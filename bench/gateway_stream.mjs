// Benchmark: the event stream of a synthetic world's registration, from
// node over loopback. Times run from the registration call to the last
// byte of the registration's documents (its mapping, then the initial
// states, to "OnTreeUpdateEnd") on the
// reader, and the reader's byte count; the program's CPU time over the
// same span is read from /proc.
//
//   node bench/gateway_stream.mjs build/default/devhost/app/webapi-devhost [N] [--runs R] [--gzip]
//
// Each run starts the program afresh, so runs are independent; the median
// and spread of the runs are printed.

import { readFileSync } from 'node:fs';
import { startHost } from '../tests/browser/harness.mjs';

const args = process.argv.slice(2);
const program = args.shift();
const option = (name, fallback) => (args.includes(name) ? args.splice(args.indexOf(name), 2)[1] : fallback);
const runs = Number(option('--runs', '3'));
const gzip = args.includes('--gzip') ? (args.splice(args.indexOf('--gzip'), 1), true) : false;
const size = Number(args[0] ?? 1000000);
const ticks = 100;  // USER_HZ

const cpuSeconds = (pid) => {
  const fields = readFileSync(`/proc/${pid}/stat`, 'utf8').split(') ')[1].split(' ');
  return (Number(fields[11]) + Number(fields[12])) / ticks;
};

async function once() {
  const host = await startHost(program, ['--synthetic', String(size)]);
  try {
    const token = new URL(host.url).searchParams.get('token');
    const headers = { Authorization: `Bearer ${token}`, 'Content-Type': 'application/json' };
    const { session } = await (await fetch(new URL('/api/sessions', host.url), { method: 'POST', headers, body: '{}' })).json();
    const stream = await fetch(new URL(`/api/events?session=${session}`, host.url),
      { headers: { Authorization: `Bearer ${token}`, 'Accept-Encoding': gzip ? 'gzip' : 'identity' } });
    const reader = stream.body.getReader();
    const cpuBefore = cpuSeconds(host.pid);
    const start = performance.now();
    const registered = fetch(new URL('/api/call', host.url), {
      method: 'POST', headers, body: JSON.stringify({ method: 'RegisterTreeObserver', args: ['session'], session }),
    });
    // The markers are searched in each chunk and the end of the one before,
    // natively, so the reader costs little beside the transfer.
    const markers = ['"method":"OnTreeMappingEnd"', '"method":"OnTreeUpdateEnd"'].map((text) => Buffer.from(text));
    const found = [];
    let bytes = 0;
    let carry = Buffer.alloc(0);
    let firstByte;
    while (found.length < markers.length) {
      const { value, done } = await reader.read();
      if (done) throw new Error(`the stream ended before the registration's documents did: ${carry}`);
      if (firstByte === undefined) firstByte = performance.now() - start;
      bytes += value.length;
      const chunk = Buffer.from(value.buffer, value.byteOffset, value.length);
      const seen = Buffer.concat([carry, chunk.subarray(0, 64)]);
      while (found.length < markers.length &&
             (seen.includes(markers[found.length]) || chunk.includes(markers[found.length])))
        found.push(performance.now() - start);
      carry = Buffer.from(chunk.subarray(Math.max(0, chunk.length - 64)));
    }
    const [mapped, last] = found;
    const cpu = cpuSeconds(host.pid) - cpuBefore;
    await registered;
    reader.cancel();
    return { firstByte, mapped, last, bytes, cpu, encoding: stream.headers.get('content-encoding') ?? 'identity' };
  } finally {
    await host.stop();
  }
}

const median = (values) => [...values].sort((a, b) => a - b)[Math.floor(values.length / 2)];
const results = [];
for (let run = 0; run < runs; ++run) {
  const result = await once();
  results.push(result);
  console.log(`run ${run + 1}: first byte ${result.firstByte.toFixed(0)} ms, mapping ended ${result.mapped.toFixed(0)} ms, last byte ${result.last.toFixed(0)} ms, ` +
    `${(result.bytes / 1e6).toFixed(1)} MB (${result.encoding}), program CPU ${result.cpu.toFixed(2)} s`);
}
const spread = (key) => `${median(results.map((r) => r[key])).toFixed(key === 'cpu' ? 2 : 0)} ` +
  `(${Math.min(...results.map((r) => r[key])).toFixed(key === 'cpu' ? 2 : 0)}-${Math.max(...results.map((r) => r[key])).toFixed(key === 'cpu' ? 2 : 0)})`;
console.log(`${size} instances, ${runs} runs: last byte ${spread('last')} ms, mapping ended ${spread('mapped')} ms, first byte ${spread('firstByte')} ms, ` +
  `program CPU ${spread('cpu')} s`);
