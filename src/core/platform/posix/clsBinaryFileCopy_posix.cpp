// Block copy and file times of clsBinaryFile.
#include "platform/clsBinaryFile.h"

#include "platform/posix/PosixSupport.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessaron {

namespace {

// Errors after which copy_file_range will not work for this pair of files, but plain
// reading and writing may.
bool KernelCopyUnsupported(int code) {
    return code == EXDEV || code == ENOSYS || code == EINVAL || code == EOPNOTSUPP ||
           code == ENOTSUP || code == EBADF;
}

} // namespace

long long clsBinaryFile::CopyBlockTo(clsBinaryFile& dest, long long count, void* buffer,
                                     std::size_t bufferSize) {
    if (m_fd < 0 || dest.m_fd < 0) {
        Fail(EBADF);
        dest.Fail(EBADF);
        return -1;
    }
    bool atEnd = false;
    long long moved = m_kernelCopy ? KernelCopy(dest, count, atEnd) : 0;
    if (moved < 0 || atEnd || moved == count) {
        return moved;
    }
    long long more = BufferCopy(dest, count - moved, buffer, bufferSize);
    return more < 0 ? -1 : moved + more;
}

// copy_file_range until count bytes, the end of the file (atEnd), an error (-1) or a
// reason to fall back for good (m_kernelCopy cleared, bytes so far returned).
long long clsBinaryFile::KernelCopy(clsBinaryFile& dest, long long count, bool& atEnd) {
    long long moved = 0;
    while (moved < count) {
        auto want = static_cast<std::size_t>(count - moved);
        ssize_t n = ::copy_file_range(m_fd, nullptr, dest.m_fd, nullptr, want, 0);
        if (n > 0) {
            moved += n;
        } else if (n == 0) {
            // The end of the file - or a file system that reports no data where there is
            // some (procfs, some FUSE): one buffered round decides, and a lie found there
            // ends kernel copying for this file.
            long long more = BufferCopy(dest, count - moved, nullptr, 0);
            m_kernelCopy = more == 0;
            atEnd = true;
            return more < 0 ? -1 : moved + more;
        } else if (errno != EINTR) {
            if (!KernelCopyUnsupported(errno)) {
                Fail();
                dest.Fail(LastErrorCode);
                return -1;
            }
            m_kernelCopy = false;
            return moved;
        }
    }
    return moved;
}

bool clsBinaryFile::GetTimes(timespec& atime, timespec& mtime) {
    struct stat st {};
    if (m_fd < 0) {
        return Fail(EBADF);
    }
    if (::fstat(m_fd, &st) != 0) {
        return Fail();
    }
    atime = st.st_atim;
    mtime = st.st_mtim;
    return true;
}

// A creation time cannot be set on POSIX.
bool clsBinaryFile::SetTimes(const timespec& atime, const timespec& mtime, const timespec&) {
    if (m_fd < 0) {
        return Fail(EBADF);
    }
    struct timespec ts[2] = {atime, mtime};
    return ::futimens(m_fd, ts) == 0 || Fail();
}

bool clsBinaryFile::GetFileDates(DateTime& created, DateTime& accessed, DateTime& written) {
    created = accessed = written = DateTime{};
    timespec atime{};
    timespec mtime{};
    if (!GetTimes(atime, mtime)) {
        return false;
    }
    accessed = posix::LocalDate(atime);
    written = posix::LocalDate(mtime);
#if defined(__linux__) && defined(STATX_BTIME)
    struct statx stx {};
    if (::statx(m_fd, "", AT_EMPTY_PATH, STATX_BTIME, &stx) == 0 &&
        (stx.stx_mask & STATX_BTIME) != 0) {
        created = DateTime::FromTimeT(static_cast<std::time_t>(stx.stx_btime.tv_sec));
    }
#endif
    return true;
}

bool clsBinaryFile::SetCreateTime(const DateTime&) {
    // A creation time cannot be set on POSIX; succeeding keeps a copy from failing on it.
    return m_fd >= 0 || Fail(EBADF);
}

bool clsBinaryFile::SetFileDates(const DateTime&, const DateTime& accessed,
                                 const DateTime& written) {
    return SetTimes(posix::ToTimespec(accessed), posix::ToTimespec(written));
}

} // namespace tessaron
