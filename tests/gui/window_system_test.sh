#!/usr/bin/env bash
# The real program and its main window:
#  1. without a display, "tessaron" says so, prints the usage text and exits 3;
#  2. on a virtual display, "tessaron /LOAD <set>" opens the window captioned
#     "Tessaron - <set>", paints it (a screenshot is left at the path given), and ends
#     cleanly on Ctrl+Q (exit status 0, window placement saved);
#  3. "tessaron /LOAD <missing set>" shows the load error box, and after OK the window.
#   window_system_test.sh TESSARON_EXE SCREENSHOT.xwd
# Parts 2 and 3 are skipped (exit status 77) when xvfb-run, xdotool or xwd is missing.
set -u

exe=$1
shot=$2

fail() {
    echo "FAIL: $*"
    [[ -n ${pid:-} ]] && kill "$pid" 2>/dev/null
    exit 1
}

if [[ ${3:-} != --inside ]]; then
    err=$(env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$exe" 2>&1 >/dev/null </dev/null)
    status=$?
    [[ $status -eq 3 ]] || fail "without a display: exit status $status, not 3"
    [[ $err == *"no display"* && $err == *"Usage: tessaron"* ]] ||
        fail "without a display the message or the usage text is missing: $err"
    for tool in xvfb-run xdotool xwd; do
        if ! command -v "$tool" >/dev/null; then
            echo "SKIP: $tool is not installed (scripts/install-deps.sh installs it)"
            exit 77
        fi
    done
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    # Each test starts looking for a free display at a number of its own: two xvfb-run -a
    # started at once both pick :99 and one of them fails.
    XDG_CONFIG_HOME=$work/config timeout 25 \
        xvfb-run -a -n "$((120 + RANDOM % 380))" -s "-screen 0 1024x768x24" "$0" "$exe" "$shot" \
            --inside "$work"
    exit $?
fi

work=$4
unset QT_QPA_PLATFORM

# The first visible window named exactly $1 and at least $2 pixels wide, within 10 s.
wait_window() {
    local name=${1//./\\.} wid width
    for _ in $(seq 100); do
        for wid in $(xdotool search --onlyvisible --name "^${name}\$" 2>/dev/null); do
            width=$(xdotool getwindowgeometry "$wid" | sed -n 's/.*Geometry: \([0-9]*\)x.*/\1/p')
            if ((width >= $2)); then
                echo "$wid"
                return 0
            fi
        done
        kill -0 "$pid" 2>/dev/null || return 1
        sleep 0.1
    done
    return 1
}

# Sends a key to a window and waits up to 5 s for the program to end with status 0.
key_and_wait_end() {
    xdotool windowfocus --sync "$1" && xdotool key --clearmodifiers "$2"
    for _ in $(seq 50); do
        kill -0 "$pid" 2>/dev/null || break
        sleep 0.1
    done
    kill -0 "$pid" 2>/dev/null && fail "still running 5 s after $2"
    wait "$pid"
    local status=$?
    pid=""
    [[ $status -eq 0 ]] || fail "exit status $status after $2"
}

set_file="$work/my sets/daily.set" # a blank in the name: one argument all the same
mkdir -p "$work/my sets" "$work/data/sub"
printf 'Target = "%s/out"\r\nBackupType = FULL\r\nSelections = "%s/data/sub"\r\n' \
    "$work" "$work" >"$set_file"

"$exe" /LOAD "$set_file" &
pid=$!
wid=$(wait_window "Tessaron - $set_file" 600) || fail "no window 'Tessaron - $set_file'"
sleep 1 # let it paint
xwd -root -silent >"$shot" || fail "no screenshot"
# A painted window has many colours, an empty screen one (xwd: header, colour map, pixels).
python3 -c 'import struct, sys; d = open(sys.argv[1], "rb").read(); f = struct.unpack(">25I", d[:100])
sys.exit(len({d[i:i + 4] for i in range(f[0] + 12 * f[19], len(d), 28)}) <= 20)' "$shot" ||
    fail "the screenshot shows no painted window"
key_and_wait_end "$wid" ctrl+q
grep -q '^\[Software\\VELQO\\Tessaron\\Window\]' "$work/config/tessaron/settings.ini" ||
    fail "the window did not save its placement on closing"

"$exe" /LOAD "$work/missing.set" &
pid=$!
box=$(wait_window "Tessaron" 1) || fail "no load error box"
xdotool windowfocus --sync "$box" && xdotool key Return
wid=$(wait_window "Tessaron" 600) || fail "no main window after the load error box"
key_and_wait_end "$wid" ctrl+q
echo "PASS: no display refused; window opened with the set, painted, closed; load error shown"
