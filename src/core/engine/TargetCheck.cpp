// The target device check and the optional clearing of the target.
#include "engine/TargetCheck.h"

#include "engine/RunChecks.h"
#include "platform/clsPath.h"
#include "setfile/clsSetup.h"

namespace tessaron {

namespace {
constexpr PathStyle kStyle = NativePathStyle();
} // namespace

void TargetCheck::CheckTarget(const std::string& target, bool& ok) {
    ok = false;
    if (!TargetNamesDrive(target)) {
        m_run.log.AddLogLine("Invalid Target - No Drive or Server specified", true);
        return;
    }
    if (!CheckDevice(target)) {
        return;
    }
    OpenTarget(target);
    if (!m_run.setup->CleanTarget) {
        ok = true;
        return;
    }
    const bool open = m_run.target && m_run.target->folder.IsOpen();
    if ((open && !ClearIsSafe(target)) || !ConfirmClear(target)) {
        return;
    }
    m_run.log.AddLogLine("Clearing " + target + "...", true);
    const long long linesBefore = m_run.log.Lines();
    if (open) { // a missing target holds nothing
        ClearTarget(target);
    }
    if (m_run.log.Lines() == linesBefore) {
        m_run.log.AppendLogLine("Done", true);
    }
    ok = true;
}

// Opens the target when it exists (UseTarget makes a missing one for the copy phase).
void TargetCheck::OpenTarget(const std::string& target) {
    m_run.target = std::make_unique<CopyFolder>();
    m_run.targetArg = target;
    m_run.target->path = clsPath::WithoutTrailingSeparators(target, kStyle);
    FileInfo own;
    if (!m_run.fa->OpenFolder(m_run.target->folder, target) ||
        !m_run.fa->GetFolderInfo(m_run.target->folder, own)) {
        m_run.target.reset();
        return;
    }
    m_run.outputId = own.Id;
    m_run.outputPath = target;
}

// Removes everything below the open target, never leaving its file system: a mount point
// inside and the run's own log folder stay as they are, each said; whatever cannot be
// removed is an error line, and the run ends "Error During Backup".
void TargetCheck::ClearTarget(const std::string& target) {
    RemovalReport report;
    for (const FileIdentity& id : {m_run.log.FolderId(), m_run.log.FileId()}) {
        if (id.Valid) {
            report.keep.push_back(id);
        }
    }
    report.kept = [&](const std::string& path) {
        m_run.log.AddLogLine(
            "Log folder not cleared - " + ShownPath(clsPath::Join(target, path, kStyle)), true);
    };
    report.left = [&](const std::string& path, const SysError& why) {
        m_run.LogLeftInPlace("Unable to remove", ShownPath(clsPath::Join(target, path, kStyle)),
                             why);
        m_run.clearFailed = true;
        return !m_run.StopOnError() && !m_run.cancelled;
    };
    report.yield = [this] { m_run.Yield(); };
    m_run.fa->Empty(m_run.target->folder, report);
}

bool TargetCheck::CheckDevice(const std::string& target) {
    SysError unknown; // the type's empty answer is the unknown device, whatever the reason
    const std::string type = m_run.places->GetDriveType(target, unknown);
    if (type == "CDROM") {
        m_run.log.AddLogLine("Target Device Cannot be a CDROM Drive - " + target, true);
        return false;
    }
    if (type.empty()) {
        if (!m_run.setup->Quiet) {
            AskUser("Unknown Device",
                    "Can't Find Target Device - " + target + "\r\n" +
                        "An External Drive may need to be plugged in or powered on.",
                    MsgButtons::OK);
        }
        m_run.log.AddLogLine("Unknown Target Device - " + target, true);
        return false;
    }
    return type != "REMOVABLE" || WaitForMedium(target);
}

// A removable drive is ready once it has free space (a medium with none counts as not
// ready). The target folder itself may not exist yet: the file system holding its
// nearest existing folder answers.
bool TargetCheck::WaitForMedium(const std::string& target) {
    SysError unreadable; // a drive that cannot be read is not ready either
    while (m_run.places->GetDriveFreeSpace(target, unreadable) == 0) {
        const std::string title = "Drive Not Ready";
        const MsgAnswer answer = m_run.setup->Quiet
                                     ? MsgAnswer::Cancel
                                     : AskUser(title,
                                               "Drive " + target + " does not appear to be ready." +
                                                   "\r\n" + "Please insert disk or media.",
                                               MsgButtons::RetryCancel);
        if (m_run.setup->Quiet) {
            LogQuietAnswer(title, answer);
        }
        if (answer != MsgAnswer::Retry) {
            m_run.log.AddLogLine("Target Device Is Not Ready: " + target, true);
            return false;
        }
    }
    return true;
}

// Refuses to clear a target that is or holds the root or a home folder, or that holds
// or is a selected source, however any of them is spelled (links, ".", "..", "//"):
// each is compared with the identity of the open target.
bool TargetCheck::ClearIsSafe(const std::string& target) {
    FileInfo own;
    if (!m_run.fa->GetFolderInfo(m_run.target->folder, own)) {
        m_run.log.LogError("Target Not Cleared", target, m_run.target->folder.Error());
        return false;
    }
    for (const std::string& place : m_run.places->ProtectedFolders()) {
        if (!m_run.places->IsSameOrInside(place, own.Id)) {
            continue;
        }
        FileInfo info;
        SysError error;
        const bool same = m_run.fa->GetPathInfo(place, info, error) && info.Id == own.Id;
        m_run.log.AddLogLine(
            "Target Not Cleared - " + target +
                (same ? " is the root or a home directory" : " holds the home directory " + place),
            true);
        return false;
    }
    for (const clsSelItem& item : m_run.setup->Sel) {
        if (!item.path().empty() && m_run.places->IsSameOrInside(item.path(), own.Id)) {
            m_run.log.AddLogLine("Target Not Cleared - " + target + " holds the selected source " +
                                     item.path(),
                                 true);
            return false;
        }
    }
    return true;
}

bool TargetCheck::ConfirmClear(const std::string& target) {
    const std::string title = "Clear Target";
    // Quiet mode clears without asking, except the root of a whole file system, or a
    // folder of which that cannot be told.
    if (m_run.setup->Quiet && !MayBeDriveRoot()) {
        LogQuietAnswer(title, MsgAnswer::Yes);
        return true;
    }
    return AskUser(title,
                   "Warning - All Files and Directories will be removed from \r\n" + target +
                       "\r\n" + "Do You Want To Continue?",
                   MsgButtons::YesNo) == MsgAnswer::Yes;
}

bool TargetCheck::MayBeDriveRoot() {
    if (!m_run.target || !m_run.target->folder.IsOpen()) {
        return false; // a missing target holds nothing to clear
    }
    SysError unknown;
    return m_run.places->IsMountRoot(m_run.target->folder, unknown) || unknown;
}

// Asks through the view; an answer the view gave without a person is logged with its
// reason, so that a run that ends "Backup Cancelled" says why.
MsgAnswer TargetCheck::AskUser(const std::string& title, const std::string& text,
                               MsgButtons buttons) {
    const Answer answer = m_run.view.Ask({title, text, buttons});
    if (answer.Reason != AnswerReason::Person) {
        m_run.log.AddLogLine(AnsweredLine(title, answer), true);
    }
    return answer.Button;
}

void TargetCheck::LogQuietAnswer(const std::string& title, MsgAnswer answer) {
    m_run.log.AddLogLine(AnsweredLine(title, {answer, AnswerReason::QuietMode}), true);
}

} // namespace tessaron
