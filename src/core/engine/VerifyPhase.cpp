// The verify phase: after the copies are on the medium, every selection entry walked
// again with the verifier.
#include "engine/Phases.h"
#include "setfile/clsSetup.h"

#include <algorithm>

namespace tessaron {

bool VerifyVisitor::Failure(const std::string& what, const std::string& path,
                            const SysError& error) {
    m_run.log.LogError(what, path, error);
    return true;
}

bool VerifyVisitor::File(const Source& source, const Dest* dest) {
    return CountProcessed(m_run, m_verifier.VerifyFile(source, *dest), "Unable to Verify File - ",
                          source.path);
}

// The copies are put on the medium first (once for the whole file system), so that the
// comparison reads what the medium returns. The counters start again; the summary adds
// the copy's time to the verify's.
void BackupRun::VerifyPhase(bool& hadError) {
    RunState& s = state;
    s.log.AddLogLine("Verifying Files...");
    MakeDurable(hadError);
    clsProgress& p = s.progress;
    p.UpdateElapsedTime();
    const std::int32_t copyElapsed = p.ElapsedTime;
    p.CurrentFile.clear();
    p.CurrentSize = p.CurrentDone = 0;
    p.FilesDone = 0;
    p.BytesDone = 0;
    p.ElapsedTime = p.RemainingTime = 0;
    p.Start();
    s.view.PhaseStarted(RunPhase::Verify, p);
    EachSelection(hadError, [&](const std::string& path, bool& ok) { VerifySelection(path, ok); });
    LogPhaseSummary("Verify Complete", " Files Verified,  ", " Bytes Read");
    const std::int64_t total = std::int64_t{p.ElapsedTime} + copyElapsed;
    p.ElapsedTime = static_cast<std::int32_t>(std::min<std::int64_t>(total, INT32_MAX));
    s.log.AddLogLine("Total Elapsed Time: " + p.FormatElapsedTime());
}

} // namespace tessaron
