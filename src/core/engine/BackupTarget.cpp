// The target device check and the optional clearing of the target. Whether clearing is
// safe is decided on the identity of folders, never on how the target is spelled.
#include "engine/BackupParts.h"
#include "engine/RunChecks.h"
#include "setfile/clsSetup.h"

namespace tessaron {

void BackupEngine::CheckTarget(const std::string& target, bool& ok) {
    ok = false;
    if (!TargetNamesDrive(target)) {
        AddLogLine("Invalid Target - No Drive or Server specified", true);
        return;
    }
    if (!CheckDevice(target)) {
        return;
    }
    if (!m_setup->CleanTarget) {
        ok = true;
        return;
    }
    if (!ClearIsSafe(target) || !ConfirmClear(target)) {
        return;
    }
    AddLogLine("Clearing " + target + "...", true);
    SysError error;
    // What could not be removed is overwritten or reported by the copy.
    m_fa->Clean(
        target, [this] { YieldPoint(); }, error);
    AppendLogLine("Done", true);
    ok = true;
}

bool BackupEngine::CheckDevice(const std::string& target) {
    const std::string type = m_fa->GetDriveType(target);
    if (type == "CDROM") {
        AddLogLine("Target Device Cannot be a CDROM Drive - " + target, true);
        return false;
    }
    if (type.empty()) {
        if (!m_setup->Quiet) {
            AskUser("Unknown Device",
                    "Can't Find Target Device - " + target + "\r\n" +
                        "An External Drive may need to be plugged in or powered on.",
                    MsgButtons::OK);
        }
        AddLogLine("Unknown Target Device - " + target, true);
        return false;
    }
    return type != "REMOVABLE" || WaitForMedium(target);
}

// A removable drive is ready once it has free space (a medium with none counts as not
// ready). The target folder itself may not exist yet: the file system holding its
// nearest existing folder answers.
bool BackupEngine::WaitForMedium(const std::string& target) {
    while (m_fa->GetDriveFreeSpace(target) == 0) {
        const std::string title = "Drive Not Ready";
        const MsgAnswer answer = m_setup->Quiet
                                     ? MsgAnswer::Cancel
                                     : AskUser(title,
                                               "Drive " + target + " does not appear to be ready." +
                                                   "\r\n" + "Please insert disk or media.",
                                               MsgButtons::RetryCancel);
        if (m_setup->Quiet) {
            LogQuietAnswer(title, answer);
        }
        if (answer != MsgAnswer::Retry) {
            AddLogLine("Target Device Is Not Ready: " + target, true);
            return false;
        }
    }
    return true;
}

// Refuses to clear a target that is or holds the root or a home folder, or that holds
// or is a selected source, however any of them is spelled (links, ".", "..", "//").
bool BackupEngine::ClearIsSafe(const std::string& target) {
    for (const std::string& place : m_fa->ProtectedFolders()) {
        if (!m_fa->IsSameOrInside(place, target)) {
            continue;
        }
        const bool same = m_fa->IsSameOrInside(target, place);
        AddLogLine(
            "Target Not Cleared - " + target +
                (same ? " is the root or a home directory" : " holds the home directory " + place),
            true);
        return false;
    }
    for (const clsSelItem& item : m_setup->Sel) {
        if (!item.path().empty() && m_fa->IsSameOrInside(item.path(), target)) {
            AddLogLine("Target Not Cleared - " + target + " holds the selected source " +
                           item.path(),
                       true);
            return false;
        }
    }
    return true;
}

bool BackupEngine::ConfirmClear(const std::string& target) {
    const std::string title = "Clear Target";
    // Quiet mode clears without asking, except the root of a whole file system.
    if (m_setup->Quiet && !m_fa->IsDriveRoot(target)) {
        LogQuietAnswer(title, MsgAnswer::Yes);
        return true;
    }
    return AskUser(title,
                   "Warning - All Files and Directories will be removed from \r\n" + target +
                       "\r\n" + "Do You Want To Continue?",
                   MsgButtons::YesNo) == MsgAnswer::Yes;
}

// Asks through the view; an answer the view gave without a person is logged with its
// reason, so that a run that ends "Backup Cancelled" says why.
MsgAnswer BackupEngine::AskUser(const std::string& title, const std::string& text,
                                MsgButtons buttons) {
    const Answer answer = m_view.Ask({title, text, buttons});
    if (answer.Reason != AnswerReason::Person) {
        AddLogLine(AnsweredLine(title, answer), true);
    }
    return answer.Button;
}

void BackupEngine::LogQuietAnswer(const std::string& title, MsgAnswer answer) {
    AddLogLine(AnsweredLine(title, {answer, AnswerReason::QuietMode}), true);
}

} // namespace tessaron
