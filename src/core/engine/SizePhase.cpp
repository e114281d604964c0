// The size phase: the files and bytes of the selection counted, then the target checked
// (and cleared when the set asks for it).
#include "engine/NumberText.h"
#include "engine/Phases.h"
#include "engine/RunChecks.h"
#include "setfile/clsSetup.h"

namespace tessaron {

bool SizeCounter::File(const Source& source, const Dest* dest) {
    (void)dest;
    m_run.progress.TotalFiles += 1;
    m_run.progress.TotalBytes += source.info.Kind == FileKind::File ? source.info.Size : 0;
    return true;
}

// Adds the selected files at or below path to TotalFiles and TotalBytes. ok false when
// the walk was cancelled.
void BackupRun::TotalSelection(const std::string& path, bool& ok) {
    SizeCounter counter(state);
    ok = m_walker.Walk(path, {}, counter);
}

// Returns true when the run goes on to the copy phase.
bool BackupRun::SizePhase(bool& hadError) {
    RunState& s = state;
    s.log.AddLogLine("Calculating Backup Size");
    s.timerOn = true;
    s.lastRefresh = std::chrono::steady_clock::now();
    s.view.PhaseStarted(RunPhase::Size, s.progress);
    // A target that exists already is left out of the walk from the start.
    FileInfo target;
    SysError error;
    if (TargetNamesDrive(s.setup->Target) && s.fa->GetPathInfo(s.setup->Target, target, error) &&
        target.Kind == FileKind::Directory) {
        s.outputId = target.Id;
        s.outputPath = s.setup->Target;
    }
    EachSelection(hadError,
                  [this](const std::string& path, bool& ok) { TotalSelection(path, ok); });
    if ((s.StopOnError() && hadError) || s.cancelled) {
        return false;
    }
    s.log.AddLogLine(FormatGrouped(std::int64_t{s.progress.TotalFiles}) + " Files,  " +
                     FormatGrouped(s.progress.TotalBytes) + " Bytes");
    s.log.AddLogLine("Checking Target - " + s.setup->Target);
    bool ok = false;
    m_check.CheckTarget(s.setup->Target, ok);
    if (!ok) {
        s.cancelled = true;
    }
    // What the clearing could not remove is an error; with stop-on-error nothing is copied.
    hadError = hadError || s.clearFailed;
    return !s.cancelled && !(s.clearFailed && s.StopOnError());
}

} // namespace tessaron
