// Folder work shared by the POSIX platform classes (see PosixFolders.h).
#include "platform/posix/PosixFolders.h"

#include "platform/posix/PosixSupport.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace tessaron::posix {

namespace {

// The names in a directory other than "." and "..", sorted; false when it cannot be read.
bool ReadNames(DIR* dir, std::vector<std::string>& names) {
    errno = 0;
    while (dirent* entry = ::readdir(dir)) {
        const char* n = entry->d_name;
        if (!(n[0] == '.' && (n[1] == '\0' || (n[1] == '.' && n[2] == '\0')))) {
            names.emplace_back(n);
        }
    }
    const int code = errno;
    std::sort(names.begin(), names.end());
    errno = code;
    return code == 0;
}

// One component after another from the start folder; each but the last may be a link.
int OpenByComponents(const std::string& path, int flags, bool followLast, int& code) {
    int fd = ::open(path[0] == '/' ? "/" : ".", O_PATH | O_DIRECTORY | O_CLOEXEC);
    std::size_t pos = path.find_first_not_of('/');
    while (fd >= 0 && pos != std::string::npos) {
        std::size_t end = path.find('/', pos);
        const std::string name = path.substr(pos, end == std::string::npos ? end : end - pos);
        pos = end == std::string::npos ? end : path.find_first_not_of('/', end);
        const bool last = pos == std::string::npos;
        const int f = last ? flags | (followLast ? 0 : O_NOFOLLOW) : O_PATH | O_DIRECTORY;
        const int next = RetryEintr([&] { return ::openat(fd, name.c_str(), f | O_CLOEXEC); });
        code = errno;
        ::close(fd);
        fd = next;
    }
    if (fd < 0) {
        return -1;
    }
    return fd;
}

} // namespace

bool StatEntry(int dirfd, const std::string& name, FileInfo& info, time_t& created) {
    created = 0;
#if defined(__linux__) && defined(STATX_BTIME)
    struct statx stx {};
    const int flags = AT_SYMLINK_NOFOLLOW | (name.empty() ? AT_EMPTY_PATH : 0);
    if (::statx(dirfd, name.c_str(), flags, STATX_BASIC_STATS | STATX_BTIME | STATX_MNT_ID, &stx) !=
        0) {
        return false;
    }
    info.Exists = true;
    info.Kind = KindOf(stx.stx_mode);
    info.Size = static_cast<long long>(stx.stx_size);
    info.MTime = {static_cast<time_t>(stx.stx_mtime.tv_sec), stx.stx_mtime.tv_nsec};
    info.ATime = {static_cast<time_t>(stx.stx_atime.tv_sec), stx.stx_atime.tv_nsec};
    info.Mode = stx.stx_mode & 07777;
    info.Uid = stx.stx_uid;
    info.Gid = stx.stx_gid;
    info.Id = {static_cast<unsigned long long>(makedev(stx.stx_dev_major, stx.stx_dev_minor)),
               static_cast<unsigned long long>(stx.stx_ino), true};
    info.Sparse = HasHoles(info.Kind, info.Size, static_cast<long long>(stx.stx_blocks));
    info.Mount = (stx.stx_mask & STATX_MNT_ID) != 0 ? stx.stx_mnt_id : 0;
    if ((stx.stx_mask & STATX_BTIME) != 0) {
        created = static_cast<time_t>(stx.stx_btime.tv_sec);
    }
#else
    struct stat st {};
    const int flags = AT_SYMLINK_NOFOLLOW | (name.empty() ? AT_EMPTY_PATH : 0);
    if (::fstatat(dirfd, name.c_str(), &st, flags) != 0) {
        return false;
    }
    InfoFromStat(st, info);
#endif
    return true;
}

int OpenPath(const std::string& path, int flags, bool followLast, int& code) {
    if (path.empty()) {
        code = ENOENT;
        return -1;
    }
    if (path.size() >= PATH_MAX) {
        return OpenByComponents(path, flags, followLast, code);
    }
    const int f = flags | O_CLOEXEC | (followLast ? 0 : O_NOFOLLOW);
    const int fd = RetryEintr([&] { return ::open(path.c_str(), f); });
    code = fd < 0 ? errno : 0;
    return fd;
}

bool ListNamesAt(int fd, std::vector<std::string>& names, int& code) {
    // A duplicate shares the position of fd: the listing starts from the beginning.
    const int dup = ::fcntl(fd, F_DUPFD_CLOEXEC, 0);
    DIR* dir = dup < 0 ? nullptr : ::fdopendir(dup);
    if (dir == nullptr) {
        code = errno;
        if (dup >= 0) {
            ::close(dup);
        }
        return false;
    }
    ::rewinddir(dir);
    const bool ok = ReadNames(dir, names);
    code = errno;
    ::closedir(dir);
    return ok;
}

bool FillItem(int dirfd, const std::string& name, clsFSItem& item) {
    time_t created = 0;
    item.Path = name;
    if (!StatEntry(dirfd, name, item.Info, created)) {
        if (errno == ENOENT) {
            return false;
        }
        item.Error = SysError::FromCode(errno);
        return true;
    }
    const auto mode = static_cast<mode_t>(item.Info.Mode);
    item.Kind = item.Info.Kind;
    item.IsDirectory = item.Kind == FileKind::Directory;
    item.IsHidden = name.size() > 1 && name[0] == '.' && name != "..";
    item.IsReadOnly = item.Kind != FileKind::Symlink && (mode & 0222) == 0;
    item.Size = item.Kind == FileKind::File ? static_cast<double>(item.Info.Size) : 0.0;
    item.Created = DateTime::FromTimeTUtc(created);
    item.Modified = DateTime::FromTimeTUtc(item.Info.MTime.tv_sec);
    return true;
}

bool HasDefaultAcl(int fd) {
#ifdef __linux__
    if (::fgetxattr(fd, "system.posix_acl_default", nullptr, 0) >= 0) {
        return true;
    }
    return errno != ENODATA && errno != ENOTSUP && errno != EOPNOTSUPP;
#else
    (void)fd;
    return true;
#endif
}

} // namespace tessaron::posix
