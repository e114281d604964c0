// clsFileSystem on POSIX: drives (the mount points of real file systems), ejecting a
// medium, and the program's own folders.
#include "platform/clsFileSystem.h"

#include "platform/Trim.h"

#include "platform/posix/MountTable.h"
#include "platform/posix/PosixFolders.h"
#include "platform/posix/PosixSupport.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace tessaron {

using posix::MountEntry;

namespace {

std::string ReadText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<MountEntry> LoadMounts() {
    return posix::LoadMountTable();
}

std::string RealPath(const std::string& path) {
    char buf[PATH_MAX];
    return ::realpath(path.c_str(), buf) != nullptr ? std::string(buf) : std::string();
}

bool IsMountPoint(const std::vector<MountEntry>& mounts, const std::string& path) {
    for (const MountEntry& entry : mounts) {
        if (entry.MountPoint == path) {
            return true;
        }
    }
    return false;
}

// The path with the links of its existing part resolved; the missing rest is kept as it is.
std::string ResolveExisting(const std::string& normalized) {
    std::string head = normalized;
    std::string rest;
    while (true) {
        std::string real = RealPath(head);
        if (!real.empty()) {
            return posix::NormalizePath(real + rest);
        }
        std::size_t slash = head.find_last_of('/');
        if (head == "/" || slash == std::string::npos) {
            return normalized;
        }
        rest = head.substr(slash) + rest;
        head = slash == 0 ? "/" : head.substr(0, slash);
    }
}

bool SysfsFlag(const std::string& path) {
    return TrimWhiteSpace(ReadText(path)) == "1";
}

// The type of a mount whose file system type does not decide it: looked up through the
// block device in sysfs.
std::string DeviceDriveType(const MountEntry& mount) {
    std::string decided = posix::TypeOfFileSystem(mount.FsType);
    if (!decided.empty()) {
        return decided;
    }
    std::string dev =
        "/sys/dev/block/" + std::to_string(mount.Major) + ":" + std::to_string(mount.Minor);
    std::string real = RealPath(dev);
    if (real.empty()) {
        return "FIXED"; // not a block device (overlay, btrfs subvolume, FUSE): a local disk
    }
    bool optical = mount.Major == 11 || real.find("/block/sr") != std::string::npos;
    if (optical && (mount.FsType == "iso9660" || mount.FsType == "udf")) {
        return "CDROM";
    }
    // A partition has no flag of its own; its disk (the parent folder) has.
    bool removable = SysfsFlag(dev + "/removable") || SysfsFlag(dev + "/../removable");
    if (optical || removable || real.find("/usb") != std::string::npos) {
        return "REMOVABLE";
    }
    return "FIXED";
}

bool StatFs(const std::string& resolved, struct statvfs& fs) {
    std::string path = resolved;
    while (::statvfs(path.c_str(), &fs) != 0) {
        std::size_t slash = path.find_last_of('/');
        if (path == "/" || slash == std::string::npos) {
            return false;
        }
        path = slash == 0 ? "/" : path.substr(0, slash);
    }
    return true;
}

} // namespace

std::string posix::AbsolutePath(const std::string& path) {
    if (path.empty()) {
        return {};
    }
    if (path[0] == '/') {
        return NormalizePath(path);
    }
    char cwd[PATH_MAX];
    if (::getcwd(cwd, sizeof cwd) == nullptr) {
        return {};
    }
    return NormalizePath(std::string(cwd) + "/" + path);
}

std::string posix::ResolvePath(const std::string& path) {
    if (path.empty()) {
        return {};
    }
    // Not normalised first: "link/.." is the folder above the link's target, as the
    // system resolves it, not the folder that holds the link.
    std::string absolute = path;
    if (path[0] != '/') {
        char cwd[PATH_MAX];
        if (::getcwd(cwd, sizeof cwd) == nullptr) {
            return {};
        }
        absolute = std::string(cwd) + "/" + path;
    }
    return ResolveExisting(absolute);
}

// The absolute, link-resolved form of path for the drive members; false (the failure
// member's) for an empty path and for one below a removable-media mount point that is not
// mounted, so that an unplugged disk never reads as the system disk that holds the empty
// folder.
bool clsFileSystem::ResolveForDrive(const std::string& path, std::string& resolved,
                                    const char* member) {
    const std::string normalized = posix::AbsolutePath(path);
    if (normalized.empty()) {
        return Fail(member, ENOENT);
    }
    resolved = ResolveExisting(normalized);
    std::vector<MountEntry> mounts = LoadMounts();
    for (const std::string& candidate : {normalized, resolved}) {
        std::string base = posix::RemovableMediaBase(candidate);
        if (!base.empty() && !IsMountPoint(mounts, base)) {
            return Fail(member, ENODEV);
        }
    }
    return true;
}

std::string clsFileSystem::GetDriveType(const std::string& path) {
    std::string resolved;
    if (!ResolveForDrive(path, resolved, "GetDriveType")) {
        return {};
    }
    std::vector<MountEntry> mounts = LoadMounts();
    const MountEntry* mount = posix::HoldingMount(mounts, resolved);
    if (mount == nullptr) {
        Fail("GetDriveType", ENOENT);
        return {};
    }
    return DeviceDriveType(*mount);
}

double clsFileSystem::GetDriveFreeSpace(const std::string& path) {
    std::string resolved;
    struct statvfs fs {};
    if (!ResolveForDrive(path, resolved, "GetDriveFreeSpace")) {
        return 0;
    }
    if (!StatFs(resolved, fs)) {
        Fail("GetDriveFreeSpace", errno);
        return 0;
    }
    return static_cast<double>(fs.f_bavail) * static_cast<double>(fs.f_frsize);
}

std::string clsFileSystem::GetDriveVolume(const std::string& path) {
    std::string resolved;
    if (!ResolveForDrive(path, resolved, "GetDriveVolume")) {
        return {};
    }
    std::vector<MountEntry> mounts = LoadMounts();
    const MountEntry* mount = posix::HoldingMount(mounts, resolved);
    std::string device = mount != nullptr ? RealPath(mount->Source) : std::string();
    DIR* dir = device.rfind("/dev/", 0) == 0 ? ::opendir("/dev/disk/by-label") : nullptr;
    if (dir == nullptr) {
        return {};
    }
    std::string label;
    while (dirent* entry = ::readdir(dir)) {
        std::string name = entry->d_name;
        if (name != "." && name != ".." && RealPath("/dev/disk/by-label/" + name) == device) {
            label = TrimWhiteSpace(posix::DecodeUdevName(name));
            break;
        }
    }
    ::closedir(dir);
    return label;
}

std::string clsFileSystem::GetDriveUNC(const std::string& path) {
    std::string resolved;
    if (!ResolveForDrive(path, resolved, "GetDriveUNC")) {
        return {};
    }
    std::vector<MountEntry> mounts = LoadMounts();
    const MountEntry* mount = posix::HoldingMount(mounts, resolved);
    if (mount == nullptr || posix::TypeOfFileSystem(mount->FsType) != "REMOTE") {
        return {};
    }
    return TrimWhiteSpace(mount->Source);
}

int clsFileSystem::GetDrives() {
    Items.clear();
    std::vector<MountEntry> mounts = LoadMounts();
    if (mounts.empty()) {
        Fail("GetDirectory", ENOENT);
        return 0;
    }
    for (const MountEntry& mount : posix::DriveMounts(mounts)) {
        struct stat st {};
        if (::stat(mount.MountPoint.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) {
            continue; // a file bind-mounted over another (containers do this), not a drive
        }
        clsFSItem item;
        item.Path = mount.MountPoint;
        item.IsDrive = true;
        item.DriveType = DeviceDriveType(mount);
        struct statvfs fs {};
        if (::statvfs(mount.MountPoint.c_str(), &fs) == 0) {
            item.Size = static_cast<double>(fs.f_blocks) * static_cast<double>(fs.f_frsize);
            item.FreeSpace = static_cast<double>(fs.f_bavail) * static_cast<double>(fs.f_frsize);
        }
        if (item.DriveType == "REMOTE") {
            item.Description = TrimWhiteSpace(mount.Source);
        } else if (item.DriveType != "RAMDISK" && item.Size > 0) {
            item.Description = GetDriveVolume(mount.MountPoint);
        }
        Items.push_back(std::move(item));
    }
    return static_cast<int>(Items.size());
}

} // namespace tessaron
