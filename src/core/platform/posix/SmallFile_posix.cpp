#include "platform/SmallFile.h"
#include "platform/posix/PosixSupport.h"

#include <fcntl.h>

namespace tessaron {

namespace {

std::string TooLarge(std::size_t maxBytes) {
    return "File is larger than " + std::to_string(maxBytes >> 20) + " MiB";
}

// Reads exactly size bytes or up to the end; false on a read error.
bool ReadAll(int fd, std::size_t size, std::string& out, int& code) {
    out.resize(size);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = ::read(fd, out.data() + done, size - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            code = errno;
            return false;
        }
        if (n == 0) {
            break; // the file shrank since fstat
        }
        done += static_cast<std::size_t>(n);
    }
    out.resize(done);
    return true;
}

} // namespace

bool ReadSmallFile(const std::string& path, std::size_t maxBytes, std::string& text,
                   std::string& reason) {
    if (path.empty()) {
        reason = posix::ErrorText(ENOENT);
        return false;
    }
    // O_NONBLOCK: opening a FIFO for reading would otherwise wait for a writer.
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
        reason = posix::ErrorText(errno);
        return false;
    }
    struct stat st {};
    int code = 0;
    std::string content;
    bool ok = false;
    if (::fstat(fd, &st) != 0) {
        reason = posix::ErrorText(errno);
    } else if (S_ISDIR(st.st_mode)) {
        reason = posix::ErrorText(EISDIR);
    } else if (!S_ISREG(st.st_mode)) {
        reason = "Not a regular file";
    } else if (static_cast<unsigned long long>(st.st_size) > maxBytes) {
        reason = TooLarge(maxBytes);
    } else if (!ReadAll(fd, static_cast<std::size_t>(st.st_size), content, code)) {
        reason = posix::ErrorText(code);
    } else {
        ok = true;
    }
    ::close(fd);
    if (ok) {
        text = std::move(content);
    }
    return ok;
}

} // namespace tessaron
