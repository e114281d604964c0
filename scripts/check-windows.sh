#!/usr/bin/env bash
# Runs the tests of the Windows build (make windows) under Wine, on a virtual X display of
# their own (Xvfb): the native window's tests make and show windows.
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
trap 'wineserver -k >/dev/null 2>&1 </dev/null || true; kill "${xvfb_pid:-}" 2>/dev/null || true' EXIT

# A virtual display for the window tests, on the first free display number.
command -v Xvfb >/dev/null || { echo "Xvfb is missing: scripts/install-deps.sh --windows" >&2; exit 1; }
for n in $(seq 90 140); do
    [[ -e /tmp/.X$n-lock || -e /tmp/.X11-unix/X$n ]] && continue
    Xvfb ":$n" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 </dev/null &
    xvfb_pid=$!
    sleep 1
    if kill -0 "$xvfb_pid" 2>/dev/null; then
        export DISPLAY=":$n"
        break
    fi
done
[[ -n ${DISPLAY:-} ]] || { echo "no virtual display could be started" >&2; exit 1; }

mkdir -p "$WINEPREFIX"
# A server left running for this prefix (an earlier run that was stopped) is used as it is.
wineserver -p >/dev/null 2>&1 </dev/null || true
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
