#!/bin/bash
# The engine of the apps the end-to-end tests create: Debian's chromium with no display (the whole
# browser on the headless ozone platform, because --headless mode refuses the several start
# addresses a tabbed app passes), reachable over the DevTools protocol (the port is written to
# DevToolsActivePort in the profile), and resolving every *.test host to the loopback test server.
# The app's launcher starts this through the engine link in Contents/MacOS; it keeps that name as
# argv[0] for the launcher's pgrep checks.
# Asked for its version (as Sorvane asks a Chrome), it answers as the engine named there, so that
# the same chromium can stand in for a Chrome that only loads the companion over the DevTools pipe.
if [ "$1" = --version ] && [ -n "$SORVANE_E2E_ENGINE_VERSION" ]; then
    printf '%s\n' "$SORVANE_E2E_ENGINE_VERSION"
    exit 0
fi
# Without a port (SORVANE_E2E_NO_DEVTOOLS_PORT set) the engine opens none: a test can then show
# that the pipe way opens none either.
port=(--remote-debugging-port=0)
[ -n "$SORVANE_E2E_NO_DEVTOOLS_PORT" ] && port=()
exec -a "$0" "${SORVANE_E2E_CHROMIUM:-/usr/lib/chromium/chromium}" \
    --ozone-platform=headless --ozone-override-screen-size=1280,800 --no-sandbox "${port[@]}" \
    --host-resolver-rules="MAP *.test 127.0.0.1" "$@"
