#!/usr/bin/env bash
# Sets up, builds and runs every test, first in the normal build and then in the
# address + undefined sanitizer build. The output ends with CTest's summary.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
status=0
for preset in default asan; do
    echo "== $preset build =="
    bash scripts/build.sh "$preset"
    echo "== $preset tests =="
    ctest --preset "$preset" -j "$(nproc)" || status=1
done
exit $status
