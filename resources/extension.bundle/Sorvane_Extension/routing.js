// Where a link goes, decided from an app's routing data (data.json, handed over by the native
// host). Pure functions only, so the service worker, the content script and the tests share them.
//
// A pattern names a host: "example.com" matches that host and every sub-domain of it (the data
// always declares "allow_subdomains"); "*.example.com" matches the same set, written the way
// people expect a wildcard to look. A pattern may carry a port ("example.com:8443"), and then only
// links to that port match; without one, any port does. Schemes and paths in a pattern are
// ignored: routing is by host, so "example.com/mail" means example.com. Hosts compare in their
// ASCII form, so "bücher.example" and "xn--bcher-kva.example" are the same.

const routableProtocols = new Set(['http:', 'https:']);

function asUrl(link) {
  if (link instanceof URL) {
    return link;
  }
  try {
    return new URL(String(link));
  } catch {
    return null;
  }
}

// The pattern's host (ASCII, lower case, no trailing dot) and port, or null when it names none.
export function parsePattern(pattern) {
  if (typeof pattern !== 'string') {
    return null;
  }
  let text = pattern.trim().toLowerCase();
  text = text.replace(/^[a-z][a-z0-9+.-]*:\/\//, '');
  text = text.split(/[/?#]/, 1)[0];
  const wildcard = text.startsWith('*.');
  if (wildcard) {
    text = text.slice(2);
  }
  if (text === '' || text.includes('*')) {
    return null;
  }
  const parsed = asUrl(`http://${text}/`);
  if (parsed === null || parsed.hostname === '' || parsed.username !== '' || parsed.password !== '') {
    return null;
  }
  const explicitPort = /:(\d+)$/.exec(text);
  return {
    host: parsed.hostname.replace(/\.$/, ''),
    port: explicitPort ? Number(explicitPort[1]) : null,
  };
}

function effectivePort(url) {
  if (url.port !== '') {
    return Number(url.port);
  }
  return url.protocol === 'https:' ? 443 : 80;
}

export function patternMatches(pattern, link) {
  const parsed = parsePattern(pattern);
  const url = asUrl(link);
  if (parsed === null || url === null || !routableProtocols.has(url.protocol)) {
    return false;
  }
  const host = url.hostname.replace(/\.$/, '');
  const hostMatches = host === parsed.host || host.endsWith(`.${parsed.host}`);
  return hostMatches && (parsed.port === null || parsed.port === effectivePort(url));
}

function isDestination(value) {
  return value !== null && typeof value === 'object' && typeof value.type === 'string';
}

// Routing data written before rules existed carries only a pattern list and its meaning.
function legacyDecision(data, url) {
  const listed = Array.isArray(data.rule_list) && data.rule_list.some((pattern) => patternMatches(pattern, url));
  const routedWhenListed = data.allow_from_list === true;
  return listed === routedWhenListed ? { type: 'default' } : { type: 'in-app' };
}

// The destination of a link: the first rule (top-down) whose pattern matches decides; a link that
// no rule matches goes to the default destination. Links that are not http(s), and everything
// while no routing data is known, stay in the app.
export function destinationFor(data, link) {
  const url = asUrl(link);
  if (url === null || !routableProtocols.has(url.protocol) || data === null || typeof data !== 'object') {
    return { type: 'in-app' };
  }
  if (data.allow_all === true) {
    return { type: 'in-app' };
  }
  if (!Array.isArray(data.rules)) {
    return legacyDecision(data, url);
  }
  for (const rule of data.rules) {
    if (rule === null || typeof rule !== 'object' || !patternMatches(rule.pattern, url)) {
      continue;
    }
    if (rule.action === 'route') {
      return isDestination(rule.destination) ? rule.destination : { type: 'default' };
    }
    return { type: 'in-app' };
  }
  return isDestination(data.default_destination) ? data.default_destination : { type: 'default' };
}

export function staysInApp(destination) {
  return destination.type === 'in-app';
}
