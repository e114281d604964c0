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

using posix::RetryEintr;

namespace {

FileKind KindOf(mode_t mode) {
    if (S_ISREG(mode)) {
        return FileKind::File;
    }
    if (S_ISDIR(mode)) {
        return FileKind::Directory;
    }
    if (S_ISLNK(mode)) {
        return FileKind::Symlink;
    }
    if (S_ISFIFO(mode)) {
        return FileKind::Fifo;
    }
    if (S_ISSOCK(mode)) {
        return FileKind::Socket;
    }
    return FileKind::Device;
}

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

// Drops one trailing "/" unless the path is the root.
std::string DropTrailingSeparator(const std::string& path) {
    if (path.size() > 1 && path.back() == '/') {
        return path.substr(0, path.size() - 1);
    }
    return path;
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
    out.Exists = true;
    out.Kind = KindOf(st.st_mode);
    out.Size = static_cast<long long>(st.st_size);
    out.Modified = posix::LocalDate(st.st_mtim);
    out.MTime = st.st_mtim;
    out.ATime = st.st_atim;
    out.Mode = st.st_mode & 07777;
    out.Uid = st.st_uid;
    out.Gid = st.st_gid;
    return true;
}

bool clsFileSystem::WaitUntilGone(const std::string& path) {
    for (int check = 0; check < 10; ++check) {
        if (!Exists(path)) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return false;
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

// The sorted entry names of a directory that is not a link; false when it cannot be read.
bool ListNames(const std::string& path, std::vector<std::string>& names, int& code) {
    int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    DIR* dir = fd < 0 ? nullptr : ::fdopendir(fd);
    if (dir == nullptr) {
        code = errno;
        if (fd >= 0) {
            ::close(fd);
        }
        return false;
    }
    bool ok = ReadNames(dir, names);
    code = errno;
    ::closedir(dir);
    return ok;
}

// What a listing needs of one entry, never following a link.
struct EntryStat {
    mode_t Mode = 0;
    long long Size = 0;
    time_t Modified = 0;
    time_t Created = 0; // 0 where the file system keeps no creation time
};

// One statx call (lstat where statx is missing); false when the entry is gone.
bool StatEntry(const std::string& full, EntryStat& out) {
#if defined(__linux__) && defined(STATX_BTIME)
    struct statx stx {};
    if (::statx(AT_FDCWD, full.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME,
                &stx) != 0) {
        return false;
    }
    out.Mode = stx.stx_mode;
    out.Size = static_cast<long long>(stx.stx_size);
    out.Modified = static_cast<time_t>(stx.stx_mtime.tv_sec);
    if ((stx.stx_mask & STATX_BTIME) != 0) {
        out.Created = static_cast<time_t>(stx.stx_btime.tv_sec);
    }
#else
    struct stat st {};
    if (::lstat(full.c_str(), &st) != 0) {
        return false;
    }
    out.Mode = st.st_mode;
    out.Size = static_cast<long long>(st.st_size);
    out.Modified = st.st_mtim.tv_sec;
#endif
    return true;
}

// One listing record; an entry that vanished since the folder was read gives false.
bool FillItem(const std::string& full, const std::string& name, clsFSItem& item) {
    EntryStat st;
    if (!StatEntry(full, st)) {
        return false;
    }
    int attr = AttributesOf(name, st.Mode);
    item.Path = name;
    item.Kind = KindOf(st.Mode);
    item.IsDirectory = (attr & FileAttr::Directory) != 0;
    item.IsHidden = (attr & FileAttr::Hidden) != 0;
    item.IsReadOnly = (attr & FileAttr::ReadOnly) != 0;
    item.Size = S_ISREG(st.Mode) ? static_cast<double>(st.Size) : 0.0;
    item.Created = DateTime::FromTimeTUtc(st.Created);
    item.Modified = DateTime::FromTimeTUtc(st.Modified);
    return true;
}

} // namespace

std::vector<std::string> clsFileSystem::ListFiles(const std::string& path) {
    std::string dir = DropTrailingSeparator(path);
    std::vector<std::string> result{std::string()};
    std::vector<std::string> names;
    int code = 0;
    if (dir.empty() || !IsDirectory(dir)) {
        return result;
    }
    if (!ListNames(dir, names, code)) {
        Fail("ListFiles", code);
        return result;
    }
    result.clear();
    const std::string base = dir == "/" ? dir : dir + "/";
    for (const std::string& name : names) {
        result.push_back(name);
        if (IsDirectory(base + name)) {
            std::vector<std::string> below = ListFiles(base + name);
            if (!below.front().empty()) {
                for (const std::string& entry : below) {
                    result.push_back(name + "/" + entry);
                }
            }
        }
    }
    if (result.empty()) {
        result.emplace_back();
    }
    return result;
}

int clsFileSystem::GetDirectory(const std::string& path) {
    Items.clear();
    std::string dir = DropTrailingSeparator(path);
    std::vector<std::string> names;
    int code = 0;
    if (dir.empty() || !IsDirectory(dir)) {
        return 0;
    }
    if (!ListNames(dir, names, code)) {
        Fail("GetDirectory", code);
        return 0;
    }
    const std::string base = dir == "/" ? dir : dir + "/";
    for (const std::string& name : names) {
        clsFSItem item;
        if (FillItem(base + name, name, item)) {
            Items.push_back(std::move(item));
        }
    }
    return static_cast<int>(Items.size());
}

} // namespace tessaron
