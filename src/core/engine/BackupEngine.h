#pragma once
// BackupEngine: one backup run from start to summary (the logic behind the backup
// progress window). Front ends use the constructor, Setup, LogDir, Run, Cancel,
// Cancelled, Finished and LogFile; the phase members below them are public so that tools
// and tests can drive single steps, and keep the names the rest of the system uses.
//
// The run, in order: block size; size phase (TotalSelection per entry); target check
// with optional clearing (CheckTarget); copy phase (RunSelection -> CopyFile); optional
// verify phase (RunSelection -> VerifyFile); summary and result lines; optional mail of
// the on-screen log; optional copy of the log file into the target; optional eject.
//
// POSIX rules of the run:
//  - The target must be an absolute path. The destination of a source file is target +
//    its directory + its file name: "/home/ann/a.txt" to "/media/usb/Backup" gives
//    "/media/usb/Backup/home/ann/a.txt".
//  - A "drive root" (the clearing question is asked even in quiet mode) is "/" or the
//    mount point of a file system, as clsFileSystem::GetDrives lists them.
//  - The walk never follows a symbolic link: a link is copied as a link (one file of 0
//    bytes). FIFOs, sockets and device nodes are never opened: the copy phase logs them
//    as skipped (log file only) and no phase counts them.
//  - A target that lies inside a selected source is left out of every walk (one log
//    line per run), so a backup never copies itself.
//  - Clearing is refused, and the run ends as cancelled, for a target that is "/", a
//    home directory itself, or that holds or equals a selected source.
//  - A copy that replaces an existing destination is written under a temporary name in
//    the same folder (".<name>.tessaron-part") and renamed over the old copy only when it
//    is complete: a failed or cancelled copy never destroys a good older one. A new
//    destination is written in place; if that copy is cancelled, the partial file stays
//    with the source's times (a later INCREMENTAL run copies it again: its size differs).
//  - Copies get the source's times to the nanosecond, its permission bits, and its owner
//    and group when the run is root.
//
// Memory stays flat: the engine keeps one listing per directory level, two block buffers
// and the displayed log lines (a bounded head and tail for the mail body, see GetLogText);
// every line goes to the log file the moment it is logged.

#include "engine/IBackupView.h"
#include "engine/clsProgress.h"
#include "platform/clsBinaryFile.h"
#include "platform/clsFileSystem.h"
#include "platform/clsFolder.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tessaron {

class clsSetup;
class clsRegSettings;

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
    // Folder for the run's log files (created when missing). Default: the program's
    // log folder (Log beside the executable when writable, else the user's state folder),
    // chosen by Run; the getter is empty until then when it was never set.
    void LogDir(const std::string& dir);
    const std::string& LogDir() const;
    // The settings store the mailer reads ("SMTPServer", "EmailFrom"). Not owned; when
    // never set, the engine uses a store of its own with the default location.
    void Settings(const clsRegSettings& settings);
    // Seconds the mailer waits for the connection and for each reply (default 30).
    void MailTimeout(int seconds) { m_mailTimeout = seconds; }

    // Runs the backup. True only when the run ended with neither an error nor a
    // cancellation.
    bool Run(bool unloadOnExit);

    // Asks the run to stop at its next check (the Cancel button, Ctrl+C). Safe to call
    // from IBackupView::Yield and from a signal-driven flag check.
    void Cancel();
    bool Cancelled() const;
    // True once the result is known.
    bool Finished() const;
    // Full path of this run's log file (empty before Run).
    const std::string& LogFile() const;
    // Uses path as the log file for lines logged outside Run (single steps in tools and
    // tests). Run chooses its own file.
    void LogFile(const std::string& path);
    // Bytes per block of copy and verify: 128000 unless the set's BlockSize (1 to
    // 16777216) was taken by Run.
    std::int32_t BlockSize() const { return m_blockSize; }
    // The counters of the current (or last) run.
    const clsProgress& Progress() const { return *m_progress; }

    // --- Phases ----------------------------------------------------------------------------

    // Checks (and, when the set asks for it, clears) the target. ok false: the run must
    // not copy; a line saying why has been logged.
    void CheckTarget(const std::string& target, bool& ok);
    // Adds the selected files at or below path to TotalFiles and TotalBytes. ok false
    // when the walk was cancelled.
    void TotalSelection(const std::string& path, bool& ok);
    // Copies (or verifies) every selected file at or below path into target. ok false
    // when a file failed, a folder could not be listed or the walk was cancelled.
    void RunSelection(const std::string& path, const std::string& target, bool verifying, bool& ok);
    // Copies one file (or link) to the destination path target, or skips it in an
    // INCREMENTAL run when the copy is up to date. ok false after a logged failure.
    void CopyFile(const std::string& source, const std::string& target, bool& ok);
    // Compares one file (or link) with its copy block by block. ok false after an open
    // or read error or a mismatch (logged).
    void VerifyFile(const std::string& source, const std::string& target, bool& ok);

    // --- Log and progress ------------------------------------------------------------------

    // Writes date-time + " - " + text as a new line of the log file; with display also to
    // the view's list (and to the text GetLogText gives).
    void AddLogLine(const std::string& text, bool display = true);
    // Appends text to the last line of the log file (no time stamp); with display also to
    // the view's last line.
    void AppendLogLine(const std::string& text, bool display = true);
    // Writes line + CR LF at the end of LogFile, or with continueLast over the file's
    // final CR LF. The file stays open between lines; each line is one write, so the file
    // is complete at every moment. A failure is not reported.
    void WriteLogFile(const std::string& line, bool continueLast);
    // dir + "/" (when missing) + "BackupLog_" + yyyymmdd + ".log", or the first free
    // "BackupLog_" + yyyymmdd + "_" + n + ".log" (n = 1, 2, ...) when that one exists.
    std::string MakeLogFileName(const std::string& dir);
    // The displayed lines of the run, each followed by CR LF. After 4 MiB of them the
    // middle is left out (a line says how many lines) and the last 200 lines are kept.
    std::string GetLogText() const;
    // Refreshes labels, bars and caption from the progress record.
    void UpdateProgress();

private:
    struct FileCopy;
    enum class Phase { Idle, Size, Copy, Verify };

    // Run steps.
    void StartRun();
    void ReadBlockSize();
    bool SizePhase(bool& hadError);
    bool CopyOrVerifyPhase(bool verifying, bool& hadError);
    void EachSelection(bool& hadError, const std::function<void(const std::string&, bool&)>& step);
    void LogPhaseSummary(const char* complete, const char* files, const char* bytes);
    void LogCopySummary();
    void StartVerify(std::int32_t& copyElapsed);
    void LogVerifySummary(std::int32_t copyElapsed);
    std::string FinishResult(bool hadError);
    void MailLog(const std::string& resultText);
    void SaveLogToTarget();
    void EjectTarget();

    // Target check helpers.
    bool CheckDevice(const std::string& target);
    bool ConfirmClear(const std::string& target);
    bool ClearIsSafe(const std::string& target);
    bool IsDriveRoot(const std::string& target);

    // Walk helpers.
    bool IsOutputDir(const std::string& path);
    bool ListDirectory(const std::string& path, std::vector<clsFSItem>& items);
    bool ProcessFile(const std::string& path, FileKind kind, const std::string& target,
                     bool verifying);
    std::string Destination(const std::string& source, const std::string& target) const;

    // Copy helpers.
    bool IsUpToDate(const std::string& source, const std::string& target, const FileInfo& src,
                    const FileInfo& dst);
    static bool UseFolder(clsFolder& folder, const std::string& path, size_t slash);
    void LookUpDestination(FileCopy& c);
    static long long RoundEnd(long long done, long long block, long long size);
    // The alignment of the rounds' ends for a block size (at most the block size).
    static long long RoundUnit(long long block);
    void SkipFile(const std::string& source, std::int64_t size);
    bool PrepareDirectory(const std::string& dest);
    bool MakeDirectories(const std::string& dir, bool& createdLast);
    bool OpenDestination(FileCopy& c);
    bool CopyLink(const std::string& source, const std::string& dest, const FileInfo& destInfo);
    bool CopyContent(FileCopy& c);
    bool CopyBlocks(FileCopy& c);
    bool FinishCopy(FileCopy& c);
    void FailCopy(FileCopy& c);
    bool VerifyLink(const std::string& source, const std::string& target);
    bool OpenForVerify(clsBinaryFile& file, clsFolder& folder, const std::string& path,
                       long long size);
    bool CompareBlocks(clsBinaryFile& src, clsBinaryFile& dst, const std::string& source,
                       const std::string& target, std::int64_t size);

    // Helpers shared by the phases.
    void StartFile(const std::string& path);
    void LogFileError(const std::string& what, const std::string& path, int code);
    void LogFsError(const std::string& what, const std::string& path, const std::string& error);
    void YieldPoint();
    void EnsureBuffers();
    void KeepDisplayedLine(const std::string& line);
    void AppendDisplayedLine(const std::string& text);
    std::string TimeStamp();

    IBackupView& m_view;
    clsSetup* m_setup = nullptr;
    const clsRegSettings* m_settings = nullptr;
    std::unique_ptr<clsRegSettings> m_ownSettings;
    std::string m_logDir;
    std::string m_logFile;
    std::unique_ptr<clsProgress> m_progress;
    std::atomic<bool> m_cancelled{false};
    bool m_finished = false;
    bool m_unloadOnExit = false;
    std::int32_t m_blockSize = 128000;
    int m_mailTimeout = 30;
    Phase m_phase = Phase::Idle;

    clsFileSystem m_fs;
    std::string m_lastDir;       // destination folder known to exist
    bool m_lastDirFresh = false; // m_lastDir was made by this run: its files are new
    std::string m_outputDir;     // the target without trailing "/", left out of walks
    bool m_outputDirLogged = false;
    // The listing record of the file the walk hands to CopyFile, so that an up-to-date
    // file is recognised without examining the source a second time.
    const clsFSItem* m_listed = nullptr;
    std::vector<unsigned char> m_bufA, m_bufB;
    // The folders of the last source and destination, open while the walk stays in them
    // (names inside an open folder are found without walking the full path again).
    clsFolder m_srcDir;
    clsFolder m_dstDir;

    // The log file, open for the run; m_logSize is its length (where the next line goes).
    clsBinaryFile m_log;
    std::string m_logOpenName;
    long long m_logSize = 0;
    std::string m_logLine; // the line being written, kept to reuse its memory
    std::string m_stampText;
    std::time_t m_stampTime = 0;

    // Displayed lines for GetLogText: a head up to a size limit, then a bounded tail.
    std::string m_shownHead;
    std::deque<std::string> m_shownTail;
    long long m_shownDropped = 0;

    std::chrono::steady_clock::time_point m_lastRefresh;
    bool m_timerOn = false;
};

} // namespace tessaron
