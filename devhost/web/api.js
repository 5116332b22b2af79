// The gateway's HTTP API (devhost/gateway/GATEWAY.md) as a client session.

async function request(method, path, body) {
  const response = await fetch(path, {
    method,
    headers: body === undefined ? {} : { 'Content-Type': 'application/json' },
    body: body === undefined ? undefined : JSON.stringify(body),
  });
  const text = await response.text();
  const value = text ? JSON.parse(text) : null;
  if (!response.ok) throw new Error(`${path}: ${value?.error ?? response.status}: ${value?.message ?? text}`);
  return value;
}

export class Session {
  static async open(onEvent, onEnd) {
    const { session } = await request('POST', '/api/sessions', {});
    return new Session(session, onEvent, onEnd);
  }

  constructor(id, onEvent, onEnd) {
    this.id = id;
    // EventSource reconnects by itself and sends the last id it got, so a
    // broken connection loses nothing.
    this.events = new EventSource(`/api/events?session=${id}`);
    this.events.onmessage = (message) => onEvent(JSON.parse(message.data));
    this.events.addEventListener('end', (message) => {
      this.events.close();
      onEnd(JSON.parse(message.data).reason);
    });
    addEventListener('pagehide', () => this.close());
  }

  // Calls a method of the module; "session" stands for this session's own
  // callback object of the interface a reference parameter names.
  call(method, ...args) {
    return request('POST', '/api/call', { method, args, session: this.id });
  }

  close() {
    this.events.close();
    fetch(`/api/sessions/${this.id}`, { method: 'DELETE', keepalive: true }).catch(() => {});
  }
}

export const host = {
  state: (sections, maxShapes) => request('GET', `/host/state?sections=${sections.join(',')}${maxShapes ? `&maxShapes=${maxShapes}` : ''}`),
  control: (action, members = {}) => request('POST', '/host/control', { action, ...members }),
  settle: () => request('POST', '/host/settle', {}),
  traces: (since) => request('GET', `/host/traces?since=${since}&limit=2000`),
};
