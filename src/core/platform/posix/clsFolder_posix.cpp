#include "platform/clsFolder.h"

#include "platform/posix/PosixFolders.h"
#include "platform/posix/PosixSupport.h"

#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessaron {

using posix::RetryEintr;

namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOCTTY;

// A folder that may be searched but not read is still opened (its entries can be named);
// listing it then fails with the reason.
int OpenFolderPath(const std::string& path, bool followLast, int& code, bool& searchOnly) {
    int fd = posix::OpenPath(path, kFolderFlags, followLast, code);
    searchOnly = fd < 0 && code == EACCES;
    if (searchOnly) {
        fd = posix::OpenPath(path, O_PATH | O_DIRECTORY, followLast, code);
    }
    return fd;
}

// The path of a folder opened inside one at parentPath: "" once it would pass the
// system's limit (see clsFolder::Path).
std::string JoinedPath(const std::string& parentPath, const std::string& name) {
    if (parentPath.empty() || parentPath.size() + name.size() + 1 >= PATH_MAX) {
        return {};
    }
    return parentPath.back() == '/' ? parentPath + name : parentPath + '/' + name;
}

// Opens the entry name of the folder open as dirfd as a folder, a link refused; one that
// may be searched but not read is opened for searching only.
int OpenFolderAt(int dirfd, const char* name, bool& searchOnly) {
    int fd =
        RetryEintr([&] { return ::openat(dirfd, name, kFolderFlags | O_NOFOLLOW | O_CLOEXEC); });
    searchOnly = fd < 0 && errno == EACCES;
    if (searchOnly) {
        fd = ::openat(dirfd, name, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    }
    return fd;
}

} // namespace

void clsFolder::Close() {
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    m_path.clear();
}

bool clsFolder::Fail() {
    LastErrorCode = errno;
    return false;
}

bool clsFolder::Adopt(int fd, const std::string& path) {
    m_path = path;
    m_checked = false;
    m_modePredictable = true; // until the first file made here proves otherwise
    if (fd < 0) {
        return false;
    }
    m_fd = fd;
    // New files belong to the process; the first file made here confirms the group and
    // the mode (see FirstFileGot).
    m_newUid = posix::EffectiveUid();
    m_newGid = posix::EffectiveGid();
    return true;
}

bool clsFolder::Open(const std::string& path, bool followLast) {
    Close();
    int code = 0;
    bool searchOnly = false;
    const int fd = OpenFolderPath(path, followLast, code, searchOnly);
    LastErrorCode = fd < 0 ? code : LastErrorCode;
    const bool ok = Adopt(fd, path);
    m_searchOnly = searchOnly;
    return ok;
}

bool clsFolder::Create(const std::string& path, unsigned mode) {
    Close();
    // Each prefix that ends before a separator, then the whole path; "exists" is fine.
    for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        const std::string prefix = path.substr(0, end);
        if (!prefix.empty() && prefix.back() != '/' &&
            ::mkdir(prefix.c_str(), static_cast<mode_t>(mode & 07777)) != 0 && errno != EEXIST) {
            m_path = path;
            return Fail();
        }
        if (end == std::string::npos) {
            break;
        }
    }
    return Open(path, true);
}

bool clsFolder::OpenAt(const clsFolder& parent, const std::string& name) {
    Close();
    bool searchOnly = false;
    const int fd = OpenFolderAt(parent.m_fd, name.c_str(), searchOnly);
    if (fd < 0) {
        Fail();
    }
    const bool ok = Adopt(fd, JoinedPath(parent.m_path, name));
    m_searchOnly = searchOnly;
    return ok;
}

bool clsFolder::OpenParent(const clsFolder& child) {
    Close();
    bool searchOnly = false;
    const int fd = OpenFolderAt(child.m_fd, "..", searchOnly);
    if (fd < 0) {
        Fail();
    }
    // "/a/b" gives "/a", "/a" gives "/"; a path not known stays unknown.
    const std::size_t slash = child.m_path.find_last_of('/');
    const std::string path =
        slash == std::string::npos ? std::string() : child.m_path.substr(0, slash == 0 ? 1 : slash);
    const bool ok = Adopt(fd, path);
    m_searchOnly = searchOnly;
    return ok;
}

bool clsFolder::List(std::vector<clsFSItem>& items) {
    items.clear();
    if (m_searchOnly) {
        LastErrorCode = EACCES; // opened without the right to read its names
        return false;
    }
    std::vector<std::string> names;
    int code = 0;
    if (!posix::ListNamesAt(m_fd, names, code)) {
        LastErrorCode = code;
        return false;
    }
    items.reserve(names.size());
    for (const std::string& name : names) {
        clsFSItem item;
        if (posix::FillItem(m_fd, name, item)) {
            items.push_back(std::move(item));
        }
    }
    return true;
}

bool clsFolder::GetInfo(const std::string& name, FileInfo& out) {
    out = FileInfo{};
    time_t created = 0;
    if (posix::StatEntry(m_fd, name, out, created)) {
        return true;
    }
    out = FileInfo{};
    return errno == ENOENT || Fail();
}

bool clsFolder::GetOwnInfo(FileInfo& out) {
    out = FileInfo{};
    time_t created = 0;
    return posix::StatEntry(m_fd, "", out, created) || Fail();
}

// The root of a mount as the system marks it; where it cannot, a folder whose ".." lies
// on another device, or is the folder itself ("/").
bool clsFolder::IsMountRoot() {
#if defined(__linux__) && defined(STATX_ATTR_MOUNT_ROOT)
    struct statx stx {};
    if (::statx(m_fd, "", AT_EMPTY_PATH, STATX_BASIC_STATS, &stx) == 0 &&
        (stx.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0) {
        return (stx.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    }
#endif
    struct stat own {};
    struct stat up {};
    if (::fstat(m_fd, &own) != 0 || ::fstatat(m_fd, "..", &up, 0) != 0) {
        return Fail();
    }
    return own.st_dev != up.st_dev || own.st_ino == up.st_ino;
}

bool clsFolder::CreateFolderAt(const std::string& name) {
    return ::mkdirat(m_fd, name.c_str(), 0700) == 0 || Fail();
}

bool clsFolder::RemoveAt(const std::string& name) {
    return ::unlinkat(m_fd, name.c_str(), 0) == 0 || Fail();
}

bool clsFolder::RemoveFolderAt(const std::string& name) {
    return ::unlinkat(m_fd, name.c_str(), AT_REMOVEDIR) == 0 || Fail();
}

bool clsFolder::RenameAt(const std::string& from, const std::string& to) {
    return ::renameat(m_fd, from.c_str(), m_fd, to.c_str()) == 0 || Fail();
}

bool clsFolder::ReadLinkAt(const std::string& name, std::string& text) {
    text.clear();
    std::string buf(256, '\0');
    for (;;) {
        const ssize_t n = ::readlinkat(m_fd, name.c_str(), buf.data(), buf.size());
        if (n < 0) {
            return Fail();
        }
        if (static_cast<std::size_t>(n) < buf.size()) {
            text.assign(buf.data(), static_cast<std::size_t>(n));
            return true;
        }
        if (buf.size() >= (1u << 20)) {
            LastErrorCode = ENAMETOOLONG;
            return false;
        }
        buf.resize(buf.size() * 4);
    }
}

bool clsFolder::CreateLinkAt(const std::string& name, const std::string& text) {
    return ::symlinkat(text.c_str(), m_fd, name.c_str()) == 0 || Fail();
}

bool clsFolder::SetTimesAt(const std::string& name, const timespec& atime, const timespec& mtime) {
    const timespec ts[2] = {atime, mtime};
    return ::utimensat(m_fd, name.c_str(), ts, AT_SYMLINK_NOFOLLOW) == 0 || Fail();
}

bool clsFolder::SetOwnerAt(const std::string& name, unsigned uid, unsigned gid) {
    if (posix::EffectiveUid() != 0) {
        return true;
    }
    return ::fchownat(m_fd, name.c_str(), uid, gid, AT_SYMLINK_NOFOLLOW) == 0 || Fail();
}

bool clsFolder::SetMode(unsigned mode) {
    return ::fchmod(m_fd, static_cast<mode_t>(mode & 07777)) == 0 || Fail();
}

bool clsFolder::SetOwner(unsigned uid, unsigned gid) {
    if (posix::EffectiveUid() != 0) {
        return true;
    }
    return ::fchown(m_fd, uid, gid) == 0 || Fail();
}

// A creation time cannot be set on POSIX.
bool clsFolder::SetTimes(const timespec& atime, const timespec& mtime, const timespec&) {
    const timespec ts[2] = {atime, mtime};
    return ::futimens(m_fd, ts) == 0 || Fail();
}

bool clsFolder::SetAttributes(int) {
    // Read-only is the lack of write bits (SetMode); hidden is a name; system is unknown.
    return m_fd >= 0 || (LastErrorCode = EBADF, false);
}

bool clsFolder::AllowChanges() {
    if (posix::EffectiveUid() == 0) {
        return true;
    }
    struct stat st {};
    if (::fstat(m_fd, &st) != 0) {
        return Fail();
    }
    if ((st.st_mode & S_IRWXU) == S_IRWXU || st.st_uid != posix::EffectiveUid()) {
        return true; // nothing to grant, or not ours to change: the next call says why
    }
    return ::fchmod(m_fd, (st.st_mode & 07777) | S_IRWXU) == 0 || Fail();
}

bool clsFolder::Sync() {
#ifdef __linux__
    return ::syncfs(m_fd) == 0 || Fail();
#else
    ::sync();
    return true;
#endif
}

} // namespace tessaron
