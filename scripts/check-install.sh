#!/usr/bin/env bash
# Checks Sorvane as installed, from a configured and built folder (default: build/default):
# installs it into a temporary prefix and moves the prefix, makes an app with the moved
# `sorvane` and starts it (its engine is the recording fake engine), paints the moved desktop
# app's home screen, validates the menu entry, the AppStream data and the manual pages, completes
# a command in bash, then builds the Debian package, lints it and runs its `sorvane`.
#   scripts/check-install.sh [BUILD_FOLDER]
set -euo pipefail
cd "$(dirname "$0")/.."
build="$(cd "${1:-build/default}" && pwd)"
engine="$build/tools/fakeengine/sorvane-fake-engine"
work="$(mktemp -d)"
desktop_pid=""
cleanup() {
    if [ -n "$desktop_pid" ]; then kill "$desktop_pid" 2>/dev/null || true; fi
    rm -rf "$work"
}
trap cleanup EXIT
fail() {
    echo "check-install: $*" >&2
    exit 1
}

echo "== install into a prefix, then move it =="
cmake --install "$build" --prefix "$work/installed" --strip >"$work/install.log"
mv "$work/installed" "$work/moved"
prefix="$work/moved"
if named="$(grep -rlF "$build" "$prefix")"; then
    fail "installed files name the build folder $build: $named"
fi

# A home of its own, so nothing of the user's is read or written.
home="$work/home"
mkdir -p "$home/.config/ondrel" "$work/starts"
export HOME="$home" XDG_CONFIG_HOME="$home/.config" XDG_DATA_HOME="$home/.local/share" \
    XDG_STATE_HOME="$home/.local/state" XDG_CACHE_HOME="$home/.cache"
printf '[General]\nchromiumPath=%s\n' "$engine" >"$XDG_CONFIG_HOME/ondrel/Sorvane.conf"
unset SORVANE_RESOURCES_DIR

echo "== the moved sorvane makes an app that starts its engine =="
"$prefix/bin/sorvane" create --name "Installed Check" --url https://example.org/ --browser chromium \
    --into "$work/Applications" --no-icon-search --quiet
app="$work/Applications/Installed Check.app"
cmp -s "$prefix/libexec/sorvane/sorvanelauncher" "$app/Contents/MacOS/Installed Check" ||
    fail "the app's launch program is not the moved prefix's"
SORVANE_FAKE_ENGINE_RECORDS="$work/starts" SORVANE_HELPER_GRACE_MS=0 \
    "$app/Contents/MacOS/Installed Check" >/dev/null
records=("$work"/starts/*.args)
[ -f "${records[0]}" ] || fail "the app's launch program never started its engine"
tr '\0' '\n' <"${records[0]}" | grep -q -- '^--app=https://example.org' ||
    fail "the engine did not get the app's address: $(tr '\0' ' ' <"${records[0]}")"

echo "== the moved sorvane-desktop paints its home screen =="
# With the prefix's share/ among the data folders the installed menu entry serves, and the desktop
# app writes none of its own.
XDG_DATA_DIRS="$prefix/share" QT_QPA_PLATFORM=offscreen \
    "$prefix/bin/sorvane-desktop" --report-first-frame >"$work/desktop.out" 2>"$work/desktop.err" &
desktop_pid=$!
for _ in $(seq 1 300); do
    grep -qx 'first frame' "$work/desktop.out" && break
    kill -0 "$desktop_pid" 2>/dev/null || break
    sleep 0.2
done
grep -qx 'first frame' "$work/desktop.out" || fail "sorvane-desktop painted nothing: $(cat "$work/desktop.err")"
kill "$desktop_pid"
wait "$desktop_pid" 2>/dev/null || true
desktop_pid=""
[ ! -e "$XDG_DATA_HOME/applications/sorvane.desktop" ] ||
    fail "sorvane-desktop wrote its own menu entry beside the installed one"

echo "== menu entry, AppStream data, manual pages, completion =="
desktop-file-validate "$prefix/share/applications/com.ondrel.sorvane.desktop"
appstreamcli validate --no-net --pedantic "$prefix/share/metainfo/com.ondrel.sorvane.metainfo.xml"
for page in "$prefix"/share/man/man1/*.1.gz; do
    warnings="$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l "$page" 2>&1 >/dev/null)"
    [ -z "$warnings" ] || fail "$(basename "$page"): $warnings"
done
completed="$(bash -c 'source "$1"; COMP_WORDS=(sorvane cre); COMP_CWORD=1; _sorvane; echo "${COMPREPLY[*]}"' \
    _ "$prefix/share/bash-completion/completions/sorvane")"
[ "$completed" = create ] || fail "\"sorvane cre<Tab>\" completed to \"$completed\""

echo "== the Debian package =="
(cd "$build" && cpack -G DEB >"$work/cpack.log") || { cat "$work/cpack.log"; fail "cpack failed"; }
version="$("$build/apps/cli/sorvane" --version | cut -d' ' -f2)"
package="$build/sorvane_${version}_$(dpkg --print-architecture).deb"
[ -f "$package" ] || fail "cpack made no $package"
lintian --fail-on error --suppress-tags-from-file /dev/null "$package"
dpkg-deb -x "$package" "$work/unpacked"
dpkg-deb -f "$package" Depends Recommends
"$work/unpacked/usr/bin/sorvane" --version
echo "check-install: all checks passed"
