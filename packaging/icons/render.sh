#!/usr/bin/env bash
# Renders the PNG sizes of Sorvane's icon from its SVG (needs rsvg-convert, Debian's librsvg2-bin).
# The PNGs are committed, so a build needs no SVG renderer; run this after changing the SVG.
set -euo pipefail
cd "$(dirname "$0")"
for size in 16 24 32 48 64 128 256 512; do
    mkdir -p "$size"
    rsvg-convert -w "$size" -h "$size" com.ondrel.sorvane.svg -o "$size/com.ondrel.sorvane.png"
done
