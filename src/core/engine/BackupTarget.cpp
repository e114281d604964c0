// The target device check and the optional clearing of the target.
#include "engine/BackupEngine.h"
#include "platform/clsPath.h"
#include "setfile/clsSetup.h"

#include <cstdlib>

namespace tessaron {

namespace {

std::string WithoutTrailingSlash(std::string p) {
    while (p.size() > 1 && p.back() == '/') {
        p.pop_back();
    }
    return p;
}

// "/home/NAME", "/root" and $HOME: clearing one of these would wipe a user's files.
bool IsHomeDirectory(const std::string& p) {
    if (p == "/root") {
        return true;
    }
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
        if (p == WithoutTrailingSlash(home)) {
            return true;
        }
    }
    const std::string base = "/home/";
    return p.size() > base.size() && p.compare(0, base.size(), base) == 0 &&
           p.find('/', base.size()) == std::string::npos;
}

} // namespace

void BackupEngine::CheckTarget(const std::string& target, bool& ok) {
    ok = false;
    // POSIX has no drive letters: a target without a root is what a missing drive is.
    if (target.empty() || target[0] != '/') {
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
    m_fs.DoEvents = [this] { YieldPoint(); };
    m_fs.Clean(target); // what could not be removed is overwritten or reported by the copy
    m_fs.DoEvents = nullptr;
    m_lastDir.clear();
    AppendLogLine("Done", true);
    ok = true;
}

bool BackupEngine::CheckDevice(const std::string& target) {
    const std::string type = m_fs.GetDriveType(target);
    if (type == "CDROM") {
        AddLogLine("Target Device Cannot be a CDROM Drive - " + target, true);
        return false;
    }
    if (type.empty()) {
        if (!m_setup->Quiet) {
            m_view.Ask("Unknown Device",
                       "Can't Find Target Device - " + target + "\r\n" +
                           "An External Drive may need to be plugged in or powered on.",
                       MsgButtons::OK);
        }
        AddLogLine("Unknown Target Device - " + target, true);
        return false;
    }
    if (type != "REMOVABLE") {
        return true;
    }
    // The target folder itself may not exist yet: ask the file system holding its
    // nearest existing ancestor. A medium with no free space counts as not ready.
    for (;;) {
        std::string probe = target;
        FileInfo info;
        while (probe.size() > 1 && !(m_fs.GetInfo(probe, info) && info.Exists)) {
            probe = clsPath(WithoutTrailingSlash(probe), PathStyle::Posix).Directory;
            probe = WithoutTrailingSlash(probe.empty() ? "/" : probe);
        }
        if (m_fs.GetDriveFreeSpace(probe) != 0) {
            return true;
        }
        if (m_setup->Quiet || m_view.Ask("Drive Not Ready",
                                         "Drive " + target + " does not appear to be ready." +
                                             "\r\n" + "Please insert disk or media.",
                                         MsgButtons::RetryCancel) != MsgAnswer::Retry) {
            AddLogLine("Target Device Is Not Ready: " + target, true);
            return false;
        }
    }
}

bool BackupEngine::ClearIsSafe(const std::string& target) {
    const std::string t = WithoutTrailingSlash(target);
    if (t == "/" || IsHomeDirectory(t)) {
        AddLogLine("Target Not Cleared - " + target + " is the root or a home directory", true);
        return false;
    }
    const auto targetParts = clsPath::SplitParts(t, PathStyle::Posix);
    for (const clsSelItem& item : m_setup->Sel) {
        const auto sourceParts = clsPath::SplitParts(item.path(), PathStyle::Posix);
        if (PartsContain(targetParts, sourceParts)) {
            AddLogLine("Target Not Cleared - " + target + " holds the selected source " +
                           item.path(),
                       true);
            return false;
        }
    }
    return true;
}

bool BackupEngine::IsDriveRoot(const std::string& target) {
    const std::string t = WithoutTrailingSlash(target);
    if (t == "/") {
        return true;
    }
    m_fs.GetDrives();
    for (const clsFSItem& drive : m_fs.Items) {
        if (WithoutTrailingSlash(drive.Path) == t) {
            return true;
        }
    }
    return false;
}

bool BackupEngine::ConfirmClear(const std::string& target) {
    // Quiet mode clears without asking, except the root of a whole file system.
    if (m_setup->Quiet && !IsDriveRoot(target)) {
        return true;
    }
    return m_view.Ask("Clear Target",
                      "Warning - All Files and Directories will be removed from \r\n" + target +
                          "\r\n" + "Do You Want To Continue?",
                      MsgButtons::YesNo) == MsgAnswer::Yes;
}

} // namespace tessaron
