// A reader of Server-Sent Events over fetch. A browser's EventSource takes
// many seconds to hand over an event of tens of megabytes (a large tree's
// "treeMapping"); this reader hands a long data line on as its chunks come,
// to be joined once or read as it arrives. Like EventSource it resumes after a broken connection from the last
// id it got, so nothing is lost.

const RETRY_MS = 1000;
// The most of the stream read before afterChunk.
const SLICE = 262144;

export class EventStream {
  // onMessage(data, id) for each unnamed event; onNamed(name, data) for the
  // others; onRefused(status, text) when the server refuses the stream with
  // a 4xx, which ends it. headers go with every request (the gateway's token).
  // dataReader() makes the reader of one event's data (push(piece) as the
  // pieces come, newline() between two data lines, end() for the text, or
  // null for an event that the reader took itself); afterChunk() runs after
  // each piece of the stream was read (at most SLICE bytes), and the next
  // piece waits for the promise it may give.
  constructor(url, { onMessage, onNamed, onRefused, headers = {}, dataReader = () => new JoinedData(), afterChunk = null }) {
    this.url = url;
    this.headers = headers;
    this.handlers = { onMessage, onNamed, onRefused, dataReader, afterChunk };
    this.lastId = null;
    this.closed = false;
    this.abort = null;
    this.run();
  }

  close() {
    this.closed = true;
    this.abort?.abort();
  }

  async run() {
    while (!this.closed) {
      try {
        this.abort = new AbortController();
        const since = this.lastId === null ? '' : `&since=${encodeURIComponent(this.lastId)}`;
        const response = await fetch(`${this.url}${since}`, {
          signal: this.abort.signal, cache: 'no-store', headers: this.headers,
        });
        // A server busy or shutting down (5xx) is tried again, as a broken
        // connection is; anything else refuses this stream for good.
        if (response.status >= 500) throw new Error(`${response.status}`);
        if (!response.ok) {
          this.closed = true;
          this.handlers.onRefused(response.status, await response.text());
          return;
        }
        await this.read(response.body.getReader());
      } catch {
        // A broken connection: try again from the last event.
      }
      if (!this.closed) await new Promise((resolve) => setTimeout(resolve, RETRY_MS));
    }
  }

  async read(reader) {
    const decoder = new TextDecoder();
    let event = { name: '', data: null, id: null };
    let opening = [];  // the start of a line whose field is not known yet
    let streaming = false;  // inside a data line, handed on piece by piece
    let heldReturn = false;  // a "\r" that may end the data line
    const data = () => {
      if (event.data) event.data.newline();
      else event.data = this.handlers.dataReader();
      return event.data;
    };
    const line = (text) => {
      if (text.endsWith('\r')) text = text.slice(0, -1);
      if (text === '') {
        if (event.data) this.dispatch(event);
        event = { name: '', data: null, id: null };
        return;
      }
      if (text.startsWith(':')) return;
      const colon = text.indexOf(':');
      const field = colon < 0 ? text : text.slice(0, colon);
      let value = colon < 0 ? '' : text.slice(colon + 1);
      if (value.startsWith(' ')) value = value.slice(1);
      if (field === 'data') data().push(value);
      else if (field === 'event') event.name = value;
      else if (field === 'id') event.id = value;
    };
    // A piece of a data line: a "\r" at its end waits, since it belongs to
    // the line only when the line goes on after it.
    const stream = (piece, lineEnds) => {
      if (heldReturn && (piece || !lineEnds)) event.data.push('\r');
      heldReturn = !lineEnds && piece.endsWith('\r');
      if (lineEnds && piece.endsWith('\r')) piece = piece.slice(0, -1);
      if (heldReturn) piece = piece.slice(0, -1);
      if (piece) event.data.push(piece);
      if (lineEnds) {
        streaming = false;
        heldReturn = false;
      }
    };
    for (;;) {
      const { value, done } = await reader.read();
      if (done || this.closed) return;
      // A reader that fell behind gets megabytes at once; read in slices,
      // each followed by afterChunk, they hold its thread a short while.
      for (let at = 0; at < value.length && !this.closed; at += SLICE) {
        const text = decoder.decode(value.subarray(at, at + SLICE), { stream: true });
        for (let start = 0; start < text.length;) {
          const end = text.indexOf('\n', start);
          const piece = text.slice(start, end < 0 ? text.length : end);
          if (streaming) {
            stream(piece, end >= 0);
          } else if (end >= 0) {
            opening.push(piece);
            line(opening.length === 1 ? opening[0] : opening.join(''));
            opening = [];
          } else {
            // A long line: a data line is handed on as it comes, once its
            // "data:" and the space that may follow are there.
            opening.push(piece);
            const head = opening.join('');
            opening = [head];
            if (head.startsWith('data:') && head.length > 5) {
              opening = [];
              data();
              streaming = true;
              stream(head.slice(head[5] === ' ' ? 6 : 5), false);
            }
          }
          if (end < 0) break;
          start = end + 1;
        }
        // It may wait: for the other tasks of the reader's thread to run.
        await this.handlers.afterChunk?.();
      }
    }
  }

  dispatch({ name, data, id }) {
    if (id !== null) this.lastId = id;
    const text = data.end();
    if (text === null) return;
    if (name === '' || name === 'message') this.handlers.onMessage(text, id);
    else this.handlers.onNamed(name, text);
  }
}

// An event's data as one text, its lines joined by newlines.
class JoinedData {
  constructor() {
    this.pieces = [];
  }

  push(piece) {
    this.pieces.push(piece);
  }

  newline() {
    this.pieces.push('\n');
  }

  end() {
    return this.pieces.length === 1 ? this.pieces[0] : this.pieces.join('');
  }
}
