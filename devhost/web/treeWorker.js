// The page's reader of its session's event stream, in a worker of its own:
// tree documents are read here as they arrive (treeReader.js), so the page's
// thread only places what was read; other events go on as parsed objects.
// Everything read from one piece of the stream goes to the page in one
// message, in the stream's order:
//
//   page -> worker  {open: {url, headers, answers}}  reads a session's stream,
//                   and with answers the stream of its state query's answers
//                   {hold: true}  a state query is on its way: the main stream
//                   waits for its answer (at most HOLD_MS)
//   worker -> page  [{kind: 'event', event}, tree parts..., {kind: 'named', name, data},
//                    {kind: 'refused', status, text}], with their arrays moved, not copied.

import { EventStream } from './eventStream.js';
import { TreeReader } from './treeReader.js';

let outbox = [];
let transfers = [];
const post = (message, transfer = []) => {
  outbox.push(message);
  transfers.push(...transfer);
};
const flush = () => {
  if (!outbox.length) return;
  postMessage(outbox, transfers);
  outbox = [];
  transfers = [];
};

const reader = new TreeReader(post);

// The main stream's pieces, when many wait, would be read one after the
// other without a break (each read resolves at once), and an answer that
// came meanwhile on the other stream would wait for all of them: the main
// stream lets the worker's other tasks run every few milliseconds.
const YIELD_MS = 8;
const channel = new MessageChannel();
const resumes = [];
channel.port1.onmessage = () => resumes.shift()();
let ranSince = performance.now();
const nextTask = () => {
  if (performance.now() - ranSince < YIELD_MS) return null;
  return new Promise((resolve) => {
    resumes.push(() => {
      ranSince = performance.now();
      resolve();
    });
    channel.port2.postMessage(null);
  });
};

// A state query the page sent (the states of a branch just opened) is
// answered once the module has written what came before it, a large tree's
// initial states for instance. Until its answer is read, the main stream is
// not read: the program, the browser and this page share a machine's cores,
// and the bulk of the tree waits while the answer the person waits for
// comes.
const HOLD_MS = 1000;
let holdUntil = 0;
let release = null;
const answered = () => {
  holdUntil = 0;
  release?.();
  release = null;
};
const held = () => {
  const left = holdUntil - performance.now();
  if (left <= 0) return null;
  return new Promise((resolve) => {
    release = resolve;
    setTimeout(answered, left);
  });
};

// One worker reads one session's streams.
function open({ url, headers, answers }) {
  // The answers are few and small: each is read whole, as it comes.
  if (answers) {
    const lane = new EventStream(`${url}&lane=answers`, {
      headers,
      onMessage: (text) => {
        reader.applyAnswer(text);
        answered();
      },
      onNamed: (name) => {
        if (name === 'end') lane.close();
      },
      onRefused: () => {},
      afterChunk: flush,
    });
  }
  const stream = new EventStream(url, {
    headers,
    dataReader: () => reader.eventData(),
    onMessage: (text) => {
      try {
        post({ kind: 'event', event: JSON.parse(text) });
      } catch {
        // Not an event of the gateway's form: nothing to tell.
      }
    },
    onNamed: (name, data) => {
      // The session's stream ends with an "end" event.
      if (name === 'end') stream.close();
      post({ kind: 'named', name, data });
    },
    onRefused: (status, text) => {
      post({ kind: 'refused', status, text });
      flush();
    },
    afterChunk: () => {
      flush();
      return held() ?? nextTask();
    },
  });
}

onmessage = ({ data }) => {
  if (data.open) open(data.open);
  if (data.hold) holdUntil = performance.now() + HOLD_MS;
};
