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
