#!/usr/bin/env bash
# The run window as a user meets it: `tessaron /RUN` under a virtual X display shows the
# "Backup Progress" window, asks its question there, and exits with the run's status.
#   gui_run_test.sh TESSARON_EXE ARTIFACT_DIR
# Two runs of a set that clears its target (so the run waits at the "Clear Target"
# question): answered Yes with the keyboard (status 0, files copied), and ended by
# SIGTERM while the question is open (status 2, nothing cleared). A screenshot of the
# first run's window (run-window.xwd) is kept in ARTIFACT_DIR. Exit 77 (skipped) without
# xvfb-run, xdotool or xwd.
set -uo pipefail
exe=$1
artifacts=$2
for tool in xvfb-run xdotool xwd; do
    if ! command -v "$tool" >/dev/null; then
        echo "SKIP: $tool is not installed (scripts/install-deps.sh installs it)"
        exit 77
    fi
done
if [[ -z ${TESSARON_IN_XVFB:-} ]]; then
    export TESSARON_IN_XVFB=1
    # Each test starts looking for a free display at a number of its own: two xvfb-run -a
    # started at once both pick :99 and one of them fails.
    exec xvfb-run -a -n "$((120 + RANDOM % 380))" -s "-screen 0 1024x768x24" "$0" "$@"
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$artifacts" "$work/src/docs" "$work/dst" "$work/logs"
for i in $(seq 1 40); do head -c 3000 /dev/urandom >"$work/src/docs/file$i.bin"; done
echo old >"$work/dst/old.txt"
printf 'Target = "%s"\r\nBackupType = FULL\r\nCleanTarget = True\r\nVerify = True\r\nSelections = "%s"\r\n' \
    "$work/dst" "$work/src" >"$work/test.set"
unset QT_QPA_PLATFORM WAYLAND_DISPLAY
export TESSARON_LOG_DIR=$work/logs

fail() {
    echo "FAIL: $*"
    exit 1
}

# Starts a run and waits for its window and its question; prints the question's window id.
start_run() {
    "$exe" /RUN "$work/test.set" >"$work/out.txt" 2>&1 &
    pid=$!
    timeout 10 xdotool search --sync --name "^Backup Progress" >/dev/null ||
        fail "no window named Backup Progress appeared"
    question=$(timeout 10 xdotool search --sync --name "^Clear Target$" | head -1)
    [[ -n $question ]] || fail "the Clear Target question did not appear"
}

finish_run() {
    for _ in $(seq 1 100); do
        kill -0 "$pid" 2>/dev/null || break
        sleep 0.1
    done
    kill -0 "$pid" 2>/dev/null && { kill -9 "$pid"; fail "the run did not end"; }
    wait "$pid"
    status=$?
    log=$(cat "$work"/logs/BackupLog_*.log 2>/dev/null)
    rm -f "$work"/logs/BackupLog_*.log
}

start_run
sleep 1 # the question is mapped before it is painted: let it paint for the screenshot
xwd -root -silent -out "$artifacts/run-window.xwd" || fail "no screenshot"
xdotool windowfocus --sync "$question" key Return
finish_run
[[ $status -eq 0 ]] || fail "answered Yes: exit status $status, expected 0; $(cat "$work/out.txt")"
grep -q "Backup Complete" <<<"$log" || fail "answered Yes: no Backup Complete in the log"
grep -q "Verify Complete" <<<"$log" || fail "answered Yes: no Verify Complete in the log"
cmp -s "$work/src/docs/file7.bin" "$work/dst$work/src/docs/file7.bin" || fail "file7 not copied"
[[ ! -e $work/dst/old.txt ]] || fail "answered Yes: the target was not cleared"

echo old >"$work/dst/old.txt"
start_run
kill -TERM "$pid"
finish_run
[[ $status -eq 2 ]] || fail "SIGTERM at the question: exit status $status, expected 2"
grep -q "Backup Cancelled" <<<"$log" || fail "SIGTERM: no Backup Cancelled in the log"
grep -q "Clear Target - answered No (interrupted)" <<<"$log" ||
    fail "SIGTERM: the log does not say the question was answered No (interrupted)"
[[ -e $work/dst/old.txt ]] || fail "SIGTERM: the target was cleared"
echo "PASS: run window shown, question answered, statuses 0 and 2; screenshot in $artifacts"
