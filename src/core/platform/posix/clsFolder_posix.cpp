#include "platform/clsFolder.h"

#include "platform/posix/PosixFolders.h"
#include "platform/posix/PosixSupport.h"

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

bool clsFolder::Create(const std::string& path) {
    Close();
    // Each prefix that ends before a separator, then the whole path; "exists" is fine.
    for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        const std::string prefix = path.substr(0, end);
        if (!prefix.empty() && prefix.back() != '/' && ::mkdir(prefix.c_str(), 0777) != 0 &&
            errno != EEXIST) {
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
    const std::string path = parent.m_path.empty() || parent.m_path.back() == '/'
                                 ? parent.m_path + name
                                 : parent.m_path + '/' + name;
    int fd = RetryEintr(
        [&] { return ::openat(parent.m_fd, name.c_str(), kFolderFlags | O_NOFOLLOW | O_CLOEXEC); });
    const bool searchOnly = fd < 0 && errno == EACCES;
    if (searchOnly) {
        fd = ::openat(parent.m_fd, name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    }
    if (fd < 0) {
        Fail();
    }
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
    struct stat st {};
    if (::fstatat(m_fd, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno == ENOENT || Fail();
    }
    posix::InfoFromStat(st, out);
    return true;
}

bool clsFolder::GetOwnInfo(FileInfo& out) {
    out = FileInfo{};
    struct stat st {};
    if (::fstat(m_fd, &st) != 0) {
        return Fail();
    }
    posix::InfoFromStat(st, out);
    return true;
}

bool clsFolder::CreateFolderAt(const std::string& name) {
    return ::mkdirat(m_fd, name.c_str(), 0700) == 0 || Fail();
}

bool clsFolder::RemoveAt(const std::string& name) {
    int code = 0;
    if (posix::RemoveEntryAt(m_fd, name, nullptr, code)) {
        return true;
    }
    LastErrorCode = code;
    return false;
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
