// The selection walk: one routine serves the size phase (totals), the copy phase and the
// verify phase. It works inside open folders, so paths of any length are walked.
#include "engine/BackupParts.h"
#include "engine/NumberText.h"
#include "platform/clsPath.h"
#include "setfile/clsSetup.h"

#include <algorithm>

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
    top.shownPath = ShownPath(path);
    top.uniform = m_setup->Sel.SelectsAllBelow(path);
    std::deque<Ancestor> chain;
    if (m_phase != Phase::Size &&
        !OpenCopyChain(path, clsPath::PlaceParts(path, kStyle).size(), top, chain)) {
        return false;
    }
    m_walkPath = path;
    m_copyPath = top.dst->path;
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

// Every selected entry below the entry's folder top, in name order, one level after
// another on the walk's own stack (no recursion, whatever the depth). False when an entry
// failed or the run was cancelled; with stop-on-error the first failure ends the walk at
// once.
bool BackupEngine::Walk(Level& top) {
    m_frames.clear();
    m_frames.emplace_back();
    m_frames.back().srcEnd = static_cast<std::uint32_t>(m_walkPath.size());
    m_frames.back().dstEnd = static_cast<std::uint32_t>(m_copyPath.size());
    m_walkTop = &top;
    for (;;) {
        Level& level = LevelAt(m_frames.size() - 1);
        if (StepLevel(level)) {
            continue;
        }
        const bool ok = !level.failed && !level.stopped;
        if (m_frames.size() == 1) {
            return ok;
        }
        if (!PopLevel(ok)) {
            m_frames.resize(1);
            return false;
        }
    }
}

// Walks the level's entries up to its end or to a sub-folder, whose level it pushes.
// True when the walk goes on (in the new level); false when this level is done.
bool BackupEngine::StepLevel(Level& level) {
    if (!level.started) {
        level.started = true;
        if (!ListLevel(level)) {
            if (m_phase != Phase::Size) { // the size phase leaves it to the copy phase
                LogError("Unable to list directory", level.shownPath, level.src->Error());
                level.failed = true;
            }
            return false;
        }
    }
    if (level.childPending) {
        level.childPending = false;
        if (!AfterEntry(level, level.next - 1, level.childOk)) {
            return false;
        }
    }
    while (level.next < level.items.size()) {
        const std::size_t i = level.next++;
        PostAhead(level, i);
        const Walked walked = SelectedAt(level, i) ? WalkItem(level, i) : Walked::Ok;
        if (walked == Walked::Entered) {
            level.childPending = true;
            return true;
        }
        if (!AfterEntry(level, i, walked == Walked::Ok)) {
            return false;
        }
    }
    return false;
}

// What follows every entry of a level: its read-ahead ends, a failure is counted (and
// with stop-on-error ends the level), the user interface gets its turn. False when the
// level ends here.
bool BackupEngine::AfterEntry(Level& level, std::size_t index, bool ok) {
    if (index < level.items.size()) {
        ReleaseAhead(level, index);
    }
    if (!ok) {
        level.failed = true;
        if (m_setup->StopOnError) {
            level.stopped = true;
            return false;
        }
    }
    YieldPoint();
    level.stopped = m_cancelled;
    return !m_cancelled;
}

// The level's entries: listed here, or taken from its read-ahead. A level opened again
// goes on after the name it was left at.
bool BackupEngine::ListLevel(Level& level) {
    bool listed = true;
    switch (level.listing) {
    case Level::Listing::Ahead:
        break;
    case Level::Listing::AheadFailed:
        return false;
    case Level::Listing::Here:
        listed = m_fa->List(*level.src, level.items);
        break;
    }
    if (listed && !level.resumeAfter.empty()) {
        const auto after = std::upper_bound(
            level.items.begin(), level.items.end(), level.resumeAfter,
            [](const std::string& name, const clsFSItem& item) { return name < item.Path; });
        level.next = static_cast<std::size_t>(after - level.items.begin());
    }
    return listed;
}

// One selected entry of a listing. The size phase only counts: what it cannot examine or
// enter, the copy phase reports.
BackupEngine::Walked BackupEngine::WalkItem(Level& level, std::size_t index) {
    const clsFSItem& item = level.items[index];
    const std::string full = clsPath::Join(level.shownPath, item.Path, kStyle);
    const auto failed = [this] { return m_phase == Phase::Size ? Walked::Ok : Walked::Failed; };
    if (item.Error) {
        if (m_phase != Phase::Size) {
            LogError("Unable to examine", full, item.Error);
        }
        return failed();
    }
    if (item.Kind == FileKind::Directory) {
        return EnterFolder(level, index, full);
    }
    if (IsSpecial(item.Kind)) {
        // Never opened: reading a FIFO could block the run, a device could be endless.
        if (m_phase == Phase::Copy) {
            AddLogLine("Special File Skipped - " + full + " (not a regular file)", false);
        }
        return Walked::Ok;
    }
    if (LeftOutAsLog(item.Info.Id)) {
        return Walked::Ok;
    }
    if (m_phase == Phase::Size) {
        CountFile(item.Info);
        return Walked::Ok;
    }
    const std::string copy = CopyPath(level.dst->path, item.Path);
    const bool ok =
        ProcessFile(Source{level.src, item.Path, full, item.Info, FileJob(level, index)},
                    Dest{*level.dst, item.Path, copy});
    return ok ? Walked::Ok : Walked::Failed;
}

// Opens the sub-folder at index (and its copy's folder) as the next level of the walk.
// shown: its path as log lines show it.
BackupEngine::Walked BackupEngine::EnterFolder(Level& level, std::size_t index,
                                               const std::string& shown) {
    // m_walkPath and m_copyPath end at this level's folder; the sub-level's name is added.
    const clsFSItem& item = level.items[index];
    if (LeftOutAsOutput(item.Info.Id) || LeftOutAsLog(item.Info.Id)) {
        return Walked::Ok;
    }
    auto sub = std::make_unique<Level>(*this);
    if (!OpenLevel(level, index, *sub)) {
        if (m_phase == Phase::Size) {
            return Walked::Ok;
        }
        LogError("Unable to open", shown, sub->src->Error());
        return Walked::Failed;
    }
    const std::size_t srcEnd = m_walkPath.size();
    const std::size_t copyEnd = m_copyPath.size();
    AppendName(m_walkPath, item.Path);
    sub->shownPath = ShownPath(m_walkPath);
    if (m_phase != Phase::Size) {
        AppendName(m_copyPath, item.Path);
        sub->dst->path = ShownPath(m_copyPath);
        if (!StepInto(*level.dst, item.Path, *sub->dst)) {
            m_walkPath.resize(srcEnd);
            m_copyPath.resize(copyEnd);
            return Walked::Failed;
        }
    }
    sub->uniform = level.uniform || m_setup->Sel.SelectsAllBelow(m_walkPath);
    if (sub->copyListed && sub->dst->id.Valid && sub->dst->id == sub->copyId) {
        sub->dst->listed = &sub->copyItems; // listed ahead, and the very folder the walk uses
    }
    PushLevel(std::move(sub), item.Info);
    return Walked::Entered;
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
    m_view.FileStarted(path);
}

} // namespace tessaron
