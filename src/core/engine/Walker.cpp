// The selection walk: one routine for every phase, the phase's work in its visitor.
#include "engine/Walker.h"

#include "engine/WalkLevels.h"
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

Walker::Walker(RunState& run, CopyFolders& folders)
    : m_run(run), m_folders(folders), m_ahead(run),
      m_stack(std::make_unique<WalkStack>(run, m_ahead)) {}

Walker::~Walker() = default;

void Walker::StartRun() {
    m_outputLogged = false;
    m_logLeftOut = false;
}

void Walker::Overlap(bool on) {
    if (on) {
        m_ahead.Start(true);
    } else {
        m_ahead.Stop();
    }
}

// The entry and every link on the way to it are followed; the copy keeps the path as
// written.
bool Walker::Walk(const std::string& entry, const std::string& target, WalkVisitor& visitor) {
    m_visitor = &visitor;
    if (visitor.Side() != CopySide::None && !m_folders.UseTarget(target, Making())) {
        return false;
    }
    const std::string path(clsPath::WithoutTrailingSeparators(entry, kStyle));
    if (path.empty()) {
        return true; // an empty entry selects nothing
    }
    FileInfo info;
    SysError error;
    if (!m_run.fa->GetPathInfo(path, info, error)) {
        return !visitor.Failure("Unable to open", path, error);
    }
    if (info.Exists && m_run.outputId.Valid &&
        (info.Id == m_run.outputId || m_run.places->IsSameOrInside(path, m_run.outputId))) {
        return LeftOutAsOutput(m_run.outputId);
    }
    if (info.Kind == FileKind::Directory) {
        return EntryFolder(path, info);
    }
    if (IsSpecial(info.Kind)) {
        visitor.Special(path);
        return true;
    }
    return EntryFile(path, info); // a file, or nothing there: its copy says why
}

bool Walker::EntryFolder(const std::string& path, const FileInfo& info) {
    Level top(m_ahead);
    if (!m_run.fa->OpenFolder(*top.src, path)) {
        return !m_visitor->Failure("Unable to open", path, top.src->Error());
    }
    top.shownPath = ShownPath(path);
    top.uniform = m_run.setup->Sel.SelectsAllBelow(path);
    std::deque<Ancestor> chain;
    if (m_visitor->Side() != CopySide::None &&
        !m_folders.OpenChain(path, clsPath::PlaceParts(path, kStyle).size(), top.dst, chain,
                             Making())) {
        return false;
    }
    m_stack->Begin(top, path, top.dst->path);
    bool ok = WalkLevels();
    ok = m_visitor->FolderDone(*top.dst, info) && ok;
    return m_visitor->EntryDone(chain) && ok;
}

bool Walker::EntryFile(const std::string& path, const FileInfo& info) {
    if (!m_run.setup->Sel.IsSelected(path)) {
        return true;
    }
    const std::vector<std::string> parts = clsPath::PlaceParts(path, kStyle);
    const std::string& name = parts.empty() ? path : parts.back();
    const Source source{nullptr, name, path, info};
    if (m_visitor->Side() == CopySide::None) {
        return m_visitor->File(source, nullptr);
    }
    Level level(m_ahead);
    std::deque<Ancestor> chain;
    if (!m_folders.OpenChain(path, parts.empty() ? 0 : parts.size() - 1, level.dst, chain,
                             Making())) {
        m_visitor->Unreached(path);
        return false;
    }
    const std::string copy = CopyFolders::CopyPath(level.dst->path, name);
    const Dest dest{*level.dst, name, copy};
    const bool ok = m_visitor->File(source, &dest);
    return m_visitor->EntryDone(chain) && ok;
}

// Every selected entry below the entry's folder top, in name order, one level after
// another on the walk's own stack.
bool Walker::WalkLevels() {
    for (;;) {
        Level& level = m_stack->Deepest();
        if (StepLevel(level)) {
            continue;
        }
        bool ok = !level.failed && !level.stopped;
        if (m_stack->Depth() == 0) {
            return ok;
        }
        ok = m_visitor->FolderDone(*level.dst, level.like) && ok;
        if (!m_stack->Pop(ok, m_visitor->Side())) {
            m_stack->End();
            return false;
        }
    }
}

// Walks the level's entries up to its end or to a sub-folder, whose level it pushes.
// True when the walk goes on (in the new level); false when this level is done.
bool Walker::StepLevel(Level& level) {
    if (!level.started) {
        level.started = true;
        if (!ListLevel(level)) {
            level.failed =
                m_visitor->Failure("Unable to list directory", level.shownPath, level.src->Error());
            return false;
        }
    }
    if (level.childPending) {
        level.childPending = false;
        if (!AfterEntry(level, level.next - 1, level.childOk)) {
            return false;
        }
    }
    std::string& path = m_stack->Path();
    while (level.next < level.items.size()) {
        const std::size_t i = level.next++;
        m_ahead.Post(level, i, m_visitor->Ahead(), path);
        const Walked walked =
            SelectedAt(level, i, path, m_run.setup->Sel) ? WalkItem(level, i) : Walked::Ok;
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
bool Walker::AfterEntry(Level& level, std::size_t index, bool ok) {
    if (index < level.items.size()) {
        m_ahead.Release(level, index);
    }
    if (!ok) {
        level.failed = true;
        if (m_run.StopOnError()) {
            level.stopped = true;
            return false;
        }
    }
    m_run.Yield();
    level.stopped = m_run.cancelled;
    return !m_run.cancelled;
}

// The level's entries: listed here, or taken from its read-ahead. A level opened again
// goes on after the name it was left at.
bool Walker::ListLevel(Level& level) {
    bool listed = true;
    switch (level.listing) {
    case Level::Listing::Ahead:
        break;
    case Level::Listing::AheadFailed:
        return false;
    case Level::Listing::Here:
        listed = m_run.fa->List(*level.src, level.items);
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

// One selected entry of a listing.
Walker::Walked Walker::WalkItem(Level& level, std::size_t index) {
    const clsFSItem& item = level.items[index];
    const bool toFile = !item.Error &&
                        (item.Kind == FileKind::File || item.Kind == FileKind::Symlink) &&
                        !IsRunLog(item.Info.Id);
    if (!toFile) {
        if (!m_visitor->Settle()) {
            if (m_run.StopOnError()) {
                return Walked::Failed;
            }
            level.failed = true;
        }
        if (m_run.cancelled) {
            return Walked::Ok; // cancelled while what was in flight was said
        }
    }
    const std::string full = clsPath::Join(level.shownPath, item.Path, kStyle);
    if (item.Error) {
        return m_visitor->Failure("Unable to examine", full, item.Error) ? Walked::Failed
                                                                         : Walked::Ok;
    }
    if (item.Kind == FileKind::Directory) {
        return EnterFolder(level, index, full);
    }
    if (IsSpecial(item.Kind)) {
        m_visitor->Special(full);
        return Walked::Ok;
    }
    if (LeftOutAsLog(item.Info.Id)) {
        return Walked::Ok;
    }
    const Source source{level.src, item.Path, full, item.Info, m_ahead.TakeFile(level, index)};
    bool ok = false;
    if (m_visitor->Side() == CopySide::None) {
        ok = m_visitor->File(source, nullptr);
    } else {
        const std::string copy = CopyFolders::CopyPath(level.dst->path, item.Path);
        const Dest dest{*level.dst, item.Path, copy};
        ok = m_visitor->File(source, &dest);
    }
    return ok ? Walked::Ok : Walked::Failed;
}

// Opens the sub-folder at index (and its copy's folder) as the next level of the walk.
// shown: its path as log lines show it.
Walker::Walked Walker::EnterFolder(Level& level, std::size_t index, const std::string& shown) {
    const clsFSItem& item = level.items[index];
    if (LeftOutAsOutput(item.Info.Id) || LeftOutAsLog(item.Info.Id)) {
        return Walked::Ok;
    }
    auto sub = std::make_unique<Level>(m_ahead);
    const bool opened = m_ahead.TakeFolder(level, index, *sub)
                            ? sub->src->IsOpen()
                            : m_run.fa->OpenFolderAt(*sub->src, *level.src, item.Path);
    if (!opened) {
        return m_visitor->Failure("Unable to open", shown, sub->src->Error()) ? Walked::Failed
                                                                              : Walked::Ok;
    }
    std::string& path = m_stack->Path();
    std::string& copyPath = m_stack->CopyPath();
    const std::size_t srcEnd = path.size();
    const std::size_t copyEnd = copyPath.size();
    AppendName(path, item.Path);
    sub->shownPath = ShownPath(path);
    if (m_visitor->Side() != CopySide::None) {
        AppendName(copyPath, item.Path);
        sub->dst->path = ShownPath(copyPath);
        if (!m_folders.StepInto(*level.dst, item.Path, *sub->dst, Making())) {
            path.resize(srcEnd);
            copyPath.resize(copyEnd);
            return Walked::Failed;
        }
    }
    sub->uniform = level.uniform || m_run.setup->Sel.SelectsAllBelow(path);
    if (sub->copyListed && sub->dst->id.Valid && sub->dst->id == sub->copyId) {
        sub->dst->listed = &sub->copyItems; // listed ahead, and the very folder the walk uses
    }
    m_stack->Push(std::move(sub), item.Info);
    return Walked::Entered;
}

bool Walker::LeftOutAsOutput(const FileIdentity& id) {
    if (!m_run.outputId.Valid || !(id == m_run.outputId)) {
        return false;
    }
    if (!m_outputLogged) {
        m_outputLogged = true;
        m_run.log.AddLogLine("Output directory left out of the backup - " + m_run.outputPath);
    }
    return true;
}

// The run's log folder (or its log file, where the folder is a selection itself) is left
// out as the target is: the walk would copy, and verify, a file the run is writing.
bool Walker::IsRunLog(const FileIdentity& id) const {
    const RunLog& log = m_run.log;
    return id.Valid && (id == log.FolderId() || id == log.FileId());
}

bool Walker::LeftOutAsLog(const FileIdentity& id) {
    const RunLog& log = m_run.log;
    if (!IsRunLog(id)) {
        return false;
    }
    if (!m_logLeftOut) {
        m_logLeftOut = true;
        m_run.log.AddLogLine("Log folder left out of the backup - " + log.Dir());
    }
    return true;
}

} // namespace tessaron
