// The page's reader of the gateway's event stream, in node against a small
// server: events split anywhere between chunks, a long one, comments and a
// multi-line data event come through as sent, and a connection broken in
// the middle of an event resumes after the last whole one, losing nothing,
// and so does one that the server answers with a 503;
// a reader of data gets long lines piece by piece, as text or as bytes.
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
  if (asked.length === 2) {
    // A server shutting down or full: tried again, not the stream's end.
    response.writeHead(503, { 'Content-Type': 'application/json' });
    response.end('{"error":"busy"}');
    return;
  }
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

// Reads the stream through to its end event; a reader of data given, the
// events' data go through it.
async function readAll(dataReader) {
  asked.length = 0;
  const messages = [];
  const ended = await new Promise((resolve, reject) => {
    const stream = new EventStream(url, {
      ...(dataReader ? { dataReader } : {}),
      onMessage: (data, id) => messages.push([id, data]),
      onNamed: (name, data) => { stream.close(); resolve([name, data]); },
      onRefused: (status) => reject(new Error(`refused: ${status}`)),
    });
    setTimeout(() => reject(new Error('no end event within 20 s')), 20000).unref();
  });
  assert.deepEqual(ended, ['end', '{"reason":"done"}']);
  assert.deepEqual(asked, ['/api/events?session=1', '/api/events?session=1&since=2', '/api/events?session=1&since=2']);
  assert.equal(messages.length, 3);
  assert.deepEqual(messages[0], ['1', '{"seq":1}']);
  assert.equal(messages[1][0], '2');
  assert.ok(messages[1][1] === long, 'the long event comes whole');
  assert.deepEqual(messages[2], ['3', '{"seq":3,\n"more":true}']);
}

await readAll(null);

// A reader of data gets a long line as it comes, in pieces, none of them
// holding the line's end or its "\r".
const pieces = [];
await readAll(() => {
  const own = [];
  return {
    push: (piece) => { own.push(piece); pieces.push(piece); },
    newline: () => own.push('\n'),
    end: () => own.join(''),
  };
});
assert.ok(pieces.filter((piece) => piece.startsWith('x') || piece.includes('xxx')).length > 2, 'the long event came in pieces');
assert.ok(!pieces.some((piece) => piece.includes('\n') || piece.includes('\r')));

// A reader of bytes gets every data line as its UTF-8 bytes, a long one in
// pieces cut anywhere, a character's bytes included; joined they are the text.
const byteCounts = [];
await readAll(() => {
  const own = [];
  return {
    pushBytes: (bytes) => { own.push(Buffer.from(bytes)); byteCounts.push(bytes.length); },
    newline: () => own.push(Buffer.from('\n')),
    end: () => Buffer.concat(own).toString('utf8'),
  };
});
server.close();
assert.ok(byteCounts.filter((count) => count > 1000).length > 2, 'the long event came in pieces of bytes');
