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

bool clsFileSystem::IsDirectory(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
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
