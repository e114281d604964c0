#include "mail/SettingsFile.h"
#include "mail/clsRegSettings.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessaron::settingsfile {

namespace {

std::string HomeDir() {
    const char* home = std::getenv("HOME");
    if (home != nullptr && *home != '\0')
        return home;
    const passwd* pw = getpwuid(getuid());
    return pw != nullptr && pw->pw_dir != nullptr ? pw->pw_dir : "";
}

// Creates every missing folder of path's parent.
bool MakeParents(const std::string& path, int& errorCode) {
    for (std::size_t pos = path.find('/', 1); pos != std::string::npos;
         pos = path.find('/', pos + 1)) {
        const std::string dir = path.substr(0, pos);
        if (mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) {
            errorCode = errno;
            return false;
        }
    }
    return true;
}

bool WriteAll(int fd, const std::string& text, int& errorCode) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            errorCode = n < 0 ? errno : EIO;
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    return true;
}

bool UsableFile(const struct stat& st, int& errorCode) {
    if (!S_ISREG(st.st_mode)) {
        errorCode = S_ISDIR(st.st_mode) ? EISDIR : kNotRegularFile;
        return false;
    }
    if (st.st_size > static_cast<off_t>(kMaxFile)) {
        errorCode = EFBIG;
        return false;
    }
    return true;
}

// Reads to the end; a file that grows past kMaxFile while it is read is refused too.
bool ReadAll(int fd, std::string& text, int& errorCode) {
    char buf[65536];
    for (;;) {
        const ssize_t n = read(fd, buf, sizeof buf);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            errorCode = errno;
            return false;
        }
        if (n == 0)
            return true;
        text.append(buf, static_cast<std::size_t>(n));
        if (text.size() > kMaxFile) {
            errorCode = EFBIG;
            return false;
        }
    }
}

} // namespace

std::string DefaultPath(std::uint32_t root) {
    if (root == HKeyLocalMachine)
        return "/etc/tessaron/settings.ini";
    const char* xdg = std::getenv("XDG_CONFIG_HOME");
    // The XDG rules ignore a relative XDG_CONFIG_HOME.
    const std::string base =
        xdg != nullptr && xdg[0] == '/' ? std::string(xdg) : HomeDir() + "/.config";
    return base + "/tessaron/settings.ini";
}

bool Read(const std::string& path, std::string& text, int& errorCode) {
    text.clear();
    // Looked at before opening, so that a device is never opened; opened without
    // waiting and looked at again, in case something else took the name meanwhile.
    struct stat st {};
    if (stat(path.c_str(), &st) != 0) {
        errorCode = errno;
        return errno == ENOENT || errno == ENOTDIR;
    }
    if (!UsableFile(st, errorCode))
        return false;
    const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) {
        errorCode = errno;
        return errno == ENOENT;
    }
    const bool ok = fstat(fd, &st) == 0 ? UsableFile(st, errorCode) && ReadAll(fd, text, errorCode)
                                        : (errorCode = errno, false);
    close(fd);
    if (!ok)
        text.clear();
    return ok;
}

bool WriteAtomic(const std::string& path, const std::string& text, int& errorCode) {
    if (!MakeParents(path, errorCode))
        return false;
    std::string temp = path + ".XXXXXX";
    const int fd = mkstemp(temp.data());
    if (fd < 0) {
        errorCode = errno;
        return false;
    }
    // A rewrite keeps the file's permissions; a new file is the owner's alone, except
    // machine-wide settings, which every user reads.
    struct stat st {};
    const mode_t mode = stat(path.c_str(), &st) == 0  ? (st.st_mode & 07777)
                        : path.rfind("/etc/", 0) == 0 ? 0644
                                                      : 0600;
    bool ok = fchmod(fd, mode) == 0 || (errorCode = errno, false);
    ok = ok && WriteAll(fd, text, errorCode);
    if (ok && fsync(fd) != 0) {
        errorCode = errno;
        ok = false;
    }
    if (close(fd) != 0 && ok) {
        errorCode = errno;
        ok = false;
    }
    if (ok && rename(temp.c_str(), path.c_str()) != 0) {
        errorCode = errno;
        ok = false;
    }
    if (!ok)
        unlink(temp.c_str());
    return ok;
}

std::string ErrorText(int errorCode) {
    return errorCode == kNotRegularFile ? "Not a regular file" : std::strerror(errorCode);
}

} // namespace tessaron::settingsfile
