// The host panel: the host's progress displays, the active view's workflow
// messages and the trace, drawn from the live host state. The trace is read
// when the host has done something (an event, or a call of the page's), not
// on a timer.

import { request } from './api.js';
import { escapeHtml } from './treeView.js';

// An ended display stays this long, shown as done, before it goes.
const ENDED_SHOWN_MS = 1500;
// Trace lines are shown up to this length; the rest on asking.
const TRACE_TEXT = 400;
const TRACE_LINES = 400;

export class HostPanel {
  constructor(hostState, { progress, workflow, traces }) {
    this.host = hostState;
    this.progressElement = progress;
    this.workflowElement = workflow;
    this.tracesElement = traces;
    this.ended = new Map();  // display id -> time it was seen ended
    this.traceSeq = null;
    this.tracing = null;
    this.traceAgain = false;
  }

  drawProgress() {
    const now = performance.now();
    const shown = [];
    for (const display of this.host.progress) {
      if (!display.running) {
        // Displays that ended before the page saw them run are not news.
        if (!this.ended.has(display.id)) this.ended.set(display.id, this.seenRunning?.has(display.id) ? now : 0);
        if (now - this.ended.get(display.id) > ENDED_SHOWN_MS) continue;
      } else {
        (this.seenRunning ??= new Set()).add(display.id);
      }
      shown.push(display);
    }
    this.progressElement.innerHTML = shown.map((display) => {
      const title = escapeHtml(display.text || `Progress ${display.id}`);
      const bar = display.type === 'bar';
      const value = display.running ? display.percentage : 100;
      const numbers = bar ? `aria-valuemin="0" aria-valuemax="100" aria-valuenow="${value}"` : 'aria-valuetext="busy"';
      return `<div class="progress ${display.running ? '' : 'done'}">
        <div class="progress-title">${title} <span class="muted">${display.running ? (bar ? `${value}%` : 'busy') : 'done'}</span></div>
        <div class="bar${bar ? '' : ' spinner'}" role="progressbar" aria-label="${title}" ${numbers}><div style="width:${bar ? value : 100}%"></div></div>
      </div>`;
    }).join('');
    // Ended displays leave once their time is up.
    clearTimeout(this.progressTimer);
    if (shown.some((display) => !display.running)) this.progressTimer = setTimeout(() => this.drawProgress(), ENDED_SHOWN_MS + 50);
  }

  drawWorkflow() {
    const view = this.host.activeViewEntry();
    const messages = view ? view.workflowMessages.slice(-30) : [];
    this.workflowElement.innerHTML = messages.map((message) =>
      `<li>${escapeHtml(message.workflow)} · ${escapeHtml(message.message)} · ${message.value}${message.data ? ` · ${escapeHtml(JSON.stringify(message.data))}` : ''}</li>`).join('');
    if (!messages.length) this.workflowElement.innerHTML = `<li class="muted empty">${view ? `none in ${escapeHtml(view.name)}` : 'no active view'}</li>`;
  }

  // Reads the trace entries after the last shown; far behind (a large tree
  // traces each instance), the latest lines only.
  readTraces() {
    if (this.tracing) {
      this.traceAgain = true;
      return this.tracing;
    }
    this.tracing = (async () => {
      try {
        do {
          this.traceAgain = false;
          if (this.traceSeq === null) {
            const { last } = await request('GET', `/host/traces?since=${Number.MAX_SAFE_INTEGER}&limit=1`);
            this.traceSeq = Math.max(0, last - TRACE_LINES);
          }
          const { entries, last } = await request('GET', `/host/traces?since=${this.traceSeq}&limit=${TRACE_LINES}`);
          if (last - this.traceSeq > 4 * TRACE_LINES) this.traceSeq = Math.max(0, last - TRACE_LINES);
          this.appendTraces(entries);
          if (entries.length === TRACE_LINES) this.traceAgain = true;
        } while (this.traceAgain);
      } catch {
        // The connection banner tells of an unreachable program.
      } finally {
        this.tracing = null;
      }
    })();
    return this.tracing;
  }

  appendTraces(entries) {
    const log = this.tracesElement;
    for (const entry of entries) {
      const line = document.createElement('div');
      if (entry.type === 3) line.className = 't3';
      const seq = Object.assign(document.createElement('span'), { className: 'seq', textContent: entry.seq });
      const text = `${entry.names.join(':')} ${entry.text}`;
      const body = document.createElement('span');
      body.textContent = text.length > TRACE_TEXT ? `${text.slice(0, TRACE_TEXT)}…` : text;
      line.append(seq, body);
      if (entry.cut || text.length > TRACE_TEXT) {
        const more = document.createElement('button');
        more.type = 'button';
        more.className = 'more';
        more.textContent = entry.cut ? `Show the whole entry (${entry.length} bytes)` : `Show all ${text.length} characters`;
        more.addEventListener('click', async () => {
          let whole = entry;
          if (entry.cut) {
            try {
              whole = await request('GET', `/host/traces/${entry.seq}`);
            } catch (error) {
              more.textContent = `Could not read it: ${error.message}`;
              return;
            }
          }
          body.textContent = `${entry.names.join(':')} ${whole.text}`;
          more.remove();
        });
        line.append(' ', more);
      }
      log.append(line);
      this.traceSeq = entry.seq;
    }
    while (log.childElementCount > TRACE_LINES) log.firstElementChild.remove();
    if (entries.length) log.scrollTop = log.scrollHeight;
  }
}
