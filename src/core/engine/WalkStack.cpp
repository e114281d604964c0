// The walk's own stack, and the paths the walk builds.
#include "engine/WalkLevels.h"
#include "platform/clsPath.h"

namespace tessaron {

namespace {

constexpr PathStyle kStyle = NativePathStyle();
// Levels kept open: each holds up to two folders, well inside any limit on open files.
constexpr std::size_t kOpenLevels = 32;
constexpr std::size_t kShownWhole = 4096;
constexpr std::size_t kShownHead = 1024;
constexpr std::size_t kShownTail = 2048;

// One number for an identity, kept for a closed level.
std::uint64_t KeyOf(const FileIdentity& id) {
    return id.Valid ? (id.Volume * 0x9E3779B97F4A7C15ULL) ^ id.File : 0;
}

bool IsContinuationByte(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

} // namespace

void AppendName(std::string& path, const std::string& name) {
    if (!path.empty() && path.back() != PathSeparator(kStyle)) {
        path += PathSeparator(kStyle);
    }
    path += name;
}

std::string ShownPath(std::string_view path) {
    if (path.size() <= kShownWhole) {
        return std::string(path);
    }
    // Cut between characters, never inside one.
    std::size_t head = kShownHead;
    while (head > 0 && IsContinuationByte(path[head])) {
        --head;
    }
    std::size_t tail = path.size() - kShownTail;
    while (tail < path.size() && IsContinuationByte(path[tail])) {
        ++tail;
    }
    return std::string(path.substr(0, head)) + "[" + std::to_string(tail - head) +
           " bytes left out]" + std::string(path.substr(tail));
}

void WalkStack::Begin(Level& top, const std::string& path, const std::string& copyPath) {
    m_path = path;
    m_copyPath = copyPath;
    m_frames.clear();
    m_frames.emplace_back();
    m_frames.back().srcEnd = static_cast<std::uint32_t>(m_path.size());
    m_frames.back().dstEnd = static_cast<std::uint32_t>(m_copyPath.size());
    m_top = &top;
}

void WalkStack::End() {
    m_frames.resize(1);
}

Level& WalkStack::LevelAt(std::size_t depth) {
    return depth == 0 ? *m_top : *m_frames[depth].level;
}

void WalkStack::Push(std::unique_ptr<Level> sub, const FileInfo& like) {
    sub->like = like;
    WalkFrame frame;
    frame.atimeSec = like.ATime.tv_sec;
    frame.mtimeSec = like.MTime.tv_sec;
    frame.atimeNsec = static_cast<std::uint32_t>(like.ATime.tv_nsec);
    frame.mtimeNsec = static_cast<std::uint32_t>(like.MTime.tv_nsec);
    frame.srcEnd = static_cast<std::uint32_t>(m_path.size());
    frame.dstEnd = static_cast<std::uint32_t>(m_copyPath.size());
    frame.uniform = sub->uniform;
    frame.level = std::move(sub);
    m_frames.push_back(std::move(frame));
    CloseDeep();
}

bool WalkStack::Pop(bool ok, CopySide side) {
    const std::size_t depth = m_frames.size() - 1;
    if (depth > 1 && !m_frames[depth - 1].level && !Reopen(depth - 1, side)) {
        return false;
    }
    m_frames.pop_back();
    m_path.resize(m_frames.back().srcEnd);
    m_copyPath.resize(m_frames.back().dstEnd);
    Level& parent = LevelAt(depth - 1);
    parent.childPending = true;
    parent.childOk = ok;
    return true;
}

// Closes the level kOpenLevels above the deepest, keeping the identities that check it
// when it is opened again. A level whose copy is open while the copy of the level below
// is not (a copy missing in the verify phase) stays open: its copy could not be reached
// from below.
void WalkStack::CloseDeep() {
    const std::size_t depth = m_frames.size() - 1;
    if (depth <= kOpenLevels) {
        return;
    }
    WalkFrame& frame = m_frames[depth - kOpenLevels];
    Level* level = frame.level.get();
    if (level == nullptr) {
        return;
    }
    const bool copyOpen = level->dst->folder.IsOpen();
    if (copyOpen && !m_frames[depth - kOpenLevels + 1].level->dst->folder.IsOpen()) {
        return;
    }
    FileInfo own;
    frame.srcKey = m_run.fa->GetFolderInfo(*level->src, own) ? KeyOf(own.Id) : 0;
    frame.dstKey = copyOpen && m_run.fa->GetFolderInfo(level->dst->folder, own) ? KeyOf(own.Id) : 0;
    frame.fresh = level->dst->fresh;
    frame.level.reset();
}

// Opens the closed level at depth again from the level below it and lists it again; the
// walk goes on after the name of the level below. A folder that is no longer the one the
// walk left (moved meanwhile) is an error line, and the walk ends.
bool WalkStack::Reopen(std::size_t depth, CopySide side) {
    const WalkFrame& frame = m_frames[depth];
    const Level& below = *m_frames[depth + 1].level;
    auto level = std::make_unique<Level>(m_ahead);
    const std::string_view walked(m_path);
    level->shownPath = ShownPath(walked.substr(0, frame.srcEnd));
    FileInfo own;
    if (!m_run.fa->OpenParent(level->ownSrc, *below.src) ||
        !m_run.fa->GetFolderInfo(level->ownSrc, own) || KeyOf(own.Id) != frame.srcKey) {
        const SysError error =
            level->ownSrc.LastErrorCode != 0 ? level->ownSrc.Error() : SysError::NotFound();
        m_run.log.LogError("Unable to open", level->shownPath, error);
        return false;
    }
    level->like = own;
    level->like.ATime = {static_cast<time_t>(frame.atimeSec), static_cast<long>(frame.atimeNsec)};
    level->like.MTime = {static_cast<time_t>(frame.mtimeSec), static_cast<long>(frame.mtimeNsec)};
    level->uniform = frame.uniform;
    std::string_view name = walked.substr(frame.srcEnd, m_frames[depth + 1].srcEnd - frame.srcEnd);
    if (!name.empty() && name.front() == PathSeparator(kStyle)) {
        name.remove_prefix(1);
    }
    level->resumeAfter = std::string(name);
    if (side != CopySide::None && !ReopenCopy(depth, *level, below, side == CopySide::Make)) {
        return false;
    }
    m_frames[depth].level = std::move(level);
    return true;
}

// The copy's folder of a level opened again, from the copy of the level below.
bool WalkStack::ReopenCopy(std::size_t depth, Level& level, const Level& below, bool make) {
    const WalkFrame& frame = m_frames[depth];
    CopyFolder& copy = level.copy;
    copy.path = ShownPath(std::string_view(m_copyPath).substr(0, frame.dstEnd));
    copy.fresh = frame.fresh;
    if (!below.dst->folder.IsOpen()) {
        copy.error = below.dst->error ? below.dst->error : SysError::NotFound();
        return true; // this copy was not open either: each copy below it says so
    }
    FileInfo own;
    if (m_run.fa->OpenParent(copy.folder, below.dst->folder) &&
        m_run.fa->GetFolderInfo(copy.folder, own) && KeyOf(own.Id) == frame.dstKey) {
        return true;
    }
    copy.error = copy.folder.LastErrorCode != 0 ? copy.folder.Error() : SysError::NotFound();
    copy.folder.Close();
    if (make) {
        m_run.log.LogError("Unable to open", copy.path, copy.error);
        return false;
    }
    return true;
}

} // namespace tessaron
