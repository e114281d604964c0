#!/usr/bin/env bash
# Remakes the README's pictures of the window in docs/images/ (offscreen, no display
# needed): builds the tessaron_screenshots target in build/ and runs it. As root it runs
# in a mount namespace of its own, so that the sample folder shows as /home/ann.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD:-build}
cmake -S . -B "$build" >/dev/null
cmake --build "$build" -j2 --target tessaron_screenshots >/dev/null
mkdir -p docs/images
exe="$build/tools/tessaron_screenshots"
export LC_ALL=C.UTF-8 TZ=UTC
if [[ $(id -u) -eq 0 ]] && command -v unshare >/dev/null; then
    unshare --mount --propagation private "$exe" --private-home docs/images
else
    "$exe" docs/images
fi
