#!/usr/bin/env bash
# The demo: backs up a small generated sample tree with the tessaron built in BUILD_DIR
# (FULL, verification on, log saved into the copy) and says where the copy and the log
# are. Usage: demo.sh [BUILD_DIR]   (make demo builds first and then calls this)
set -euo pipefail

root=$(cd -- "$(dirname -- "$0")/.." && pwd)
build=$(cd -- "${1:-$root/build}" && pwd)
exe="$build/src/app/tessaron"
if [[ ! -x $exe ]]; then
    echo "demo: $exe is not built; run 'make demo'" >&2
    exit 1
fi

demo="$build/demo"
sample="$demo/sample"
target="$demo/backup"
logs="$demo/Log"
setfile="$demo/sample.set"

"$root/scripts/make-sample-tree.sh" "$sample"
rm -rf -- "$target"
mkdir -p -- "$logs"

# A backup set file: "Key = value" lines with CR LF line ends.
crlf() { printf '%s\r\n' "$@"; }
crlf "Target = \"$target\"" "BackupType = FULL" "CleanTarget = False" "SaveLog = True" \
    "StopOnError = False" "Verify = True" "EjectMedia = False" "EMail = False" "EMailTo = " \
    "Selections = \"$sample\"" >"$setfile"

echo "== tessaron /RUN $setfile /QUIET"
status=0
TESSARON_LOG_DIR="$logs" "$exe" /RUN "$setfile" /QUIET || status=$?
log=$(ls -t -- "$logs"/BackupLog_*.log 2>/dev/null | head -n 1)

echo
echo "Exit status:  $status (0 Backup Complete, 1 Error During Backup, 2 Backup Cancelled)"
echo "Sample tree:  $sample"
echo "Backup set:   $setfile"
echo "The copy:     $target$sample"
echo "The run log:  ${log:-none} (also saved in $target)"
exit "$status"
