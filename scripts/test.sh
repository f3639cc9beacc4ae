#!/usr/bin/env bash
# Sets up, builds and runs every test, first in the normal build (then checks it as installed and
# as a Debian package, scripts/check-install.sh) and then in the address + undefined sanitizer
# build, then runs each fuzz target for a bounded time over its corpus (tests/fuzz). The output
# ends with the fuzzers' results.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
status=0
for preset in default asan; do
    echo "== $preset build =="
    bash scripts/build.sh "$preset"
    echo "== $preset tests =="
    rm -f "build/$preset/Testing/Temporary/LastTestsFailed.log"
    ctest --preset "$preset" -j "$(nproc)" || status=1
    if [ "$preset" = default ]; then
        echo "== installed Sorvane and its Debian package =="
        bash scripts/check-install.sh build/default || status=1
    fi
done
echo "== fuzz targets =="
cmake -S tests/fuzz -B build/fuzz -G Ninja -DCMAKE_CXX_COMPILER=clang++ >/dev/null
cmake --build build/fuzz
findings="$(mktemp -d)"
for target in app-script:app_script_reader_fuzz property-list:property_list_fuzz image:image_reader_fuzz; do
    corpus="${target%%:*}" program="build/fuzz/${target#*:}"
    mkdir -p "$findings/new-$corpus"
    # New inputs go to a scratch folder; the kept corpus is only read.
    if "$program" -max_total_time="${SORVANE_FUZZ_SECONDS:-40}" -timeout=5 -rss_limit_mb=2048 \
        -artifact_prefix="$findings/" "$findings/new-$corpus" "tests/fuzz/corpus/$corpus" >"$findings/log" 2>&1; then
        echo "fuzz: ${target#*:}: $(tail -n 1 "$findings/log")"
    else
        tail -n 40 "$findings/log"
        echo "fuzz: ${target#*:} failed; the input that did it is in $findings"
        status=1
    fi
done
# The end of the output is what a CI log shows first: name every test that failed there.
for preset in default asan; do
    failed="build/$preset/Testing/Temporary/LastTestsFailed.log"
    if [ "$status" -ne 0 ] && [ -s "$failed" ]; then
        echo "failed in the $preset build: $(cut -d: -f2- "$failed" | tr '\n' ' ')"
    fi
done
exit $status
