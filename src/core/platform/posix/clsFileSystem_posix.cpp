// clsFileSystem on POSIX: queries, changes and listings. Drives and the program's folders
// are in clsFileSystemDrives_posix.cpp.
#include "platform/clsFileSystem.h"

#include "platform/posix/PosixSupport.h"

#include <algorithm>
#include <chrono>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace tessaron {

using posix::KindOf;
using posix::RetryEintr;

namespace {

// The last component of a path, ignoring trailing "/".
std::string BaseName(const std::string& path) {
    std::size_t end = path.find_last_not_of('/');
    if (end == std::string::npos) {
        return {};
    }
    std::size_t start = path.find_last_of('/', end);
    return path.substr(start == std::string::npos ? 0 : start + 1, end - start);
}

int AttributesOf(const std::string& name, mode_t mode) {
    int attr = 0;
    if (!S_ISLNK(mode) && (mode & 0222) == 0) {
        attr |= FileAttr::ReadOnly;
    }
    if (name.size() > 1 && name[0] == '.' && name != "..") {
        attr |= FileAttr::Hidden;
    }
    if (S_ISDIR(mode)) {
        attr |= FileAttr::Directory;
    }
    if (S_ISREG(mode)) {
        attr |= FileAttr::Archive;
    }
    return attr;
}

// The names in a directory other than "." and "..", sorted; false when it cannot be read.
bool ReadNames(DIR* dir, std::vector<std::string>& names) {
    errno = 0;
    while (dirent* entry = ::readdir(dir)) {
        std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(std::move(name));
        }
    }
    std::sort(names.begin(), names.end());
    return errno == 0;
}

} // namespace

bool clsFileSystem::Fail(const char* member, int code) {
    LastError = posix::ErrorLine(std::string("clsFileSystem.") + member + "()", code);
    return false;
}

void clsFileSystem::Yield() {
    if (DoEvents) {
        DoEvents();
    }
}

std::string clsFileSystem::GetErrorMessage(int code) {
    return posix::ErrorText(code);
}

bool clsFileSystem::Exists(const std::string& path) {
    struct stat st {};
    return !path.empty() && ::lstat(path.c_str(), &st) == 0;
}

long long clsFileSystem::GetFileSize(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0 ? static_cast<long long>(st.st_size) : 0;
}

DateTime clsFileSystem::GetFileTime(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0 ? posix::LocalDate(st.st_mtim) : DateTime{};
}

int clsFileSystem::GetFileAttributes(const std::string& path) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0) {
        Fail("GetFileAttributes", errno);
        return 0;
    }
    return AttributesOf(BaseName(path), st.st_mode);
}

bool clsFileSystem::SetFileAttributes(const std::string& path, int attr) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0) {
        return Fail("SetFileAttributes", errno);
    }
    if (S_ISLNK(st.st_mode)) {
        return true;
    }
    mode_t mode = st.st_mode & 07777;
    if ((attr & FileAttr::ReadOnly) != 0) {
        mode &= ~static_cast<mode_t>(0222);
    } else if ((mode & 0222) == 0) {
        mode |= S_IWUSR;
    }
    if (mode == (st.st_mode & 07777)) {
        return true;
    }
    return ::chmod(path.c_str(), mode) == 0 || Fail("SetFileAttributes", errno);
}

bool clsFileSystem::IsDirectory(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool clsFileSystem::IsReadOnly(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0 && !S_ISLNK(st.st_mode) && (st.st_mode & 0222) == 0;
}

bool clsFileSystem::GetInfo(const std::string& path, FileInfo& out) {
    out = FileInfo{};
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            return true;
        }
        return Fail("GetInfo", errno);
    }
    posix::InfoFromStat(st, out);
    return true;
}

bool clsFileSystem::Delete(const std::string& path, bool Wait) {
    struct stat st {};
    if (path.empty() || ::lstat(path.c_str(), &st) != 0) {
        return Fail("Delete", path.empty() ? ENOENT : errno);
    }
    if (S_ISDIR(st.st_mode)) {
        int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0) {
            return Fail("Delete", errno);
        }
        if (!CleanDirectory(fd)) {
            return false;
        }
        if (::rmdir(path.c_str()) != 0) {
            return Fail("Delete", errno);
        }
    } else if (::unlink(path.c_str()) != 0) {
        // A read-only file needs no attribute reset here: unlinking depends on the
        // folder's permissions alone.
        return Fail("Delete", errno);
    }
    return !Wait || WaitUntilGone(path);
}

bool clsFileSystem::Clean(const std::string& path) {
    int fd = path.empty() ? -1 : ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        return Fail("Clean", path.empty() ? ENOENT : errno);
    }
    return CleanDirectory(fd);
}

// Empties the directory open as dirfd (which it takes over and closes). Entries are
// reached through the directory's descriptor, so a link inside is removed as a link and
// a directory swapped for a link while we work is never entered.
bool clsFileSystem::CleanDirectory(int dirfd) {
    DIR* dir = ::fdopendir(dirfd);
    if (dir == nullptr) {
        int code = errno;
        ::close(dirfd);
        return Fail("Delete", code);
    }
    std::vector<std::string> names;
    bool ok = ReadNames(dir, names) || Fail("Delete", errno);
    for (std::size_t i = 0; ok && i < names.size(); ++i) {
        ok = RemoveAt(::dirfd(dir), names[i]);
        Yield();
    }
    ::closedir(dir);
    return ok;
}

bool clsFileSystem::RemoveAt(int dirfd, const std::string& name) {
    struct stat st {};
    if (::fstatat(dirfd, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno == ENOENT || Fail("Delete", errno);
    }
    if (!S_ISDIR(st.st_mode)) {
        return ::unlinkat(dirfd, name.c_str(), 0) == 0 || Fail("Delete", errno);
    }
    int sub = ::openat(dirfd, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (sub < 0) {
        return Fail("Delete", errno);
    }
    if (!CleanDirectory(sub)) {
        return false;
    }
    return ::unlinkat(dirfd, name.c_str(), AT_REMOVEDIR) == 0 || Fail("Delete", errno);
}

bool clsFileSystem::Rename(const std::string& path1, const std::string& path2) {
    // Like a move on Windows, an existing destination is never replaced.
    struct stat st {};
    if (::lstat(path2.c_str(), &st) == 0) {
        return Fail("Rename", EEXIST);
    }
    return ::rename(path1.c_str(), path2.c_str()) == 0 || Fail("Rename", errno);
}

bool clsFileSystem::Replace(const std::string& path1, const std::string& path2) {
    return ::rename(path1.c_str(), path2.c_str()) == 0 || Fail("Replace", errno);
}

bool clsFileSystem::CreateDirectory(const std::string& path) {
    if (path.empty()) {
        return Fail("CreateDirectory", ENOENT);
    }
    return ::mkdir(path.c_str(), 0777) == 0 || Fail("CreateDirectory", errno);
}

bool clsFileSystem::CreateDirectories(const std::string& path) {
    if (path.empty()) {
        return Fail("CreateDirectories", ENOENT);
    }
    std::size_t pos = 0;
    while (pos != std::string::npos) {
        pos = path.find('/', pos + 1);
        std::string prefix = path.substr(0, pos);
        if (prefix.empty() || prefix.back() == '/') {
            continue;
        }
        if (::mkdir(prefix.c_str(), 0777) != 0 && errno != EEXIST) {
            return Fail("CreateDirectories", errno);
        }
    }
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) {
        return Fail("CreateDirectories", errno);
    }
    return S_ISDIR(st.st_mode) || Fail("CreateDirectories", ENOTDIR);
}

std::string clsFileSystem::GetTempDir() {
    const char* env = std::getenv("TMPDIR");
    std::string dir = env != nullptr && env[0] == '/' ? env : "/tmp";
    if (dir.back() != '/') {
        dir += '/';
    }
    return dir;
}

} // namespace tessaron

namespace tessaron {

namespace {

// The sorted entry names of the directory open as fd (which stays open); false when it
// cannot be read.
bool ListNamesAt(int fd, std::vector<std::string>& names, int& code) {
    const int dup = ::fcntl(fd, F_DUPFD_CLOEXEC, 0);
    DIR* dir = dup < 0 ? nullptr : ::fdopendir(dup);
    if (dir == nullptr) {
        code = errno;
        if (dup >= 0) {
            ::close(dup);
        }
        return false;
    }
    bool ok = ReadNames(dir, names);
    code = errno;
    ::closedir(dir);
    return ok;
}

// One statx of the entry name inside the folder open as dirfd (fstatat where statx is
// missing), never following a link; false when the entry is gone.
bool StatEntry(int dirfd, const std::string& name, FileInfo& info, time_t& created) {
    created = 0;
#if defined(__linux__) && defined(STATX_BTIME)
    struct statx stx {};
    if (::statx(dirfd, name.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME, &stx) !=
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
    if ((stx.stx_mask & STATX_BTIME) != 0) {
        created = static_cast<time_t>(stx.stx_btime.tv_sec);
    }
#else
    struct stat st {};
    if (::fstatat(dirfd, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
        return false;
    }
    posix::InfoFromStat(st, info);
#endif
    return true;
}

// One listing record; an entry that vanished since the folder was read gives false.
bool FillItem(int dirfd, const std::string& name, clsFSItem& item) {
    time_t created = 0;
    if (!StatEntry(dirfd, name, item.Info, created)) {
        return false;
    }
    const mode_t mode = static_cast<mode_t>(item.Info.Mode);
    item.Path = name;
    item.Kind = item.Info.Kind;
    item.IsDirectory = item.Kind == FileKind::Directory;
    item.IsHidden = name.size() > 1 && name[0] == '.' && name != "..";
    item.IsReadOnly = item.Kind != FileKind::Symlink && (mode & 0222) == 0;
    item.Size = item.Kind == FileKind::File ? static_cast<double>(item.Info.Size) : 0.0;
    item.Created = DateTime::FromTimeTUtc(created);
    item.Modified = DateTime::FromTimeTUtc(item.Info.MTime.tv_sec);
    return true;
}

} // namespace

bool clsFileSystem::ListFolderNames(const std::string& path, std::vector<std::string>& names,
                                    int& code) {
    int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        code = errno;
        return false;
    }
    bool ok = ListNamesAt(fd, names, code);
    ::close(fd);
    return ok;
}

int clsFileSystem::GetDirectory(const std::string& path) {
    Items.clear();
    std::string dir = WithoutTrailingSeparator(path);
    if (dir.empty()) {
        return 0;
    }
    // O_NOFOLLOW and O_DIRECTORY refuse a link and anything not a directory in the same
    // call that opens the folder; entries are then examined by name inside it.
    const int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        if (errno != ENOTDIR && errno != ELOOP && errno != ENOENT) {
            Fail("GetDirectory", errno);
        }
        return 0;
    }
    std::vector<std::string> names;
    int code = 0;
    if (!ListNamesAt(fd, names, code)) {
        ::close(fd);
        Fail("GetDirectory", code);
        return 0;
    }
    Items.reserve(names.size());
    for (const std::string& name : names) {
        clsFSItem item;
        if (FillItem(fd, name, item)) {
            Items.push_back(std::move(item));
        }
    }
    ::close(fd);
    return static_cast<int>(Items.size());
}

} // namespace tessaron
