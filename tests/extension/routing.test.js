// The companion extension's routing decisions, run with Node's own test runner.
import { test } from 'node:test';
import assert from 'node:assert/strict';

import { destinationFor, parsePattern, patternMatches } from '../../resources/extension.bundle/Sorvane_Extension/routing.js';

test('patterns match hosts, their sub-domains and ports', () => {
  const cases = [
    // pattern, link, matches
    ['example.test', 'https://example.test/', true],
    ['example.test', 'https://docs.example.test/a?b#c', true],
    ['example.test', 'https://a.b.example.test/', true],
    ['example.test', 'https://badexample.test/', false],
    ['example.test', 'https://example.test.evil/', false],
    ['*.example.test', 'http://docs.example.test:8123/', true],
    ['*.example.test', 'http://example.test/', true],
    ['*.example.test', 'http://notexample.test/', false],
    ['  *.Example.TEST  ', 'HTTPS://DOCS.EXAMPLE.TEST/', true],
    ['example.test:8443', 'https://example.test:8443/', true],
    ['example.test:8443', 'https://example.test/', false],
    ['example.test:443', 'https://example.test/', true],
    ['example.test:80', 'https://example.test/', false],
    ['example.test', 'https://example.test:9999/', true],
    ['https://example.test/mail', 'http://example.test/other', true],
    ['bücher.example', 'https://xn--bcher-kva.example/', true],
    ['xn--bcher-kva.example', 'https://shop.bücher.example/', true],
    ['bücher.example', 'https://bucher.example/', false],
    ['example.test', 'https://example.test./', true],
    ['example.test', 'https://user@example.test/', true],
    ['example.test', 'https://example.test@evil.test/', false],
    ['example.test', 'ftp://example.test/', false],
    ['example.test', 'not a link', false],
    ['', 'https://example.test/', false],
    ['*', 'https://example.test/', false],
    ['*.', 'https://example.test/', false],
    ['a.*.test', 'https://a.b.test/', false],
    [null, 'https://example.test/', false],
  ];
  for (const [pattern, link, expected] of cases) {
    assert.equal(patternMatches(pattern, link), expected, `${pattern} vs ${link}`);
  }
  assert.deepEqual(parsePattern(' *.Docs.Example.test:81/x '), { host: 'docs.example.test', port: 81 });
});

const news = { type: 'default' };
const otherApp = { type: 'sorvaneApp', path: '/Apps/B.app', name: 'B' };
const browser = { type: 'browser', bundleId: 'org.chromium.Chromium' };

test('rules decide top-down, unmatched links take the default destination', () => {
  const data = {
    schema_version: 2,
    allow_all: false,
    rules: [
      { id: '1', pattern: 'news.example.test', action: 'route', destination: news },
      { id: '2', pattern: '*.example.test', action: 'allow' },
      { id: '3', pattern: 'b.test', action: 'route', destination: otherApp },
      { id: '4', pattern: 'b.test', action: 'route', destination: browser },
      { id: '5', pattern: 'c.test', action: 'route' },
      { id: '6', pattern: 'd.test', action: 'route', destination: { type: 'in-app' } },
      { id: '7', pattern: 'e.test', action: 'ALLOW' },
    ],
    default_destination: browser,
  };
  const cases = [
    ['https://news.example.test/today', news],
    ['https://live.news.example.test/', news],
    ['https://docs.example.test/', { type: 'in-app' }],
    ['https://b.test/x', otherApp],
    ['https://c.test/', { type: 'default' }],
    ['https://d.test/', { type: 'in-app' }],
    ['https://e.test/', { type: 'in-app' }],
    ['https://other.test/', browser],
    ['mailto:someone@other.test', { type: 'in-app' }],
    ['javascript:void(0)', { type: 'in-app' }],
    ['about:blank', { type: 'in-app' }],
  ];
  for (const [link, expected] of cases) {
    assert.deepEqual(destinationFor(data, link), expected, link);
  }
  assert.deepEqual(destinationFor({ ...data, default_destination: undefined }, 'https://z.test/'), { type: 'default' });
  assert.deepEqual(destinationFor({ ...data, allow_all: true }, 'https://news.example.test/'), { type: 'in-app' });
  assert.deepEqual(destinationFor(null, 'https://news.example.test/'), { type: 'in-app' });
});

test('routing data without rules keeps the meaning of its pattern list', () => {
  const cases = [
    // allow_from_list, link, expected type
    [true, 'https://news.example.test/', 'default'],
    [true, 'https://docs.example.test/', 'in-app'],
    [false, 'https://news.example.test/', 'in-app'],
    [false, 'https://docs.example.test/', 'default'],
  ];
  for (const [allowFromList, link, type] of cases) {
    const data = { schema_version: 1, allow_from_list: allowFromList, rule_list: ['news.example.test'] };
    assert.deepEqual(destinationFor(data, link), { type }, `${allowFromList} ${link}`);
  }
});
