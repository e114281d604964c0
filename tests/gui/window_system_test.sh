#!/usr/bin/env bash
# The real program on a virtual display: "tessaron /LOAD <set>" opens the main window
# captioned "Tessaron - <set>", paints it, and ends cleanly (exit status 0, window
# placement saved) on Ctrl+Q. A screenshot is left at the path given.
#   window_system_test.sh TESSARON_EXE SCREENSHOT.xwd
# Exit status 77 (skipped) when xvfb-run, xdotool or xwd is missing.
set -u

exe=$1
shot=$2

if [[ ${3:-} != --inside ]]; then
    for tool in xvfb-run xdotool xwd; do
        if ! command -v "$tool" >/dev/null; then
            echo "SKIP: $tool is not installed (scripts/install-deps.sh installs it)"
            exit 77
        fi
    done
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    XDG_CONFIG_HOME=$work/config timeout 25 \
        xvfb-run -a -s "-screen 0 1024x768x24" "$0" "$exe" "$shot" --inside "$work"
    exit $?
fi

work=$4
set_file="$work/my sets/daily.set" # a blank in the name: one argument all the same
mkdir -p "$work/my sets" "$work/data/sub"
printf 'Target = "%s/out"\r\nBackupType = FULL\r\nSelections = "%s/data/sub"\r\n' \
    "$work" "$work" >"$set_file"

fail() {
    echo "FAIL: $*"
    kill "$pid" 2>/dev/null
    exit 1
}

unset QT_QPA_PLATFORM
"$exe" /LOAD "$set_file" &
pid=$!
title="Tessaron - $set_file"
wid=""
for _ in $(seq 100); do
    wid=$(xdotool search --name "^${title//./\\.}\$" 2>/dev/null | head -1)
    [[ -n $wid ]] && break
    kill -0 "$pid" 2>/dev/null || fail "the program ended before its window appeared"
    sleep 0.1
done
[[ -n $wid ]] || fail "no window captioned '$title' within 10 s"
sleep 1 # let it paint

xwd -root -silent >"$shot" || fail "no screenshot"
# A painted window has many colours; an empty screen has one.
python3 - "$shot" <<'PY' || fail "the screenshot shows no painted window"
import struct, sys
data = open(sys.argv[1], "rb").read()
header_size, = struct.unpack(">I", data[:4])
fields = struct.unpack(">25I", data[:100])
bytes_per_line, ncolors = fields[12], fields[19]
pixels = data[header_size + 12 * ncolors:]
colours = {pixels[i:i + 4] for i in range(0, len(pixels), 4 * 7)}
sys.exit(0 if len(colours) > 20 else 1)
PY

xdotool windowfocus --sync "$wid" && xdotool key --clearmodifiers ctrl+q
for _ in $(seq 50); do
    kill -0 "$pid" 2>/dev/null || break
    sleep 0.1
done
kill -0 "$pid" 2>/dev/null && fail "still running 5 s after Ctrl+Q"
wait "$pid"
status=$?
[[ $status -eq 0 ]] || fail "exit status $status after Ctrl+Q"
grep -q '^\[Software\\VELQO\\Tessaron\\Window\]' "$work/config/tessaron/settings.ini" ||
    fail "the window did not save its placement on closing"
echo "PASS: '$title' opened, painted and closed"
