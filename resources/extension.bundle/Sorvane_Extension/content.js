// Sorvane Companion, in every page of the app: a plain click on a link that the app's rules send
// elsewhere is held back before the page navigates, so the page stays as it was and no window is
// opened for it; the service worker then has the native host open the link at its destination.
// Everything else (links that stay, modified clicks, scripted navigations) is left to the page and
// to the worker. A classic script, as content scripts are: the routing module is imported.
(async () => {
  const routingDataKey = 'routingData';
  const { destinationFor, staysInApp } = await import(chrome.runtime.getURL('routing.js'));
  let routingData = (await chrome.storage.session.get(routingDataKey))[routingDataKey] ?? null;
  chrome.storage.session.onChanged.addListener((changes) => {
    if (changes[routingDataKey] !== undefined) {
      routingData = changes[routingDataKey].newValue ?? null;
    }
  });

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

  window.addEventListener('click', (event) => {
    if (event.button !== 0 || event.ctrlKey || event.metaKey || event.shiftKey || event.altKey) {
      return;
    }
    const link = linkOf(event);
    if (link === null || link.hasAttribute('download') || !/^https?:$/.test(link.protocol)) {
      return;
    }
    const newWindow = opensNewWindow(link);
    if (!newWindow && window !== window.top) {
      return;
    }
    if (staysInApp(destinationFor(routingData, link.href))) {
      return;
    }
    event.preventDefault();
    chrome.runtime.sendMessage({ type: 'routeLink', url: link.href, newWindow });
  }, true);

  chrome.runtime.onMessage.addListener((message) => {
    if (message?.type === 'stopNavigation') {
      window.stop();
    }
  });
})();
