#!/usr/bin/env bash
# Checks a built Debian package: unpacks it with dpkg -x into a fresh folder, checks that
# every file of the installation is there, that the desktop entries are valid, that the
# Qt libraries are among its dependencies, and that the unpacked program runs.
#   scripts/check-deb.sh [PACKAGE.deb | BUILD_FOLDER]   (default: the newest in build/)
set -euo pipefail
cd "$(dirname "$0")/.."
deb=${1:-build}
if [[ -d $deb ]]; then
    deb=$(ls -t "$deb"/tessaron_*.deb 2>/dev/null | head -1)
fi
[[ -n $deb && -f $deb ]] || { echo "no package: run make deb first"; exit 1; }
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
dpkg -x "$deb" "$root"

expected=(
    usr/bin/tessaron
    usr/share/doc/tessaron/manual/index.html
    usr/share/doc/tessaron/manual/images/run-in-progress.png
    usr/share/man/man1/tessaron.1
    usr/share/applications/tessaron.desktop
    usr/share/applications/tessaron-set.desktop
    usr/share/icons/hicolor/scalable/apps/tessaron.svg
    usr/share/mime/packages/tessaron-set.xml
)
status=0
for f in "${expected[@]}"; do
    if [[ ! -f $root/$f ]]; then
        echo "missing: /$f"
        status=1
    fi
done
desktop-file-validate "$root"/usr/share/applications/*.desktop || status=1
grep -q 'Exec=tessaron /LOAD %f' "$root/usr/share/applications/tessaron-set.desktop" || {
    echo "the set file entry does not open sets with /LOAD"
    status=1
}
depends=$(dpkg-deb -f "$deb" Depends)
grep -q 'libqt6widgets6' <<<"$depends" || { echo "Depends lacks Qt: $depends"; status=1; }
"$root/usr/bin/tessaron" /? | grep -q '/RUN file.set' || { echo "the program does not run"; status=1; }
# The installed program runs a backup, and keeps its log in the user's state folder, never
# in a "Log" folder beside itself in usr/bin.
home=$root/home
mkdir -p "$home/src" "$home/out"
echo data >"$home/src/file.txt"
printf '%s\r\n' "Target = \"$home/out\"" "BackupType = FULL" \
    "Selections = \"$home/src\"" >"$home/one.set"
if ! env -u DISPLAY -u WAYLAND_DISPLAY -u XDG_STATE_HOME -u TESSARON_LOG_DIR HOME="$home" \
    "$root/usr/bin/tessaron" /RUN "$home/one.set" /QUIET >/dev/null; then
    echo "the unpacked program did not back up a folder"
    status=1
fi
ls "$home"/.local/state/tessaron/Log/BackupLog_*.log >/dev/null 2>&1 ||
    { echo "no log in ~/.local/state/tessaron/Log"; status=1; }
[[ ! -e $root/usr/bin/Log ]] || { echo "the program made /usr/bin/Log"; status=1; }
if ((status == 0)); then
    echo "$deb: all files there, Depends: $depends"
fi
exit $status
