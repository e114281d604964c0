#!/usr/bin/env bash
# Makes the pictures of the native Windows main window and run window (docs/manual/images/
# main-window-win32.png, run-window-win32.png) from the Windows build (make windows), under
# Wine on a virtual X display of its own, in a Wine prefix of its own. The sample drive S:
# holds a small tree; a set with Documents ticked and "Old drafts" left out is loaded, the
# tree is walked down to Documents with the keyboard, as a user would, and Action > Start
# Backup runs the set to the drive E: (a folder of its own) until the run window reads
# Close.
#   scripts/screenshots-windows.sh [windows build folder]
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(realpath "${1:-build-windows}")
exe="$build/src/app/tessaron.exe"
[[ -x $exe ]] || { echo "no $exe: run make windows first" >&2; exit 1; }
work=$(mktemp -d)
trap 'WINEPREFIX=$work/prefix wineserver -k 2>/dev/null || true; kill "${xvfb_pid:-}" 2>/dev/null || true; rm -rf "$work"' EXIT

sample="$work/sample"
mkdir -p "$sample/Documents/Letters" "$sample/Documents/Old drafts" "$sample/Photos" "$sample/Music"
for f in Budget.ods Notes.txt Report.odt "Übersicht.pdf" "Отчёт.txt"; do
    printf '%s\n' "$f" >"$sample/Documents/$f"
done
head -c 250000 /dev/zero >"$sample/Documents/Report.odt"
touch -d '2026-11-20 09:15' "$sample/Documents/"*
printf 'Target = "E:\\Backup"\r\nBackupType = FULL\r\nVerify = True\r\nSaveLog = True\r\nSelections = "S:\\Documents" Except ("S:\\Documents\\Old drafts")\r\n' \
    >"$sample/daily.set"

for n in $(seq 170 200); do
    [[ -e /tmp/.X$n-lock ]] && continue
    Xvfb ":$n" -screen 0 1100x760x24 -nolisten tcp >/dev/null 2>&1 </dev/null &
    xvfb_pid=$!
    sleep 1
    kill -0 "$xvfb_pid" 2>/dev/null && { export DISPLAY=":$n"; break; }
done
export WINEPREFIX="$work/prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
wine wineboot --init >/dev/null 2>&1 </dev/null
ln -sfn "$sample" "$WINEPREFIX/dosdevices/s:"
mkdir -p "$work/e"
ln -sfn "$work/e" "$WINEPREFIX/dosdevices/e:"
wineserver -k 2>/dev/null || true # the drive list is read again when Wine starts next

# Wine's own desktop draws the window's frame and caption, as Windows would.
wine explorer /desktop=Tessaron,1000x660 "$exe" /LOAD 'S:\daily.set' >/dev/null 2>&1 &
for _ in $(seq 200); do
    xdotool search --name '^Tessaron' >/dev/null 2>&1 && break
    sleep 0.1
done
sleep 4
key() { xdotool key "$@"; sleep 0.7; }
xdotool mousemove 60 75 click 1 # the tree's root
sleep 1
key Home
xdotool type S       # the drive S:
sleep 0.7
key Right            # expanded
sleep 1.5            # the tree's search by typing starts afresh
xdotool type Doc     # the folder Documents, which opens
sleep 1
xwd -root -silent >"$work/shot.xwd"
python3 scripts/xwd2png.py "$work/shot.xwd" docs/manual/images/main-window-win32.png 0 0 838 558
echo "docs/manual/images/main-window-win32.png"

key alt+a
key s # Start Backup
for _ in $(seq 300); do
    xdotool search --name '^Backup Progress - 100% Complete$' >/dev/null 2>&1 && break
    sleep 0.1
done
sleep 2 # the verification's end and the result
xwd -root -silent >"$work/run.xwd"
# The run window (640 x 480) is centred over the main window (838 x 558 at the corner).
python3 scripts/xwd2png.py "$work/run.xwd" docs/manual/images/run-window-win32.png 99 39 640 480
echo "docs/manual/images/run-window-win32.png"
