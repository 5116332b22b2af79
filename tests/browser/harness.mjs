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
// it serves; on any free port unless the options name one.
export function startHost(program, options = []) {
  return new Promise((resolve, reject) => {
    const port = options.includes('--port') ? [] : ['--port', '0'];
    const child = spawn(program, [...options, ...port], { stdio: ['ignore', 'pipe', 'inherit'] });
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
  };
}
