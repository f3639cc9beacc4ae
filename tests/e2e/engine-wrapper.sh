#!/bin/bash
# The engine of the apps the end-to-end tests create: Debian's chromium with no display (the whole
# browser on the headless ozone platform, because --headless mode refuses the several start
# addresses a tabbed app passes), reachable over the DevTools protocol (the port is written to
# DevToolsActivePort in the profile), and resolving every *.test host to the loopback test server.
# The app's launcher starts this through the engine link in Contents/MacOS; it keeps that name as
# argv[0] for the launcher's pgrep checks.
exec -a "$0" "${SORVANE_E2E_CHROMIUM:-/usr/lib/chromium/chromium}" \
    --ozone-platform=headless --ozone-override-screen-size=1280,800 --no-sandbox --remote-debugging-port=0 \
    --host-resolver-rules="MAP *.test 127.0.0.1" "$@"
