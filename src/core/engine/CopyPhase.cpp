// The copy phase: every selection entry walked with the copier, the files the copy never
// reached said, the phase's summary; beside it, the target's file system flushed early.
#include "engine/EarlyFlush.h"
#include "engine/NumberText.h"
#include "engine/Phases.h"
#include "setfile/clsSetup.h"

namespace tessaron {

namespace {

constexpr auto kFlushInterval = std::chrono::milliseconds(250);

// While the copy phase runs, a thread flushes the target's file system every quarter of
// a second, so that the flush the run ends with finds little left to do; the run's own
// flushes still decide and report.
class FlushBeside {
public:
    explicit FlushBeside(RunState& run) : m_run(run), m_last(std::chrono::steady_clock::now()) {}
    void Tick(std::chrono::steady_clock::time_point now) {
        if (now - m_last < kFlushInterval) {
            return;
        }
        m_last = now;
        if (!m_flush) {
            auto folder = std::make_unique<clsFolder>();
            if (!m_run.target || !m_run.target->folder.IsOpen() ||
                !m_run.fa->OpenFolderAt(*folder, m_run.target->folder, ".")) {
                return;
            }
            m_flush = std::make_unique<EarlyFlush>(*m_run.fa, std::move(folder));
        }
        m_flush->Poke();
    }

private:
    RunState& m_run;
    std::chrono::steady_clock::time_point m_last;
    std::unique_ptr<EarlyFlush> m_flush;
};

} // namespace

bool CopyVisitor::Failure(const std::string& what, const std::string& path, const SysError& error) {
    m_run.log.LogError(what, path, error);
    return true;
}

void CopyVisitor::Special(const std::string& path) {
    m_run.log.AddLogLine("Special File Skipped - " + path + " (not a regular file)", false);
}

// A small file goes to the writers; any other is copied here once every file before it
// has been reported.
bool CopyVisitor::File(const Source& source, const Dest* dest) {
    FileInfo old;
    if (m_queue.Takes(source, *dest, old)) {
        return m_queue.Add(source, *dest, old);
    }
    const bool settled = m_queue.Settle();
    if (m_queue.Stopped()) {
        return settled;
    }
    const bool ok = m_copier.CopyFile(source, *dest);
    m_run.filesFailed += ok ? 0 : 1;
    return CountProcessed(m_run, ok, "Unable to Copy File - ", source.path) && settled;
}

void CopyVisitor::Unreached(const std::string& path) {
    m_run.filesFailed += 1;
    CountProcessed(m_run, false, "Unable to Copy File - ", path);
}

// A folder gets its source's metadata only once every file in it has been reported.
bool CopyVisitor::FolderDone(CopyFolder& copy, const FileInfo& like) {
    const bool settled = m_queue.Settle();
    return m_folders.FinishFolder(copy, like) && settled;
}

bool CopyVisitor::EntryDone(std::deque<Ancestor>& chain) {
    const bool settled = m_queue.Settle();
    return m_folders.FinishAncestors(chain) && settled;
}

// Returns false when cancelled.
bool BackupRun::CopyPhase(bool& hadError) {
    RunState& s = state;
    const std::string& target = s.setup->Target;
    s.log.AddLogLine("Copying Files To: " + target + "...");
    s.progress.Start();
    s.view.PhaseStarted(RunPhase::Copy, s.progress);
    FlushBeside flush(s);
    if (config.overlap) {
        s.tick = [&flush](std::chrono::steady_clock::time_point now) { flush.Tick(now); };
    }
    CopyQueue queue(s, m_copier);
    queue.Start(config.writers);
    EachSelection(hadError,
                  [&](const std::string& path, bool& ok) { CopySelection(path, queue, ok); });
    hadError = !queue.Stop() || hadError;
    s.tick = nullptr;
    if (!s.cancelled && !(s.StopOnError() && hadError)) {
        LogUnreached(hadError);
    }
    LogPhaseSummary("Copy Complete", " Files Transferred,  ", " Bytes Transferred");
    return !s.cancelled;
}

// Files counted in the size phase that the copy never reached, though it walked every
// selection: moved (into a folder already walked) or deleted while the backup ran. They
// are not in the backup, and no line named them: the run says how many and fails.
void BackupRun::LogUnreached(bool& hadError) {
    const clsProgress& p = state.progress;
    const std::int64_t missing = std::int64_t{p.TotalFiles} - p.FilesDone - state.filesFailed;
    if (missing <= 0) {
        return;
    }
    state.log.AddLogLine(FormatGrouped(missing) +
                         (missing == 1 ? " counted file was not found when the copy reached it"
                                       : " counted files were not found when the copy reached "
                                         "them") +
                         " (moved or deleted while the backup ran)");
    hadError = true;
}

} // namespace tessaron
