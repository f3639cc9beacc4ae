// Sorvane Companion, in every page of the app: a plain click on a link that the app's rules send
// elsewhere is held back before the page navigates, so the page stays as it was and no window is
// opened for it; the service worker then has the native host open the link at its destination.
// Everything else (links that stay, modified clicks, scripted navigations) is left to the page and
// to the worker. A classic script, as content scripts are: the routing module is imported.
//
// The click handler is in place before the page runs a line of its own. The routing data comes
// from the worker a moment later; a click before then is held and decided once it has come.
(() => {
  // The worker also hands this script to pages that loaded before it (see background.js).
  if (globalThis.sorvaneClickHandler) {
    return;
  }
  globalThis.sorvaneClickHandler = true;
  let decide = null;
  const ready = Promise.all([
    import(chrome.runtime.getURL('routing.js')),
    chrome.runtime.sendMessage({ type: 'getRoutingData' }),
  ]).then(([{ destinationFor, staysInApp }, reply]) => {
    const data = reply?.data ?? null;
    decide = (link) => staysInApp(destinationFor(data, link));
  });
  // Without an answer every click goes to the worker, which decides again anyway.
  ready.catch(() => {});
  // A link let through after being held: its own click follows it as the page meant.
  let released = null;

  function linkOf(event) {
    for (const node of event.composedPath()) {
      if (node instanceof HTMLAnchorElement || node instanceof HTMLAreaElement) {
        return node.hasAttribute('href') ? node : null;
      }
    }
    return null;
  }

  // Whether following the link opens a new window or tab rather than navigating this page.
  function opensNewWindow(link) {
    const target = (link.target || document.querySelector('base[target]')?.target || '').toLowerCase();
    if (target === '' || target === '_self' || target === '_top' || target === '_parent') {
      return false;
    }
    return target === '_blank' || !document.querySelector(`iframe[name="${CSS.escape(link.target)}"]`);
  }

  function route(link, newWindow) {
    chrome.runtime.sendMessage({ type: 'routeLink', url: link.href, newWindow });
  }

  window.addEventListener('click', (event) => {
    if (event.button !== 0 || event.ctrlKey || event.metaKey || event.shiftKey || event.altKey) {
      return;
    }
    const link = linkOf(event);
    if (link === null || link.hasAttribute('download') || !/^https?:$/.test(link.protocol)) {
      return;
    }
    if (link === released) {
      released = null;
      return;
    }
    const newWindow = opensNewWindow(link);
    if (!newWindow && window !== window.top) {
      return;
    }
    if (decide !== null) {
      if (!decide(link.href)) {
        event.preventDefault();
        route(link, newWindow);
      }
      return;
    }
    event.preventDefault();
    ready.then(() => {
      if (!decide(link.href)) {
        route(link, newWindow);
      } else if (link.isConnected) {
        // Still within the click's user activation, so a new window is not taken for a pop-up.
        released = link;
        link.click();
      } else {
        route(link, newWindow);
      }
    }, () => route(link, newWindow));
  }, true);

  chrome.runtime.onMessage.addListener((message) => {
    if (message?.type === 'stopNavigation') {
      window.stop();
    }
  });
})();
