// Removing trees below an open folder (clsFolder::Empty and RemoveTreeAt), the same on
// every system. The removal keeps its own stack of small records, one per level, and
// only the deepest levels open and listed: a level further up is closed, and opened
// again through ".." of the level below when the removal comes back to it (checked to be
// the folder it left), so a tree of any depth is removed with little memory and few open
// folders. Every folder is compared with the starting folder's mount before it is
// entered, and every entry before it is removed: nothing on another file system is
// touched.
#include "platform/clsFolder.h"
#include "platform/clsPath.h"

#include <algorithm>
#include <deque>
#include <memory>

namespace tessaron {

namespace {

// Levels kept open and listed; further up, a level keeps only its name and identity.
constexpr std::size_t kOpenLevels = 32;
constexpr char kSeparator = PathSeparator(NativePathStyle());

class TreeRemoval {
public:
    TreeRemoval(clsFolder& start, const RemovalReport& report) : m_start(start), m_report(report) {}
    // Removes the entry only of the starting folder, or (null) everything inside it.
    // False when something was reported (First says what).
    bool Run(const std::string* only);
    const SysError& First() const { return m_first; }

private:
    struct Frame {
        std::size_t pathEnd; // where the level's path (below the start) ends in m_path
        FileIdentity id;
        bool keeps = false; // something in it stays, so it stays too
    };
    struct Level {
        std::size_t depth = 0;
        clsFolder own;
        clsFolder* folder = &own;
        std::vector<clsFSItem> items;
        std::size_t next = 0;
        bool listed = false;
        std::string resumeAfter; // opened again: go on after this name
    };

    bool Step();
    void Entry(Level& level, const clsFSItem& item);
    void Enter(Level& level, const clsFSItem& item);
    bool Leave();
    bool Reopen(std::size_t depth);
    bool List(Level& level);
    void Left(const std::string& path, const SysError& why);
    bool OtherMount(const FileInfo& info) const;
    std::string PathOf(const std::string& name) const;
    void Yield() const;

    clsFolder& m_start;
    const RemovalReport& m_report;
    FileInfo m_root;
    std::vector<Frame> m_frames;
    std::deque<std::unique_ptr<Level>> m_open; // the first level, then the deepest ones
    std::string m_path;
    SysError m_first;
    bool m_stop = false;
};

bool TreeRemoval::Run(const std::string* only) {
    if (!m_start.GetOwnInfo(m_root)) {
        m_first = m_start.Error();
        return false;
    }
    m_frames.push_back({0, m_root.Id});
    auto top = std::make_unique<Level>();
    top->folder = &m_start;
    if (only != nullptr) {
        clsFSItem item;
        item.Path = *only;
        if (!m_start.GetInfo(*only, item.Info)) {
            Left(*only, m_start.Error());
            return false;
        }
        if (!item.Info.Exists) {
            return true;
        }
        item.Kind = item.Info.Kind;
        top->items.push_back(std::move(item));
        top->listed = true;
    }
    m_open.push_back(std::move(top));
    while (!m_stop && Step()) {
    }
    return !m_first;
}

// One entry of the current level, or the end of the level. False when everything is done.
bool TreeRemoval::Step() {
    Level& level = *m_open.back();
    if ((!level.listed && !List(level)) || level.next >= level.items.size()) {
        return Leave();
    }
    Entry(level, level.items[level.next++]);
    return true;
}

void TreeRemoval::Entry(Level& level, const clsFSItem& item) {
    const bool keep =
        std::find(m_report.keep.begin(), m_report.keep.end(), item.Info.Id) != m_report.keep.end();
    if (item.Error) {
        Left(PathOf(item.Path), item.Error);
    } else if (keep && item.Info.Id.Valid) {
        m_frames.back().keeps = true;
        if (m_report.kept) {
            m_report.kept(PathOf(item.Path));
        }
    } else if (OtherMount(item.Info)) {
        Left(PathOf(item.Path), SysError::OtherMount());
    } else if (item.Kind == FileKind::Directory) {
        Enter(level, item);
        return;
    } else if (!level.folder->RemoveAt(item.Path) && !level.folder->Error().IsNotFound()) {
        Left(PathOf(item.Path), level.folder->Error());
    }
    Yield();
}

// Opens the folder item of level as the next level: its own mount is compared again, so
// that one mounted there since the listing is not entered either.
void TreeRemoval::Enter(Level& level, const clsFSItem& item) {
    auto sub = std::make_unique<Level>();
    FileInfo own;
    if (!sub->own.OpenAt(*level.folder, item.Path) || !sub->own.GetOwnInfo(own)) {
        if (!sub->own.Error().IsNotFound()) {
            Left(PathOf(item.Path), sub->own.Error());
        }
        return;
    }
    if (OtherMount(own)) {
        Left(PathOf(item.Path), SysError::OtherMount());
        return;
    }
    m_path = PathOf(item.Path);
    sub->depth = m_frames.size();
    m_frames.push_back({m_path.size(), own.Id});
    m_open.push_back(std::move(sub));
    if (m_open.size() > kOpenLevels) {
        m_open.erase(m_open.begin() + 1); // the first level always stays open
    }
}

// The current level is done: back to the level above (opened again when it was closed),
// which removes the folder unless something in it stays.
bool TreeRemoval::Leave() {
    const std::size_t depth = m_frames.size() - 1;
    if (depth == 0) {
        return false;
    }
    const bool keeps = m_frames.back().keeps;
    const std::size_t parentEnd = m_frames[depth - 1].pathEnd;
    const std::string name = m_path.substr(parentEnd == 0 ? 0 : parentEnd + 1);
    if (m_open[m_open.size() - 2]->depth != depth - 1 && !Reopen(depth - 1)) {
        m_stop = true;
        return false;
    }
    m_open.pop_back();
    m_frames.pop_back();
    m_path.resize(parentEnd);
    Level& parent = *m_open.back();
    if (keeps) {
        m_frames.back().keeps = true;
    } else if (!parent.folder->RemoveFolderAt(name) && !parent.folder->Error().IsNotFound()) {
        Left(PathOf(name), parent.folder->Error());
    }
    Yield();
    return true;
}

// Opens the level at depth again from the current level below it, and goes on after the
// current level's name there. A folder that is no longer the one left (moved meanwhile)
// ends the removal.
bool TreeRemoval::Reopen(std::size_t depth) {
    auto up = std::make_unique<Level>();
    up->depth = depth;
    const std::size_t end = m_frames[depth].pathEnd;
    up->resumeAfter = m_path.substr(end == 0 ? 0 : end + 1);
    FileInfo own;
    if (!up->own.OpenParent(*m_open.back()->folder) || !up->own.GetOwnInfo(own)) {
        Left(m_path.substr(0, end), up->own.Error());
        return false;
    }
    if (!(own.Id == m_frames[depth].id)) {
        Left(m_path.substr(0, end), SysError::NotFound());
        return false;
    }
    m_open.insert(m_open.end() - 1, std::move(up));
    return true;
}

bool TreeRemoval::List(Level& level) {
    if (!level.folder->List(level.items)) {
        Left(m_path, level.folder->Error());
        return false;
    }
    level.listed = true;
    if (!level.resumeAfter.empty()) {
        const auto after = std::upper_bound(
            level.items.begin(), level.items.end(), level.resumeAfter,
            [](const std::string& name, const clsFSItem& item) { return name < item.Path; });
        level.next = static_cast<std::size_t>(after - level.items.begin());
    }
    return true;
}

void TreeRemoval::Left(const std::string& path, const SysError& why) {
    if (!m_first) {
        m_first = why;
    }
    m_frames.back().keeps = true;
    if (m_report.left && !m_report.left(path, why)) {
        m_stop = true;
    }
}

bool TreeRemoval::OtherMount(const FileInfo& info) const {
    return (info.Id.Valid && m_root.Id.Valid && info.Id.Volume != m_root.Id.Volume) ||
           (info.Mount != 0 && m_root.Mount != 0 && info.Mount != m_root.Mount);
}

std::string TreeRemoval::PathOf(const std::string& name) const {
    return m_path.empty() ? name : m_path + kSeparator + name;
}

void TreeRemoval::Yield() const {
    if (m_report.yield) {
        m_report.yield();
    }
}

} // namespace

bool clsFolder::Empty(const RemovalReport& report) {
    return Remove(nullptr, report);
}

bool clsFolder::RemoveTreeAt(const std::string& name, const RemovalReport& report) {
    return Remove(&name, report);
}

bool clsFolder::Remove(const std::string* name, const RemovalReport& report) {
    TreeRemoval removal(*this, report);
    if (removal.Run(name)) {
        return true;
    }
    LastErrorCode = removal.First().Code();
    return false;
}

} // namespace tessaron
