// A reader of Server-Sent Events over fetch. A browser's EventSource takes
// many seconds to hand over an event of tens of megabytes (a large tree's
// "treeMapping"); this reader keeps a long line as its chunks and joins them
// once. Like EventSource it resumes after a broken connection from the last
// id it got, so nothing is lost.

const RETRY_MS = 1000;

export class EventStream {
  // onMessage(data, id) for each unnamed event; onNamed(name, data) for the
  // others; onRefused(status, text) when the server refuses the stream,
  // which ends it. headers go with every request (the gateway's token).
  constructor(url, { onMessage, onNamed, onRefused, headers = {} }) {
    this.url = url;
    this.headers = headers;
    this.handlers = { onMessage, onNamed, onRefused };
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
    let pieces = [];  // the line being read, as its chunks
    let event = { name: '', data: [], id: null };
    const line = (text) => {
      if (text.endsWith('\r')) text = text.slice(0, -1);
      if (text === '') {
        if (event.data.length) this.dispatch(event);
        event = { name: '', data: [], id: null };
        return;
      }
      if (text.startsWith(':')) return;
      const colon = text.indexOf(':');
      const field = colon < 0 ? text : text.slice(0, colon);
      let value = colon < 0 ? '' : text.slice(colon + 1);
      if (value.startsWith(' ')) value = value.slice(1);
      if (field === 'data') event.data.push(value);
      else if (field === 'event') event.name = value;
      else if (field === 'id') event.id = value;
    };
    for (;;) {
      const { value, done } = await reader.read();
      if (done || this.closed) return;
      const text = decoder.decode(value, { stream: true });
      let start = 0;
      for (let end = text.indexOf('\n'); end >= 0; end = text.indexOf('\n', start)) {
        pieces.push(text.slice(start, end));
        line(pieces.length === 1 ? pieces[0] : pieces.join(''));
        pieces = [];
        start = end + 1;
      }
      if (start < text.length) pieces.push(text.slice(start));
    }
  }

  dispatch({ name, data, id }) {
    if (id !== null) this.lastId = id;
    const text = data.length === 1 ? data[0] : data.join('\n');
    if (name === '' || name === 'message') this.handlers.onMessage(text, id);
    else this.handlers.onNamed(name, text);
  }
}
