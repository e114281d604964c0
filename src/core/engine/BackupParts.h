#pragma once
// The engine's working records, shared by its own .cpp files only.

#include "engine/BackupEngine.h"
#include "platform/clsBinaryFile.h"
#include "platform/clsFolder.h"

namespace tessaron {

// The folder of a copy: open when it could be opened (or made), else the reason.
struct BackupEngine::CopyFolder {
    clsFolder folder;
    std::string path;   // its full path, for log lines
    SysError error;     // why folder is not open
    bool fresh = false; // made by this run: nothing in it has a copy yet
};

// One folder of the walk: the source folder, open for listing, and (copy and verify
// phases) the folder of its copy.
struct BackupEngine::Level {
    clsFolder src;
    std::string srcPath;     // the source folder's path as written: entry, separator, names
    CopyFolder copy;         // the copy's folder, unless dst points elsewhere
    CopyFolder* dst = &copy; // the target itself for an entry that is a root
};

// A file or link to copy or verify.
struct BackupEngine::Source {
    clsFolder* folder;       // the folder that holds it; null: opened by path, links followed
    const std::string& name; // its name in folder
    const std::string& path; // its full path as written, for log lines
    const FileInfo& info;    // its status as the walk found it
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
