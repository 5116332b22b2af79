// Starts the development host with the gateway on a free port and Debian's
// Chromium through Playwright, for the page's tests and screenshots.

import { spawn } from 'node:child_process';
import { randomBytes } from 'node:crypto';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { chromium } from 'playwright-core';

export const CHROMIUM_FLAGS = ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
  '--disable-background-networking', '--disable-component-update', '--disable-sync'];

// Runs webapi-devhost with the given options and a token of its own (or the
// one the options give), on any free port unless the options name one, and
// resolves once it serves with { url, token, stop }: url is the page's
// address as the program printed it, token included.
export function startHost(program, options = []) {
  const token = options.includes('--token') ? options[options.indexOf('--token') + 1] : randomBytes(16).toString('hex');
  return new Promise((resolve, reject) => {
    const port = options.includes('--port') ? [] : ['--port', '0'];
    const own = options.includes('--token') ? [] : ['--token', token];
    const child = spawn(program, [...options, ...port, ...own], { stdio: ['ignore', 'pipe', 'inherit'] });
    let output = '';
    child.stdout.on('data', (chunk) => {
      output += chunk;
      const found = output.match(/^(http:\/\/127\.0\.0\.1:\d+\/\?token=[^\s]+)$/m);
      if (found) resolve({ url: found[1], token, pid: child.pid, stop: () => stopHost(child) });
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

// WebGL without a GPU: Chromium's software renderer through ANGLE.
export const WEBGL_FLAGS = ['--use-gl=angle', '--use-angle=swiftshader', '--enable-unsafe-swiftshader'];

// A browser with a new, empty profile; close() also removes the profile.
// extraFlags go to Chromium as well (WEBGL_FLAGS for the 3D view).
export async function openBrowser(viewport = { width: 1400, height: 860 }, extraFlags = []) {
  const profile = mkdtempSync(join(tmpdir(), 'webapi-chromium-'));
  const context = await chromium.launchPersistentContext(profile, {
    executablePath: '/usr/bin/chromium', headless: true, args: [...CHROMIUM_FLAGS, ...extraFlags], viewport,
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

// The gateway's API from node, for what a test checks behind the page; url
// is the page's address, whose token goes with every request.
export function gateway(url) {
  const token = new URL(url).searchParams.get('token') ?? '';
  const authorization = { Authorization: `Bearer ${token}` };
  const post = async (path, body) => (await fetch(new URL(path, url), {
    method: 'POST', headers: { ...authorization, 'Content-Type': 'application/json' }, body: JSON.stringify(body ?? {}),
  })).json();
  return {
    post,
    get: async (path) => (await fetch(new URL(path, url), { headers: authorization })).json(),
  };
}
