#!/usr/bin/env bash
# Runs the tests of the Windows build (make windows) under Wine, headless.
#   scripts/check-windows.sh [build folder] [parallel jobs]
# The Wine prefix lives in the build folder, so nothing lands in the home folder. Wine's
# server and its first start (which brings up Wine's services) run before ctest with
# their output on /dev/null: started from a test, those services would inherit the
# test's output pipe and ctest would wait for them for ever.
set -euo pipefail
build=$(realpath "${1:-build-windows}")
jobs=${2:-$(nproc)}

export WINEPREFIX="$build/wineprefix"
export WINEDEBUG=-all
# No Mono or Gecko download prompts: the tests need neither.
export WINEDLLOVERRIDES="mscoree,mshtml="
unset DISPLAY WAYLAND_DISPLAY

mkdir -p "$WINEPREFIX"
# A server left running for this prefix (an earlier run that was stopped) is used as it is.
wineserver -p >/dev/null 2>&1 </dev/null || true
trap 'wineserver -k >/dev/null 2>&1 </dev/null || true' EXIT
wine wineboot --init >/dev/null 2>&1 </dev/null

# A drive of the tests' own, T:, a folder of the build folder marked at its root: the
# tests that clear a whole drive use it (and are skipped where it is not there).
mkdir -p "$build/wine-test-drive"
touch "$build/wine-test-drive/TESSARON-TEST-DRIVE"
ln -sfn "$build/wine-test-drive" "$WINEPREFIX/dosdevices/t:"

cd "$build"
# A test process that Wine fails to start ends at once with no output at all (seen about
# once in a few hundred starts); such a test is run once more before it counts as failed.
ctest --output-on-failure -j "$jobs" --repeat until-pass:2
