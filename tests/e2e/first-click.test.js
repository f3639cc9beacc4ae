// The first click on the page a freshly started app opens: a routed link is decided before the
// page navigates or a window opens, even when the routing data reaches the page after the click.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { after, before, test } from 'node:test';

import { Sandbox, startPageServer, waitFor } from './harness.js';

// Each start is a new app with a new profile, as the race is widest on a first start.
const starts = 20;

let server;
let sandbox;

before(async () => {
  server = await startPageServer();
  sandbox = new Sandbox();
});

after(async () => {
  await sandbox?.dispose();
  await server?.close();
});

const routedHosts = ['news.example.test', 'other.test'];

// Requests for routed pages: any at all means a routed link loaded in an app.
function routedPagesLoaded() {
  return server.requested.filter((request) => routedHosts.some((host) => request.startsWith(`${host}:`)));
}

test(`the first routed clicks of ${starts} fresh starts never load in the app`, { timeout: 280000 }, async () => {
  const routed = [server.url('news.example.test', '/today?story=1&lang=en'), server.url('other.test', '/page?q=a%20b')];
  for (let start = 0; start < starts; start++) {
    const appUrl = server.url('app.example.test', `/start-${start}`);
    const appPath = await sandbox.createApp([
      '--name', `First Click ${start}`, '--url', appUrl, '--browser', 'chromium',
      '--route', 'news.example.test=default', '--allow', '*.example.test', '--default-destination', 'default',
    ]);
    const app = await sandbox.startApp(appPath);
    const windows = [];
    app.context.on('page', (page) => windows.push(page.url()));
    const page = await app.waitForPage((url) => url === appUrl, 'the start page');
    await page.waitForSelector('#other');
    const openedBefore = sandbox.openedLinks().length;

    // A plain link, then one that opens a new window.
    await page.click('#news', { noWaitAfter: true });
    await page.click('#other', { noWaitAfter: true });
    await waitFor('xdg-open to get both links', () => sandbox.openedLinks().length === openedBefore + 2);
    assert.deepEqual(sandbox.openedLinks().slice(openedBefore).sort(), routed.sort(), `start ${start}`);
    assert.equal(page.url(), appUrl, `start ${start}: the start page stays`);
    assert.deepEqual(windows, [], `start ${start}: no window opens`);
    await app.stop();
  }
  assert.deepEqual(routedPagesLoaded(), []);
});

// A host that answers late keeps the routing data from the page for a while: clicks made before
// it comes are held, then routed or followed as the data says.
test('clicks before the routing data arrives are decided when it comes', { timeout: 120000 }, async () => {
  const appUrl = server.url('app.example.test', '/slow-host');
  const appPath = await sandbox.createApp([
    '--name', 'Slow Host', '--url', appUrl, '--browser', 'chromium',
    '--route', 'news.example.test=default', '--allow', '*.example.test', '--default-destination', 'default',
  ]);
  const host = path.join(appPath, 'Contents', 'Resources', 'sorvanemessaginghost');
  fs.renameSync(host, `${host}.real`);
  fs.writeFileSync(host, '#!/bin/sh\nsleep 3\nexec "$0.real" "$@"\n', { mode: 0o755 });
  const app = await sandbox.startApp(appPath);
  const page = await app.waitForPage((url) => url === appUrl, 'the start page');
  await page.waitForSelector('#docs');
  const openedBefore = sandbox.openedLinks().length;

  await page.click('#news', { noWaitAfter: true });
  await page.click('#other', { noWaitAfter: true });
  await page.click('#docs', { noWaitAfter: true });
  await page.waitForURL(server.url('docs.example.test', '/guide'));
  await waitFor('xdg-open to get both routed links', () => sandbox.openedLinks().length === openedBefore + 2);
  assert.deepEqual(sandbox.openedLinks().slice(openedBefore).sort(),
    [server.url('news.example.test', '/today?story=1&lang=en'), server.url('other.test', '/page?q=a%20b')].sort());
  assert.equal(app.pages().length, 1);
  assert.deepEqual(routedPagesLoaded(), []);
});
