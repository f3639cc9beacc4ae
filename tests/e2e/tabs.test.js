// Session tabs in a real engine: the companion has the native host save the open tabs, and the
// launch program reopens them at the next start unless the app's restore setting is off.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';

import { sandbox, server, useSuiteFixtures, waitFor } from './harness.js';

useSuiteFixtures();

function testPages(app) {
  return app.pages().map((page) => page.url()).filter((url) => new URL(url).hostname.endsWith('.test')).sort();
}

function resourceFile(appPath, name) {
  const file = path.join(appPath, 'Contents', 'Resources', name);
  return fs.existsSync(file) ? fs.readFileSync(file, 'utf8') : null;
}

const cases = [
  { name: 'Tabs Restored', restore: true },
  { name: 'Tabs Fresh', restore: false },
];

for (const { name, restore } of cases) {
  test(`a tabbed app with restore ${restore ? 'on' : 'off'} reopens ${restore ? 'its last tabs' : 'its configured tabs'}`, { timeout: 120000 }, async () => {
    const first = server.url('app.example.test', `/${restore}/first`);
    const second = server.url('app.example.test', `/${restore}/second`);
    const moved = server.url('docs.example.test', `/${restore}/moved`);
    const appPath = await sandbox.createApp([
      '--name', name, '--tab', first, '--tab', second, '--browser', 'chromium', '--allow', '*.example.test',
      ...(restore ? [] : ['--no-restore-session']),
    ]);

    let app = await sandbox.startApp(appPath);
    await waitFor('both configured tabs', () => testPages(app).length === 2);
    assert.deepEqual(testPages(app), [first, second].sort());
    await app.waitForRoutingData();
    const secondPage = app.pages().find((page) => page.url() === second);
    await secondPage.goto(moved);
    await waitFor('the saved tabs to follow the navigation', () => resourceFile(appPath, 'tabs-session.json')?.includes(moved));
    assert.equal(resourceFile(appPath, 'restore.json'), restore ? 'true' : 'false');
    await app.stop();
    assert.ok(resourceFile(appPath, 'tabs-session.json').includes(first), 'quitting keeps the saved tabs');

    app = await sandbox.startApp(appPath);
    const expected = (restore ? [first, moved] : [first, second]).sort();
    await waitFor(`the tabs ${expected.join(', ')}`, () => testPages(app).length === 2);
    assert.deepEqual(testPages(app), expected);
    await app.stop();
  });
}
