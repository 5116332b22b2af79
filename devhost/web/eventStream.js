// A reader of Server-Sent Events over fetch. A browser's EventSource takes
// many seconds to hand over an event of tens of megabytes (a large tree's
// "treeMapping"); this reader hands a long data line on as its chunks come,
// to be joined once or read as it arrives. Like EventSource it resumes after a broken connection from the last
// id it got, so nothing is lost.

const RETRY_MS = 1000;
// The most of the stream read before afterChunk.
const SLICE = 262144;

const LF = 10;
const CR = 13;
const SPACE = 32;
const COLON = 58;
const RETURN = Uint8Array.of(CR);
const DATA_FIELD = new TextEncoder().encode('data:');

// The parts' bytes as one array, at most limit of them; one part within the
// limit is not copied. The tree reader uses it too.
export function joined(parts, limit = Infinity) {
  if (parts.length === 1 && parts[0].length <= limit) return parts[0];
  const total = Math.min(limit, parts.reduce((sum, part) => sum + part.length, 0));
  const bytes = new Uint8Array(total);
  let at = 0;
  for (const part of parts) {
    if (at === total) break;
    const piece = part.subarray(0, total - at);
    bytes.set(piece, at);
    at += piece.length;
  }
  return bytes;
}

const startsWith = (bytes, head) => bytes.length >= head.length && head.every((byte, i) => bytes[i] === byte);

export class EventStream {
  // onMessage(data, id) for each unnamed event; onNamed(name, data) for the
  // others; onRefused(status, text) when the server refuses the stream with
  // a 4xx, which ends it. headers go with every request (the gateway's token).
  // dataReader() makes the reader of one event's data (push(text) as the
  // pieces come, or pushBytes(bytes) with their UTF-8 bytes if it has that,
  // newline() between two data lines, end() for the text, or null for an
  // event that the reader took itself); afterChunk() runs after each piece
  // of the stream was read (at most SLICE bytes), and the next piece waits
  // for the promise it may give.
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
    // Lines are found in the bytes; a data line goes to a reader of bytes as
    // it came, to any other reader as text.
    const lineDecoder = new TextDecoder();
    let pieceDecoder = null;  // a long data line's pieces, for a reader of text
    let event = { name: '', data: null, id: null };
    let opening = [];  // the start of a line whose field is not known yet
    let streaming = false;  // inside a data line, handed on piece by piece
    let heldReturn = false;  // a "\r" that may end the data line
    const data = () => {
      if (event.data) event.data.newline();
      else event.data = this.handlers.dataReader();
      return event.data;
    };
    const give = (bytes) => {
      if (event.data.pushBytes) {
        event.data.pushBytes(bytes);
      } else {
        const text = pieceDecoder.decode(bytes, { stream: true });
        if (text) event.data.push(text);
      }
    };
    const line = (bytes) => {
      if (bytes[bytes.length - 1] === CR) bytes = bytes.subarray(0, bytes.length - 1);
      if (bytes.length === 0) {
        if (event.data) this.dispatch(event);
        event = { name: '', data: null, id: null };
        return;
      }
      if (bytes[0] === COLON) return;
      if (startsWith(bytes, DATA_FIELD)) {
        const value = bytes.subarray(bytes[DATA_FIELD.length] === SPACE ? DATA_FIELD.length + 1 : DATA_FIELD.length);
        const reader = data();
        if (reader.pushBytes) reader.pushBytes(value);
        else reader.push(lineDecoder.decode(value));
        return;
      }
      const text = lineDecoder.decode(bytes);
      const colon = text.indexOf(':');
      const field = colon < 0 ? text : text.slice(0, colon);
      let value = colon < 0 ? '' : text.slice(colon + 1);
      if (value.startsWith(' ')) value = value.slice(1);
      if (field === 'event') event.name = value;
      else if (field === 'id') event.id = value;
    };
    // A piece of a data line: a "\r" at its end waits, since it belongs to
    // the line only when the line goes on after it.
    const stream = (piece, lineEnds) => {
      if (heldReturn && (piece.length || !lineEnds)) give(RETURN);
      const endsInReturn = piece[piece.length - 1] === CR;
      heldReturn = !lineEnds && endsInReturn;
      if (endsInReturn && (lineEnds || heldReturn)) piece = piece.subarray(0, piece.length - 1);
      if (piece.length) give(piece);
      if (lineEnds) {
        if (!event.data.pushBytes) {
          const rest = pieceDecoder.decode();
          if (rest) event.data.push(rest);
        }
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
        const slice = value.subarray(at, at + SLICE);
        for (let start = 0; start < slice.length;) {
          const end = slice.indexOf(LF, start);
          const piece = slice.subarray(start, end < 0 ? slice.length : end);
          if (streaming) {
            stream(piece, end >= 0);
          } else if (end >= 0) {
            opening.push(piece);
            line(joined(opening));
            opening = [];
          } else {
            // A long line: a data line is handed on as it comes, once its
            // "data:" and the space that may follow are there.
            opening.push(piece);
            const head = joined(opening);
            opening = [head];
            if (startsWith(head, DATA_FIELD) && head.length > DATA_FIELD.length) {
              opening = [];
              data();
              streaming = true;
              pieceDecoder = new TextDecoder();
              stream(head.subarray(head[DATA_FIELD.length] === SPACE ? DATA_FIELD.length + 1 : DATA_FIELD.length), false);
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
