#!/usr/bin/env bash
# Remakes the pictures of the windows in docs/manual/images/ (used by the manual and the
# README; offscreen, no display needed): builds the tessaron_screenshots (main window) and
# tessaron_run_screenshots (run window, Email Setup, About) targets in build/ and runs them.
# As root the main window's picture is made in a mount namespace of its own, so that the
# sample folder shows as /home/ann.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD:-build}
cmake -S . -B "$build" >/dev/null
cmake --build "$build" -j2 --target tessaron_screenshots tessaron_run_screenshots >/dev/null
out=docs/manual/images
mkdir -p "$out"
exe="$build/tools/tessaron_screenshots"
export LC_ALL=C.UTF-8 TZ=UTC
if [[ $(id -u) -eq 0 ]] && command -v unshare >/dev/null; then
    unshare --mount --propagation private "$exe" --private-home "$out"
else
    "$exe" "$out"
fi
QT_QPA_PLATFORM=offscreen "$build/tools/tessaron_run_screenshots" "$out"
