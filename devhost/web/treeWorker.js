// The page's reader of its session's event stream, in a worker of its own:
// tree documents are read here as they arrive (treeReader.js), so the page's
// thread only places what was read; other events go on as parsed objects.
// Everything read from one piece of the stream goes to the page in one
// message, in the stream's order:
//
//   page -> worker  {open: {url, headers}}  reads a session's stream
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

// One worker reads one session's stream.
function open({ url, headers }) {
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
    afterChunk: flush,
  });
}

onmessage = ({ data }) => open(data.open);
