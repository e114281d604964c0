#pragma once
// clsFolder: one open folder, for listing it and for examining, opening, creating,
// renaming and removing the entries inside it by name (see also clsBinaryFile::OpenFileAt
// and CreateFileAt). Working by name inside an open folder saves the system a walk of the
// full path at every call (most of the cost of small files in deep trees), keeps every
// call inside the folder that was checked even if a component of its path is swapped for
// a link afterwards, and lets a walk go deeper than the system's limit on path lengths.
//
// Names given to the *At members are single entries (no separator in them); a link found
// under such a name is never followed, except where a member says so.
//
// Errors never escape: a member that fails returns false and keeps the system error code
// in LastErrorCode (Error() gives the record with its text). The object owns its handle
// (closed by Close, a new Open or the object's end). Not copyable.

#include "platform/SysError.h"
#include "platform/clsFSItem.h"

#include <functional>
#include <string>
#include <vector>

namespace tessaron {

// What a removal below a folder leaves in place, and how it says so (see clsFolder::Empty).
struct RemovalReport {
    // An entry left in place: its path below the folder the removal started in (names
    // joined by the system's separator) and why; SysError::OtherMount() for a file system
    // mounted there. Returns false to end the removal there. May be empty.
    std::function<bool(const std::string& path, const SysError& why)> left;
    // Entries, by identity, left as they are with everything in them, each said through
    // kept (may be empty).
    std::vector<FileIdentity> keep;
    std::function<void(const std::string& path)> kept;
    // Runs after every entry (may be empty).
    std::function<void()> yield;
};

class clsFolder {
public:
    clsFolder() = default;
    ~clsFolder();
    clsFolder(const clsFolder&) = delete;
    clsFolder& operator=(const clsFolder&) = delete;

    // The system error code of the last failed call; 0 until one fails.
    int LastErrorCode = 0;
    // The last failure as a record (code and the system's text).
    SysError Error() const { return SysError::FromCode(LastErrorCode); }

    // Opens the folder path names. Links on the way are followed as the system follows
    // them; a link at the end (on Windows also a junction) is refused (the link code, or
    // "not a directory") unless followLast. A path longer than the system's limit is
    // opened one component at a time (on Windows through its "\\?\" form).
    // The path is kept after a failed open too, so that a caller can tell which folder it
    // last asked for.
    bool Open(const std::string& path, bool followLast = false);
    // Makes the folder path and every missing folder above it (as "mkdir -p" does, with
    // the permission bits mode less the umask; 0700 for folders only their owner may read;
    // Windows: the folders take the permissions of the folder above), then opens it
    // following links, as Open(path, true).
    bool Create(const std::string& path, unsigned mode = 0777);
    // Opens the entry name of the open folder parent; a link or anything else that is not
    // a folder is refused. Path() becomes parent's path and name joined.
    bool OpenAt(const clsFolder& parent, const std::string& name);
    // Opens the folder that holds the open folder child (its ".."), whatever its path says
    // now: the caller compares its identity with the one it expects. Path() becomes
    // child's path without its last name.
    bool OpenParent(const clsFolder& child);
    void Close();
    bool IsOpen() const { return m_fd != -1; }
    // The path given to the last Open ("" after Close). On POSIX a folder opened inside
    // another whose path would pass the system's limit on paths keeps "" (nothing needs
    // it there: every call works on the handle, and building it would cost a copy of the
    // whole path at every level of a deep tree).
    const std::string& Path() const { return m_path; }
    NativeHandle Handle() const { return m_fd; }

    // One record per entry, sorted by name (byte order), each examined inside the folder
    // without following links (see clsFSItem::Info and Error). An entry that vanished
    // between reading the names and examining it is left out. False when the folder's
    // names cannot be read.
    bool List(std::vector<clsFSItem>& items);
    // One lstat of the entry name. A missing entry is not a failure: true with out.Exists
    // false. False only when it cannot be examined.
    bool GetInfo(const std::string& name, FileInfo& out);
    // The folder's own status.
    bool GetOwnInfo(FileInfo& out);
    // True when the folder is the root of a file system: "/", a mount point or a folder
    // bound onto another (Windows: a drive's root, or a volume mounted onto a folder).
    bool IsMountRoot();

    // Makes the folder name inside this one, readable and writable by its owner only (a
    // copy gets its final permissions with SetMode once its contents are written).
    bool CreateFolderAt(const std::string& name);
    // Removes the entry name: a file or a link (never what a link points to). A folder
    // is refused (see RemoveTreeAt).
    bool RemoveAt(const std::string& name);
    // Removes the empty folder name.
    bool RemoveFolderAt(const std::string& name);
    // Removes everything inside this folder: files, links (never what they point to) and
    // folders with everything in them. It works one level at a time with its own bounded
    // stack and a bounded number of folders open, so any depth is removed. It never enters
    // or removes anything on another mount than this folder's (compared before entering
    // each folder): a mount point is left in place and reported. What cannot be removed
    // is reported and the removal goes on (unless report.left says stop); a folder that
    // keeps something is left without a report of its own. True when nothing was
    // reported; false with LastErrorCode set from the first report.
    bool Empty(const RemovalReport& report);
    // The same for the entry name, which is removed too unless something is left in it.
    bool RemoveTreeAt(const std::string& name, const RemovalReport& report);
    // Renames the entry from to to inside this folder; a file or link at to is replaced
    // in one step (readers see the old or the new one, never neither). A folder at to is
    // not replaced (false).
    bool RenameAt(const std::string& from, const std::string& to);
    // The text of the link name.
    bool ReadLinkAt(const std::string& name, std::string& text);
    // Makes a link name holding text; an existing entry of that name is a failure.
    bool CreateLinkAt(const std::string& name, const std::string& text);
    // Times and (running as root) owner of the entry name itself, never of what a link
    // points to. As any other user SetOwnerAt does nothing and succeeds.
    bool SetTimesAt(const std::string& name, const timespec& atime, const timespec& mtime);
    bool SetOwnerAt(const std::string& name, unsigned uid, unsigned gid);

    // The folder's own permission bits (07777), owner and group (root only, as above) and
    // times (created: the creation time where the system sets one, Windows; zero leaves
    // it). On Windows the permission bits are the read-only attribute (set when no write
    // bit is) and owners stay those of the user who runs the program.
    bool SetMode(unsigned mode);
    bool SetOwner(unsigned uid, unsigned gid);
    bool SetTimes(const timespec& atime, const timespec& mtime, const timespec& created = {});
    // The folder's FileAttr bits ReadOnly, Hidden, System and Archive as attributes has
    // them, where the system keeps them (Windows; elsewhere nothing to do).
    bool SetAttributes(int attributes);
    // Makes sure this process may create and remove entries here: a folder of its own
    // that lacks its owner's read, write or search permission gets them (SetMode puts the
    // final bits back later). Nothing to do for root.
    bool AllowChanges();
    // Writes everything the system still holds in memory for the file system of this
    // folder to its medium, and waits until it is there. Windows lets only administrators
    // flush a whole volume: there every file written through clsBinaryFile was put on its
    // medium when it was closed, and the volume is flushed too where the system allows it.
    bool Sync();

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
    bool Fail();
    bool Adopt(NativeHandle fd, const std::string& path);
    bool Remove(const std::string* name, const RemovalReport& report);

    NativeHandle m_fd = -1;
    bool m_searchOnly = false;
    std::string m_path;
    // Windows: the path the system resolved the open folder to, every link on the way
    // resolved; its entries are named through it, so that a link on the way swapped after
    // the open changes nothing.
    std::string m_realPath;
    unsigned m_newUid = 0;
    unsigned m_newGid = 0;
    bool m_modePredictable = false;
    bool m_checked = false;
};

} // namespace tessaron
