#pragma once
// clsFileSystem: every question the rest of the system asks of the file system and every
// change it makes to it outside a run's walk: existence and status of a path; delete,
// copy, replace, make directories; temporary names; folder and drive listings; ejecting a
// medium; the program's own folders.
//
// Errors never escape: a member that fails returns false, 0 or empty and keeps the text
//   "clsFileSystem.Member() - Error (<code>) <the system's text>"
// in LastError (no trailing line break); the code is errno, or GetLastError on Windows. A member
// that succeeds leaves LastError as it was, so callers read it only after a failure.
//
// Symbolic links are never followed by a query or a walk: Exists, GetInfo, IsDirectory,
// GetDirectory and Delete all look at the link itself.

#include "platform/DateTime.h"
#include "platform/FileConstants.h"
#include "platform/SysError.h"
#include "platform/clsFSItem.h"

#include <ctime>
#include <functional>
#include <string>
#include <vector>

namespace tessaron {

class clsFolder;

class clsFileSystem {
public:
    clsFileSystem() = default;

    // Text of the last failure (see the header comment). Callers read it, never set it.
    std::string LastError;
    // The same failure as a record: the system's code and text, for deciding on it.
    SysError LastErrorInfo;

    // When true, the eject retry wait yields through DoEvents instead of sleeping idle.
    bool UseDoEvents = false;
    // The caller's yield (process user interface events, check for an interrupt). Clean
    // calls it after every entry whatever UseDoEvents says. May be empty.
    std::function<void()> DoEvents;

    // The records of the last GetDirectory or GetDrives call.
    std::vector<clsFSItem> Items;

    // --- Queries -------------------------------------------------------------------------

    // The path exists (file, directory, link - even a dangling one - or special file).
    bool Exists(const std::string& path);
    bool IsDirectory(const std::string& path); // a real directory, not a link to one
    // One lstat of path (stat with followLinks: a link that leads nowhere is then missing).
    // A missing path is not a failure: true with out.Exists false and LastError untouched.
    // False (LastError set) only when the path cannot be examined.
    bool GetInfo(const std::string& path, FileInfo& out, bool followLinks = false);

    // --- Changes -------------------------------------------------------------------------

    // Deletes a file, a link (never what it points to) or a directory with everything in
    // it; read-only files are deleted too. With Wait, checks up to 10 times 100 ms apart
    // that the path is gone. False when anything could not be deleted.
    bool Delete(const std::string& path, bool Wait = false);
    // Copies the content, permission bits and times of file path1 to path2 (a partial copy
    // is removed). With DeleteExisting false an existing path2 makes the copy fail. A
    // failed system call leaves the system's text alone in LastError, without the source
    // prefix ("File exists"), as callers show it as it is.
    bool Copy(const std::string& path1, const std::string& path2, bool DeleteExisting);
    // Puts path1 in place of path2 in one step (within one file system): an existing file
    // or link at path2 is replaced atomically, so readers see either the old or the new
    // one, never neither. A directory at path2 is not replaced (false).
    bool Replace(const std::string& path1, const std::string& path2);
    // Makes one directory; the parent must exist. An existing directory is a failure.
    bool CreateDirectory(const std::string& path);
    // Makes a directory and every missing parent (mkdir -p); true when it exists after.
    bool CreateDirectories(const std::string& path);

    // --- Metadata of a copy (the engine carries these from source to destination) ----------

    // Sets access and modification times with full precision; a link's own times are
    // set (never its target's).
    bool SetTimes(const std::string& path, const timespec& atime, const timespec& mtime);
    // Sets the permission bits (07777). Not for links.
    bool SetMode(const std::string& path, unsigned mode);
    // Sets owner and group (a link's own) when running as root; as any other user it does
    // nothing and returns true, because only root may give files away.
    bool SetOwner(const std::string& path, unsigned uid, unsigned gid);

    // --- Places: decided by the identity of folders, never by how a path is spelled -------

    // The identity (device and inode; on Windows volume serial number and file index) of
    // what path names, every link followed.
    // False (LastError set) when it does not exist or cannot be examined.
    bool GetIdentity(const std::string& path, FileIdentity& id);
    // True when inner names the folder outer names, or a place below it. Inner's existing
    // part is resolved as the system resolves it (".", "..", repeated separators, links);
    // a missing rest lies below its existing part. False when outer does not exist.
    bool IsSameOrInside(const std::string& inner, const std::string& outer);
    // The same for the folder whose identity is outer (an open folder's, so that the
    // answer is about the very folder the caller holds).
    bool IsSameOrInside(const std::string& inner, const FileIdentity& outer);
    // Folders whose clearing would wipe people's files: the root folder first, then the
    // home folders ($HOME, those of the system's person accounts, the folders in /home).
    // Windows: the system drive's root, %USERPROFILE% and the folders in the profiles
    // folder (C:\Users).
    std::vector<std::string> ProtectedFolders();

    // --- Names and listings ----------------------------------------------------------------

    // The temporary directory ($TMPDIR, else /tmp) with a trailing "/".
    std::string GetTempDir();
    // A name that does not exist yet: folder (TempPath trimmed, else GetTempDir) + up to
    // 3 characters of Prefix + 5 or 6 upper-case hex digits + "." + FileType (".tmp" when
    // FileType is empty). The file is not created.
    std::string GetTempFile(const std::string& TempPath, const std::string& Prefix,
                            const std::string& FileType);
    // Refills Items with one record per entry of path (names only, sorted by name) and
    // returns the count; 0 with Items empty when path is not a directory (a link to one
    // is not entered).
    int GetDirectory(const std::string& path);
    // The system's text for an errno value, without a trailing line break.
    std::string GetErrorMessage(int code);

    // --- Drives: the mount points of real file systems -------------------------------------

    // Refills Items with one record per drive, "/" first then by path; returns the count.
    int GetDrives();
    // The type of the mount that holds path: "REMOVABLE", "FIXED", "REMOTE", "CDROM",
    // "RAMDISK", or "" (LastError set) for an empty path, for a path below an unmounted
    // removable-media mount point (/media/USER/NAME, /run/media/USER/NAME) or when
    // nothing can be read.
    std::string GetDriveType(const std::string& path);
    // Bytes available to the user of the file system holding path; 0 on failure
    // (LastError set) and for a full medium (LastError untouched).
    double GetDriveFreeSpace(const std::string& path);
    // The volume label of the mount holding path (from /dev/disk/by-label), else "".
    std::string GetDriveVolume(const std::string& path);
    // The mount source ("srv:/export", "//srv/share") of a REMOTE mount holding path,
    // else "".
    std::string GetDriveUNC(const std::string& path);
    // Unmounts and powers off the medium holding path through udisksctl (or eject). Only
    // REMOVABLE and CDROM drives; anything else returns false (LastError set) without
    // touching it. The unmount is tried 10 times one second apart. True only when the
    // medium was released.
    bool EjectMedia(const std::string& path);

    // --- The program's own folders ----------------------------------------------------------

    // The folder of the running executable (no trailing "/"); "" when unknown.
    static std::string ProgramDir();
    // The log folder, created when missing: "Log" beside the executable when it can be
    // created and written (on Linux not when the executable is installed in a "bin"
    // folder), else ${XDG_STATE_HOME:-~/.local/state}/tessaron/Log (Windows:
    // %LOCALAPPDATA%\VELQO\Tessaron\Log). No trailing separator; "" (LastError set)
    // when neither can be made.
    std::string ProgramLogDir();

private:
    bool Fail(const char* member, int code);
    // Empties the open folder, stopping at the first entry that cannot be deleted (the
    // failure is member's).
    bool EmptyOpenFolder(clsFolder& folder, const char* member);
    // path without one trailing separator, unless it is a root ("/", "C:\").
    static std::string WithoutTrailingSeparator(const std::string& path);
    bool WaitUntilGone(const std::string& path);
    void Yield();
    bool ResolveForDrive(const std::string& path, std::string& resolved, const char* member);
    void WaitBeforeRetry();
    bool ReleaseMedium(const std::string& device, bool optical);
};

} // namespace tessaron
