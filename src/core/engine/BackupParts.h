#pragma once
// The engine's working records, shared by its own .cpp files only.

#include "engine/BackupEngine.h"
#include "engine/ReadAhead.h"
#include "platform/clsBinaryFile.h"
#include "platform/clsFolder.h"

#include <memory>

namespace tessaron {

// path with the entry name added after a separator (none when it ends in one already):
// in place, so that a path as long as the walk is deep grows by the name alone.
void AppendName(std::string& path, const std::string& name);

// The path as log lines show it: whole up to 4,096 bytes (every path the system's calls
// take), beyond that its first 1,024 and last 2,048 bytes around the count of bytes left
// out, so that the lines of a tree thousands of levels deep stay short.
std::string ShownPath(std::string_view path);

// The folder of a copy: open when it could be opened (or made), else the reason.
struct BackupEngine::CopyFolder {
    clsFolder folder;
    std::string path;   // its full path as log lines show it (see ShownPath)
    SysError error;     // why folder is not open
    bool fresh = false; // made by this run: nothing in it has a copy yet
    FileIdentity id;    // what its name held when the walk came (an existing folder)
    // Its entries as listed ahead of the walk (sorted by name), when that listing is of
    // this very folder; null: each copy is examined on its own.
    const std::vector<clsFSItem>* listed = nullptr;
};

// A folder of the walk listed ahead: its source folder opened and listed, and in an
// INCREMENTAL run the folder of its copy listed too when it exists.
struct BackupEngine::FolderAhead : ReadAhead::Job {
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
struct BackupEngine::FileAhead : ReadAhead::Job {
    FileAhead(const clsFolder& from, const std::string& entry, long long bytes)
        : folder(from), name(entry), size(bytes), data(new unsigned char[bytes > 0 ? bytes : 1]) {}
    void Run(IFileAccess& fa) override;

    const clsFolder& folder;
    const std::string& name;
    long long size; // as the listing found it: no more is read
    std::unique_ptr<unsigned char[]> data;
    long long got = 0; // bytes read (fewer: the file shrank)
    SysError openError;
    SysError readError;
};

// The read-ahead work of one folder level: its sub-folders and files posted in walk
// order, not yet taken. Withdrawn when the level ends, taken or not.
struct BackupEngine::LevelAhead {
    explicit LevelAhead(BackupEngine& e) : engine(e) {}
    ~LevelAhead();
    LevelAhead(const LevelAhead&) = delete;
    LevelAhead& operator=(const LevelAhead&) = delete;
    BackupEngine& engine;
    std::deque<std::pair<std::size_t, FolderAhead>> folders; // by item index
    std::deque<std::pair<std::size_t, FileAhead>> files;
    std::size_t nextFolder = 0; // the first item not yet looked at for each kind
    std::size_t nextFile = 0;
    std::vector<signed char> selected; // per item: -1 not yet asked, else IsSelected
};

// One folder of the walk while it is open: the source folder, open for listing, and (copy
// and verify phases) the folder of its copy. Only the deepest levels are open (see
// WalkFrame).
struct BackupEngine::Level {
    explicit Level(BackupEngine& e) : ahead(e) {}
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
    std::string resumeAfter;   // opened again: the walk goes on after this name
    LevelAhead ahead;          // last: its jobs are withdrawn before anything they use goes
};

// One folder level of the walk, from the selection entry down: a small record that stays
// when the level is closed (all but the deepest kOpenLevels are), so that depth costs
// a few dozen bytes a level, and the level's own record while it is open. A closed level
// is opened again through ".." of the level below when the walk comes back up, checked
// against the identities kept here.
struct BackupEngine::WalkFrame {
    std::unique_ptr<Level> level; // null while closed (and for the entry's own level)
    std::int64_t atimeSec = 0;    // the source folder's times as listed
    std::int64_t mtimeSec = 0;
    std::uint64_t srcKey = 0; // the identities of the source folder and its copy (closed)
    std::uint64_t dstKey = 0;
    std::uint32_t atimeNsec = 0;
    std::uint32_t mtimeNsec = 0;
    std::uint32_t srcEnd = 0; // where the folder's path ends in m_walkPath
    std::uint32_t dstEnd = 0; // and its copy's in m_copyPath
    bool fresh = false;       // the copy folder was made by this run (closed)
    bool uniform = false;
};

// A file or link to copy or verify.
struct BackupEngine::Source {
    clsFolder* folder;          // the folder that holds it; null: opened by path, links followed
    const std::string& name;    // its name in folder
    const std::string& path;    // its full path as written, for log lines
    const FileInfo& info;       // its status as the walk found it
    FileAhead* ahead = nullptr; // its content read ahead (posted, not yet taken)
};

// Where the copy of a Source is.
struct BackupEngine::Dest {
    CopyFolder& folder;      // the folder of the copy
    const std::string& name; // the copy's name there
    const std::string& path; // its full path, for log lines
};

// One copy in progress.
struct BackupEngine::FileCopy {
    FileCopy(const Source& source, const Dest& dest, const FileInfo& before)
        : s(source), d(dest), old(before) {}
    const Source& s;
    const Dest& d;
    FileInfo old; // what the copy's name held before
    clsBinaryFile in;
    clsBinaryFile out;
    std::string written;  // the name the copy is written under (d.name, or a new one)
    bool created = false; // out was created by this run (and is removed on failure)
    long long pos = 0;    // the offset reached in both files
    bool ended = false;   // the source ended before its examined size
};

// A folder above a selection entry's copy; it gets the metadata of the source folder it
// stands for once the entry is done.
struct BackupEngine::Ancestor {
    CopyFolder dst;
    std::string source;
};

} // namespace tessaron
