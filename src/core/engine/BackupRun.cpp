// The run itself: phase order, the flags that tie the phases together, the result.
#include "engine/Phases.h"

#include "engine/NumberText.h"
#include "engine/RunChecks.h"
#include "platform/SystemFileAccess.h"
#include "platform/SystemPlaces.h"
#include "setfile/clsSetup.h"

#include <algorithm>
#include <cstdlib>
#include <thread>

namespace tessaron {

namespace {

constexpr std::int32_t kDefaultBlockSize = 128000;
constexpr std::int32_t kMaxBlockSize = 16777216;
// More writers than this gain nothing: creation in one folder is serialised by the
// system beyond a few threads, and each writer holds a block of memory.
constexpr int kMaxWriters = 8;

// TESSARON_LOG_DIR, when set and not empty, puts the run logs of every front end in
// another folder than the program's (tests, and administrators who keep logs elsewhere).
std::string LogDirFromEnvironment() {
    const char* dir = std::getenv("TESSARON_LOG_DIR");
    return dir != nullptr ? dir : "";
}

} // namespace

bool OverlapByDefault() {
    static const bool on = [] {
        const char* value = std::getenv("TESSARON_OVERLAP");
        return value == nullptr || std::string(value) != "0";
    }();
    return on;
}

int WritersByDefault() {
    static const int writers = [] {
        const char* value = std::getenv("TESSARON_WRITERS");
        const int wanted = value != nullptr ? std::atoi(value) : 0;
        if (wanted >= 1 && wanted <= kMaxWriters) {
            return wanted;
        }
        return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, kMaxWriters);
    }();
    return writers;
}

bool CountProcessed(RunState& run, bool ok, const char* failed, const std::string& path) {
    if (ok) {
        run.progress.FilesDone += 1;
    } else {
        run.log.AddLogLine(failed + path);
    }
    return ok;
}

BackupRun::BackupRun(IBackupView& view)
    : state(view), m_ownAccess(std::make_unique<SystemFileAccess>()),
      m_ownPlaces(std::make_unique<SystemPlaces>()) {
    state.fa = m_ownAccess.get();
    state.places = m_ownPlaces.get();
}

BackupRun::~BackupRun() = default;

bool BackupRun::Run() {
    if (state.setup == nullptr) {
        result = RunResult::Error;
        finished = true;
        return false;
    }
    StartRun();
    bool hadError = false;
    m_walker.Overlap(config.overlap);
    const bool copied = SizePhase(hadError) && CopyPhase(hadError);
    m_walker.Overlap(false);
    if (copied && state.setup->Verify && !state.cancelled) {
        VerifyPhase(hadError);
    }
    MakeDurable(hadError);
    FinishResult(hadError);
    EndRun(state, config, result, finished);
    state.log.Close();
    state.target.reset();
    return result == RunResult::Complete;
}

// The log folder: the one set, else TESSARON_LOG_DIR, else the program's own.
void BackupRun::StartRun() {
    RunState& s = state;
    s.cancelled = false;
    finished = false;
    s.target.reset();
    s.outputId = FileIdentity{};
    s.clearFailed = false;
    s.filesFailed = 0;
    m_walker.StartRun();
    if (!BackupKindOf(s.setup->BackupType)) {
        s.setup->BackupType = BackupTypeName(BackupKind::Full);
    }
    if (config.logDir.empty()) {
        config.logDir = LogDirFromEnvironment();
    }
    SysError noFolder; // the log cannot be written, and says why
    if (config.logDir.empty()) {
        config.logDir = s.places->ProgramLogDir(noFolder);
    } else {
        clsFolder dir; // a failure shows as a log that cannot be written
        s.fa->CreateFolder(dir, config.logDir, 0700);
    }
    s.log.Start(*s.fa, config.logDir, noFolder);
    s.progress = clsProgress{};
    s.log.AddLogLine("Starting Backup (" + s.setup->BackupType + ")...");
    ReadBlockSize();
}

void BackupRun::ReadBlockSize() {
    state.blockSize = kDefaultBlockSize;
    const std::int32_t wanted = state.setup->BlockSize;
    if (wanted >= 1 && wanted <= kMaxBlockSize) {
        state.blockSize = wanted;
        state.log.AddLogLine("Blocksize set to " + std::to_string(wanted));
    }
}

// Runs one phase's step for every selection entry in the set's order. A failed entry marks
// the run as failed and, with stop-on-error, ends the phase; so does a cancellation.
void BackupRun::EachSelection(bool& hadError,
                              const std::function<void(const std::string&, bool&)>& step) {
    for (const clsSelItem& item : state.setup->Sel) {
        bool ok = false;
        step(item.path(), ok);
        if (!ok && !state.cancelled) {
            hadError = true;
            if (state.StopOnError()) {
                break;
            }
        }
        state.UpdateProgress();
        if (state.cancelled) {
            break;
        }
    }
}

// Copies every selected file at or below path into the target. ok false when a file
// failed, a folder could not be entered or listed, or the walk was cancelled.
void BackupRun::CopySelection(const std::string& path, CopyQueue& queue, bool& ok) {
    state.EnsureBuffers();
    CopyVisitor visitor(state, m_copier, folders, queue);
    ok = m_walker.Walk(path, state.setup->Target, visitor);
}

// Verifies every selected file at or below path against its copy; ok as for the copy.
void BackupRun::VerifySelection(const std::string& path, bool& ok) {
    state.EnsureBuffers();
    VerifyVisitor visitor(state, verifier);
    ok = m_walker.Walk(path, state.setup->Target, visitor);
}

// The three summary lines of a copy or verify phase: its end, its counts, its time and rate.
void BackupRun::LogPhaseSummary(const char* complete, const char* files, const char* bytes) {
    clsProgress& p = state.progress;
    p.UpdateElapsedTime();
    state.log.AddLogLine(complete);
    state.log.AddLogLine(FormatGrouped(std::int64_t{p.FilesDone}) + files +
                         FormatGrouped(p.BytesDone) + bytes);
    const double rate =
        p.ElapsedTime > 0 ? static_cast<double>(p.BytesDone) / p.ElapsedTime * 1000.0 : 0.0;
    state.log.AddLogLine("Elapsed Time: " + p.FormatElapsedTime() +
                         ", Bytes/Second: " + FormatGrouped(rate));
}

// Copies closed during the copy may still be on their way to the medium (on a helper
// thread): verification and the result wait for them, and one that did not get there
// fails the run.
void BackupRun::SettleCopies(bool& hadError) {
    std::vector<ClosedCopyFailure> failed;
    if (state.fa->WaitForClosedCopies(failed)) {
        return;
    }
    for (const ClosedCopyFailure& f : failed) {
        state.log.LogError("Error During Write", ShownPath(f.path), f.error);
    }
    hadError = true;
}

// "Backup Complete" is said only once the target's file system holds the copies and
// their folders: a medium pulled (or a power cut) right after keeps them. Before the
// verify phase too, so that it compares the source with what the medium returns.
void BackupRun::MakeDurable(bool& hadError) {
    SettleCopies(hadError);
    if (!state.target || !state.target->folder.IsOpen()) {
        return;
    }
    if (!state.fa->Sync(state.target->folder)) {
        state.log.LogError("Unable to write to the target medium", state.setup->Target,
                           state.target->folder.Error());
        hadError = true;
    }
}

// The result is decided here, once: a cancellation after this line (during the mail or
// the ejection) no longer changes it.
void BackupRun::FinishResult(bool hadError) {
    state.timerOn = false;
    result = state.cancelled ? RunResult::Cancelled
             : hadError      ? RunResult::Error
                             : RunResult::Complete;
    state.log.AddLogLine(ResultText(result));
    state.view.Result(result);
}

} // namespace tessaron
