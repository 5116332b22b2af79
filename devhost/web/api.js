// The gateway's HTTP API (devhost/gateway/GATEWAY.md) as a client session.

// A failure of the gateway, with its status and error kind (GATEWAY.md,
// "Errors"); status 0 when the program could not be reached at all.
export class GatewayError extends Error {
  constructor(path, status, kind, message) {
    super(`${kind}: ${message}`);
    this.path = path;
    this.status = status;
    this.kind = kind;
  }
}

// The gateway takes API requests only with the token that it printed in the
// page's address; the page reads it from there once.
const token = new URLSearchParams(globalThis.location?.search ?? '').get('token') ?? '';

// The header that carries the token, for every request that can set headers.
export function authorization() {
  return { Authorization: `Bearer ${token}` };
}

// A path with the token in its query, for what cannot set headers
// (EventSource, <img>, downloads).
export function apiUrl(path) {
  return `${path}${path.includes('?') ? '&' : '?'}token=${encodeURIComponent(token)}`;
}

// Any request to the gateway; a POST always sends JSON ({} when no body is
// given), since the gateway takes no other kind.
export async function request(method, path, body) {
  const post = method === 'POST';
  let response;
  try {
    response = await fetch(path, {
      method,
      headers: post || body !== undefined ? { ...authorization(), 'Content-Type': 'application/json' } : authorization(),
      body: body === undefined ? (post ? '{}' : undefined) : JSON.stringify(body),
    });
  } catch (error) {
    throw new GatewayError(path, 0, 'unreachable', `the program does not answer (${error.message})`);
  }
  const text = await response.text();
  let value = null;
  try {
    value = text ? JSON.parse(text) : null;
  } catch {
    if (response.ok) throw new GatewayError(path, response.status, 'bad-reply', text.slice(0, 200));
  }
  if (!response.ok) throw new GatewayError(path, response.status, value?.error ?? `http-${response.status}`, value?.message ?? text);
  return value;
}

// The reader of the first session's stream starts with the page, so that
// its scripts load while the session is opened.
let firstWorker = typeof Worker === 'undefined' ? null : streamWorker();

function streamWorker() {
  return new Worker(new URL('./treeWorker.js', import.meta.url), { type: 'module' });
}

export class Session {
  static async open() {
    // The states of the rows in sight are asked for and read apart, so that
    // they never wait behind a large tree's documents.
    const { session } = await request('POST', '/api/sessions', { answerStream: true });
    return new Session(session);
  }

  constructor(id) {
    this.id = id;
    // What the stream brought before listen().
    this.waiting = [];
    // The stream is read in a worker of its own, which reads the tree
    // documents as they arrive; it resumes by itself after the last event
    // it got, so a broken connection loses nothing.
    this.worker = firstWorker ?? streamWorker();
    firstWorker = null;
    this.worker.onmessage = ({ data: parts }) => {
      if (this.handlers) this.deliver(parts);
      else this.waiting.push(...parts);
    };
    this.worker.postMessage({ open: { url: `/api/events?session=${encodeURIComponent(id)}`, headers: authorization(), answers: true } });
    addEventListener('pagehide', () => this.close());
  }

  // handlers: onEvent(event) for each callback; onTree(part) for what the
  // tree worker read of the tree documents (treeReader.js); onEnd(reason)
  // when the session ended. What came before goes to them at once.
  listen(handlers) {
    this.handlers = handlers;
    this.deliver(this.waiting);
    this.waiting = null;
  }

  deliver(parts) {
    const { onEvent, onTree, onEnd } = this.handlers;
    for (const part of parts) {
      if (part.kind === 'event') {
        onEvent(part.event);
      } else if (part.kind === 'named') {
        if (part.name !== 'end') continue;
        this.worker.terminate();
        onEnd(JSON.parse(part.data).reason);
      } else if (part.kind === 'refused') {
        onEnd(`${part.status}: ${part.text}`);
      } else {
        onTree(part);
      }
    }
  }

  // A state query is about to go: its answer is read before the rest of
  // the stream.
  expectAnswer() {
    this.worker.postMessage({ hold: true });
  }

  // Calls a method of the module; "session" stands for this session's own
  // callback object of the interface a reference parameter names.
  call(method, ...args) {
    return request('POST', '/api/call', { method, args, session: this.id });
  }

  close() {
    this.worker.terminate();
    fetch(`/api/sessions/${encodeURIComponent(this.id)}`, { method: 'DELETE', headers: authorization(), keepalive: true })
      .catch(() => {});
  }
}

export const host = {
  state: (sections, maxShapes) => request('GET', `/host/state?sections=${sections.join(',')}${maxShapes ? `&maxShapes=${maxShapes}` : ''}`),
  control: (action, members = {}) => request('POST', '/host/control', { action, ...members }),
  settle: () => request('POST', '/host/settle', {}),
  traces: (since, limit) => request('GET', `/host/traces?since=${since}&limit=${limit}`),
};
