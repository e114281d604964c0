#pragma once
// The tests' one temporary folder and file helpers. A TempTree is removed when it goes
// out of scope, one folder at a time with its owner's bits restored first, so that
// read-only folders and trees deeper than the system's path limit left by a test go too.

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#ifndef _WIN32
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace tessaron::test {

namespace fs = std::filesystem;

// Writes data to p, making the missing folders.
inline void WriteFile(const fs::path& p, const std::string& data) {
    fs::create_directories(p.parent_path());
    std::ofstream(p, std::ios::binary) << data;
}

// The whole content of p ("" when it cannot be read).
inline std::string ReadFile(const fs::path& p) {
    std::ostringstream s;
    s << std::ifstream(p, std::ios::binary).rdbuf();
    return s.str();
}

// A path from UTF-8 text, and the UTF-8 text of a path. (On Windows a path made from a
// std::string takes it in the ANSI code page, and its string() gives that back; the
// program's texts are UTF-8.)
inline fs::path FromUtf8(const std::string& text) {
    return fs::path(std::u8string(text.begin(), text.end()));
}
inline std::string ToUtf8(const fs::path& p) {
    const std::u8string text = p.u8string();
    return std::string(text.begin(), text.end());
}

// Gives p the modification time sec (seconds since 1970, UTC).
inline void SetModified(const fs::path& p, long long sec) {
    using namespace std::chrono;
    fs::last_write_time(p, file_clock::from_sys(sys_seconds(seconds(sec))));
}

// Where a backup puts the copy of the absolute path source below target: target + the
// source's path without its drive ("/home/ann/a" to "/media/b" gives "/media/b/home/ann/a",
// "C:\Data\a" to "E:\B" gives "E:\B\Data\a").
inline fs::path CopyOf(const fs::path& target, const fs::path& source) {
    return fs::path(target.native() + (source.root_directory() / source.relative_path()).native());
}

// n pseudo-random bytes, the same for the same seed.
inline std::string Bytes(std::size_t n, unsigned seed = 1) {
    std::mt19937 gen(seed);
    std::string s(n, '\0');
    for (auto& c : s) {
        c = static_cast<char>(gen());
    }
    return s;
}

#ifndef _WIN32
// Gives p itself (a link is not followed) the access and modification time sec.nsec.
inline void SetMtime(const fs::path& p, time_t sec, long nsec = 0) {
    const timespec t[2] = {{sec, nsec}, {sec, nsec}};
    ::utimensat(AT_FDCWD, p.c_str(), t, AT_SYMLINK_NOFOLLOW);
}

// The status of p itself (a link is not followed); all zero when it cannot be read.
inline struct stat Stat(const fs::path& p) {
    struct stat st {};
    ::lstat(p.c_str(), &st);
    return st;
}

// Removes name inside the folder open as dirfd (AT_FDCWD: the working folder) with
// everything below it, working inside open folders.
inline void RemoveTreeAt(int dirfd, const char* name) {
    if (::unlinkat(dirfd, name, 0) == 0) {
        return;
    }
    // A folder without its owner's read or search bit gets them first.
    ::fchmodat(dirfd, name, 0700, 0);
    const int fd = ::openat(dirfd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        return;
    }
    DIR* dir = ::fdopendir(fd);
    std::vector<std::string> names;
    while (const dirent* e = ::readdir(dir)) {
        if (std::string(e->d_name) != "." && std::string(e->d_name) != "..") {
            names.emplace_back(e->d_name);
        }
    }
    for (const std::string& n : names) {
        RemoveTreeAt(::dirfd(dir), n.c_str());
    }
    ::closedir(dir);
    ::unlinkat(dirfd, name, AT_REMOVEDIR);
}
#endif

// Removes the tree at root, giving its folders their owner's bits back first.
inline void RemoveTree(const std::string& root) {
#ifndef _WIN32
    RemoveTreeAt(AT_FDCWD, root.c_str()); // one folder at a time: any depth
#else
    std::error_code ec;
    fs::permissions(root, fs::perms::owner_all, fs::perm_options::add, ec);
    for (fs::recursive_directory_iterator it(root, ec), end; it != end; it.increment(ec)) {
        if (!it->is_symlink(ec)) {
            fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
        }
    }
    fs::remove_all(root, ec);
#endif
}

class TempTree {
public:
    explicit TempTree(const std::string& base = fs::temp_directory_path().string()) {
        // A new folder of a random name, made by this process (create_directory fails
        // for a name that exists).
        std::random_device seed;
        std::mt19937_64 gen(seed() ^
                            static_cast<unsigned long long>(
                                std::chrono::steady_clock::now().time_since_epoch().count()));
        const std::string folder = base.ends_with('/') || base.ends_with('\\') ? base : base + "/";
        for (int attempt = 0; attempt < 100 && m_root.empty(); ++attempt) {
            std::string candidate = folder + "tessaron-test-" + std::to_string(gen() % 1000000000);
            std::error_code ec;
            if (fs::create_directory(candidate, ec)) {
                m_root = candidate;
            }
        }
    }
    ~TempTree() {
        if (!m_root.empty()) {
            RemoveTree(m_root);
        }
    }
    TempTree(const TempTree&) = delete;
    TempTree& operator=(const TempTree&) = delete;

    bool Ok() const { return !m_root.empty(); }
    const std::string& Root() const { return m_root; }
    std::string Path(const std::string& rel) const { return m_root + "/" + rel; }
    // The same path in the system's own spelling (backslashes on Windows), as a user types it.
    std::string NativePath(const std::string& rel) const {
        return ToUtf8(fs::path(Path(rel)).make_preferred());
    }

    // Writes a file, making its folders, and returns its full path.
    std::string Write(const std::string& rel, const std::string& content = "") const {
        WriteFile(Path(rel), content);
        return Path(rel);
    }
    std::string MakeDir(const std::string& rel) const {
        fs::create_directories(Path(rel));
        return Path(rel);
    }
    std::string Read(const std::string& rel) const { return ReadFile(Path(rel)); }

private:
    std::string m_root;
};

} // namespace tessaron::test
