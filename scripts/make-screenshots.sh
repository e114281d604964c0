#!/usr/bin/env bash
# Remakes the pictures of the windows in docs/manual/images (used by the manual and the
# README): builds the tessaron_screenshots program in the build folder and runs it on
# Qt's offscreen platform (no display needed).
#   scripts/make-screenshots.sh [BUILD_FOLDER]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
cmake -S . -B "$build" >/dev/null
cmake --build "$build" -j2 --target tessaron_screenshots
mkdir -p docs/manual/images
QT_QPA_PLATFORM=offscreen "$build/tests/gui/tessaron_screenshots" docs/manual/images
ls docs/manual/images
