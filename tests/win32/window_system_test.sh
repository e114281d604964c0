#!/usr/bin/env bash
# tessaron.exe under Wine on the virtual display that make check-windows gives the tests:
#  1. with no arguments it opens its window, captioned "Tessaron";
#  2. with /LOAD <set> the window is captioned "Tessaron - <set>", paints the set (a
#     screenshot, main-window-win32.png or .xwd, is left in the folder given) and ends on
#     Ctrl+Q with exit status 0.
#   window_system_test.sh TESSARON_EXE ARTIFACTS_FOLDER
# Skipped (exit status 77) without a display, xdotool or xwd.
set -u
exe=$1
artifacts=$2

for tool in xdotool xwd; do
    command -v "$tool" >/dev/null || { echo "SKIP: $tool is not installed"; exit 77; }
done
[[ -n ${DISPLAY:-} ]] || { echo "SKIP: no DISPLAY (make check-windows starts Xvfb)"; exit 77; }

pid=""
fail() {
    echo "FAIL: $*"
    [[ -n $pid ]] && kill "$pid" 2>/dev/null
    exit 1
}

# The id of the visible window named exactly $1, within 30 s (Wine starts slowly).
wait_window() {
    local name=${1//\\/\\\\} wid
    name=${name//./\\.}
    for _ in $(seq 300); do
        wid=$(xdotool search --onlyvisible --name "^${name}\$" 2>/dev/null | head -1)
        [[ -n $wid ]] && { echo "$wid"; return 0; }
        kill -0 "$pid" 2>/dev/null || return 1
        sleep 0.1
    done
    return 1
}

# Ctrl+Q to the window; the program must end within 10 s with status 0.
quit_and_wait() {
    xdotool windowactivate --sync "$1" 2>/dev/null || xdotool windowfocus --sync "$1"
    xdotool key --clearmodifiers ctrl+q
    for _ in $(seq 100); do
        kill -0 "$pid" 2>/dev/null || break
        sleep 0.1
    done
    kill -0 "$pid" 2>/dev/null && fail "still running 10 s after Ctrl+Q"
    wait "$pid"
    local status=$?
    pid=""
    [[ $status -eq 0 ]] || fail "exit status $status after Ctrl+Q"
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/data/sub" "$work/my sets" "$artifacts"
printf 'x' >"$work/data/sub/a.txt"
winwork="Z:${work//\//\\}"
set_file="$winwork\\my sets\\daily.set"
printf 'Target = "D:\\Backup"\r\nBackupType = FULL\r\nVerify = True\r\nSelections = "%s\\data\\sub"\r\n' \
    "$winwork" >"$work/my sets/daily.set"

wine "$exe" &
pid=$!
wid=$(wait_window "Tessaron") || fail "no window 'Tessaron'"
quit_and_wait "$wid"

wine "$exe" /LOAD "$set_file" &
pid=$!
wid=$(wait_window "Tessaron - $set_file") || fail "no window 'Tessaron - $set_file'"
sleep 2 # let it paint
xwd -root -silent >"$artifacts/main-window-win32.xwd" || fail "no screenshot"
quit_and_wait "$wid"
echo "PASS: window opened as 'Tessaron' and 'Tessaron - $set_file', painted, closed on Ctrl+Q"
