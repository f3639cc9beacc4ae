#!/usr/bin/env bash
# Sets up, builds and runs Sorvane's main job on the built-in example: creates the app of
# examples/demo-app.json, shows its bundle and starts it once through its own launch program.
# Everything happens in build/demo (its own home folder, settings and registry), and the app's
# engine is the recording fake engine, so the run needs no browser and changes nothing else.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
# Only what the demo runs: the command line (which brings what it copies into bundles) and the
# recording fake engine; scripts/build.sh builds everything, tests and benchmarks too.
cmake --preset default >/dev/null
cmake --build --preset default -j "$(nproc)" --target sorvane sorvane-fake-engine
sorvane=$PWD/build/default/apps/cli/sorvane
engine=$PWD/build/default/tools/fakeengine/sorvane-fake-engine
demo=$PWD/build/demo

rm -rf "$demo"
mkdir -p "$demo/home/.config/ondrel" "$demo/engine-starts"
export HOME=$demo/home XDG_CONFIG_HOME=$demo/home/.config XDG_DATA_HOME=$demo/home/.local/share
printf '[General]\nchromiumPath=%s\n' "$engine" >"$XDG_CONFIG_HOME/ondrel/Sorvane.conf"

"$sorvane" --version
echo
echo "== Creating the example app (examples/demo-app.json) with the chromium engine =="
"$sorvane" bulk examples/demo-app.json --browser chromium --into "$demo/Applications" --quiet
app="$demo/Applications/Example Mail.app"
echo
echo "== The bundle =="
(cd "$demo/Applications" && find "Example Mail.app" -not -path '*/SorvaneHelper.app/*' | sort | sed 's|[^/]*/|  |g')
echo
echo "== The registry =="
"$sorvane" registry
echo
echo "== The app list, and the app as read back from its launcher =="
"$sorvane" list
"$sorvane" info "$app"
echo
echo "== Starting it once through its launch program =="
SORVANE_FAKE_ENGINE_RECORDS="$demo/engine-starts" SORVANE_HELPER_GRACE_MS=0 \
    "$app/Contents/MacOS/Example Mail" >/dev/null
echo "The engine was started as:"
for record in "$demo"/engine-starts/*.args; do
    # argv[0], the working folder, then the arguments, NUL-separated.
    tr '\0' '\n' <"$record" | sed -n '1p;3,$p' | sed 's/^/  /'
done
