// The end-to-end harness: apps made by the real `sorvane create` for the chromium engine, started
// through their own launch programs, driven over the DevTools protocol, with test pages served on
// loopback under several host names and a recording `xdg-open` first on PATH.
import { execFile, spawn, spawnSync } from 'node:child_process';
import fs from 'node:fs';
import http from 'node:http';
import os from 'node:os';
import path from 'node:path';
import { setTimeout as sleep } from 'node:timers/promises';
import { after, before } from 'node:test';
import { fileURLToPath } from 'node:url';

import { chromium } from 'playwright-core';

const here = path.dirname(fileURLToPath(import.meta.url));
export const engineWrapper = path.join(here, 'engine-wrapper.sh');

function required(name) {
  const value = process.env[name];
  if (!value) {
    throw new Error(`${name} is not set (ctest sets it; see tests/e2e/CMakeLists.txt)`);
  }
  return value;
}

// Polls until check() returns something other than undefined/false, or fails after timeoutMs.
export async function waitFor(what, check, timeoutMs = 20000) {
  const deadline = Date.now() + timeoutMs;
  // `what` may be a function, to say at the time out what the check saw.
  const timedOut = () => new Error(`timed out waiting for ${typeof what === 'function' ? what() : what}`);
  for (;;) {
    // A check that talks to the engine can hang (a worker that went away); it gets no more time.
    let timer;
    const result = await Promise.race([
      check(),
      new Promise((resolve, reject) => { timer = setTimeout(() => reject(timedOut()), Math.max(deadline - Date.now(), 0)); }),
    ]).finally(() => clearTimeout(timer));
    if (result !== undefined && result !== false) {
      return result;
    }
    if (Date.now() > deadline) {
      throw timedOut();
    }
    await sleep(100);
  }
}

// Processes whose command line mentions the folder: an app's engine, its helper and children.
function processesUnder(folder) {
  return fs.readdirSync('/proc').filter((name) => /^\d+$/.test(name)).filter((pid) => {
    try {
      return fs.readFileSync(`/proc/${pid}/cmdline`, 'utf8').includes(folder);
    } catch {
      return false;
    }
  });
}

function devToolsPortFile(appPath) {
  return path.join(appPath, 'Contents', 'Profile', 'DevToolsActivePort');
}

export function processExists(pid) {
  try {
    process.kill(pid, 0);
    return true;
  } catch {
    return false;
  }
}

// Test pages for any *.test host: every page shows its own address and the links the tests click.
// `requested` lists the host and path of every request, so a test can tell that a page never loaded.
export async function startPageServer() {
  const requested = [];
  const listener = http.createServer((request, response) => {
    const host = request.headers.host ?? '';
    requested.push(`${host}${request.url}`);
    const port = listener.address().port;
    const link = (id, href, target = '') =>
      `<a id="${id}" href="http://${href.replace('{port}', port)}"${target ? ` target="${target}"` : ''}>${id}</a>`;
    response.writeHead(200, { 'content-type': 'text/html; charset=utf-8', 'cache-control': 'no-store' });
    response.end(`<!doctype html><html><head><title>${host}${request.url}</title></head><body>
<h1 id="where">${host}${request.url}</h1>
${link('docs', 'docs.example.test:{port}/guide')}
${link('news', 'news.example.test:{port}/today?story=1&lang=en')}
${link('other', 'other.test:{port}/page?q=a%20b', '_blank')}
${link('b', 'b.test:{port}/from-a?x=1')}
</body></html>`);
  });
  await new Promise((resolve) => listener.listen(0, '127.0.0.1', resolve));
  const port = listener.address().port;
  return {
    port,
    requested,
    url: (host, pathAndQuery = '/') => `http://${host}:${port}${pathAndQuery}`,
    close: () => new Promise((resolve) => listener.close(resolve)),
  };
}

// The page server and sandbox of the suite that calls useSuiteFixtures(), made before its first test
// and disposed after its last; as live bindings, importers see them once they exist. `prepare` may
// set the sandbox up further.
export let server;
export let sandbox;
export function useSuiteFixtures(sandboxOptions, prepare = () => {}) {
  before(async () => {
    server = await startPageServer();
    sandbox = new Sandbox(sandboxOptions);
    prepare(sandbox);
  });
  after(async () => {
    await sandbox?.dispose();
    await server?.close();
  });
}

// The way the apps' engine gets the companion: 'flag' (--load-extension, as Debian's chromium
// takes it) or, with SORVANE_E2E_COMPANION=pipe, 'pipe': the apps are made for a Chrome that says
// it is 140 (the same chromium behind it), which ignores --load-extension, so their launch
// programs load the companion over the DevTools pipe.
export const companionWay = process.env.SORVANE_E2E_COMPANION === 'pipe' ? 'pipe' : 'flag';
const pipeEngineVersion = 'Google Chrome 140.0.7339.80';

// The engine's own command line, as the kernel has it.
export function commandLineOf(pid) {
  return fs.readFileSync(`/proc/${pid}/cmdline`, 'utf8').split('\0').filter(Boolean);
}

// One user's world: a home folder with Sorvane's settings, an applications folder, and a bin
// folder with the recording xdg-open. Every app of one sandbox shares them.
export class Sandbox {
  constructor({ settings = {} } = {}) {
    this.root = fs.mkdtempSync(path.join(os.tmpdir(), 'sorvane-e2e-'));
    this.home = path.join(this.root, 'home');
    this.apps = path.join(this.root, 'Applications');
    this.bin = path.join(this.root, 'bin');
    this.records = path.join(this.root, 'records');
    for (const folder of [this.home, this.apps, this.bin, this.records, path.join(this.home, '.config', 'ondrel')]) {
      fs.mkdirSync(folder, { recursive: true });
    }
    const values = { chromiumPath: engineWrapper, chromePath: engineWrapper, ...settings };
    fs.writeFileSync(path.join(this.home, '.config', 'ondrel', 'Sorvane.conf'),
      `[General]\n${Object.entries(values).map(([key, value]) => `${key}=${value}`).join('\n')}\n`);
    const opener = path.join(this.bin, 'xdg-open');
    fs.writeFileSync(opener, '#!/bin/sh\nprintf \'%s\\n\' "$*" >> "$SORVANE_E2E_RECORDS/xdg-open"\n', { mode: 0o755 });
    this.env = {
      ...process.env,
      HOME: this.home,
      XDG_CONFIG_HOME: path.join(this.home, '.config'),
      XDG_DATA_HOME: path.join(this.home, '.local', 'share'),
      PATH: `${this.bin}:${process.env.PATH}`,
      SORVANE_E2E_RECORDS: this.records,
      // Apps are made without --icon: no search for their sites' icons on the network.
      SORVANE_NO_ICON_SEARCH: '1',
      ...(companionWay === 'pipe' ? { SORVANE_E2E_ENGINE_VERSION: pipeEngineVersion } : {}),
    };
    this.running = [];
  }

  sorvane(args) {
    return new Promise((resolve) => {
      execFile(required('SORVANE_CLI'), args, { env: this.env }, (error, stdout, stderr) =>
        resolve({ code: error ? error.code ?? 1 : 0, stdout, stderr }));
    });
  }

  // `sorvane create ... --json` into this sandbox's applications folder; returns the bundle path.
  // With firstStart, the app's first start opens the store page as a new app's does.
  async createApp(args, { firstStart = false } = {}) {
    if (companionWay === 'pipe') {
      args = args.map((arg, i) => (args[i - 1] === '--browser' && arg === 'chromium' ? 'chrome' : arg));
    }
    const result = await this.sorvane(['create', ...args, '--into', this.apps, '--json']);
    if (result.code !== 0) {
      throw new Error(`sorvane create failed (${result.code}): ${result.stderr}`);
    }
    const appPath = JSON.parse(result.stdout).path;
    // The store window of an app's first start would come six seconds in, in the middle of a
    // test (the launcher's own tests cover it): these apps start as if they had run before.
    if (!firstStart) {
      fs.writeFileSync(path.join(appPath, 'Contents', 'Profile', 'First Launch Complete'), '');
    }
    return appPath;
  }

  openedLinks() {
    const file = path.join(this.records, 'xdg-open');
    return fs.existsSync(file) ? fs.readFileSync(file, 'utf8').split('\n').filter(Boolean) : [];
  }

  // Runs the app's launch program, as the desktop would; resolves when it has exited (a second
  // start hands its link over and ends) or with the pid of the engine it became.
  launch(appPath, ...args) {
    const executable = path.join(appPath, 'Contents', 'MacOS', path.basename(appPath, '.app'));
    const child = spawn(executable, args, { env: this.env, stdio: 'ignore', detached: true });
    child.unref();
    return child;
  }

  // Starts the app and connects to its engine over the DevTools protocol.
  async startApp(appPath, ...args) {
    return this.attachApp(appPath, this.#launchForDevTools(appPath, args));
  }

  // Starts the app without a protocol connection: a connection waits for every page to answer,
  // and a page the engine keeps reloading (an offline first page) may never do so. The engine's
  // HTTP endpoint lists its pages all the same.
  async startAppUnattached(appPath, ...args) {
    const port = await this.#devToolsPort(appPath, this.#launchForDevTools(appPath, args));
    const app = new RunningApp(appPath, null, null);
    app.pageUrls = async () => {
      const response = await fetch(`http://127.0.0.1:${port}/json/list`);
      return (await response.json()).filter((target) => target.type === 'page').map((target) => target.url);
    };
    this.running.push(app);
    return app;
  }

  // Launches the app; the returned check throws once the launch program ended early.
  #launchForDevTools(appPath, args) {
    fs.rmSync(devToolsPortFile(appPath), { force: true });
    const child = this.launch(appPath, ...args);
    let exit = null;
    // The launch program leaves a running engine after its first seconds, with status 0.
    child.on('exit', (code, signal) => { exit = code === 0 ? null : `exit status ${code}, signal ${signal}`; });
    return () => {
      if (exit !== null) {
        throw new Error(`${path.basename(appPath)} ended before its engine listened (${exit})`);
      }
    };
  }

  async #devToolsPort(appPath, stillStarting) {
    const portFile = devToolsPortFile(appPath);
    return waitFor(`${path.basename(appPath)} to listen for DevTools`, () => {
      stillStarting();
      const text = fs.existsSync(portFile) ? fs.readFileSync(portFile, 'utf8') : '';
      return text.includes('\n') ? text.split('\n')[0] : undefined;
    }, 60000);
  }

  // Connects to the engine of an app that something else started (another app's link); its pid
  // is the engine's own, as the engine tells it.
  async attachApp(appPath, stillStarting = () => {}) {
    const port = await this.#devToolsPort(appPath, stillStarting);
    const browser = await chromium.connectOverCDP(`http://127.0.0.1:${port}`);
    const session = await browser.newBrowserCDPSession();
    const { processInfo } = await session.send('SystemInfo.getProcessInfo');
    const app = new RunningApp(appPath, processInfo.find((info) => info.type === 'browser').id, browser);
    this.running.push(app);
    // Each way proves itself on every start: the pipe way's engine is never handed the switch.
    const engineLine = commandLineOf(app.pid);
    const usesFlag = engineLine.some((argument) => argument.startsWith('--load-extension='));
    const usesPipe = engineLine.includes('--remote-debugging-pipe');
    const scriptWantsPipe = fs.readFileSync(path.join(appPath, 'Contents', 'Resources', 'script'), 'utf8')
      .includes('"--remote-debugging-pipe"');
    if (companionWay === 'pipe' ? usesFlag || usesPipe !== scriptWantsPipe : usesPipe || scriptWantsPipe) {
      throw new Error(`${path.basename(appPath)} was started the wrong way for '${companionWay}': ${engineLine.join(' ')}`);
    }
    return app;
  }

  async dispose() {
    for (const app of this.running) {
      await app.stop();
    }
    // Whatever the apps started themselves (helpers, a second app's engine) runs from in here.
    spawnSync('pkill', ['-TERM', '-f', this.root]);
    await sleep(200);
    fs.rmSync(this.root, { recursive: true, force: true });
  }
}

export class RunningApp {
  constructor(appPath, pid, browser) {
    this.appPath = appPath;
    this.pid = pid;
    this.browser = browser;
    this.context = browser?.contexts()[0];
  }

  pages() {
    return this.context.pages();
  }

  async waitForPage(predicate, what) {
    return waitFor(what, () => this.pages().find((page) => predicate(page.url())));
  }

  // The companion's service worker has the routing data once it has heard from the native host.
  async waitForRoutingData() {
    const worker = await waitFor('the companion service worker',
      () => this.context.serviceWorkers().find((w) => w.url().endsWith('/background.js')));
    await waitFor('the routing data from the native host',
      () => worker.evaluate(async () => (await chrome.storage.session.get('routingData')).routingData != null));
    return worker;
  }

  // Quits the engine the way the desktop does (SIGTERM lets it write its session and profile).
  async stop() {
    if (this.browser?.isConnected()) {
      await Promise.race([this.browser.close().catch(() => {}), sleep(5000)]);
    }
    if (this.pid !== null && processExists(this.pid)) {
      process.kill(this.pid, 'SIGTERM');
      await waitFor(`${path.basename(this.appPath)} to quit`, () => !processExists(this.pid), 20000)
        .catch(() => process.kill(this.pid, 'SIGKILL'));
    }
    // Until its helper and the engine's children are gone too, a new start would take the app
    // for running and only bring it forward.
    await waitFor(`${path.basename(this.appPath)} to leave no process`, () => {
      const left = processesUnder(`${this.appPath}/Contents/`);
      left.forEach((pid) => { try { process.kill(Number(pid), 'SIGTERM'); } catch { /* gone */ } });
      return left.length === 0;
    }, 20000);
  }
}
