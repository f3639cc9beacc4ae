// How soon the companion is up after an app starts, the flag way (--load-extension, on chromium)
// against the pipe way (the launch program loading it over the DevTools pipe, on a "Chrome 140"
// that is the same chromium): from running the app's launch program to the companion's first
// message reaching the app's native host (its worker asking for the routing data). The host's own
// answer comes in the same few milliseconds either way (bench/HostBench.cpp).
// Rounds alternate between the two apps, each started again on its own warm profile.
// Run: SORVANE_CLI=build/default/apps/cli/sorvane node bench/e2e/companion_start_bench.js [rounds]
// Prints the median, minimum and maximum of each way, and the median of the differences, in ms.
import { spawnSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { setTimeout as sleep } from 'node:timers/promises';

import { Sandbox, startPageServer, waitFor } from '../../tests/e2e/harness.js';

const rounds = Number(process.argv[2] ?? 11);

function median(samples) {
  const sorted = [...samples].sort((a, b) => a - b);
  return sorted[Math.floor(sorted.length / 2)];
}

function summary(name, samples) {
  const sorted = [...samples].sort((a, b) => a - b);
  console.log(`${name.padEnd(12)} median ${median(samples).toFixed(1)} ms  (min ${sorted[0].toFixed(1)}, ` +
    `max ${sorted.at(-1).toFixed(1)}, ${samples.length} rounds)`);
}

// The host program, wrapped to note the time of each start in nanoseconds since the epoch.
function noteHostStarts(appPath) {
  const host = path.join(appPath, 'Contents', 'Resources', 'sorvanemessaginghost');
  fs.renameSync(host, `${host}.real`);
  fs.writeFileSync(host, '#!/bin/bash\necho "${EPOCHREALTIME/./}" >> "$0.starts"\nexec "$0.real" "$@"\n', { mode: 0o755 });
  return `${host}.starts`;
}

function runningUnder(appPath) {
  return spawnSync('pgrep', ['-f', `${appPath}/Contents/`]).stdout.toString().trim().split('\n').filter(Boolean);
}

async function oneStart(sandbox, app) {
  fs.rmSync(app.starts, { force: true });
  const launchedAt = (performance.timeOrigin + performance.now()) * 1000; // microseconds
  const engine = sandbox.launch(app.path).pid;
  await waitFor('the companion to reach its host', () => fs.existsSync(app.starts), 30000);
  const hostAt = Number(fs.readFileSync(app.starts, 'utf8').split('\n')[0]);
  // Quit only once the helper (which looks every half second) has seen the engine: an engine gone
  // before that keeps the helper waiting for it, and the app taken for starting.
  await sleep(1500);
  process.kill(engine, 'SIGTERM');
  await waitFor('the app to quit', () => runningUnder(app.path).length === 0, 30000);
  await sleep(200);
  return (hostAt - launchedAt) / 1000;
}

const server = await startPageServer();
const sandbox = new Sandbox();
sandbox.env.SORVANE_E2E_ENGINE_VERSION = 'Google Chrome 140.0.7339.80';
try {
  const apps = {};
  for (const [way, browser] of [['flag', 'chromium'], ['pipe', 'chrome']]) {
    const appPath = await sandbox.createApp(['--name', `Start ${way}`, '--url', server.url('app.example.test', '/'),
      '--browser', browser, '--route', 'news.example.test=default']);
    const script = fs.readFileSync(path.join(appPath, 'Contents', 'Resources', 'script'), 'utf8');
    if (script.includes('"--remote-debugging-pipe"') !== (way === 'pipe')) {
      throw new Error(`the ${way} app was not made the ${way} way`);
    }
    apps[way] = { path: appPath, starts: noteHostStarts(appPath), samples: [] };
  }
  for (const app of Object.values(apps)) {
    await oneStart(sandbox, app); // the first start seeds the profile; it is not counted
  }
  for (let i = 0; i < rounds; ++i) {
    for (const app of Object.values(apps)) {
      app.samples.push(await oneStart(sandbox, app));
    }
  }
  summary('flag way', apps.flag.samples);
  summary('pipe way', apps.pipe.samples);
  const differences = apps.pipe.samples.map((sample, i) => sample - apps.flag.samples[i]);
  console.log(`pipe - flag  median ${median(differences).toFixed(1)} ms (per round)`);
} finally {
  await sandbox.dispose();
  await server.close();
}
