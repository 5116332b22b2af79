// The program as a process: it starts itself again, once, with glibc's
// allocator set for large worlds (huge pages, one arena), keeps its own name
// and process id, serves, and leaves a user's own allocator settings as
// given.
//
//   node program.test.mjs WEBAPI_DEVHOST

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { gateway, startHost } from './harness.mjs';

const [program] = process.argv.slice(2);

// glibc cuts GLIBC_TUNABLES where it reads it, so its settings are looked
// for in the whole text of the environment.
async function started(tunables) {
  if (tunables === undefined) delete process.env.GLIBC_TUNABLES;
  else process.env.GLIBC_TUNABLES = tunables;
  const host = await startHost(program);
  try {
    const environment = readFileSync(`/proc/${host.pid}/environ`, 'latin1');
    const name = readFileSync(`/proc/${host.pid}/comm`, 'latin1').trim();
    const interfaces = await gateway(host.url).get('/api/interfaces');
    return { environment, name, served: Array.isArray(interfaces['webapi::WebApiModule']) };
  } finally {
    await host.stop();
  }
}

const plain = await started(undefined);
assert.equal(plain.name, 'webapi-devhost', 'the process keeps its name');
assert.ok(plain.served);
assert.match(plain.environment, /(^|\0)WEBAPI_DEVHOST_ALLOCATOR=1\0/, 'started again once');
assert.match(plain.environment, /glibc\.malloc\.hugetlb=1/);
assert.match(plain.environment, /glibc\.malloc\.arena_max=1/);

const own = await started('glibc.malloc.arena_max=4');
assert.ok(own.served);
assert.match(own.environment, /glibc\.malloc\.arena_max=4/, "a user's setting stays");
assert.doesNotMatch(own.environment, /glibc\.malloc\.arena_max=1/);
assert.match(own.environment, /glibc\.malloc\.hugetlb=1/, 'and the others join it');
console.log('program: ok');
