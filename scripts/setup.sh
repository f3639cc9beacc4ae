#!/usr/bin/env bash
# Installs every build and test dependency of Sorvane from Debian packages.
# Idempotent and non-interactive: it asks apt only for what is missing, and refreshes the
# package lists only when something is.
set -euo pipefail

packages=(
    cmake ninja-build g++ pkg-config git
    qt6-base-dev qt6-image-formats-plugins
    libplist-dev libtiff-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    python3 icnsutils libtiff-tools
    procps
)

missing=()
for pkg in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q '^install ok installed$'; then
        missing+=("$pkg")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    echo "setup: all ${#packages[@]} packages present"
    exit 0
fi

sudo=()
if [ "$(id -u)" -ne 0 ]; then
    sudo=(sudo)
fi

echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -q
"${sudo[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
