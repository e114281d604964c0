#pragma once
// The mount table of a Linux system as the drive members of clsFileSystem see it: parsed
// from /proc/self/mountinfo text, filtered to real file systems, and searched for the
// mount that holds a path. Pure text work, so that every rule can be tested on any
// machine; reading the files is left to the caller.

#include <string>
#include <string_view>
#include <vector>

namespace tessaron::posix {

struct MountEntry {
    std::string MountPoint; // unescaped ("\040" becomes a blank)
    std::string FsType;     // "ext4", "fuse.sshfs"
    std::string Source;     // "/dev/sdb1", "srv:/export"
    unsigned Major = 0;     // the device numbers of the mounted file system
    unsigned Minor = 0;
};

// The mounts of this process, from /proc/self/mountinfo; empty when it cannot be read.
std::vector<MountEntry> LoadMountTable();

// Every well-formed line of mountinfo text, in order; malformed lines are left out.
std::vector<MountEntry> ParseMountInfo(std::string_view text);

// A file system that holds no user files (proc, sysfs, cgroup ...), never a drive.
bool IsPseudoFileSystem(const std::string& fsType);

// The drives among the mounts: pseudo file systems and mounts below /proc and /sys left
// out, one entry per mount point (the last mounted, which hides the others), "/" first
// and the rest by path.
std::vector<MountEntry> DriveMounts(const std::vector<MountEntry>& mounts);

// The mount that holds an absolute, normalised path: the last entry of the longest mount
// point that is path or a folder above it; nullptr when none is.
const MountEntry* HoldingMount(const std::vector<MountEntry>& mounts, const std::string& path);

// The drive type that the file system type alone decides: "REMOTE" for network file
// systems, "RAMDISK" for tmpfs and ramfs, "" when the device must be looked at.
std::string TypeOfFileSystem(const std::string& fsType);

// For a path below a desktop's removable-media folder (/media/USER/NAME/...,
// /run/media/USER/NAME/...) the mount point it needs ("/media/USER/NAME"); else "".
std::string RemovableMediaBase(const std::string& path);

// The absolute path with "." and ".." resolved and repeated or trailing "/" dropped,
// without looking at the file system ("/" stays "/"). "" for a relative path.
std::string NormalizePath(const std::string& path);

// A udev-escaped name ("My\x20Disk") decoded.
std::string DecodeUdevName(const std::string& name);

} // namespace tessaron::posix
