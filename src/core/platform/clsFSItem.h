#pragma once
// clsFSItem: one record of a folder listing (clsFileSystem::GetDirectory) or of the drive
// list (clsFileSystem::GetDrives). A plain record with public fields.

#include "platform/DateTime.h"
#include "platform/FileConstants.h"
#include "platform/SysError.h"

#include <ctime>
#include <string>

namespace tessaron {

// What a file or folder is, whatever path names it: the volume (device) and the file's
// number on it. Two paths name the same place exactly when their identities are equal.
struct FileIdentity {
    unsigned long long Volume = 0;
    unsigned long long File = 0;
    bool Valid = false;
    bool operator==(const FileIdentity&) const = default;
};

// Everything the engine needs to know about one path, from one examination (or listing).
struct FileInfo {
    bool Exists = false;
    FileKind Kind = FileKind::None;
    long long Size = 0; // bytes (a link: the length of its target text)
    timespec MTime{};   // modification time, full precision
    timespec ATime{};   // last access time, full precision
    // Creation time where the system keeps and sets one (Windows); zero elsewhere.
    timespec Created{};
    unsigned Mode = 0; // permission bits (07777)
    // The FileAttr bits ReadOnly, Hidden, System and Archive as the system keeps them
    // (Windows); 0 where they are not kept (POSIX: read-only is the lack of write bits in
    // Mode, and hidden a name that starts with ".").
    int Attributes = 0;
    unsigned Uid = 0;
    unsigned Gid = 0;
    FileIdentity Id; // volume and file number
    // The mount that holds it, as a number that differs from mount to mount (Linux: the
    // mount's id, so that a folder bound onto another of the same device differs too;
    // Windows: the volume serial number, of the mounted volume for a folder onto which a
    // volume is mounted); 0 where the system cannot tell.
    unsigned long long Mount = 0;
    bool Sparse = false; // a regular file that takes less room than its size: it has holes
};

struct clsFSItem {
    // A listing entry: its name alone (no folder part). A drive: its root ("C:\") or
    // mount point ("/", "/media/ann/USB").
    std::string Path;
    bool IsDrive = false;
    bool IsDirectory = false; // a real directory, never a link to one
    bool IsHidden = false;    // the hidden attribute (POSIX: the name starts with ".")
    bool IsSystem = false;    // the system attribute (never set on POSIX)
    bool IsReadOnly = false;  // the read-only attribute (POSIX: no write permission bit set)
    DateTime Created;         // listing: UTC; the empty date where the file system has none
    DateTime Modified;        // listing: UTC (unlike clsFileSystem::GetFileTime, local)
    double Size = 0;          // listing: file size in bytes; drive: total bytes
    std::string DriveType;    // drive: "REMOVABLE", "FIXED", "REMOTE", "CDROM", "RAMDISK" or ""
    double FreeSpace = 0;     // drive: bytes available to the user
    std::string Description;  // drive: volume label, or the mount source of a REMOTE drive

    // What the entry is, read without following a link. Callers must not descend into
    // or open a Symlink, and must never open a Fifo, Socket or Device.
    FileKind Kind = FileKind::None;
    // Listing: the entry's own status as the listing read it (never a link's target),
    // so that a walk can copy or compare the entry without examining it again.
    FileInfo Info;
    // Listing: why the entry could not be examined (empty when it was). Such an entry is
    // listed with its name only; an entry that vanished is left out instead.
    SysError Error;

    bool IsLink() const { return Kind == FileKind::Symlink; }
    // A FIFO, socket or device node: never opened, skipped by a backup.
    bool IsSpecial() const {
        return Kind == FileKind::Fifo || Kind == FileKind::Socket || Kind == FileKind::Device;
    }
};

} // namespace tessaron
