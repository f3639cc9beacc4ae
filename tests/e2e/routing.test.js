// Link routing in a real engine: apps made by `sorvane create`, started through their launch
// programs, their companion extension deciding clicks, their native host opening routed links.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';

import { sandbox, server, useSuiteFixtures, waitFor } from './harness.js';

// The second app's engine records its command lines instead of showing pages.
useSuiteFixtures({ settings: { bravePath: process.env.SORVANE_FAKE_ENGINE } }, (made) => {
  made.env.SORVANE_FAKE_ENGINE_RECORDS = path.join(made.records, 'engine');
  made.env.SORVANE_FAKE_ENGINE_STAY = '1';
  fs.mkdirSync(made.env.SORVANE_FAKE_ENGINE_RECORDS);
});

// The fake engine's records: one NUL-separated argument list per start.
function fakeEngineStarts() {
  const folder = sandbox.env.SORVANE_FAKE_ENGINE_RECORDS;
  return fs.readdirSync(folder).filter((name) => name.endsWith('.args')).sort()
    .map((name) => fs.readFileSync(path.join(folder, name), 'utf8').split('\0').filter(Boolean));
}

async function clickAndSettle(page, selector) {
  await page.click(selector, { noWaitAfter: true });
  // Give a navigation that should not happen the time to show itself.
  await sleep(500);
}

test('rules keep, route and default links from a real app window', { timeout: 120000 }, async () => {
  const appUrl = server.url('app.example.test', '/');
  const bPath = await sandbox.createApp(['--name', 'B Reader', '--url', server.url('b.test', '/'), '--browser', 'brave',
    '--allow-missing-browser']);
  const appPath = await sandbox.createApp([
    '--name', 'Example', '--url', appUrl, '--browser', 'chromium',
    '--allow', '*.example.test', '--default-destination', 'in-app',
  ]);
  // The rules come from an edit, which does not rebuild the app for them; they replace the one
  // the app was made with, so the news route comes before the allow rule of its domain.
  const edited = await sandbox.sorvane(['edit', appPath, '--json', '--replace-rules',
    '--route', 'news.example.test=default',
    '--allow', '*.example.test',
    '--route', `b.test=app:${bPath}`,
  ]);
  assert.equal(edited.code, 0, edited.stderr);
  assert.equal(JSON.parse(edited.stdout).rebuilt, false);

  // Regenerated before its start: what routes below is what `sorvane update` wrote.
  const updated = await sandbox.sorvane(['update', appPath]);
  assert.equal(updated.code, 0, updated.stderr);
  const app = await sandbox.startApp(appPath);
  const page = await app.waitForPage((url) => url === appUrl, 'the app page');
  await page.waitForSelector('#docs');
  await app.waitForRoutingData();

  const newsLink = await page.getAttribute('#news', 'href');
  await clickAndSettle(page, '#news');
  await waitFor('xdg-open to get the news link', () => sandbox.openedLinks().length === 1);
  assert.deepEqual(sandbox.openedLinks(), [newsLink]);
  assert.equal(page.url(), appUrl, 'the app page stays where it was');

  // A second app named by a rule is started with the link, then handed the next one.
  const bLink = await page.getAttribute('#b', 'href');
  await clickAndSettle(page, '#b');
  await waitFor('the second app to start', () => fakeEngineStarts().length === 1);
  assert.ok(fakeEngineStarts()[0].includes(`--app=${bLink}`), fakeEngineStarts()[0].join(' '));
  await clickAndSettle(page, '#b');
  await waitFor('the link to be handed to the running second app', () => fakeEngineStarts().length === 2);
  assert.ok(fakeEngineStarts()[1].includes(bLink), fakeEngineStarts()[1].join(' '));
  assert.equal(page.url(), appUrl);

  // Allowed by the wildcard: the app navigates there itself; nothing else is opened.
  await Promise.all([page.waitForURL(server.url('docs.example.test', '/guide')), page.click('#docs')]);
  assert.deepEqual(sandbox.openedLinks(), [newsLink]);
  assert.equal(app.pages().length, 1);

  // A sign-in pop-up the app opens to an allowed host opens in the app, its opener intact.
  const signIn = server.url('login.example.test', '/sign-in');
  const [popup] = await Promise.all([
    app.context.waitForEvent('page'),
    page.evaluate((link) => { window.signInWindow = window.open(link, 'signin', 'popup,width=400,height=500'); }, signIn),
  ]);
  await popup.waitForURL(signIn);
  assert.equal(await popup.evaluate(() => window.opener !== null), true);
  assert.equal(await page.evaluate(() => window.signInWindow.closed), false);
  assert.deepEqual(sandbox.openedLinks(), [newsLink]);
});

// Clicked links that no rule claims are covered by first-click.test.js.
test('scripted windows and navigations that no rule claims go to the default browser and leave no window', { timeout: 120000 }, async () => {
  const appUrl = server.url('app.example.test', '/');
  const appPath = await sandbox.createApp([
    '--name', 'Example Two', '--url', appUrl, '--browser', 'chromium',
    '--allow', '*.example.test', '--default-destination', 'default',
  ]);
  const app = await sandbox.startApp(appPath);
  const page = await app.waitForPage((url) => url === appUrl, 'the app page');
  await page.waitForSelector('#other');
  await app.waitForRoutingData();
  const before = sandbox.openedLinks().length;

  const otherLink = await page.getAttribute('#other', 'href');
  // A navigation of the page's own script is stopped in place and routed all the same.
  // Started after the call returns: a navigation inside it can end the page's context before the
  // answer comes back. On a loaded machine that can still happen and leave the call unanswered, so
  // the wait for the answer is bounded; what counts is what xdg-open gets.
  await Promise.race([
    page.evaluate((link) => { setTimeout(() => { window.location.href = link; }, 0); }, `${otherLink}&by=location`)
      .catch(() => {}),
    sleep(10000),
  ]);
  await waitFor(() => `xdg-open to get the scripted navigation (it got ${JSON.stringify(sandbox.openedLinks().slice(before))})`,
    () => sandbox.openedLinks().length === before + 1);
  assert.equal(sandbox.openedLinks().at(-1), `${otherLink}&by=location`);
  await waitFor('the app page to be back', () => page.url() === appUrl);
  await page.waitForLoadState('load');
  assert.equal(await page.textContent('#where'), `${new URL(appUrl).host}/`);

  // Opened by the page's script: the worker closes the window it got. Done last: the protocol
  // client holds a new window, and on a loaded machine the page that opened it, until it has
  // attached, and the worker may close the window first; the page then runs no more scripts.
  // Not awaited for the same reason; what counts is what xdg-open gets.
  page.evaluate((link) => { window.open(link); }, `${otherLink}&by=script`).catch(() => {});
  await waitFor('xdg-open to get the scripted link', () => sandbox.openedLinks().length === before + 2);
  assert.equal(sandbox.openedLinks().at(-1), `${otherLink}&by=script`);
  await waitFor('no window but the app', () => app.pages().length === 1);
  assert.equal(app.pages()[0].url(), appUrl);
});

test('an app started by another app\'s link runs under its own engine name', { timeout: 120000 }, async () => {
  const appUrl = server.url('app.example.test', '/');
  const bPath = await sandbox.createApp(['--name', 'B Chromium', '--url', server.url('b.test', '/'), '--browser', 'chromium']);
  const appPath = await sandbox.createApp([
    '--name', 'Example Three', '--url', appUrl, '--browser', 'chromium',
    '--route', `b.test=app:${bPath}`, '--default-destination', 'in-app',
  ]);
  const app = await sandbox.startApp(appPath);
  const page = await app.waitForPage((url) => url === appUrl, 'the app page');
  await page.waitForSelector('#b');
  await app.waitForRoutingData();

  const bLink = await page.getAttribute('#b', 'href');
  await clickAndSettle(page, '#b');
  const other = await sandbox.attachApp(bPath);
  await other.waitForPage((url) => url === bLink, 'the link in the second app');
  // What the launcher's pgrep checks and the helper look for.
  const engine = fs.readFileSync(`/proc/${other.pid}/cmdline`, 'utf8').split('\0')[0];
  assert.equal(path.resolve(engine), path.join(bPath, 'Contents', 'MacOS', 'B Chromium Engine'));
});

const storeUrl = 'https://chromewebstore.google.com/';

// Offline, the store page fails to load and the engine retries it: no attempt may be routed.
for (const { kind, startArgs } of [
  { kind: 'tabbed', startArgs: (url) => ['--tab', url] },
  { kind: 'single-window', startArgs: (url) => ['--url', url] },
]) {
  test(`the first start's store page of a ${kind} app stays in the app`, { timeout: 120000 }, async () => {
    const appUrl = server.url('app.example.test', `/${kind}`);
    const appPath = await sandbox.createApp([
      '--name', `First Start ${kind}`, ...startArgs(appUrl), '--browser', 'chromium',
      '--allow', '*.example.test', '--default-destination', 'default',
    ], { firstStart: true });
    const app = await sandbox.startAppUnattached(appPath);
    const isStorePage = (url) => url === storeUrl || url.startsWith('chrome-error:');
    const pages = async () => (await app.pageUrls()).map((url) => (isStorePage(url) ? 'store' : url)).sort();
    await waitFor('the store page', async () => (await pages()).includes('store'));
    await sleep(2500);
    assert.ok(!sandbox.openedLinks().includes(storeUrl), sandbox.openedLinks().join(' '));
    assert.deepEqual(await pages(), [appUrl, 'store'].sort());
  });
}
