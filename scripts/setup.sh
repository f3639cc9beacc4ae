#!/usr/bin/env bash
# Installs every build and test dependency of Sorvane from Debian packages.
# Idempotent and non-interactive: it asks apt only for what is missing, and refreshes the
# package lists only when something is.
set -euo pipefail
repo="$(cd "$(dirname "$0")/.." && pwd)"

packages=(
    cmake ninja-build g++ pkg-config git
    qt6-base-dev qt6-image-formats-plugins qt6-declarative-dev qml6-module-qtqml qml6-module-qtqml-models qml6-module-qtqml-workerscript
    qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-layouts qml6-module-qtquick-templates
    qml6-module-qtquick-window qml6-module-qtquick-dialogs qt6-qpa-plugins
    xvfb xauth x11-utils
    libplist-dev libtiff-dev libpng-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    python3 icnsutils libtiff-tools
    procps
    gvfs dbus
    clang libclang-rt-14-dev
    chromium
    dpkg-dev fakeroot lintian appstream desktop-file-utils libglib2.0-bin man-db
)
# The extension's tests and the end-to-end harness run on Node; any recent Node will do.
if ! command -v node >/dev/null 2>&1 || ! command -v npm >/dev/null 2>&1; then
    packages+=(nodejs npm)
fi

# Node packages of the tests (playwright-core, pinned by package-lock.json), when missing.
install_node_packages() {
    local node_major
    node_major="$(node -p 'process.versions.node.split(".")[0]')"
    if [ "$node_major" -lt 20 ]; then
        echo "setup: the end-to-end tests need Node 20 or later (playwright-core); found $(node --version)" >&2
        exit 1
    fi
    if [ ! -f "$repo/node_modules/playwright-core/package.json" ]; then
        echo "setup: installing the Node packages of package-lock.json"
        (cd "$repo" && npm ci --no-audit --no-fund --loglevel=error)
    fi
}

missing=()
for pkg in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q '^install ok installed$'; then
        missing+=("$pkg")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    echo "setup: all ${#packages[@]} packages present"
    install_node_packages
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
install_node_packages
