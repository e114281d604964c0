#pragma once
// clsFolder: one open directory, for examining and opening the entries inside it by name
// (clsBinaryFile::OpenFileAt, CreateFileAt). Working by name inside an open folder saves
// the system a walk of the full path at every call, which is most of the cost of small
// files in deep trees, and keeps every call inside the folder that was checked, even if
// a component of its path is swapped for a link afterwards.
//
// Errors never escape: Open and GetInfo return false and keep the system error code
// (errno) in LastErrorCode. The object owns its descriptor (closed by Close, a new Open
// or the object's end). Not copyable.

#include "platform/clsFSItem.h"

#include <string>

namespace tessaron {

class clsFolder {
public:
    clsFolder() = default;
    ~clsFolder();
    clsFolder(const clsFolder&) = delete;
    clsFolder& operator=(const clsFolder&) = delete;

    // errno of the last failed call; 0 until one fails.
    int LastErrorCode = 0;

    // Opens the directory path; a link (even to a directory) is refused (ELOOP or
    // ENOTDIR), as is anything that is not a directory. The path is kept after a failed
    // open too, so that a caller can tell which folder it last asked for.
    bool Open(const std::string& path);
    void Close();
    bool IsOpen() const { return m_fd != -1; }
    // The path given to the last Open ("" after Close).
    const std::string& Path() const { return m_path; }
    NativeHandle Handle() const { return m_fd; }

    // One lstat of the entry name (no "/" in it) inside the folder. A missing entry is
    // not a failure: true with out.Exists false. False only when it cannot be examined.
    bool GetInfo(const std::string& name, FileInfo& out);

    // What a file created here by this process gets before any change: owner, group
    // and whether its permission bits are exactly the requested ones less the umask
    // (false under a default ACL, or when the first file made here proved otherwise).
    // Used to skip setting metadata a new copy already has.
    unsigned NewFileUid() const { return m_newUid; }
    unsigned NewFileGid() const { return m_newGid; }
    bool NewFileModeIsPredictable() const { return m_modePredictable; }
    // Called by clsBinaryFile with what the first file created here actually got, so a
    // file system that assigns owners or modes its own way (mount options, ACLs) turns
    // the predictions off for this folder.
    bool CheckedFirstFile() const { return m_checked; }
    void FirstFileGot(unsigned uid, unsigned gid, bool modeAsPredicted);

private:
    NativeHandle m_fd = -1;
    std::string m_path;
    unsigned m_newUid = 0;
    unsigned m_newGid = 0;
    bool m_modePredictable = false;
    bool m_checked = false;
};

} // namespace tessaron
