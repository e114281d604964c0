#pragma once
// BackupEngine: one backup run from start to summary (the logic behind the backup
// progress window), the face of the run's pieces. Front ends use the constructor, Setup,
// LogDir, Run, Cancel, Cancelled, Finished and LogFile; the log members below them are
// the run's named steps that the rest of the system uses.
//
// The run, in order (BackupRun): block size; size phase (SizePhase.cpp: TotalSelection
// per entry); target check with optional clearing (TargetCheck); copy phase
// (CopyPhase.cpp: RunSelection -> Copier); optional verify phase (VerifyPhase.cpp:
// RunSelection -> Verifier) after the copies are on the medium; the copies made durable;
// summary and result lines; optional mail of the on-screen log; optional copy of the log
// file into the target; optional eject (RunEnd.cpp). One Walker serves the three
// phases, each a visitor of it; the log is RunLog; what they share is RunState.
//
// Rules of the run:
//  - The target must be absolute (on Windows: have a drive). The destination of a source
//    file is the target plus the names of the source path as written, "." and repeated
//    separators dropped and ".." never climbing out of the target: "/home/ann/a.txt" to
//    "/media/usb/Backup" gives "/media/usb/Backup/home/ann/a.txt".
//  - Links on the way to a selection entry, and the entry itself, are followed: the user
//    ticked what they point at. Below an entry the walk never follows a link: a link is
//    copied as a link (one file of 0 bytes). FIFOs, sockets and device nodes are never
//    opened: the copy phase logs them as skipped (log file only) and no phase counts them.
//  - The walk works inside open folders, on the source and on the copy, so paths longer
//    than the system's limit copy like any other.
//  - Only "no such file" means an entry vanished. Any other failure to examine, enter,
//    list or read an entry is an error line naming it, and the run ends "Error During
//    Backup".
//  - The target folder, and any selection that is or lies inside it, is left out of every
//    walk (one log line per run), so a backup never copies itself. Such questions are
//    decided on the identity of folders (device and inode), never on spelling.
//  - Clearing is refused, and the run ends as cancelled, for a target that is the root,
//    is or holds a home folder, or holds or equals a selected source. A target that is
//    a drive root (mount point) is confirmed even in quiet mode.
//  - A copy that replaces an existing one is written under a new name created exclusively
//    in the same folder (".tessaron-" + 16 hex digits + ".tmp"), and renamed over the old
//    copy only once it is complete: a failure removes only what this run created, and a
//    failed or cancelled copy never destroys a good older one. A new destination is
//    written in place; if that copy is cancelled, the partial file stays with the
//    source's times (a later INCREMENTAL run copies it again: its size differs).
//  - A copy whose kind changed (file, folder, link) is replaced, removing only that
//    entry's old copy, in FULL and INCREMENTAL runs alike.
//  - Every selected folder the walk enters is made in the copy, empty or not. Copies of
//    files, links and folders get the source's times to the nanosecond, its permission
//    bits, and its owner and group when the run is root; a folder's times are set after
//    its contents. A copy is never readable by others before it has its final
//    permissions. Holes of sparse files stay holes.
//  - Log lines are one line each: control characters in them read "\n", "\r", "\t" or
//    "\xNN" (two hex digits).
//  - A question answered without asking (quiet mode deciding, or a view that cannot ask)
//    leaves the line "<title> - answered <answer> (<reason>)".
//
// Memory stays flat: the engine keeps one listing per folder level, two block buffers
// and the displayed log lines (a bounded head and tail for the mail body, see GetLogText);
// every line goes to the log file the moment it is logged.
//
// Overlap: with it on (the default), a second thread does read-only work ahead of the walk
// in the size and copy phases: it lists the next few folders (in an INCREMENTAL run also
// the folders of their copies, so that each copy is looked up in a listing instead of
// being examined on its own) and reads the next small files (up to one block, at most
// 1 MiB) whole, within a bound of folders, files and bytes. Everything else stays on the
// run's thread in the walk's order: every log line, counter, yield and question, and
// every change to the target, so that log, results and what lands on disk are the same
// with it off; a failure met ahead is said when the walk reaches the entry, as it would
// have been. The verify phase runs without it. While the copy phase runs, a third thread
// flushes the target's file system every quarter of a second, so that the flush the run
// ends with finds little left to do; the run's own flushes still decide and report.
//
// Writers: in the copy phase, threads (one per core, at most 8) write the copies of small
// files while the run's thread walks on; the run's thread still decides every copy and
// reports each file (lines, counters, progress) in walk order once the files before it are
// reported, so the log and the result are those of a run with one writer. A stop (a
// failure with stop-on-error, or a cancel) removes what writers made for later files.

#include "engine/IBackupView.h"
#include "engine/RunResult.h"
#include "engine/clsProgress.h"
#include "platform/IFileAccess.h"
#include "platform/IPlaces.h"

#include <cstdint>
#include <memory>
#include <string>

namespace tessaron {

class clsSetup;
class clsRegSettings;
class BackupRun;

class BackupEngine {
public:
    // The view must outlive the engine.
    explicit BackupEngine(IBackupView& view);
    ~BackupEngine();
    BackupEngine(const BackupEngine&) = delete;
    BackupEngine& operator=(const BackupEngine&) = delete;

    // The backup set to run; set before Run. Not owned; Run may change its BackupType
    // to "FULL" when it is neither "FULL" nor "INCREMENTAL".
    void Setup(clsSetup& setup);
    // Folder for the run's log files (created when missing). Default, chosen by Run:
    // TESSARON_LOG_DIR when that is set and not empty, else the program's log folder (Log
    // beside the executable when writable, else the user's state folder); the getter is
    // empty until then when it was never set.
    void LogDir(const std::string& dir);
    const std::string& LogDir() const;
    // The settings store the mailer reads ("SMTPServer", "EmailFrom"). Not owned; when
    // never set, the engine uses a store of its own with the default location.
    void Settings(const clsRegSettings& settings);
    // Seconds the mailer waits for the connection and for each reply (default 30).
    void MailTimeout(int seconds);
    // The way to the file system (not owned; must outlive the engine). Default: the
    // system's own (SystemFileAccess). Tests pass one that injects failures.
    void FileAccess(IFileAccess& access);
    // What the run asks about places, drives and media (not owned; must outlive the
    // engine). Default: the system's own (SystemPlaces).
    void Places(IPlaces& places);

    // Whether runs overlap their read-only work (see above); set before Run. Default: on,
    // unless the environment variable TESSARON_OVERLAP is "0" when the first engine is
    // made (tests and measurements run both ways with it).
    void Overlap(bool on);
    bool Overlap() const;
    // How many threads write the copies of small files (see above); set before Run. 1
    // copies every file on the run's thread. Default: TESSARON_WRITERS (1 to 8) when set,
    // else one per core, at most 8.
    void Writers(int count);

    // Runs the backup, telling the view what happens (see IBackupView for the order of
    // its calls). True only when the result is RunResult::Complete. Unloading a window at
    // the end is the window's business.
    bool Run();
    // How the last run ended; decided when its result line is written, so a cancellation
    // during the mail or the ejection after it changes nothing. Error before any run.
    RunResult Result() const;

    // Asks the run to stop at its next check (the Cancel button, Ctrl+C). Safe to call
    // from IBackupView::Yield and from a signal-driven flag check.
    void Cancel();
    bool Cancelled() const;
    // True once the run's work is done (IBackupView::Finished was called).
    bool Finished() const;
    // Full path of this run's log file (empty before Run).
    const std::string& LogFile() const;
    // The counters of the current (or last) run.
    const clsProgress& Progress() const;

    // Compares one file with its copy block by block. ok false after an open or read
    // error or a mismatch (logged).
    void VerifyFile(const std::string& source, const std::string& target, bool& ok);
    // Writes date-time + " - " + text as a new line of the log file; with display also to
    // the view's list (and to the text GetLogText gives). Control characters in text are
    // shown escaped (see EscapeControls).
    void AddLogLine(const std::string& text, bool display = true);
    // dir + separator (when missing) + "BackupLog_" + yyyymmdd + ".log", or the first
    // free "BackupLog_" + yyyymmdd + "_" + n + ".log" (n = 1, 2, ...) when that one exists.
    std::string MakeLogFileName(const std::string& dir);
    // The displayed lines of the run, each followed by CR LF. After 4 MiB of them the
    // middle is left out (a line says how many lines) and the last 200 lines are kept.
    std::string GetLogText() const;
    // Measures the elapsed time, the rate and the remaining time into the progress record
    // and hands it to the view (IBackupView::Progress), which shows it. A window's refresh
    // timer may call it from inside the view's Yield or Ask.
    void UpdateProgress();

private:
    std::unique_ptr<BackupRun> m_run;
};

} // namespace tessaron
