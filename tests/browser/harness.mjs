// Starts the development host with the gateway on a free port and Debian's
// Chromium through Playwright, for the page's tests and screenshots.

import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { chromium } from 'playwright-core';

export const CHROMIUM_FLAGS = ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
  '--disable-background-networking', '--disable-component-update', '--disable-sync'];

// Runs webapi-devhost with the given options and resolves with its URL once
// it serves.
export function startHost(program, options = []) {
  return new Promise((resolve, reject) => {
    const child = spawn(program, [...options, '--port', '0'], { stdio: ['ignore', 'pipe', 'inherit'] });
    let output = '';
    child.stdout.on('data', (chunk) => {
      output += chunk;
      const found = output.match(/open (http:\/\/127\.0\.0\.1:\d+\/)/);
      if (found) resolve({ url: found[1], stop: () => stopHost(child) });
    });
    child.on('exit', (code) => reject(new Error(`webapi-devhost ended (${code}) before serving:\n${output}`)));
  });
}

function stopHost(child) {
  return new Promise((resolve) => {
    child.removeAllListeners('exit');
    child.on('exit', (code, signal) => resolve({ code, signal }));
    child.kill('SIGTERM');
  });
}

// A browser with a new, empty profile; close() also removes the profile.
export async function openBrowser(viewport = { width: 1400, height: 860 }) {
  const profile = mkdtempSync(join(tmpdir(), 'webapi-chromium-'));
  const context = await chromium.launchPersistentContext(profile, {
    executablePath: '/usr/bin/chromium', headless: true, args: CHROMIUM_FLAGS, viewport,
  });
  const page = context.pages()[0] ?? await context.newPage();
  return {
    page,
    close: async () => {
      await context.close();
      rmSync(profile, { recursive: true, force: true });
    },
  };
}

// The gateway's API from node, for what a test checks behind the page.
export function gateway(url) {
  const post = async (path, body) => (await fetch(new URL(path, url), {
    method: 'POST', headers: { 'Content-Type': 'application/json' }, body: JSON.stringify(body ?? {}),
  })).json();
  return {
    post,
    get: async (path) => (await fetch(new URL(path, url))).json(),
    // Whether a call of a fresh session makes the module call it back: the
    // host is settled first, so the stream's first chunk holds every event
    // there is, or only the keep-alive comment. undo, a call, runs before
    // the session ends (the module serves one tree observer at a time).
    async callsBack(method, args, undo) {
      const { session } = await post('/api/sessions');
      await post('/api/call', { method, args, session });
      await post('/host/settle');
      const abort = new AbortController();
      const response = await fetch(new URL(`/api/events?session=${session}`, url), { signal: abort.signal });
      const reader = response.body.getReader();
      const { value } = await reader.read();
      abort.abort();
      if (undo) {
        await post('/api/call', { ...undo, session });
        await post('/host/settle');
      }
      await fetch(new URL(`/api/sessions/${session}`, url), { method: 'DELETE' });
      return new TextDecoder().decode(value).includes('data: ');
    },
  };
}
