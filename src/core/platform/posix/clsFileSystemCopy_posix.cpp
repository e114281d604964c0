// clsFileSystem on POSIX: copying a file and carrying metadata to a copy.
#include "platform/clsBinaryFile.h"
#include "platform/clsFileSystem.h"

#include "platform/posix/PosixSupport.h"

#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessaron {

namespace {

// Copies the content of an open source to an open destination; 0 or an errno value.
int CopyContent(clsBinaryFile& source, clsBinaryFile& dest) {
    for (;;) {
        long long moved = source.CopyBlockTo(dest, 1LL << 30);
        if (moved < 0) {
            return dest.LastErrorCode != 0 ? dest.LastErrorCode : source.LastErrorCode;
        }
        if (moved == 0) {
            return 0;
        }
    }
}

} // namespace

bool clsFileSystem::Copy(const std::string& path1, const std::string& path2, bool DeleteExisting) {
    // A failed system call leaves only the system's text, as callers show it as it is.
    auto fail = [this](int code) {
        LastErrorInfo = SysError::FromCode(code);
        LastError = LastErrorInfo.Text();
        return false;
    };
    clsBinaryFile source;
    if (!source.OpenFile(path1, FileAccess::Read, FileShare::Read, FileOpen::OpenExisting)) {
        return fail(source.LastErrorCode);
    }
    struct stat st {};
    if (::fstat(source.Handle(), &st) != 0) {
        return fail(errno);
    }
    if (!S_ISREG(st.st_mode)) {
        return fail(S_ISDIR(st.st_mode) ? EISDIR : EINVAL);
    }
    clsBinaryFile dest;
    std::int64_t mode = DeleteExisting ? FileOpen::CreateAlways : FileOpen::CreateNew;
    if (!dest.OpenFile(path2, FileAccess::Write, FileShare::None, mode, FileAttr::Normal)) {
        return fail(dest.LastErrorCode);
    }
    int code = CopyContent(source, dest);
    timespec atime{};
    timespec mtime{};
    if (code == 0 && !(source.GetTimes(atime, mtime) && dest.SetTimes(atime, mtime) &&
                       dest.SetMode(st.st_mode & 07777))) {
        code = dest.LastErrorCode != 0 ? dest.LastErrorCode : source.LastErrorCode;
    }
    if (!dest.CloseFile() && code == 0) {
        code = dest.LastErrorCode;
    }
    if (code != 0) {
        ::unlink(path2.c_str());
        return fail(code);
    }
    return true;
}

bool clsFileSystem::SetTimes(const std::string& path, const timespec& atime,
                             const timespec& mtime) {
    struct timespec ts[2] = {atime, mtime};
    return ::utimensat(AT_FDCWD, path.c_str(), ts, AT_SYMLINK_NOFOLLOW) == 0 ||
           Fail("SetTimes", errno);
}

bool clsFileSystem::SetMode(const std::string& path, unsigned mode) {
    return ::chmod(path.c_str(), static_cast<mode_t>(mode & 07777)) == 0 || Fail("SetMode", errno);
}

bool clsFileSystem::SetOwner(const std::string& path, unsigned uid, unsigned gid) {
    if (::geteuid() != 0) {
        return true;
    }
    return ::lchown(path.c_str(), static_cast<uid_t>(uid), static_cast<gid_t>(gid)) == 0 ||
           Fail("SetOwner", errno);
}

} // namespace tessaron
