// Calls of the module as the page makes them, each with its outcome told
// where the user acted: the reply, or the failure of the call, or, for a
// call that only starts something on the host, what the host then showed.

import { request } from './api.js';

// Module errors that end the module's service for good (GATEWAY.md, "Errors").
const MODULE_ENDED = new Set(['actor-ended', 'invalid-actor', 'no-module']);

// Host events that show a call's effect, for calls that always change what
// the host shows. A call of these that the host answered without any such
// event did nothing (a host operation failed, as an armed fault makes it).
const EFFECTS = {
  ZoomToAll: ['workflowMessage', 'zoom', 'moduleCall', 'viewCommand'],
  SetInstancesColor: ['shapes'],
  AddAnnotationLabel: ['labels'],
  LoadAnnotationSet: ['appliedSet'],
  SelectTreeNodes: ['shapes', 'shapesAdded', 'tree'],
};

// How long host events may trail the host's settling: they are written by
// a thread of the gateway's own.
const EVENTS_TRAIL_MS = 600;
// How long an annotation set may take to apply before the page stops
// waiting (it still reports the end when it comes).
const APPLY_WAIT_MS = 4000;

export class Commands {
  // session: the module session; host: the HostState; banner: the page's
  // Banner; onTreeDocument(listener) subscribes to tree documents.
  constructor({ session, host, banner, afterCall }) {
    this.session = session;
    this.host = host;
    this.banner = banner;
    this.afterCall = afterCall;
    this.moduleEnded = false;
    this.treeDocuments = 0;
  }

  // Tree documents count as effects of the calls that caused them.
  noteTreeDocument() {
    this.treeDocuments++;
  }

  // Calls method with args and tells notices of the outcome. Gives the
  // reply, or null after a failure. options: label (what the user calls
  // it), effects (event kinds that show it worked, or null for none
  // expected), done(reply, events) for the outcome text, check(seen,
  // reply) for a failure the host showed (a text, or null), sent (the
  // reply of the call when it was made already).
  async call(notices, method, args = [], options = {}) {
    const label = options.label ?? method;
    const effects = options.effects === undefined ? EFFECTS[method] : options.effects;
    notices.busy(`${label}…`);
    const seen = this.watch();
    try {
      const reply = await (options.sent ?? this.session.call(method, ...args));
      await request('POST', '/host/settle', {});
      if (effects) await seen.until((events) => events.some((event) => effects.includes(event.kind)), EVENTS_TRAIL_MS);
      else await seen.pause(50);
      const failure = (await options.check?.(seen, reply)) ?? null;
      seen.stop();
      this.afterCall?.();
      if (failure) {
        notices.failed(failure);
      } else if (effects && !seen.events.some((event) => effects.includes(event.kind))) {
        notices.failed(`${label} changed nothing on the host: a host operation it needs failed or found nothing to act on. The trace may tell more.`);
      } else {
        notices.done(options.done ? options.done(reply, seen.events) : `${label} done`);
      }
      return reply;
    } catch (error) {
      seen.stop();
      this.failed(notices, label, error);
      return null;
    }
  }

  failed(notices, label, error) {
    if (MODULE_ENDED.has(error.kind)) {
      this.moduleEnded = true;
      this.banner.show('module', `The module has ended (${error.message}). Nothing more can be asked of it in this run: restart the program (scripts/devhost.sh) and reload the page.`,
        'Reload the page', () => location.reload());
      notices.failed(`${label} failed: the module has ended.`);
    } else if (error.status === 0) {
      notices.failed(`${label} failed: the program does not answer.`);
    } else {
      notices.failed(`${label} failed: ${error.message}`);
    }
  }

  // Collects the host events (and tree documents, as kind "tree") from now.
  watch() {
    const events = [];
    const documentsBefore = this.treeDocuments;
    const listener = (event) => events.push(event.detail);
    this.host.addEventListener('change', listener);
    const all = () => (this.treeDocuments > documentsBefore ? [...events, { kind: 'tree' }] : events);
    return {
      get events() { return all(); },
      stop: () => this.host.removeEventListener('change', listener),
      pause: (ms) => new Promise((resolve) => setTimeout(resolve, ms)),
      until: (test, ms) => new Promise((resolve) => {
        const started = performance.now();
        const look = () => {
          if (test(all()) || performance.now() - started > ms) resolve();
          else setTimeout(look, 25);
        };
        look();
      }),
    };
  }

  // The end of an annotation set's application, as the host reports it:
  // its status, or null while it is still being applied.
  async appliedStatus(name, seen) {
    const ended = (events) => events.find((event) => event.kind === 'appliedSet' && event.set.name === name && event.set.status !== -1);
    await seen.until(ended, APPLY_WAIT_MS);
    return ended(seen.events)?.set.status ?? null;
  }
}
