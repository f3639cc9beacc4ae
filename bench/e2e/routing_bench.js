// What routing costs in a real engine, measured through the end-to-end harness:
//   route  a click on a routed link until the opener (the recording xdg-open) is called
//   stay   a click on an in-app link until the next page's load event, in an app with the
//          companion and in one without it; the difference is what the companion adds
// Run: SORVANE_CLI=build/default/apps/cli/sorvane node bench/e2e/routing_bench.js [rounds]
// Prints the median, minimum and maximum of each, in milliseconds.
import fs from 'node:fs';
import path from 'node:path';
import { setTimeout as sleep } from 'node:timers/promises';

import { Sandbox, startPageServer, waitFor } from '../../tests/e2e/harness.js';

const rounds = Number(process.argv[2] ?? 15);

function summary(name, samples) {
  const sorted = [...samples].sort((a, b) => a - b);
  const median = sorted[Math.floor(sorted.length / 2)];
  console.log(`${name.padEnd(34)} median ${median.toFixed(1)} ms  (min ${sorted[0].toFixed(1)}, ` +
    `max ${sorted.at(-1).toFixed(1)}, ${samples.length} rounds)`);
  return median;
}

async function startAt(sandbox, server, name, routingOptions) {
  const appUrl = server.url('app.example.test', '/');
  const appPath = await sandbox.createApp(['--name', name, '--url', appUrl, '--browser', 'chromium', ...routingOptions]);
  const app = await sandbox.startApp(appPath);
  const page = await app.waitForPage((url) => url === appUrl, 'the app page');
  await page.waitForSelector('#docs');
  if (routingOptions.length > 0) {
    await app.waitForRoutingData();
  }
  return { app, page, appUrl };
}

// Click to load as the test sees it, and navigation start to the end of the load event as the
// page itself measures it (Navigation Timing), which leaves out the DevTools round trips.
async function inAppNavigation(page, appUrl, docsUrl) {
  const seen = [];
  const measured = [];
  for (let i = 0; i < rounds; ++i) {
    const started = performance.now();
    await Promise.all([page.waitForURL(docsUrl, { waitUntil: 'load' }), page.click('#docs', { noWaitAfter: true })]);
    seen.push(performance.now() - started);
    measured.push(await page.evaluate(() => new Promise((resolve) => {
      const read = () => {
        const entry = performance.getEntriesByType('navigation')[0];
        if (entry.loadEventEnd > 0) resolve(entry.loadEventEnd); else setTimeout(read, 5);
      };
      read();
    })));
    await page.goto(appUrl, { waitUntil: 'load' });
  }
  return { seen, measured };
}

const server = await startPageServer();
const sandbox = new Sandbox();
try {
  // The opener notes when it was called, in the same clock as performance.timeOrigin + now().
  const timesFile = path.join(sandbox.records, 'xdg-open.times');
  fs.writeFileSync(path.join(sandbox.bin, 'xdg-open'),
    '#!/bin/bash\nprintf \'%s\\n\' "${EPOCHREALTIME/./}" >> "$SORVANE_E2E_RECORDS/xdg-open.times"\n', { mode: 0o755 });
  const docsUrl = server.url('docs.example.test', '/guide');

  const routed = await startAt(sandbox, server, 'Bench Routed',
    ['--route', 'news.example.test=default', '--allow', '*.example.test', '--default-destination', 'in-app']);
  const routeSamples = [];
  for (let i = 0; i < rounds; ++i) {
    const calledBefore = fs.existsSync(timesFile) ? fs.readFileSync(timesFile, 'utf8').trim().split('\n').length : 0;
    const clickedAt = (performance.timeOrigin + performance.now()) * 1000;
    await routed.page.click('#news', { noWaitAfter: true });
    const calls = await waitFor('the opener', () => {
      const lines = fs.existsSync(timesFile) ? fs.readFileSync(timesFile, 'utf8').trim().split('\n') : [];
      return lines.length > calledBefore ? lines : undefined;
    });
    routeSamples.push((Number(calls.at(-1)) - clickedAt) / 1000);
    await sleep(100);
  }
  summary('route: click to opener called', routeSamples);
  const withRuns = await inAppNavigation(routed.page, routed.appUrl, docsUrl);
  const withCompanion = summary('stay: click to load, with companion', withRuns.seen);
  const withMeasured = summary('stay: page load timing, with companion', withRuns.measured);
  await routed.app.stop();

  const plain = await startAt(sandbox, server, 'Bench Plain', []);
  const withoutRuns = await inAppNavigation(plain.page, plain.appUrl, docsUrl);
  const without = summary('stay: click to load, no companion', withoutRuns.seen);
  const withoutMeasured = summary('stay: page load timing, no companion', withoutRuns.measured);
  await plain.app.stop();
  console.log(`added delay of an in-app navigation: ${(withCompanion - without).toFixed(1)} ms click to load, ` +
    `${(withMeasured - withoutMeasured).toFixed(1)} ms in the page's own timing (median differences)`);
} finally {
  await sandbox.dispose();
  await server.close();
}
