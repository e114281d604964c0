#pragma once
// BackupEngine: one backup run from start to summary (the logic behind the backup
// progress window). Front ends use the constructor, Setup, LogDir, Run, Cancel,
// Cancelled, Finished and LogFile; the phase and log members below them are the run's
// named steps, public under the names the rest of the system uses.
//
// The run, in order: block size; size phase (TotalSelection per entry); target check
// with optional clearing (CheckTarget); copy phase (RunSelection -> CopyFile); optional
// verify phase (RunSelection -> VerifyFile) after the copies are on the medium; the
// copies made durable; summary and result lines; optional mail of the on-screen log;
// optional copy of the log file into the target; optional eject.
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

#include "engine/EarlyFlush.h"
#include "engine/IBackupView.h"
#include "engine/ReadAhead.h"
#include "engine/clsProgress.h"
#include "platform/IFileAccess.h"
#include "platform/SysError.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <random>
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
    void MailTimeout(int seconds) { m_mailTimeout = seconds; }
    // The way to the file system (not owned; must outlive the engine). Default: the
    // system's own (SystemFileAccess). Tests pass one that injects failures.
    void FileAccess(IFileAccess& access);

    // Whether runs overlap their read-only work (see above); set before Run. Default: on,
    // unless the environment variable TESSARON_OVERLAP is "0" when the first engine is
    // made (tests and measurements run both ways with it).
    void Overlap(bool on) { m_overlap = on; }
    bool Overlap() const { return m_overlap; }
    static bool OverlapByDefault();

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
    // when a file failed, a folder could not be entered or listed, or the walk was
    // cancelled.
    void RunSelection(const std::string& path, const std::string& target, bool verifying, bool& ok);
    // Copies one file to the destination path target (its folders are made when
    // missing), or skips it in an INCREMENTAL run when the copy is up to date. A link at
    // source is followed. ok false after a logged failure.
    void CopyFile(const std::string& source, const std::string& target, bool& ok);
    // Compares one file with its copy block by block. ok false after an open or read
    // error or a mismatch (logged).
    void VerifyFile(const std::string& source, const std::string& target, bool& ok);

    // --- Log and progress ------------------------------------------------------------------

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
    enum class Phase { Idle, Size, Copy, Verify };
    struct CopyFolder;
    struct Level;
    struct WalkFrame;
    enum class Walked { Ok, Failed, Entered };
    struct Source;
    struct Dest;
    struct FileCopy;
    struct Ancestor;
    struct FolderAhead;
    struct FileAhead;
    struct LevelAhead;

    // Run steps (BackupRun.cpp).
    void StartRun();
    void ReadBlockSize();
    bool SizePhase(bool& hadError);
    bool CopyOrVerifyPhase(bool verifying, bool& hadError);
    void EachSelection(bool& hadError, const std::function<void(const std::string&, bool&)>& step);
    void LogPhaseSummary(const char* complete, const char* files, const char* bytes);
    void StartVerify(std::int32_t& copyElapsed, bool& hadError);
    void LogVerifySummary(std::int32_t copyElapsed);
    void MakeDurable(bool& hadError);
    void SettleCopies(bool& hadError);
    void FinishResult(bool hadError);
    void MailLog(const std::string& resultText);
    void SaveLogToTarget();
    void EjectTarget();
    void EnsureBuffers();

    // Target check (BackupTarget.cpp).
    bool CheckDevice(const std::string& target);
    void OpenTarget(const std::string& target);
    void ClearTarget(const std::string& target);
    void LogLeftInPlace(const std::string& what, const std::string& path, const SysError& why);
    bool WaitForMedium(const std::string& target);
    bool ConfirmClear(const std::string& target);
    bool ClearIsSafe(const std::string& target);
    MsgAnswer AskUser(const std::string& title, const std::string& text, MsgButtons buttons);
    void LogQuietAnswer(const std::string& title, MsgAnswer answer);

    // The walk, one routine for the size, copy and verify phases (BackupWalk.cpp).
    bool WalkEntry(const std::string& entry, const std::string& target);
    bool WalkEntryFolder(const std::string& path, const FileInfo& info);
    bool WalkEntryFile(const std::string& path, const FileInfo& info);
    bool Walk(Level& top);
    bool StepLevel(Level& level);
    bool AfterEntry(Level& level, std::size_t index, bool ok);
    bool ListLevel(Level& level);
    Walked WalkItem(Level& level, std::size_t index);
    Walked EnterFolder(Level& level, std::size_t index, const std::string& shown);
    bool OpenLevel(Level& level, std::size_t index, Level& sub);
    Level& LevelAt(std::size_t depth);

    // The walk's own stack (BackupDepth.cpp).
    void PushLevel(std::unique_ptr<Level> sub, const FileInfo& like);
    bool PopLevel(bool ok);
    void CloseDeepWalk();
    bool Reopen(std::size_t depth);
    bool ReopenCopy(std::size_t depth, Level& level, const Level& below);
    bool ProcessFile(const Source& source, const Dest& dest);
    void CountFile(const FileInfo& info);
    bool LeftOutAsOutput(const FileIdentity& id);
    void LogOutputLeftOut();
    bool LeftOutAsLog(const FileIdentity& id);
    void LogUnreached(bool& hadError);
    void StartFile(const std::string& path);

    // Folders of the copy (BackupFolders.cpp).
    bool UseTarget(const std::string& target);
    bool FolderOfCopy(const std::string& copy, bool make, CopyFolder& folder, std::string& name);
    bool OpenCopyChain(const std::string& sourcePath, std::size_t count, Level& level,
                       std::deque<Ancestor>& chain);
    bool StepInto(CopyFolder& parent, const std::string& name, CopyFolder& sub);
    bool MakeCopyFolder(CopyFolder& parent, const std::string& name, CopyFolder& sub, bool& made);
    bool FinishCopyFolder(CopyFolder& dst, const FileInfo& like);
    bool FinishAncestors(std::deque<Ancestor>& chain);
    std::string CopyPath(const std::string& folderPath, const std::string& name) const;

    // Read-ahead of the walk (BackupAhead.cpp).
    void StartAhead();
    void StopAhead();
    void FlushEarly(std::chrono::steady_clock::time_point now);
    bool SelectedAt(Level& level, std::size_t index);
    void PostAhead(Level& level, std::size_t at);
    void PostFolders(Level& level);
    void PostFiles(Level& level, std::size_t at);
    bool WantsContent(const Level& level, const clsFSItem& item) const;
    bool TakeFolder(Level& level, std::size_t index, Level& sub);
    FileAhead* FileJob(Level& level, std::size_t index);
    void ReleaseAhead(Level& level, std::size_t index);
    void WithdrawAll(LevelAhead& ahead);
    void TakeFile(FileAhead& job);
    bool WriteAhead(FileCopy& c, const FileAhead& job);
    static bool FindListed(const std::vector<clsFSItem>& items, const std::string& name,
                           FileInfo& out);
    static bool UpToDate(const FileInfo& source, const FileInfo& copy);

    // One file's copy (BackupCopy.cpp).
    bool CopyEntry(const Source& s, const Dest& d);
    bool LookUpCopy(const Dest& d, FileInfo& dst);
    bool IsUpToDate(const Source& s, const Dest& d, const FileInfo& dst);
    bool OpenSource(const Source& s, clsBinaryFile& file);
    void SkipFile(const std::string& source, std::int64_t size);
    std::string TempName();
    template <class Make>
    bool CreateExclusive(const Dest& d, FileInfo& old, std::string& written, const Make& make);
    bool CopyLink(const Source& s, const Dest& d, const FileInfo& dst);
    bool CopyContent(const Source& s, const Dest& d, const FileInfo& dst);
    bool CopyRange(FileCopy& c, long long end);
    bool CopySparse(FileCopy& c);
    void LogCopyError(FileCopy& c);
    bool FinishCopy(FileCopy& c);
    bool PutInPlace(const Dest& d, const std::string& written, const FileInfo& old);
    void FailCopy(FileCopy& c);
    static long long RoundEnd(long long done, long long block, long long size);
    // The alignment of the rounds' ends for a block size (at most the block size).
    static long long RoundUnit(long long block);

    // Verification (BackupVerify.cpp).
    bool VerifyEntry(const Source& s, const Dest& d);
    bool OpenBoth(const Source& s, const Dest& d, clsBinaryFile& src, clsBinaryFile& dst);
    bool OpenCopy(const Dest& d, clsBinaryFile& file, SysError& error);
    bool VerifyLink(const Source& s, const Dest& d);
    bool CompareBlocks(clsBinaryFile& src, clsBinaryFile& dst, const std::string& source,
                       const std::string& target, std::int64_t size);
    long long ReadFull(clsBinaryFile& file, unsigned char* buffer, long long count);

    // Helpers shared by the phases (BackupLog.cpp).
    // Appends text to the last line of the log file (no time stamp); with display also to
    // the view's last line.
    void AppendLogLine(const std::string& text, bool display = true);
    // Writes line + CR LF at the end of LogFile, or with continueLast over the file's
    // final CR LF. The file stays open between lines; each line is one write, so the file
    // is complete at every moment. The first failure of a run is said once, on screen and
    // through the view's warning; the run goes on and its result does not change.
    void WriteLogFile(const std::string& line, bool continueLast);
    void LogError(const std::string& what, const std::string& path, const SysError& error);
    void LogLogFailure(const SysError& error);
    void CreateRunLog();
    void YieldPoint();
    void KeepDisplayedLine(const std::string& line);
    void AppendDisplayedLine(const std::string& text);
    std::string TimeStamp();

    IBackupView& m_view;
    std::unique_ptr<IFileAccess> m_ownAccess;
    IFileAccess* m_fa = nullptr;
    clsSetup* m_setup = nullptr;
    const clsRegSettings* m_settings = nullptr;
    std::unique_ptr<clsRegSettings> m_ownSettings;
    std::string m_logDir;
    std::string m_logFile;
    std::unique_ptr<clsProgress> m_progress;
    std::atomic<bool> m_cancelled{false};
    bool m_finished = false;
    RunResult m_result = RunResult::Error;
    std::int32_t m_blockSize = 128000;
    int m_mailTimeout = 30;
    Phase m_phase = Phase::Idle;
    std::vector<unsigned char> m_bufA, m_bufB;
    std::mt19937_64 m_random;

    // The read-ahead thread (size and copy phases, with overlap on) and what is posted to
    // it and not yet taken (kept on the run's thread only).
    bool m_overlap = OverlapByDefault();
    std::unique_ptr<ReadAhead> m_ahead;
    int m_aheadFolders = 0;
    int m_aheadFiles = 0;
    long long m_aheadBytes = 0;
    std::unique_ptr<EarlyFlush> m_flush;
    std::chrono::steady_clock::time_point m_lastFlush;

    // The walk's stack, the source path of its deepest level and the path of its copy (each
    // level's name appended to the one above), and the entry's own level.
    std::deque<WalkFrame> m_frames;
    std::string m_walkPath;
    std::string m_copyPath;
    Level* m_walkTop = nullptr;

    // The target: its folder (open from the copy phase on) and the path it was opened for;
    // its identity and path as written (left out of every walk, said once).
    std::unique_ptr<CopyFolder> m_target;
    std::string m_targetArg;
    FileIdentity m_outputId;
    std::string m_outputPath;
    bool m_outputLogged = false;
    bool m_clearFailed = false; // the clearing left something it should have removed

    // Files of the copy phase that failed (with a line each): with the files done, what
    // the copy reached of the files counted.
    std::int32_t m_filesFailed = 0;

    // The log file, open for the run; m_logSize is its length (where the next line goes).
    // The run's own is created new (m_ownLog); its folder and it are left out of the walk
    // and of the clearing, by identity.
    clsBinaryFile m_log;
    std::string m_logOpenName;
    long long m_logSize = 0;
    bool m_logFailed = false;
    bool m_ownLog = false;
    FileIdentity m_logFolderId;
    FileIdentity m_logFileId;
    bool m_logLeftOut = false;
    long long m_linesLogged = 0;
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

// text with every control character (below 0x20, and 0x7F) shown visibly: "\n", "\r",
// "\t", or "\x" and two upper-case hex digits; everything else kept as it is.
std::string EscapeControls(const std::string& text);

} // namespace tessaron
