#pragma once
// The three visitors of the walk, one per phase, each in its phase's file (SizePhase.cpp,
// CopyPhase.cpp, VerifyPhase.cpp), and the run that drives them (BackupRun).

#include "engine/BackupEngine.h"
#include "engine/Copier.h"
#include "engine/CopyFolders.h"
#include "engine/CopyQueue.h"
#include "engine/TargetCheck.h"
#include "engine/Verifier.h"
#include "engine/Walker.h"
#include "mail/clsRegSettings.h"

#include <functional>

namespace tessaron {

// The size phase: counts the selected files and their bytes. What it cannot examine or
// enter, the copy phase reports.
class SizeCounter : public WalkVisitor {
public:
    explicit SizeCounter(RunState& run) : m_run(run) {}
    CopySide Side() const override { return CopySide::None; }
    WalkAhead::Work Ahead() const override { return WalkAhead::Work::Folders; }
    bool Failure(const std::string&, const std::string&, const SysError&) override { return false; }
    bool File(const Source& source, const Dest* dest) override;

private:
    RunState& m_run;
};

// The copy phase: every selected file copied, every folder made and given its source's
// metadata after its contents; special files skipped with a line in the log file.
class CopyVisitor : public WalkVisitor {
public:
    CopyVisitor(RunState& run, Copier& copier, CopyFolders& folders, CopyQueue& queue)
        : m_run(run), m_copier(copier), m_folders(folders), m_queue(queue) {}
    CopySide Side() const override { return CopySide::Make; }
    WalkAhead::Work Ahead() const override { return WalkAhead::Work::FoldersAndFiles; }
    bool Failure(const std::string& what, const std::string& path, const SysError& error) override;
    void Special(const std::string& path) override;
    bool File(const Source& source, const Dest* dest) override;
    void Unreached(const std::string& path) override;
    bool FolderDone(CopyFolder& copy, const FileInfo& like) override;
    bool EntryDone(std::deque<Ancestor>& chain) override;
    bool Settle() override { return m_queue.Settle(); }

private:
    RunState& m_run;
    Copier& m_copier;
    CopyFolders& m_folders;
    CopyQueue& m_queue;
};

// The verify phase: every selected file compared with its copy; no read-ahead, so that
// what is compared is what the medium returns at that moment.
class VerifyVisitor : public WalkVisitor {
public:
    VerifyVisitor(RunState& run, Verifier& verifier) : m_run(run), m_verifier(verifier) {}
    CopySide Side() const override { return CopySide::Open; }
    WalkAhead::Work Ahead() const override { return WalkAhead::Work::None; }
    bool Failure(const std::string& what, const std::string& path, const SysError& error) override;
    bool File(const Source& source, const Dest* dest) override;

private:
    RunState& m_run;
    Verifier& m_verifier;
};

// A file the copy or verify phase processed: counted when it went well, else the line
// failed + its path after the line that said why.
bool CountProcessed(RunState& run, bool ok, const char* failed, const std::string& path);

// Whether runs overlap their read-only work when nothing says otherwise.
bool OverlapByDefault();
// The copy phase's writer threads when nothing says otherwise: TESSARON_WRITERS (1 to 8),
// else one per core, at most 8.
int WritersByDefault();

// The run's settings besides the set: where its log goes, how it mails, whether it reads
// ahead.
struct RunConfig {
    std::string logDir;
    const clsRegSettings* settings = nullptr;
    std::unique_ptr<clsRegSettings> ownSettings;
    int mailTimeout = 30;
    bool overlap = OverlapByDefault();
    int writers = WritersByDefault();
};

// One run from start to summary: the phase order, the flags that tie the phases
// together, cancellation, stop-on-error and the result.
class BackupRun {
public:
    explicit BackupRun(IBackupView& view);
    ~BackupRun();

    // See BackupEngine::Run.
    bool Run();

    RunState state;
    RunConfig config;
    RunResult result = RunResult::Error;
    bool finished = false;
    Verifier verifier{state};
    CopyFolders folders{state};

private:
    void StartRun();
    void ReadBlockSize();
    void EachSelection(bool& hadError, const std::function<void(const std::string&, bool&)>& step);
    bool SizePhase(bool& hadError);
    void TotalSelection(const std::string& path, bool& ok);
    bool CopyPhase(bool& hadError);
    void CopySelection(const std::string& path, CopyQueue& queue, bool& ok);
    void VerifySelection(const std::string& path, bool& ok);
    void VerifyPhase(bool& hadError);
    void LogPhaseSummary(const char* complete, const char* files, const char* bytes);
    void LogUnreached(bool& hadError);
    void SettleCopies(bool& hadError);
    void MakeDurable(bool& hadError);
    void FinishResult(bool hadError);

    std::unique_ptr<IFileAccess> m_ownAccess;
    std::unique_ptr<IPlaces> m_ownPlaces;
    TargetCheck m_check{state};
    Walker m_walker{state, folders};
    Copier m_copier{state};
};

// What follows the result: the mail of the on-screen log, the copy of the log file into
// the target, the view told the run is finished, the ejection (RunEnd.cpp).
void EndRun(RunState& state, RunConfig& config, RunResult result, bool& finished);

} // namespace tessaron
