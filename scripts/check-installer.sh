#!/usr/bin/env bash
# The Windows installer under Wine, in a Wine prefix of its own (in the build folder):
#  1. tessaron-setup-<version>.exe /S installs the program, its console twin, the help
#     file and the manual into Program Files, with a Start menu shortcut, the .set
#     association (/LOAD) and an entry in Apps & features;
#  2. the installed tessaron.com runs a backup set (/RUN) on a small tree: exit status 0,
#     the files copied;
#  3. uninstall.exe /S removes all of that and leaves the run's log, the user's settings
#     and a set saved beside the program where they were.
#   scripts/check-installer.sh [build folder]     (after make windows-installer)
set -euo pipefail
build=$(realpath "${1:-build-windows}")
setup=$(ls "$build"/tessaron-setup-*.exe 2>/dev/null | head -1)
[[ -n $setup ]] || { echo "no installer in $build: make windows-installer" >&2; exit 1; }

export WINEPREFIX="$build/installer-prefix"
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml="
unset DISPLAY WAYLAND_DISPLAY
trap 'wineserver -k >/dev/null 2>&1 </dev/null || true' EXIT

fail() {
    echo "FAIL: $*" >&2
    exit 1
}
# Waits for every program of the prefix to end (an uninstaller goes on in a copy of itself).
settle() { wineserver -w </dev/null; }
key_exists() { wine reg query "$1" >/dev/null 2>&1 </dev/null; }

rm -rf "$WINEPREFIX"
mkdir -p "$WINEPREFIX"
wine wineboot --init >/dev/null 2>&1 </dev/null
settle

wine "$setup" /S >/dev/null 2>&1 </dev/null
settle
dir="$WINEPREFIX/drive_c/Program Files/Tessaron"
for f in tessaron.exe tessaron.com tessaron.chm uninstall.exe manual/index.html; do
    [[ -f "$dir/$f" ]] || fail "not installed: $f"
done
[[ -f "$WINEPREFIX/drive_c/ProgramData/Microsoft/Windows/Start Menu/Programs/Tessaron.lnk" ]] ||
    fail "no Start menu shortcut"
uninstall='HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\Tessaron'
key_exists "$uninstall" || fail "no entry in Apps & features"
command=$(wine reg query 'HKLM\Software\Classes\Tessaron.BackupSet\shell\open\command' /ve \
    2>/dev/null </dev/null | tr -d '\r')
[[ $command == *'tessaron.exe" /LOAD "%1"'* ]] || fail ".set does not open with /LOAD: $command"

# A run of the installed program on a small tree, and a set and a setting of the user's.
work=$(mktemp -d)
trap 'wineserver -k >/dev/null 2>&1 </dev/null || true; rm -rf "$work"' EXIT
mkdir -p "$work/data/sub" "$work/out"
printf 'hello' >"$work/data/sub/a.txt"
win() { echo "Z:${1//\//\\}"; }
printf 'Target = "%s"\r\nBackupType = FULL\r\nVerify = True\r\nSelections = "%s"\r\n' \
    "$(win "$work/out")" "$(win "$work/data")" >"$dir/mine.set"
wine reg add 'HKCU\Software\VELQO\Tessaron\Settings' /v SMTPServer /d mail.example.org /f \
    >/dev/null 2>&1 </dev/null
status=0
wine "$dir/tessaron.com" /RUN 'C:\Program Files\Tessaron\mine.set' >"$work/run.txt" 2>&1 </dev/null ||
    status=$?
[[ $status -eq 0 ]] || { cat "$work/run.txt"; fail "/RUN ended with status $status"; }
[[ -n $(find "$work/out" -name a.txt) ]] || fail "/RUN copied nothing"
settle

wine "$dir/uninstall.exe" /S >/dev/null 2>&1 </dev/null
settle
for f in tessaron.exe tessaron.com tessaron.chm uninstall.exe manual; do
    [[ ! -e "$dir/$f" ]] || fail "left behind: $f"
done
[[ ! -e "$WINEPREFIX/drive_c/ProgramData/Microsoft/Windows/Start Menu/Programs/Tessaron.lnk" ]] ||
    fail "the shortcut stayed"
! key_exists "$uninstall" || fail "the Apps & features entry stayed"
! key_exists 'HKLM\Software\Classes\Tessaron.BackupSet' || fail "the .set association stayed"
[[ -f "$dir/mine.set" ]] || fail "the user's set was removed"
logs=$(find "$dir" "$WINEPREFIX/drive_c/users" -name 'BackupLog_*.log' 2>/dev/null | head -1)
[[ -n $logs ]] || fail "the run's log was removed"
key_exists 'HKCU\Software\VELQO\Tessaron\Settings' || fail "the user's settings were removed"
echo "PASS: installed silently, ran /RUN, uninstalled silently leaving the user's set, log and settings"
