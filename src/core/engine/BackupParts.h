#pragma once
// The engine's working records, shared by its own .cpp files only.

#include "engine/BackupEngine.h"
#include "engine/ReadAhead.h"
#include "platform/clsBinaryFile.h"
#include "platform/clsFolder.h"

#include <memory>

namespace tessaron {

// The folder of a copy: open when it could be opened (or made), else the reason.
struct BackupEngine::CopyFolder {
    clsFolder folder;
    std::string path;   // its full path, for log lines
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

// One folder of the walk: the source folder, open for listing, and (copy and verify
// phases) the folder of its copy.
struct BackupEngine::Level {
    explicit Level(BackupEngine& e) : ahead(e) {}
    enum class Listing { Here, Ahead, AheadFailed };
    clsFolder ownSrc;
    clsFolder* src = &ownSrc; // ownSrc, or the folder a read-ahead opened
    std::unique_ptr<clsFolder> aheadSrc;
    std::string srcPath;             // the source folder's path as written: entry, separator, names
    CopyFolder copy;                 // the copy's folder, unless dst points elsewhere
    CopyFolder* dst = &copy;         // the target itself for an entry that is a root
    Listing listing = Listing::Here; // AheadFailed: src's error says why
    std::vector<clsFSItem> items;    // the source folder's entries
    std::vector<clsFSItem> copyItems; // the copy's entries as listed ahead (see CopyFolder)
    bool copyListed = false;
    FileIdentity copyId; // the folder copyItems were listed from
    LevelAhead ahead;    // last: its jobs are withdrawn before anything they use goes
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
