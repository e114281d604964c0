#pragma once
// TargetCheck: the target device check and the optional clearing of the target, before
// anything is written. An existing target is opened once: whether clearing it is safe is
// decided on that open folder's identity, never on how the target is spelled, and the
// clearing and the copies work below it, so that a link on the way swapped meanwhile
// changes nothing. Clearing is refused, and the run ends as cancelled, for a target that
// is the root, is or holds a home folder, or holds or equals a selected source; a target
// that is a drive root (mount point), or of which that cannot be told, is confirmed even
// in quiet mode. Clearing never
// leaves the target's file system and never removes the run's own log.

#include "engine/RunState.h"

namespace tessaron {

class TargetCheck {
public:
    explicit TargetCheck(RunState& run) : m_run(run) {}

    // Checks (and, when the set asks for it, clears) the target. ok false: the run must
    // not copy; a line saying why has been logged.
    void CheckTarget(const std::string& target, bool& ok);

private:
    bool CheckDevice(const std::string& target);
    void OpenTarget(const std::string& target);
    void ClearTarget(const std::string& target);
    bool WaitForMedium(const std::string& target);
    bool ConfirmClear(const std::string& target);
    // Whether the open target is, or may be, the root of a file system.
    bool MayBeDriveRoot();
    bool ClearIsSafe(const std::string& target);
    MsgAnswer AskUser(const std::string& title, const std::string& text, MsgButtons buttons);
    void LogQuietAnswer(const std::string& title, MsgAnswer answer);

    RunState& m_run;
};

} // namespace tessaron
