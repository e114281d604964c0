#pragma once
// The records the walk hands to the phases: a file to process, where its copy goes, and
// the folders of the copy.

#include "platform/IFileAccess.h"
#include "platform/clsFolder.h"

#include <string>
#include <string_view>
#include <vector>

namespace tessaron {

// path with the entry name added after a separator (none when it ends in one already):
// in place, so that a path as long as the walk is deep grows by the name alone.
void AppendName(std::string& path, const std::string& name);

// The path as log lines show it: whole up to 4,096 bytes (every path the system's calls
// take), beyond that its first 1,024 and last 2,048 bytes around the count of bytes left
// out, so that the lines of a tree thousands of levels deep stay short.
std::string ShownPath(std::string_view path);

// The folder of a copy: open when it could be opened (or made), else the reason.
struct CopyFolder {
    clsFolder folder;
    std::string path;   // its full path as log lines show it (see ShownPath)
    SysError error;     // why folder is not open
    bool fresh = false; // made by this run: nothing in it has a copy yet
    FileIdentity id;    // what its name held when the walk came (an existing folder)
    // Its entries as listed ahead of the walk (sorted by name), when that listing is of
    // this very folder; null: each copy is examined on its own.
    const std::vector<clsFSItem>* listed = nullptr;
};

// What a walk does with the folders of the copy: nothing (counting), open them (verifying),
// or make them (copying).
enum class CopySide { None, Open, Make };

// A small file's content, read whole ahead of its copy (see WalkAhead).
struct FileContent {
    long long size = 0; // as the listing found it: no more is read
    const unsigned char* data = nullptr;
    long long got = 0; // bytes read (fewer: the file shrank)
    SysError openError;
    SysError readError;
};

// A file or link to copy, verify or count.
struct Source {
    clsFolder* folder;       // the folder that holds it; null: opened by path, links followed
    const std::string& name; // its name in folder
    const std::string& path; // its full path as written, for log lines
    const FileInfo& info;    // its status as the walk found it
    const FileContent* content = nullptr; // its content, when read ahead
};

// Where the copy of a Source is.
struct Dest {
    CopyFolder& folder;      // the folder of the copy
    const std::string& name; // the copy's name there
    const std::string& path; // its full path, for log lines
};

// A folder above a selection entry's copy; it gets the metadata of the source folder it
// stands for once the entry is done.
struct Ancestor {
    CopyFolder dst;
    std::string source;
};

// The incremental rule for files: same size, same modification time to the second.
bool UpToDate(const FileInfo& source, const FileInfo& copy);

// The entry name in items (sorted by name) into out (Exists false when absent). False
// when the listing could not examine it: it is examined on its own, so that its own
// failure is said.
bool FindListed(const std::vector<clsFSItem>& items, const std::string& name, FileInfo& out);

} // namespace tessaron
