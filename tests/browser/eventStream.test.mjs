// The page's reader of the gateway's event stream, in node against a small
// server: events split anywhere between chunks, a long one, comments and a
// multi-line data event come through as sent, and a connection broken in
// the middle of an event resumes after the last whole one, losing nothing.
//
//   node eventStream.test.mjs

import assert from 'node:assert/strict';
import { createServer } from 'node:http';
import { EventStream } from '../../devhost/web/eventStream.js';

const long = JSON.stringify({ seq: 2, args: ['x'.repeat(3 << 20) + '"\\ü😀'] });
const first = `: hello\n\nid: 1\ndata: {"seq":1}\n\nid: 2\ndata: ${long}\n\n:\n\nid: 3\ndata: {"seq":3,`;
const second = 'id: 3\ndata: {"seq":3,\ndata: "more":true}\r\n\r\nevent: end\ndata: {"reason":"done"}\n\n';
const asked = [];

const server = createServer((request, response) => {
  asked.push(request.url);
  response.writeHead(200, { 'Content-Type': 'text/event-stream' });
  if (asked.length === 1) {
    // Cut anywhere, a UTF-8 character's bytes included, then broken off.
    const bytes = Buffer.from(first);
    const cuts = [3, 10, 11, 40, 1000, 65536, bytes.length - 40, bytes.length - 39];
    let at = 0;
    for (const cut of [...cuts.filter((c) => c < bytes.length), bytes.length]) {
      response.write(bytes.subarray(at, cut));
      at = cut;
    }
    setTimeout(() => response.socket.destroy(), 50);
  } else {
    response.end(second);
  }
});
await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
const url = `http://127.0.0.1:${server.address().port}/api/events?session=1`;

const messages = [];
const ended = await new Promise((resolve, reject) => {
  const stream = new EventStream(url, {
    onMessage: (data, id) => messages.push([id, data]),
    onNamed: (name, data) => { stream.close(); resolve([name, data]); },
    onRefused: (status) => reject(new Error(`refused: ${status}`)),
  });
  setTimeout(() => reject(new Error('no end event within 20 s')), 20000).unref();
});
server.close();

assert.deepEqual(ended, ['end', '{"reason":"done"}']);
assert.deepEqual(asked, ['/api/events?session=1', '/api/events?session=1&since=2']);
assert.equal(messages.length, 3);
assert.deepEqual(messages[0], ['1', '{"seq":1}']);
assert.equal(messages[1][0], '2');
assert.ok(messages[1][1] === long, 'the long event comes whole');
assert.deepEqual(messages[2], ['3', '{"seq":3,\n"more":true}']);
