// clsFileSystem on POSIX: what a path names, decided by the identity of files and folders
// (device and inode), never by how the path is spelled.
#include "platform/clsFileSystem.h"

#include "platform/posix/MountTable.h"
#include "platform/posix/PosixFolders.h"
#include "platform/posix/PosixSupport.h"

#include <cstdlib>
#include <dirent.h>
#include <pwd.h>
#include <sys/stat.h>

namespace tessaron {

namespace {

FileIdentity IdentityOf(const struct stat& st) {
    return {static_cast<unsigned long long>(st.st_dev), static_cast<unsigned long long>(st.st_ino),
            true};
}

// The folder above an absolute, resolved path ("/" for "/a" and for "/").
std::string Above(const std::string& place) {
    const std::size_t slash = place.find_last_of('/');
    return slash == 0 || slash == std::string::npos ? "/" : place.substr(0, slash);
}

// Regular accounts: root, and the uids from 1000 on, less "nobody".
bool IsPersonsAccount(uid_t uid) {
    return uid == 0 || (uid >= 1000 && uid != 65534);
}

} // namespace

bool clsFileSystem::GetIdentity(const std::string& path, FileIdentity& id) {
    id = FileIdentity{};
    struct stat st {};
    if (path.empty() || ::stat(path.c_str(), &st) != 0) {
        return Fail("GetIdentity", path.empty() ? ENOENT : errno);
    }
    id = IdentityOf(st);
    return true;
}

bool clsFileSystem::IsSameOrInside(const std::string& inner, const std::string& outer) {
    FileIdentity out;
    return GetIdentity(outer, out) && IsSameOrInside(inner, out);
}

bool clsFileSystem::IsSameOrInside(const std::string& inner, const FileIdentity& out) {
    // Each existing folder from inner's place up to the root, compared with outer.
    for (std::string place = posix::ResolvePath(inner); !place.empty(); place = Above(place)) {
        struct stat st {};
        if (::stat(place.c_str(), &st) == 0 && IdentityOf(st) == out) {
            return true;
        }
        if (place == "/") {
            break;
        }
    }
    return false;
}

std::vector<std::string> clsFileSystem::ProtectedFolders() {
    std::vector<std::string> places{"/"};
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
        places.emplace_back(home);
    }
    ::setpwent();
    while (const passwd* pw = ::getpwent()) {
        if (IsPersonsAccount(pw->pw_uid) && pw->pw_dir != nullptr && pw->pw_dir[0] == '/') {
            places.emplace_back(pw->pw_dir);
        }
    }
    ::endpwent();
    if (DIR* dir = ::opendir("/home")) {
        while (const dirent* entry = ::readdir(dir)) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..") {
                places.push_back("/home/" + name);
            }
        }
        ::closedir(dir);
    }
    return places;
}

} // namespace tessaron
