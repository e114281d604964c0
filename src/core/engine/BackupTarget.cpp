// The target device check and the optional clearing of the target. An existing target is
// opened once: whether clearing it is safe is decided on that open folder's identity,
// never on how the target is spelled, and the clearing and the copies work below it, so
// that a link on the way swapped meanwhile changes nothing.
#include "engine/BackupParts.h"
#include "engine/RunChecks.h"
#include "setfile/clsSetup.h"

namespace tessaron {

namespace {
constexpr PathStyle kStyle = NativePathStyle();
} // namespace

void BackupEngine::CheckTarget(const std::string& target, bool& ok) {
    ok = false;
    if (!TargetNamesDrive(target)) {
        AddLogLine("Invalid Target - No Drive or Server specified", true);
        return;
    }
    if (!CheckDevice(target)) {
        return;
    }
    OpenTarget(target);
    if (!m_setup->CleanTarget) {
        ok = true;
        return;
    }
    const bool open = m_target && m_target->folder.IsOpen();
    if ((open && !ClearIsSafe(target)) || !ConfirmClear(target)) {
        return;
    }
    AddLogLine("Clearing " + target + "...", true);
    const long long linesBefore = m_linesLogged;
    if (open) { // a missing target holds nothing
        ClearTarget(target);
    }
    if (m_linesLogged == linesBefore) {
        AppendLogLine("Done", true);
    }
    ok = true;
}

// Opens the target when it exists (UseTarget makes a missing one for the copy phase).
void BackupEngine::OpenTarget(const std::string& target) {
    m_target = std::make_unique<CopyFolder>();
    m_targetArg = target;
    m_target->path = clsPath::WithoutTrailingSeparators(target, kStyle);
    FileInfo own;
    if (!m_fa->OpenFolder(m_target->folder, target) ||
        !m_fa->GetFolderInfo(m_target->folder, own)) {
        m_target.reset();
        return;
    }
    m_outputId = own.Id;
    m_outputPath = target;
}

// Removes everything below the open target, never leaving its file system: a mount point
// inside and the run's own log folder stay as they are, each said; whatever cannot be
// removed is an error line, and the run ends "Error During Backup".
void BackupEngine::ClearTarget(const std::string& target) {
    RemovalReport report;
    for (const FileIdentity& id : {m_logFolderId, m_logFileId}) {
        if (id.Valid) {
            report.keep.push_back(id);
        }
    }
    report.kept = [&](const std::string& path) {
        AddLogLine("Log folder not cleared - " + ShownPath(clsPath::Join(target, path, kStyle)),
                   true);
    };
    report.left = [&](const std::string& path, const SysError& why) {
        LogLeftInPlace("Unable to remove", ShownPath(clsPath::Join(target, path, kStyle)), why);
        m_clearFailed = true;
        return !m_setup->StopOnError && !m_cancelled;
    };
    report.yield = [this] { YieldPoint(); };
    m_fa->Empty(m_target->folder, report);
}

// An entry a removal left in place: a mount point, or one that could not be removed.
void BackupEngine::LogLeftInPlace(const std::string& what, const std::string& path,
                                  const SysError& why) {
    if (why.IsOtherMount()) {
        AddLogLine("Mount point left as it is - " + path, true);
    } else {
        LogError(what, path, why);
    }
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
// or is a selected source, however any of them is spelled (links, ".", "..", "//"):
// each is compared with the identity of the open target.
bool BackupEngine::ClearIsSafe(const std::string& target) {
    FileInfo own;
    if (!m_fa->GetFolderInfo(m_target->folder, own)) {
        LogError("Target Not Cleared", target, m_target->folder.Error());
        return false;
    }
    for (const std::string& place : m_fa->ProtectedFolders()) {
        if (!m_fa->IsSameOrInside(place, own.Id)) {
            continue;
        }
        FileInfo info;
        SysError error;
        const bool same = m_fa->GetPathInfo(place, info, error) && info.Id == own.Id;
        AddLogLine(
            "Target Not Cleared - " + target +
                (same ? " is the root or a home directory" : " holds the home directory " + place),
            true);
        return false;
    }
    for (const clsSelItem& item : m_setup->Sel) {
        if (!item.path().empty() && m_fa->IsSameOrInside(item.path(), own.Id)) {
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
    if (m_setup->Quiet &&
        !(m_target && m_target->folder.IsOpen() && m_fa->IsMountRoot(m_target->folder))) {
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
