// The run itself: phase order, the flags that tie the phases together, the result.
#include "engine/BackupParts.h"
#include "engine/NumberText.h"
#include "engine/RunChecks.h"
#include "mail/clsMailer.h"
#include "mail/clsRegSettings.h"
#include "platform/SystemFileAccess.h"
#include "platform/clsPath.h"
#include "setfile/clsSetup.h"

#include <cstdlib>

namespace tessaron {

namespace {

constexpr std::int32_t kDefaultBlockSize = 128000;
constexpr std::int32_t kMaxBlockSize = 16777216;

// TESSARON_LOG_DIR, when set and not empty, puts the run logs of every front end in
// another folder than the program's (tests, and administrators who keep logs elsewhere).
std::string LogDirFromEnvironment() {
    const char* dir = std::getenv("TESSARON_LOG_DIR");
    return dir != nullptr ? dir : "";
}

// The mailer's host: its lines go into the run log, its waits yield to the view.
class MailHost : public IMailHost {
public:
    MailHost(BackupEngine& engine, IBackupView& view) : m_engine(engine), m_view(view) {}
    void AddLogLine(const std::string& text, bool display) override {
        m_engine.AddLogLine(text, display);
    }
    void Yield() override { m_view.Yield(); }

private:
    BackupEngine& m_engine;
    IBackupView& m_view;
};

} // namespace

BackupEngine::BackupEngine(IBackupView& view)
    : m_view(view), m_ownAccess(std::make_unique<SystemFileAccess>()), m_fa(m_ownAccess.get()),
      m_progress(std::make_unique<clsProgress>()),
      m_random(
          std::random_device{}() ^
          static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count())) {
}

BackupEngine::~BackupEngine() = default;

void BackupEngine::Setup(clsSetup& setup) {
    m_setup = &setup;
}

void BackupEngine::LogDir(const std::string& dir) {
    m_logDir = dir;
}

const std::string& BackupEngine::LogDir() const {
    return m_logDir;
}

void BackupEngine::Settings(const clsRegSettings& settings) {
    m_settings = &settings;
}

void BackupEngine::FileAccess(IFileAccess& access) {
    m_fa = &access;
}

void BackupEngine::Cancel() {
    m_cancelled = true;
}

bool BackupEngine::Cancelled() const {
    return m_cancelled;
}

bool BackupEngine::Finished() const {
    return m_finished;
}

const std::string& BackupEngine::LogFile() const {
    return m_logFile;
}

RunResult BackupEngine::Result() const {
    return m_result;
}

bool BackupEngine::Run() {
    if (m_setup == nullptr) {
        m_result = RunResult::Error;
        m_finished = true;
        return false;
    }
    StartRun();
    bool hadError = false;
    StartAhead();
    const bool copied = SizePhase(hadError) && CopyOrVerifyPhase(false, hadError);
    StopAhead();
    if (copied) {
        if (m_setup->Verify && !m_cancelled) {
            std::int32_t copyElapsed = 0;
            StartVerify(copyElapsed, hadError);
            CopyOrVerifyPhase(true, hadError);
            LogVerifySummary(copyElapsed);
        }
    }
    MakeDurable(hadError);
    m_flush.reset();
    FinishResult(hadError);
    MailLog(ResultText(m_result));
    SaveLogToTarget();
    m_finished = true;
    m_view.Finished();
    EjectTarget();
    m_log.CloseFile();
    m_ownLog = false;
    m_target.reset();
    return m_result == RunResult::Complete;
}

void BackupEngine::StartRun() {
    m_cancelled = false;
    m_finished = false;
    m_target.reset();
    m_outputId = FileIdentity{};
    m_outputLogged = false;
    m_clearFailed = false;
    m_filesFailed = 0;
    m_logFailed = false;
    m_logLeftOut = false;
    m_logFolderId = m_logFileId = FileIdentity{};
    m_shownHead.clear();
    m_shownTail.clear();
    m_shownDropped = 0;
    if (!BackupKindOf(m_setup->BackupType)) {
        m_setup->BackupType = BackupTypeName(BackupKind::Full);
    }
    if (m_logDir.empty()) {
        m_logDir = LogDirFromEnvironment();
    }
    if (m_logDir.empty()) {
        m_logDir = m_fa->ProgramLogDir();
    } else {
        clsFolder dir; // a failure shows as a log that cannot be written
        m_fa->CreateFolder(dir, m_logDir, 0700);
    }
    CreateRunLog();
    m_progress = std::make_unique<clsProgress>();
    AddLogLine("Starting Backup (" + m_setup->BackupType + ")...", true);
    ReadBlockSize();
}

void BackupEngine::ReadBlockSize() {
    m_blockSize = kDefaultBlockSize;
    const std::int32_t wanted = m_setup->BlockSize;
    if (wanted >= 1 && wanted <= kMaxBlockSize) {
        m_blockSize = wanted;
        AddLogLine("Blocksize set to " + std::to_string(wanted), true);
    }
}

// Runs one phase's step for every selection entry in the set's order. A failed entry marks
// the run as failed and, with stop-on-error, ends the phase; so does a cancellation.
void BackupEngine::EachSelection(bool& hadError,
                                 const std::function<void(const std::string&, bool&)>& step) {
    for (const clsSelItem& item : m_setup->Sel) {
        bool ok = false;
        step(item.path(), ok);
        if (!ok && !m_cancelled) {
            hadError = true;
            if (m_setup->StopOnError) {
                break;
            }
        }
        UpdateProgress();
        if (m_cancelled) {
            break;
        }
    }
}

// Returns true when the run goes on to the copy phase.
bool BackupEngine::SizePhase(bool& hadError) {
    AddLogLine("Calculating Backup Size", true);
    m_timerOn = true;
    m_lastRefresh = std::chrono::steady_clock::now();
    m_phase = Phase::Size;
    m_view.PhaseStarted(RunPhase::Size, *m_progress);
    // A target that exists already is left out of the walk from the start.
    FileInfo target;
    SysError error;
    if (TargetNamesDrive(m_setup->Target) && m_fa->GetPathInfo(m_setup->Target, target, error) &&
        target.Kind == FileKind::Directory) {
        m_outputId = target.Id;
        m_outputPath = m_setup->Target;
    }
    EachSelection(hadError,
                  [this](const std::string& path, bool& ok) { TotalSelection(path, ok); });
    if ((m_setup->StopOnError && hadError) || m_cancelled) {
        return false;
    }
    const clsProgress& p = *m_progress;
    AddLogLine(FormatGrouped(std::int64_t{p.TotalFiles}) + " Files,  " +
                   FormatGrouped(p.TotalBytes) + " Bytes",
               true);
    AddLogLine("Checking Target - " + m_setup->Target, true);
    bool ok = false;
    CheckTarget(m_setup->Target, ok);
    if (!ok) {
        m_cancelled = true;
    }
    // What the clearing could not remove is an error; with stop-on-error nothing is copied.
    hadError = hadError || m_clearFailed;
    return !m_cancelled && !(m_clearFailed && m_setup->StopOnError);
}

// Copy (or verify) phase over every selection entry. Returns false when cancelled.
bool BackupEngine::CopyOrVerifyPhase(bool verifying, bool& hadError) {
    const std::string& target = m_setup->Target;
    if (!verifying) {
        AddLogLine("Copying Files To: " + target + "...", true);
        m_progress->Start();
        m_lastFlush = std::chrono::steady_clock::now();
        m_view.PhaseStarted(RunPhase::Copy, *m_progress);
    }
    m_phase = verifying ? Phase::Verify : Phase::Copy;
    EnsureBuffers();
    EachSelection(hadError, [&](const std::string& path, bool& ok) {
        RunSelection(path, target, verifying, ok);
    });
    const bool walkedAll = !m_cancelled && !(m_setup->StopOnError && hadError);
    if (!verifying && walkedAll) {
        LogUnreached(hadError);
    }
    if (!verifying) {
        LogPhaseSummary("Copy Complete", " Files Transferred,  ", " Bytes Transferred");
    }
    return !m_cancelled;
}

// The three summary lines of a copy or verify phase: its end, its counts, its time and rate.
void BackupEngine::LogPhaseSummary(const char* complete, const char* files, const char* bytes) {
    clsProgress& p = *m_progress;
    p.UpdateElapsedTime();
    AddLogLine(complete, true);
    AddLogLine(FormatGrouped(std::int64_t{p.FilesDone}) + files + FormatGrouped(p.BytesDone) +
                   bytes,
               true);
    const double rate =
        p.ElapsedTime > 0 ? static_cast<double>(p.BytesDone) / p.ElapsedTime * 1000.0 : 0.0;
    AddLogLine("Elapsed Time: " + p.FormatElapsedTime() + ", Bytes/Second: " + FormatGrouped(rate),
               true);
}

// Before the copies are read back they are put on the medium (once for the whole file
// system), so that verification compares the source with what the medium returns.
void BackupEngine::StartVerify(std::int32_t& copyElapsed, bool& hadError) {
    AddLogLine("Verifying Files...", true);
    SettleCopies(hadError);
    if (m_target && m_target->folder.IsOpen() && !m_fa->Sync(m_target->folder)) {
        LogError("Unable to write to the target medium", m_setup->Target, m_target->folder.Error());
        hadError = true;
    }
    clsProgress& p = *m_progress;
    p.UpdateElapsedTime();
    copyElapsed = p.ElapsedTime;
    p.CurrentFile.clear();
    p.CurrentSize = p.CurrentDone = 0;
    p.FilesDone = 0;
    p.BytesDone = 0;
    p.ElapsedTime = p.RemainingTime = 0;
    p.Start();
    m_view.PhaseStarted(RunPhase::Verify, p);
}

void BackupEngine::LogVerifySummary(std::int32_t copyElapsed) {
    LogPhaseSummary("Verify Complete", " Files Verified,  ", " Bytes Read");
    clsProgress& p = *m_progress;
    const std::int64_t total = std::int64_t{p.ElapsedTime} + copyElapsed;
    p.ElapsedTime = static_cast<std::int32_t>(std::min<std::int64_t>(total, INT32_MAX));
    AddLogLine("Total Elapsed Time: " + p.FormatElapsedTime(), true);
}

// Copies closed during the copy may still be on their way to the medium (on a helper
// thread): verification and the result wait for them, and one that did not get there
// fails the run.
void BackupEngine::SettleCopies(bool& hadError) {
    std::vector<ClosedCopyFailure> failed;
    if (m_fa->WaitForClosedCopies(failed)) {
        return;
    }
    for (const ClosedCopyFailure& f : failed) {
        LogError("Error During Write", ShownPath(f.path), f.error);
    }
    hadError = true;
}

// "Backup Complete" is said only once the target's file system holds the copies and
// their folders: a medium pulled (or a power cut) right after keeps them.
void BackupEngine::MakeDurable(bool& hadError) {
    SettleCopies(hadError);
    if (!m_target || !m_target->folder.IsOpen()) {
        return;
    }
    if (!m_fa->Sync(m_target->folder)) {
        LogError("Unable to write to the target medium", m_setup->Target, m_target->folder.Error());
        hadError = true;
    }
}

// The result is decided here, once: a cancellation after this line (during the mail or
// the ejection) no longer changes it.
void BackupEngine::FinishResult(bool hadError) {
    m_timerOn = false;
    m_phase = Phase::Idle;
    m_result = m_cancelled ? RunResult::Cancelled
               : hadError  ? RunResult::Error
                           : RunResult::Complete;
    AddLogLine(ResultText(m_result), true);
    m_view.Result(m_result);
}

void BackupEngine::MailLog(const std::string& resultText) {
    if (!m_setup->Email) {
        return;
    }
    if (m_settings == nullptr) {
        m_ownSettings = std::make_unique<clsRegSettings>();
        m_settings = m_ownSettings.get();
    }
    MailHost host(*this, m_view);
    clsMailer mailer(host, *m_settings);
    mailer.TimeoutSeconds(m_mailTimeout);
    mailer.Send_Email(m_setup->EmailTo, resultText, GetLogText());
}

void BackupEngine::SaveLogToTarget() {
    // A relative target would put the log wherever the process happens to run.
    if (!m_setup->SaveLog || !TargetNamesDrive(m_setup->Target)) {
        return;
    }
    const std::string dest = clsPath::Join(
        m_setup->Target, clsPath(m_logFile, NativePathStyle()).File(), NativePathStyle());
    SysError error;
    clsFolder target;
    if (!m_fa->CopyFile(m_logFile, dest, error) || !m_fa->OpenFolder(target, m_setup->Target) ||
        !m_fa->Sync(target)) {
        AddLogLine("Unable to copy log file to output directory", true);
    }
}

void BackupEngine::EjectTarget() {
    if (!m_setup->EjectMedia || !TargetNamesDrive(m_setup->Target)) {
        return;
    }
    if (!m_fa->EjectMedia(m_setup->Target) && m_fa->GetDriveType(m_setup->Target) == "REMOVABLE") {
        AddLogLine("Unable to eject media, please remove backup media", true);
    }
}

void BackupEngine::EnsureBuffers() {
    // A round that ends on an alignment boundary may carry up to one unit less one byte
    // from the block before (see RoundEnd).
    const auto size = static_cast<size_t>(m_blockSize + RoundUnit(m_blockSize));
    if (m_bufA.size() != size) {
        m_bufA.assign(size, 0);
        m_bufB.assign(size, 0);
    }
}

} // namespace tessaron
