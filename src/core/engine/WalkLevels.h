#pragma once
// The walk's working records, shared by the walk's own .cpp files only.

#include "engine/WalkAhead.h"
#include "selection/clsSelections.h"

#include <deque>
#include <memory>

namespace tessaron {

// A folder of the walk listed ahead: its source folder opened and listed, and in an
// INCREMENTAL copy the folder of its copy listed too when it exists.
struct FolderAhead : ReadAhead::Job {
    FolderAhead(const clsFolder& from, const std::string& entry, const clsFolder* copyFrom)
        : parent(from), name(entry), copyParent(copyFrom) {}
    void Run(IFileAccess& fa) override;

    const clsFolder& parent;     // the source folder that holds it
    const std::string& name;     // its name there (in the parent's listing)
    const clsFolder* copyParent; // the copy of parent, when its copy is to be listed
    std::unique_ptr<clsFolder> src = std::make_unique<clsFolder>();
    bool opened = false;
    bool listed = false; // else src's error says why
    std::vector<clsFSItem> items;
    clsFolder copy;
    bool copyListed = false;
    FileIdentity copyId;
    std::vector<clsFSItem> copyItems;
};

// A small file read whole ahead of its copy.
struct FileAhead : ReadAhead::Job {
    FileAhead(const clsFolder& from, const std::string& entry, long long bytes)
        : folder(from), name(entry), data(new unsigned char[bytes > 0 ? bytes : 1]) {
        content.size = bytes;
        content.data = data.get();
    }
    void Run(IFileAccess& fa) override;

    const clsFolder& folder;
    const std::string& name;
    std::unique_ptr<unsigned char[]> data;
    FileContent content;
};

// The read-ahead work of one folder level: its sub-folders and files posted in walk
// order, not yet taken. Withdrawn when the level ends, taken or not.
struct LevelAhead {
    explicit LevelAhead(WalkAhead& a) : ahead(a) {}
    ~LevelAhead() { ahead.WithdrawAll(*this); }
    LevelAhead(const LevelAhead&) = delete;
    LevelAhead& operator=(const LevelAhead&) = delete;
    WalkAhead& ahead;
    std::deque<std::pair<std::size_t, FolderAhead>> folders; // by item index
    std::deque<std::pair<std::size_t, FileAhead>> files;
    std::size_t nextFolder = 0; // the first item not yet looked at for each kind
    std::size_t nextFile = 0;
};

// One folder of the walk while it is open: the source folder, open for listing, and (copy
// and verify) the folder of its copy. Only the deepest levels are open (see WalkFrame).
struct Level {
    explicit Level(WalkAhead& a) : ahead(a) {}
    enum class Listing { Here, Ahead, AheadFailed };
    clsFolder ownSrc;
    clsFolder* src = &ownSrc; // ownSrc, or the folder a read-ahead opened
    std::unique_ptr<clsFolder> aheadSrc;
    std::string shownPath;            // the source folder's path as log lines show it
    CopyFolder copy;                  // the copy's folder, unless dst points elsewhere
    CopyFolder* dst = &copy;          // the target itself for an entry that is a root
    Listing listing = Listing::Here;  // AheadFailed: src's error says why
    std::vector<clsFSItem> items;     // the source folder's entries
    std::vector<clsFSItem> copyItems; // the copy's entries as listed ahead (see CopyFolder)
    bool copyListed = false;
    FileIdentity copyId;       // the folder copyItems were listed from
    FileInfo like;             // the source folder's status as listed, for its copy's metadata
    std::size_t next = 0;      // the next entry to walk
    bool started = false;      // listed (or the listing failed)
    bool childPending = false; // the entry before next is a folder walked as the next level
    bool childOk = true;       // and whether that went well
    bool failed = false;       // an entry failed
    bool stopped = false;      // stop-on-error or a cancellation ended the level
    bool uniform = false;      // every path below is selected: no IsSelected needed
    std::vector<signed char> selected; // per item: -1 not yet asked, else IsSelected
    std::string resumeAfter;           // opened again: the walk goes on after this name
    LevelAhead ahead;                  // last: its jobs are withdrawn before anything they use goes
};

// IsSelected for the entry at index of level, whose folder's path is path: asked once per
// entry, and never below a folder that selects everything below it.
bool SelectedAt(Level& level, std::size_t index, std::string& path, const clsSelections& sel);

} // namespace tessaron

namespace tessaron {

// One folder level of the walk, from the selection entry down: a small record that stays
// when the level is closed (all but the deepest few are), so that depth costs a few dozen
// bytes a level, and the level's own record while it is open.
struct WalkFrame {
    std::unique_ptr<Level> level; // null while closed (and for the entry's own level)
    std::int64_t atimeSec = 0;    // the source folder's times as listed
    std::int64_t mtimeSec = 0;
    std::uint64_t srcKey = 0; // the identities of the source folder and its copy (closed)
    std::uint64_t dstKey = 0;
    std::uint32_t atimeNsec = 0;
    std::uint32_t mtimeNsec = 0;
    std::uint32_t srcEnd = 0; // where the folder's path ends in the walk's path
    std::uint32_t dstEnd = 0; // and its copy's in the copy's path
    bool fresh = false;       // the copy folder was made by this run (closed)
    bool uniform = false;
};

// The walk's own stack (no recursion, whatever the depth): one WalkFrame per level and
// only the deepest levels open and listed, so that a tree a hundred thousand levels deep
// is walked with a few MB of memory and a bounded number of open folders. A level further
// up is closed; when the walk comes back to it, it is opened again through ".." of the
// level below, checked to be the folder it left (and its copy likewise), listed again,
// and walked on after the name it was left at.
class WalkStack {
public:
    WalkStack(RunState& run, WalkAhead& ahead) : m_run(run), m_ahead(ahead) {}

    // Starts a walk at the entry's own level top, whose folder's path is path and its
    // copy's copyPath.
    void Begin(Level& top, const std::string& path, const std::string& copyPath);
    void End();
    std::size_t Depth() const { return m_frames.size() - 1; }
    Level& Deepest() { return LevelAt(Depth()); }
    // The source path of the deepest level, and the path of its copy.
    std::string& Path() { return m_path; }
    std::string& CopyPath() { return m_copyPath; }
    // Makes sub (its names already added to Path and CopyPath) the deepest level.
    void Push(std::unique_ptr<Level> sub, const FileInfo& like);
    // Ends the deepest level; the level above, opened again when it was closed (and its
    // copy's folder, as side says), learns ok. False when it cannot be opened again
    // (said): the walk ends there.
    bool Pop(bool ok, CopySide side);

private:
    Level& LevelAt(std::size_t depth);
    void CloseDeep();
    bool Reopen(std::size_t depth, CopySide side);
    bool ReopenCopy(std::size_t depth, Level& level, const Level& below, bool make);

    RunState& m_run;
    WalkAhead& m_ahead;
    std::deque<WalkFrame> m_frames;
    std::string m_path;
    std::string m_copyPath;
    Level* m_top = nullptr;
};

} // namespace tessaron
