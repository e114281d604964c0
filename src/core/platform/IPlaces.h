#pragma once
// IPlaces: what the backup run asks about places rather than files: which folders must
// never be cleared, whether a path lies inside a folder, whether a folder is the root of a
// file system, what kind of drive holds a path and how much room it has, where the
// program keeps its logs, and the release of a removable medium. The real one
// (SystemPlaces) hands each call to clsFileSystem and clsFolder; tests put a wrapper
// around it to run a step of the test inside a check.
//
// Errors: a member that can fail reports it one way, in its SysError out-argument (empty
// on success) next to an empty, zero or false result. ProtectedFolders and IsSameOrInside
// are answers for every input and never fail.

#include "platform/SysError.h"
#include "platform/clsFSItem.h"
#include "platform/clsFolder.h"

#include <string>
#include <vector>

namespace tessaron {

class IPlaces {
public:
    virtual ~IPlaces() = default;

    // Folders whose clearing would wipe people's files: the root first, then the home
    // folders (clsFileSystem::ProtectedFolders).
    virtual std::vector<std::string> ProtectedFolders() = 0;
    // True when inner names the folder outer names or a place below it, decided on the
    // identity of folders however inner is spelled; false when outer does not exist.
    virtual bool IsSameOrInside(const std::string& inner, const std::string& outer) = 0;
    virtual bool IsSameOrInside(const std::string& inner, const FileIdentity& outer) = 0;
    // Whether the open folder is the root of a file system (a drive, a mount point).
    // False with error set when that cannot be told.
    virtual bool IsMountRoot(clsFolder& folder, SysError& error) = 0;
    // The type of the drive that holds path: "REMOVABLE", "FIXED", "REMOTE", "CDROM" or
    // "RAMDISK"; "" with error set when there is no such drive (an empty path, a medium
    // that is not mounted) or it cannot be read.
    virtual std::string GetDriveType(const std::string& path, SysError& error) = 0;
    // Bytes free to the user on the drive that holds path (0 for a full medium, error
    // empty); 0 with error set when the drive cannot be read.
    virtual double GetDriveFreeSpace(const std::string& path, SysError& error) = 0;
    // The program's log folder, made when missing (clsFileSystem::ProgramLogDir); "" with
    // error set when none can be made.
    virtual std::string ProgramLogDir(SysError& error) = 0;
    // Releases the removable medium (or optical disc) that holds path. True when it was
    // released; false with error set otherwise: a drive of another type is not touched.
    virtual bool EjectMedia(const std::string& path, SysError& error) = 0;
};

} // namespace tessaron
