// clsFileSystem on POSIX: queries, changes and listings. Drives and the program's folders
// are in clsFileSystemDrives_posix.cpp.
#include "platform/clsFileSystem.h"

#include "platform/clsFolder.h"
#include "platform/posix/PosixFolders.h"
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

} // namespace

bool clsFileSystem::Fail(const char* member, int code) {
    LastErrorInfo = SysError::FromCode(code);
    LastError = LastErrorInfo.Line(std::string("clsFileSystem.") + member + "()");
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

bool clsFileSystem::GetInfo(const std::string& path, FileInfo& out, bool followLinks) {
    out = FileInfo{};
    struct stat st {};
    const int rc = followLinks ? ::stat(path.c_str(), &st) : ::lstat(path.c_str(), &st);
    if (rc != 0) {
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
        clsFolder folder;
        if (!folder.Open(path)) {
            return Fail("Delete", folder.LastErrorCode);
        }
        if (!EmptyOpenFolder(folder, "Delete")) {
            return false;
        }
        folder.Close();
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

bool clsFileSystem::ListFolderNames(const std::string& path, std::vector<std::string>& names,
                                    int& code) {
    int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        code = errno;
        return false;
    }
    bool ok = posix::ListNamesAt(fd, names, code);
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
    if (!posix::ListNamesAt(fd, names, code)) {
        ::close(fd);
        Fail("GetDirectory", code);
        return 0;
    }
    Items.reserve(names.size());
    for (const std::string& name : names) {
        clsFSItem item;
        if (posix::FillItem(fd, name, item)) {
            Items.push_back(std::move(item));
        }
    }
    ::close(fd);
    return static_cast<int>(Items.size());
}

} // namespace tessaron
