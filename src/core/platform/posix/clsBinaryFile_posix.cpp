#include "platform/clsBinaryFile.h"

#include "platform/clsFolder.h"
#include "platform/posix/PosixFolders.h"
#include "platform/posix/PosixSupport.h"

#include <algorithm>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace tessaron {

using posix::RetryEintr;

namespace {

constexpr long long kMaxSpecialBlock = 16 << 20;

int AccessFlags(std::int64_t access) {
    bool read = (access & FileAccess::Read) != 0;
    bool write = (access & FileAccess::Write) != 0;
    if (read && write) {
        return O_RDWR;
    }
    return write ? O_WRONLY : O_RDONLY;
}

// -1 for an unknown disposition.
int DispositionFlags(std::int64_t openMode) {
    switch (openMode) {
    case FileOpen::CreateNew:
        return O_CREAT | O_EXCL | O_NOFOLLOW; // a link at the name is never followed
    case FileOpen::CreateAlways:
        return O_CREAT | O_TRUNC;
    case FileOpen::OpenExisting:
        return 0;
    case FileOpen::OpenAlways:
        return O_CREAT;
    case FileOpen::TruncateExisting:
        return O_TRUNC;
    default:
        return -1;
    }
}

} // namespace

bool clsBinaryFile::Fail() {
    return Fail(errno);
}

std::string clsBinaryFile::GetErrorMessage(int code) {
    return posix::ErrorText(code);
}

bool clsBinaryFile::OpenFile(const std::string& name, std::int64_t access, std::int64_t sharing,
                             std::int64_t openMode, std::int64_t attributes) {
    CloseFile();
    Access = access != -1 ? access : Access;
    Sharing = sharing != -1 ? sharing : Sharing;
    OpenMode = openMode != -1 ? openMode : OpenMode;
    Attributes = attributes != -1 ? attributes : Attributes;
    int disposition = DispositionFlags(OpenMode);
    if (disposition < 0) {
        return Fail(EINVAL);
    }
    // O_NONBLOCK keeps a FIFO given by mistake from hanging the open; it is cleared
    // again at once so that reads and writes block as usual.
    int flags = AccessFlags(Access) | disposition | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    mode_t mode = (Attributes & FileAttr::ReadOnly) != 0 ? 0444 : 0666;
    int fd = RetryEintr([&] { return ::open(name.c_str(), flags, mode); });
    if (fd < 0) {
        return Fail();
    }
    int fl = fcntl(fd, F_GETFL);
    if (fl >= 0) {
        fcntl(fd, F_SETFL, fl & ~O_NONBLOCK);
    }
    if (AccessFlags(Access) == O_RDONLY) {
        posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
    }
    m_fd = fd;
    m_kernelCopy = true;
    return true;
}

bool clsBinaryFile::FlushWritten() {
    return true;
}

bool clsBinaryFile::FlushesEachFile() {
    return false;
}

bool clsBinaryFile::CloseFile() {
    m_knownMode = m_knownUid = m_knownGid = -1;
    m_written = false;
    m_createdPath.clear();
    if (m_fd < 0) {
        return true;
    }
    // The descriptor is gone after close whatever it returns (also after EINTR on Linux),
    // so it is never retried.
    const int rc = ::close(m_fd);
    m_fd = -1;
    return rc == 0 || errno == EINTR || Fail();
}

bool clsBinaryFile::OpenFileAt(const clsFolder& folder, const std::string& name) {
    CloseFile();
    Access = FileAccess::Read;
    OpenMode = FileOpen::OpenExisting;
    // O_NONBLOCK stays on: it changes nothing for a regular file, and keeps a FIFO that
    // replaced the listed file from blocking the open or any read.
    const int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW | O_NONBLOCK;
    const int fd = RetryEintr([&] { return ::openat(folder.Handle(), name.c_str(), flags); });
    if (fd < 0) {
        return Fail();
    }
    m_fd = fd;
    m_kernelCopy = true;
    return true;
}

// A file gets holes wherever it is written past its end: nothing to mark for sparse.
bool clsBinaryFile::CreateFileAt(clsFolder& folder, const std::string& name, unsigned mode,
                                 long long uid, long long gid, bool) {
    CloseFile();
    Access = FileAccess::Write;
    OpenMode = FileOpen::CreateNew;
    const int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY;
    const auto perms = static_cast<mode_t>(mode & 0777);
    // Root gives the copy away afterwards: until then only its owner (root) may read it.
    const bool givenAway = posix::EffectiveUid() == 0 && uid >= 0 &&
                           (uid != folder.NewFileUid() || gid != folder.NewFileGid());
    const mode_t created = givenAway ? perms & S_IRWXU : perms;
    const int fd =
        RetryEintr([&] { return ::openat(folder.Handle(), name.c_str(), flags, created); });
    if (fd < 0) {
        return Fail();
    }
    m_fd = fd;
    m_kernelCopy = true;
    m_written = true;
    m_createdPath = folder.Path();
    if (!m_createdPath.ends_with('/')) {
        m_createdPath += '/';
    }
    m_createdPath += name;
    LearnCreated(folder, created);
    return true;
}

// Records what the new file has. The folder predicts it; the first file made in a folder
// is examined once to confirm the prediction for the rest.
void clsBinaryFile::LearnCreated(clsFolder& folder, unsigned created) {
    const auto umask = static_cast<unsigned>(posix::ProcessUmask());
    if (!folder.CheckedFirstFile()) {
        struct stat st {};
        if (::fstat(m_fd, &st) != 0) {
            return;
        }
        const bool asPredicted =
            (st.st_mode & 07777) == (created & ~umask) && !posix::HasDefaultAcl(folder.Handle());
        folder.FirstFileGot(st.st_uid, st.st_gid, asPredicted);
    }
    m_knownUid = folder.NewFileUid();
    m_knownGid = folder.NewFileGid();
    if (folder.NewFileModeIsPredictable()) {
        m_knownMode = created & ~umask;
    }
}

void clsBinaryFile::AdviseSequential() {
    if (m_fd >= 0) {
        posix_fadvise(m_fd, 0, 0, POSIX_FADV_SEQUENTIAL);
    }
}

void clsBinaryFile::DropCache() {
    if (m_fd >= 0) {
        posix_fadvise(m_fd, 0, 0, POSIX_FADV_DONTNEED);
    }
}

bool clsBinaryFile::NextData(long long from, long long& start, long long& end) {
    const long long size = FileSize();
    if (size < 0) {
        return false;
    }
    start = end = size;
    if (from >= size) {
        return true;
    }
    const off_t data = ::lseek(m_fd, static_cast<off_t>(from), SEEK_DATA);
    if (data < 0) {
        if (errno == ENXIO) {
            return true; // only a hole from here to the end
        }
        start = from; // the file system cannot tell: all of it is data
        return true;
    }
    const off_t hole = ::lseek(m_fd, data, SEEK_HOLE);
    start = data;
    end = hole < 0 ? size : std::min<long long>(hole, size);
    return true;
}

long long clsBinaryFile::ReadBlock(void* buf, std::size_t count) {
    if (m_fd < 0) {
        Fail(EBADF);
        return -1;
    }
    auto* out = static_cast<unsigned char*>(buf);
    std::size_t done = 0;
    while (done < count) {
        ssize_t n = RetryEintr([&] { return ::read(m_fd, out + done, count - done); });
        if (n < 0) {
            Fail();
            return -1;
        }
        if (n == 0) {
            break;
        }
        done += static_cast<std::size_t>(n);
    }
    return static_cast<long long>(done);
}

// Writes all count bytes, at the file position (offset < 0) or at offset; a short write
// goes on with the rest.
bool clsBinaryFile::WriteAll(const void* buf, std::size_t count, long long offset) {
    if (m_fd < 0) {
        return Fail(EBADF);
    }
    const auto* in = static_cast<const unsigned char*>(buf);
    std::size_t done = 0;
    while (done < count) {
        const auto at = static_cast<off_t>(offset + static_cast<long long>(done));
        ssize_t n = RetryEintr([&] {
            return offset < 0 ? ::write(m_fd, in + done, count - done)
                              : ::pwrite(m_fd, in + done, count - done, at);
        });
        if (n < 0) {
            return Fail();
        }
        if (n == 0) {
            return Fail(EIO);
        }
        done += static_cast<std::size_t>(n);
    }
    return true;
}

bool clsBinaryFile::ReadFile(std::vector<unsigned char>& buf, long long count) {
    buf.clear();
    if (m_fd < 0) {
        return Fail(EBADF);
    }
    if (count < 1) {
        return Fail(EINVAL);
    }
    // A count from outside may be absurd: never allocate more than a regular file still
    // holds (a pipe or device gets a bounded block).
    struct stat st {};
    long long pos = ::lseek(m_fd, 0, SEEK_CUR);
    if (::fstat(m_fd, &st) == 0 && S_ISREG(st.st_mode) && pos >= 0) {
        count = std::min<long long>(count, std::max<long long>(st.st_size - pos, 0) + 1);
    } else {
        count = std::min<long long>(count, kMaxSpecialBlock);
    }
    try {
        buf.resize(static_cast<std::size_t>(count));
    } catch (const std::exception&) {
        return Fail(ENOMEM);
    }
    long long n = ReadBlock(buf.data(), buf.size());
    buf.resize(n < 0 ? 0 : static_cast<std::size_t>(n));
    return n >= 0;
}

bool clsBinaryFile::SeekFile(long long position) {
    if (m_fd < 0) {
        return Fail(EBADF);
    }
    if (position < 0) {
        return Fail(EINVAL);
    }
    return ::lseek(m_fd, static_cast<off_t>(position), SEEK_SET) >= 0 || Fail();
}

bool clsBinaryFile::TruncateFile(long long position) {
    if (!SeekFile(position)) {
        return false;
    }
    return RetryEintr([&] { return ::ftruncate(m_fd, static_cast<off_t>(position)); }) == 0 ||
           Fail();
}

long long clsBinaryFile::FileSize() {
    struct stat st {};
    if (m_fd < 0) {
        Fail(EBADF);
        return -1;
    }
    if (::fstat(m_fd, &st) != 0) {
        Fail();
        return -1;
    }
    return static_cast<long long>(st.st_size);
}

long long clsBinaryFile::FilePointer() {
    if (m_fd < 0) {
        Fail(EBADF);
        return -1;
    }
    off_t pos = ::lseek(m_fd, 0, SEEK_CUR);
    if (pos < 0) {
        Fail();
    }
    return static_cast<long long>(pos);
}

bool clsBinaryFile::SetMode(unsigned mode) {
    if (m_fd < 0) {
        return Fail(EBADF);
    }
    if (m_knownMode == static_cast<long long>(mode & 07777)) {
        return true;
    }
    if (::fchmod(m_fd, static_cast<mode_t>(mode & 07777)) != 0) {
        return Fail();
    }
    m_knownMode = mode & 07777;
    return true;
}

bool clsBinaryFile::SetAttributes(int) {
    // Read-only is the lack of write bits (SetMode); hidden is a name; system is unknown.
    return m_fd >= 0 || Fail(EBADF);
}

bool clsBinaryFile::SetOwner(unsigned uid, unsigned gid) {
    if (m_fd < 0) {
        return Fail(EBADF);
    }
    if (posix::EffectiveUid() != 0 || (m_knownUid == uid && m_knownGid == gid)) {
        return true;
    }
    if (::fchown(m_fd, static_cast<uid_t>(uid), static_cast<gid_t>(gid)) != 0) {
        return Fail();
    }
    // A change of owner clears the set-user-ID and set-group-ID bits.
    m_knownUid = uid;
    m_knownGid = gid;
    m_knownMode = -1;
    return true;
}

} // namespace tessaron
