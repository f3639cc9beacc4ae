// The pipe way itself, for an engine that ignores --load-extension (run with
// SORVANE_E2E_COMPANION=pipe): pages cannot tell the app from a person's browser, the engine
// opens no port, and the pipe's holder lives and dies with the engine without ever taking the app
// down or its routing away.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';

import { commandLineOf, companionWay, processExists, sandbox, server, useSuiteFixtures, waitFor } from './harness.js';

assert.equal(companionWay, 'pipe', 'run with SORVANE_E2E_COMPANION=pipe (see tests/e2e/CMakeLists.txt)');
useSuiteFixtures();

function pids() {
  return fs.readdirSync('/proc').filter((name) => /^\d+$/.test(name)).map(Number);
}

function parentOf(pid) {
  const stat = fs.readFileSync(`/proc/${pid}/stat`, 'utf8');
  return Number(stat.slice(stat.lastIndexOf(')') + 2).split(' ')[1]);
}

// The holder runs as the app's launch program, like the launch program itself while it watches
// the start; the holder is nobody's child of ours (it was forked twice).
function pipeHolder(appPath) {
  const launchProgram = path.join(appPath, 'Contents', 'MacOS', path.basename(appPath, '.app'));
  return pids().find((pid) => {
    try {
      return commandLineOf(pid)[0] === launchProgram && parentOf(pid) !== process.pid;
    } catch {
      return false;
    }
  });
}

// The engine's main process: the app's engine program, without the --type= of its helpers.
function enginePid(appPath) {
  const program = path.join(appPath, 'Contents', 'MacOS', `${path.basename(appPath, '.app')} Engine`);
  return pids().find((pid) => {
    try {
      const line = commandLineOf(pid);
      return path.resolve(line[0]) === program && !line.some((arg) => arg.startsWith('--type='));
    } catch {
      return false;
    }
  });
}

// Listening TCP sockets (IPv4 and IPv6) held by any of `owners`.
function listeningSocketsOf(owners) {
  const listening = new Set();
  for (const table of ['/proc/net/tcp', '/proc/net/tcp6']) {
    for (const line of fs.readFileSync(table, 'utf8').split('\n').slice(1)) {
      const fields = line.trim().split(/\s+/);
      if (fields[3] === '0A') { // LISTEN
        listening.add(fields[9]);
      }
    }
  }
  const held = [];
  for (const pid of owners) {
    let fds = [];
    try {
      fds = fs.readdirSync(`/proc/${pid}/fd`);
    } catch {
      continue;
    }
    for (const fd of fds) {
      try {
        const inode = /^socket:\[(\d+)\]$/.exec(fs.readlinkSync(`/proc/${pid}/fd/${fd}`))?.[1];
        if (inode && listening.has(inode)) {
          held.push(`${pid}:${fd}`);
        }
      } catch { /* closed meanwhile */ }
    }
  }
  return held;
}

// The host program of the app, wrapped to note each start, so a test can see that the companion
// is up without any protocol connection.
function noteHostStarts(appPath) {
  const host = path.join(appPath, 'Contents', 'Resources', 'sorvanemessaginghost');
  fs.renameSync(host, `${host}.real`);
  fs.writeFileSync(host, `#!/bin/sh\necho started >> "$0.starts"\nexec "$0.real" "$@"\n`, { mode: 0o755 });
  return `${host}.starts`;
}

const routingArgs = (name, appUrl) => ['--name', name, '--url', appUrl, '--browser', 'chromium',
  '--route', 'news.example.test=default', '--allow', '*.example.test'];

test('pages see no automation, and a routed link still leaves after the pipe holder is killed', { timeout: 120000 }, async () => {
  const appUrl = server.url('app.example.test', '/pipe');
  const appPath = await sandbox.createApp(routingArgs('Piped', appUrl));
  const app = await sandbox.startApp(appPath);
  const page = await app.waitForPage((url) => url === appUrl, 'the app page');
  await page.waitForSelector('#news');
  assert.equal(await page.evaluate(() => navigator.webdriver), false);
  await app.waitForRoutingData();

  const holder = pipeHolder(appPath);
  assert.ok(holder, 'a pipe holder runs beside the engine');
  process.kill(holder, 'SIGKILL');
  await sleep(1000);
  assert.ok(processExists(app.pid), 'the engine outlives its pipe holder');
  const opened = sandbox.openedLinks().length;
  await page.click('#news', { noWaitAfter: true });
  await waitFor('xdg-open to get the routed link', () => sandbox.openedLinks().length === opened + 1);
  assert.equal(page.url(), appUrl);

  // The next start after the engine quit has a holder and routing again.
  await app.stop();
  const again = await sandbox.startApp(appPath);
  const pageAgain = await again.waitForPage((url) => url === appUrl, 'the app page again');
  await pageAgain.waitForSelector('#news');
  await again.waitForRoutingData();
  await pageAgain.click('#news', { noWaitAfter: true });
  await waitFor('xdg-open to get the routed link again', () => sandbox.openedLinks().length === opened + 2);

  // The engine quitting ends the holder by itself.
  const holderAgain = pipeHolder(appPath);
  assert.ok(holderAgain);
  process.kill(again.pid, 'SIGTERM');
  await waitFor('the pipe holder to end with the engine', () => !processExists(holderAgain), 15000);
  await again.stop();
});

test('the engine opens no port: the pipe is the only way in', { timeout: 120000 }, async () => {
  const appUrl = server.url('app.example.test', '/no-port');
  const appPath = await sandbox.createApp(routingArgs('Portless', appUrl));
  const hostStarts = noteHostStarts(appPath);
  sandbox.env.SORVANE_E2E_NO_DEVTOOLS_PORT = '1';
  sandbox.launch(appPath);
  delete sandbox.env.SORVANE_E2E_NO_DEVTOOLS_PORT;
  await waitFor('the companion to ask its host for the routing data', () => fs.existsSync(hostStarts), 30000);
  const engine = enginePid(appPath);
  const line = commandLineOf(engine);
  assert.ok(line.includes('--remote-debugging-pipe') && !line.some((arg) => arg.startsWith('--load-extension')), line.join(' '));
  const engineFamily = pids().filter((pid) => {
    try {
      return commandLineOf(pid).some((arg) => arg.includes(`${appPath}/Contents/`));
    } catch {
      return false;
    }
  });
  assert.deepEqual(listeningSocketsOf(engineFamily), []);
  process.kill(engine, 'SIGTERM');
  await waitFor('the portless engine to quit', () => !processExists(engine), 20000);
});
