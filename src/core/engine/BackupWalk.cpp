// The selection walk: totals in the size phase, copy or verify of every selected file.
#include "engine/BackupEngine.h"
#include "platform/clsPath.h"
#include "setfile/clsSetup.h"

namespace tessaron {

namespace {

std::string Prefix(const std::string& path) {
    return (!path.empty() && path.back() == '/') ? path : path + '/';
}

} // namespace

// True when path is the run's output directory (or, for a selection entry, lies inside
// it): such a folder is never walked, so a backup does not copy itself.
bool BackupEngine::IsOutputDir(const std::string& path) {
    if (m_phase == Phase::Idle || m_outputDir.empty() || m_outputDir[0] != '/') {
        return false;
    }
    const bool inside =
        path == m_outputDir || m_outputDir == "/" ||
        (path.size() > m_outputDir.size() &&
         path.compare(0, m_outputDir.size(), m_outputDir) == 0 && path[m_outputDir.size()] == '/');
    if (inside && !m_outputDirLogged) {
        m_outputDirLogged = true;
        AddLogLine("Output directory left out of the backup - " + m_outputDir, true);
    }
    return inside;
}

bool BackupEngine::ListDirectory(const std::string& path, std::vector<clsFSItem>& items) {
    m_fs.LastError.clear();
    const int count = m_fs.GetDirectory(path);
    items = std::move(m_fs.Items);
    m_fs.Items.clear();
    if (count == 0 && !m_fs.LastError.empty()) {
        // The size phase stays quiet: the copy phase reports the same folder.
        if (m_phase != Phase::Size) {
            LogFsError("Unable to list directory", path, m_fs.LastError);
        }
        return false;
    }
    return true;
}

void BackupEngine::TotalSelection(const std::string& path, bool& ok) {
    ok = false;
    clsProgress& p = *m_progress;
    if (IsOutputDir(path)) {
        ok = true;
        return;
    }
    FileInfo info;
    m_fs.GetInfo(path, info);
    if (info.Kind != FileKind::Directory) {
        const bool special = info.Kind == FileKind::Fifo || info.Kind == FileKind::Socket ||
                             info.Kind == FileKind::Device;
        if (!special && m_setup->Sel.IsSelected(path)) {
            p.TotalFiles += 1;
            p.TotalBytes += info.Kind == FileKind::File ? info.Size : 0;
        }
        ok = true;
        return;
    }
    std::vector<clsFSItem> items;
    ListDirectory(path, items);
    const std::string prefix = Prefix(path);
    for (const clsFSItem& item : items) {
        const std::string full = prefix + item.Path;
        if (m_setup->Sel.IsSelected(full)) {
            if (item.Kind == FileKind::Directory) {
                bool subOk = false; // a folder that fails is reported by the copy phase
                TotalSelection(full, subOk);
            } else if (!item.IsSpecial()) {
                p.TotalFiles += 1;
                p.TotalBytes +=
                    item.Kind == FileKind::File ? static_cast<std::int64_t>(item.Size) : 0;
            }
        }
        YieldPoint();
        if (m_cancelled) {
            return;
        }
    }
    ok = true;
}

void BackupEngine::RunSelection(const std::string& path, const std::string& target, bool verifying,
                                bool& ok) {
    ok = false;
    if (IsOutputDir(path)) {
        ok = true;
        return;
    }
    FileInfo info;
    m_fs.GetInfo(path, info);
    if (info.Kind != FileKind::Directory) {
        ok = !m_setup->Sel.IsSelected(path) || ProcessFile(path, info.Kind, target, verifying);
        return;
    }
    std::vector<clsFSItem> items;
    if (!ListDirectory(path, items)) {
        return;
    }
    const std::string prefix = Prefix(path);
    bool failed = false;
    for (const clsFSItem& item : items) {
        const std::string full = prefix + item.Path;
        if (m_setup->Sel.IsSelected(full)) {
            bool itemOk = true;
            if (item.Kind == FileKind::Directory) {
                RunSelection(full, target, verifying, itemOk); // skips the output folder
            } else {
                m_listed = &item;
                itemOk = ProcessFile(full, item.Kind, target, verifying);
                m_listed = nullptr;
            }
            if (!itemOk) {
                failed = true;
                if (m_setup->StopOnError) {
                    return;
                }
            }
        }
        YieldPoint();
        if (m_cancelled) {
            return;
        }
    }
    ok = !failed;
}

// Copies or verifies one selected file and counts it. False after a failure (logged).
bool BackupEngine::ProcessFile(const std::string& path, FileKind kind, const std::string& target,
                               bool verifying) {
    if (kind == FileKind::Fifo || kind == FileKind::Socket || kind == FileKind::Device) {
        // Never opened: reading a FIFO could block the run, a device could be endless.
        if (!verifying) {
            AddLogLine("Special File Skipped - " + path + " (not a regular file)", false);
        }
        return true;
    }
    bool fileOk = false;
    const std::string dest = Destination(path, target);
    if (verifying) {
        VerifyFile(path, dest, fileOk);
    } else {
        CopyFile(path, dest, fileOk);
    }
    if (fileOk) {
        m_progress->FilesDone += 1;
        return true;
    }
    AddLogLine((verifying ? "Unable to Verify File - " : "Unable to Copy File - ") + path, true);
    return false;
}

std::string BackupEngine::Destination(const std::string& source, const std::string& target) const {
    std::string dest = target;
    if (!dest.empty() && dest.back() == '/') {
        dest.pop_back();
    }
    // A POSIX path has no drive part: its directory and file name are the whole path,
    // so the walk's absolute paths are appended as they are, without taking them apart.
    if (!source.empty() && source[0] == '/') {
        return dest += source;
    }
    // A relative source (a set file may hold one) lands below the target too, never
    // beside it: "docs/a.txt" to "/out" gives "/out/docs/a.txt", not "/outdocs/a.txt".
    dest += '/';
    const clsPath p(source, PathStyle::Posix);
    dest += p.Directory;
    dest += p.File();
    return dest;
}

} // namespace tessaron
