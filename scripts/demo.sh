#!/usr/bin/env bash
# Sets up, builds and runs Sorvane's main job on the built-in example.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
bash scripts/build.sh default
sorvane=build/default/apps/cli/sorvane
"$sorvane" --version
echo
"$sorvane" browsers
echo
"$sorvane" registry
echo
echo "== The launcher script of a built-in example app (first 40 lines) =="
script=$("$sorvane" script --name "Example Mail" --browser chromium --url "https://mail.example.org/inbox")
sed -n '1,40p' <<<"$script"
