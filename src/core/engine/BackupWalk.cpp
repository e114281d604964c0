// The selection walk: one routine serves the size phase (totals), the copy phase and the
// verify phase. It works inside open folders, so paths of any length are walked.
#include "engine/BackupParts.h"
#include "engine/NumberText.h"
#include "platform/clsPath.h"
#include "setfile/clsSetup.h"

namespace tessaron {

namespace {

constexpr PathStyle kStyle = NativePathStyle();

bool IsSpecial(FileKind kind) {
    return kind == FileKind::Fifo || kind == FileKind::Socket || kind == FileKind::Device;
}

} // namespace

void BackupEngine::TotalSelection(const std::string& path, bool& ok) {
    const Phase outer = m_phase;
    m_phase = Phase::Size;
    ok = WalkEntry(path, {});
    m_phase = outer;
}

void BackupEngine::RunSelection(const std::string& path, const std::string& target, bool verifying,
                                bool& ok) {
    const Phase outer = m_phase;
    m_phase = verifying ? Phase::Verify : Phase::Copy;
    EnsureBuffers();
    ok = WalkEntry(path, target);
    m_phase = outer;
}

// One selection entry. The entry and every link on the way to it are followed; the
// copy keeps the path as written.
bool BackupEngine::WalkEntry(const std::string& entry, const std::string& target) {
    if (m_phase != Phase::Size && !UseTarget(target)) {
        return false;
    }
    const std::string path(clsPath::WithoutTrailingSeparators(entry, kStyle));
    if (path.empty()) {
        return true; // an empty entry selects nothing
    }
    FileInfo info;
    SysError error;
    if (!m_fa->GetPathInfo(path, info, error)) {
        if (m_phase != Phase::Size) {
            LogError("Unable to open", path, error);
        }
        return m_phase == Phase::Size;
    }
    if (info.Exists && m_outputId.Valid &&
        (info.Id == m_outputId || m_fa->IsSameOrInside(path, m_outputId))) {
        LogOutputLeftOut();
        return true;
    }
    if (info.Kind == FileKind::Directory) {
        return WalkEntryFolder(path, info);
    }
    if (IsSpecial(info.Kind)) {
        if (m_phase == Phase::Copy) {
            AddLogLine("Special File Skipped - " + path + " (not a regular file)", false);
        }
        return true;
    }
    return WalkEntryFile(path, info); // a file, or nothing there: its copy says why
}

bool BackupEngine::WalkEntryFolder(const std::string& path, const FileInfo& info) {
    Level top(*this);
    if (!m_fa->OpenFolder(*top.src, path)) {
        if (m_phase != Phase::Size) {
            LogError("Unable to open", path, top.src->Error());
        }
        return m_phase == Phase::Size;
    }
    top.srcPath = path;
    std::deque<Ancestor> chain;
    if (m_phase != Phase::Size &&
        !OpenCopyChain(path, clsPath::PlaceParts(path, kStyle).size(), top, chain)) {
        return false;
    }
    bool ok = Walk(top);
    if (m_phase == Phase::Copy) {
        ok = FinishCopyFolder(*top.dst, info) && ok;
        ok = FinishAncestors(chain) && ok;
    }
    return ok;
}

bool BackupEngine::WalkEntryFile(const std::string& path, const FileInfo& info) {
    if (!m_setup->Sel.IsSelected(path)) {
        return true;
    }
    if (m_phase == Phase::Size) {
        CountFile(info);
        return true;
    }
    const std::vector<std::string> parts = clsPath::PlaceParts(path, kStyle);
    const std::string& name = parts.empty() ? path : parts.back();
    Level level(*this);
    std::deque<Ancestor> chain;
    if (!OpenCopyChain(path, parts.empty() ? 0 : parts.size() - 1, level, chain)) {
        AddLogLine("Unable to Copy File - " + path, true);
        return false;
    }
    const std::string copy = CopyPath(level.dst->path, name);
    bool ok = ProcessFile(Source{nullptr, name, path, info, nullptr}, Dest{*level.dst, name, copy});
    if (m_phase == Phase::Copy) {
        ok = FinishAncestors(chain) && ok;
    }
    return ok;
}

// Every selected entry of one open folder, in name order. False when an entry failed or
// the run was cancelled; with stop-on-error the first failure ends the walk at once.
bool BackupEngine::Walk(Level& level) {
    if (!ListLevel(level)) {
        if (m_phase == Phase::Size) {
            return true; // the copy phase reports it
        }
        LogError("Unable to list directory", level.srcPath, level.src->Error());
        return false;
    }
    bool failed = false;
    for (std::size_t i = 0; i < level.items.size(); ++i) {
        PostAhead(level, i);
        const std::string full = clsPath::Join(level.srcPath, level.items[i].Path, kStyle);
        const bool ok = !SelectedAt(level, i, &full) || WalkItem(level, i, full);
        ReleaseAhead(level, i);
        if (!ok) {
            failed = true;
            if (m_setup->StopOnError) {
                return false;
            }
        }
        YieldPoint();
        if (m_cancelled) {
            return false;
        }
    }
    return !failed;
}

// The level's entries: listed here, or taken from its read-ahead.
bool BackupEngine::ListLevel(Level& level) {
    switch (level.listing) {
    case Level::Listing::Ahead:
        return true;
    case Level::Listing::AheadFailed:
        return false;
    case Level::Listing::Here:
        break;
    }
    return m_fa->List(*level.src, level.items);
}

// One selected entry of a listing. The size phase only counts: what it cannot examine or
// enter, the copy phase reports.
bool BackupEngine::WalkItem(Level& level, std::size_t index, const std::string& full) {
    const clsFSItem& item = level.items[index];
    if (item.Error) {
        if (m_phase != Phase::Size) {
            LogError("Unable to examine", full, item.Error);
        }
        return m_phase == Phase::Size;
    }
    if (item.Kind == FileKind::Directory) {
        return EnterFolder(level, index, full);
    }
    if (IsSpecial(item.Kind)) {
        // Never opened: reading a FIFO could block the run, a device could be endless.
        if (m_phase == Phase::Copy) {
            AddLogLine("Special File Skipped - " + full + " (not a regular file)", false);
        }
        return true;
    }
    if (LeftOutAsLog(item.Info.Id)) {
        return true;
    }
    if (m_phase == Phase::Size) {
        CountFile(item.Info);
        return true;
    }
    const std::string copy = CopyPath(level.dst->path, item.Path);
    return ProcessFile(Source{level.src, item.Path, full, item.Info, FileJob(level, index)},
                       Dest{*level.dst, item.Path, copy});
}

bool BackupEngine::EnterFolder(Level& level, std::size_t index, const std::string& full) {
    const clsFSItem& item = level.items[index];
    if (LeftOutAsOutput(item.Info.Id) || LeftOutAsLog(item.Info.Id)) {
        return true;
    }
    Level sub(*this);
    if (!OpenLevel(level, index, sub)) {
        if (m_phase != Phase::Size) {
            LogError("Unable to open", full, sub.src->Error());
        }
        return m_phase == Phase::Size;
    }
    sub.srcPath = full;
    if (m_phase != Phase::Size && !StepInto(*level.dst, item.Path, *sub.dst)) {
        return false;
    }
    if (sub.copyListed && sub.dst->id.Valid && sub.dst->id == sub.copyId) {
        sub.dst->listed = &sub.copyItems; // listed ahead, and the very folder the walk uses
    }
    bool ok = Walk(sub);
    if (m_phase == Phase::Copy) {
        ok = FinishCopyFolder(*sub.dst, item.Info) && ok; // after its contents
    }
    return ok;
}

// Opens the sub-folder at index of level as sub's source folder (or takes it from the
// read-ahead). False with sub.src's error set when it cannot be opened.
bool BackupEngine::OpenLevel(Level& level, std::size_t index, Level& sub) {
    if (TakeFolder(level, index, sub)) {
        return sub.src->IsOpen();
    }
    return m_fa->OpenFolderAt(*sub.src, *level.src, level.items[index].Path);
}

// Copies or verifies one selected file and counts it. False after a failure (logged).
bool BackupEngine::ProcessFile(const Source& source, const Dest& dest) {
    const bool verifying = m_phase == Phase::Verify;
    const bool ok = verifying ? VerifyEntry(source, dest) : CopyEntry(source, dest);
    if (ok) {
        m_progress->FilesDone += 1;
        return true;
    }
    m_filesFailed += verifying ? 0 : 1;
    AddLogLine((verifying ? "Unable to Verify File - " : "Unable to Copy File - ") + source.path,
               true);
    return false;
}

void BackupEngine::CountFile(const FileInfo& info) {
    m_progress->TotalFiles += 1;
    m_progress->TotalBytes += info.Kind == FileKind::File ? info.Size : 0;
}

bool BackupEngine::LeftOutAsOutput(const FileIdentity& id) {
    if (!m_outputId.Valid || !(id == m_outputId)) {
        return false;
    }
    LogOutputLeftOut();
    return true;
}

void BackupEngine::LogOutputLeftOut() {
    if (!m_outputLogged) {
        m_outputLogged = true;
        AddLogLine("Output directory left out of the backup - " + m_outputPath, true);
    }
}

// The run's log folder (or its log file, where the folder is a selection itself) is left
// out as the target is: the walk would copy, and verify, a file the run is writing.
bool BackupEngine::LeftOutAsLog(const FileIdentity& id) {
    if (!id.Valid || (!(id == m_logFolderId) && !(id == m_logFileId))) {
        return false;
    }
    if (!m_logLeftOut) {
        m_logLeftOut = true;
        AddLogLine("Log folder left out of the backup - " + m_logDir, true);
    }
    return true;
}

// Files counted in the size phase that the copy never reached, though it walked every
// selection: moved (into a folder already walked) or deleted while the backup ran. They
// are not in the backup, and no line named them: the run says how many and fails.
void BackupEngine::LogUnreached(bool& hadError) {
    const clsProgress& p = *m_progress;
    const std::int64_t missing = std::int64_t{p.TotalFiles} - p.FilesDone - m_filesFailed;
    if (missing <= 0) {
        return;
    }
    AddLogLine(FormatGrouped(missing) +
                   (missing == 1 ? " counted file was not found when the copy reached it"
                                 : " counted files were not found when the copy reached them") +
                   " (moved or deleted while the backup ran)",
               true);
    hadError = true;
}

void BackupEngine::StartFile(const std::string& path) {
    clsProgress& p = *m_progress;
    p.CurrentFile = path;
    p.CurrentSize = 0;
    p.CurrentDone = 0;
    m_view.SetText(ViewText::CurrentFile, EscapeControls(path));
    m_view.SetBar(ViewBar::Current, 0);
}

} // namespace tessaron
