#include "platform/clsFolder.h"

#include "platform/posix/PosixSupport.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace tessaron {

using posix::RetryEintr;

namespace {

// Enough to name entries and examine the folder: no read permission needed, as for a
// path that runs through the folder.
#ifdef O_PATH
constexpr int kFolderAccess = O_PATH;
#else
constexpr int kFolderAccess = O_RDONLY;
#endif

// True when files created in the folder get a default ACL, which replaces the umask (and
// when that cannot be told).
bool HasDefaultAcl(const std::string& path) {
#ifdef __linux__
    if (::lgetxattr(path.c_str(), "system.posix_acl_default", nullptr, 0) >= 0) {
        return true;
    }
    return errno != ENODATA && errno != ENOTSUP && errno != EOPNOTSUPP;
#else
    (void)path;
    return true;
#endif
}

} // namespace

void clsFolder::Close() {
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    m_path.clear();
}

bool clsFolder::Open(const std::string& path) {
    Close();
    m_path = path;
    m_checked = false;
    const int fd = RetryEintr(
        [&] { return ::open(path.c_str(), kFolderAccess | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); });
    struct stat st {};
    if (fd < 0 || ::fstat(fd, &st) != 0) {
        LastErrorCode = errno;
        if (fd >= 0) {
            ::close(fd);
        }
        return false;
    }
    m_fd = fd;
    // New files belong to the process, in the folder's group when it is set-group-ID.
    m_newUid = posix::EffectiveUid();
    m_newGid = (st.st_mode & S_ISGID) != 0 ? st.st_gid : posix::EffectiveGid();
    m_modePredictable = !HasDefaultAcl(path);
    return true;
}

bool clsFolder::GetInfo(const std::string& name, FileInfo& out) {
    out = FileInfo{};
    if (m_fd < 0) {
        LastErrorCode = EBADF;
        return false;
    }
    struct stat st {};
    if (::fstatat(m_fd, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            return true;
        }
        LastErrorCode = errno;
        return false;
    }
    posix::InfoFromStat(st, out);
    return true;
}

} // namespace tessaron
