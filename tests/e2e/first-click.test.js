// The first clicks on the page a freshly started app opens: a routed link is decided before the
// page navigates or a window opens, even when the routing data reaches the page after the click,
// and a link that stays is still followed.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';

import { sandbox, server, useSuiteFixtures, waitFor } from './harness.js';

// Each start is a new app with a new profile, as the race is widest on a first start.
const starts = 20;

useSuiteFixtures();

// The host answers three seconds late, so the page has the routing data only after the clicks.
function slowDownHost(appPath) {
  const host = path.join(appPath, 'Contents', 'Resources', 'sorvanemessaginghost');
  fs.renameSync(host, `${host}.real`);
  fs.writeFileSync(host, '#!/bin/sh\nsleep 3\nexec "$0.real" "$@"\n', { mode: 0o755 });
}

test(`the first clicks of ${starts} fresh starts are routed or followed, and no routed page loads`, { timeout: 280000 }, async () => {
  const routed = [server.url('news.example.test', '/today?story=1&lang=en'), server.url('other.test', '/page?q=a%20b')];
  for (let start = 0; start < starts; start++) {
    const appUrl = server.url('app.example.test', `/start-${start}`);
    const appPath = await sandbox.createApp([
      '--name', `First Click ${start}`, '--url', appUrl, '--browser', 'chromium',
      '--route', 'news.example.test=default', '--allow', '*.example.test', '--default-destination', 'default',
    ]);
    if (start === 0) {
      slowDownHost(appPath);
    }
    const app = await sandbox.startApp(appPath);
    const windows = [];
    app.context.on('page', (page) => windows.push(page.url()));
    const page = await app.waitForPage((url) => url === appUrl, 'the start page');
    await page.waitForSelector('#docs');
    const openedBefore = sandbox.openedLinks().length;

    // A routed plain link, a routed new-window link, then a link that stays.
    for (const link of ['#news', '#other', '#docs']) {
      await page.click(link, { noWaitAfter: true });
    }
    await page.waitForURL(server.url('docs.example.test', '/guide'));
    await waitFor('xdg-open to get both routed links', () => sandbox.openedLinks().length === openedBefore + 2);
    assert.deepEqual(sandbox.openedLinks().slice(openedBefore).sort(), routed.sort(), `start ${start}`);
    assert.deepEqual(windows, [], `start ${start}: no window opens`);
    await app.stop();
  }
  const routedHosts = routed.map((link) => new URL(link).host);
  assert.deepEqual(server.requested.filter((request) => routedHosts.some((host) => request.startsWith(host))), []);
});
