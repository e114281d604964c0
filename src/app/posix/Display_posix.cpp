#include "Display.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace tessaron {

namespace {

constexpr int kConnectTimeoutMs = 2000;

std::string Env(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

// Connects the socket, waiting at most kConnectTimeoutMs; true when the peer accepted.
bool Connects(int fd, const sockaddr* address, socklen_t length) {
    const int flags = fcntl(fd, F_GETFL);
    fcntl(fd, F_SETFL, flags | O_NONBLOCK);
    if (connect(fd, address, length) == 0) {
        return true;
    }
    if (errno != EINPROGRESS) {
        return false;
    }
    pollfd p{fd, POLLOUT, 0};
    int error = 0;
    socklen_t size = sizeof error;
    return poll(&p, 1, kConnectTimeoutMs) == 1 &&
           getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

// A local socket by path; abstract: in the abstract name space (Linux), as X servers
// also listen there.
bool LocalSocketAnswers(const std::string& path, bool abstract) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::size_t offset = abstract ? 1 : 0;
    if (path.empty() || path.size() + offset >= sizeof address.sun_path) {
        return false;
    }
    std::memcpy(address.sun_path + offset, path.data(), path.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + offset +
                                               path.size() + (abstract ? 0 : 1));
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return false;
    }
    const bool ok = Connects(fd, reinterpret_cast<const sockaddr*>(&address), length);
    close(fd);
    return ok;
}

bool TcpAnswers(const std::string& host, int port) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &list) != 0) {
        return false;
    }
    bool ok = false;
    for (addrinfo* a = list; a != nullptr && !ok; a = a->ai_next) {
        const int fd = socket(a->ai_family, a->ai_socktype | SOCK_CLOEXEC, a->ai_protocol);
        if (fd >= 0) {
            ok = Connects(fd, a->ai_addr, a->ai_addrlen);
            close(fd);
        }
    }
    freeaddrinfo(list);
    return ok;
}

// DISPLAY is [host]:number[.screen]; an empty host or "unix" means the local socket, a
// host starting with "/" is a socket path of its own.
bool XServerAnswers() {
    const std::string display = Env("DISPLAY");
    const std::size_t colon = display.rfind(':');
    if (colon == std::string::npos) {
        return false;
    }
    const std::string host = display.substr(0, colon);
    if (!host.empty() && host[0] == '/') {
        return LocalSocketAnswers(display, false);
    }
    const int number = std::atoi(display.c_str() + colon + 1);
    if (host.empty() || host == "unix") {
        const std::string path = "/tmp/.X11-unix/X" + std::to_string(number);
        return LocalSocketAnswers(path, true) || LocalSocketAnswers(path, false);
    }
    return TcpAnswers(host, 6000 + number);
}

bool WaylandAnswers() {
    std::string name = Env("WAYLAND_DISPLAY");
    if (name.empty()) {
        return false;
    }
    if (name[0] != '/') {
        const std::string runtime = Env("XDG_RUNTIME_DIR");
        if (runtime.empty()) {
            return false;
        }
        name = runtime + "/" + name;
    }
    return LocalSocketAnswers(name, false);
}

} // namespace

bool DisplayAvailable() {
    const std::string platform = Env("QT_QPA_PLATFORM");
    if (platform.rfind("xcb", 0) == 0) {
        return XServerAnswers();
    }
    if (platform.rfind("wayland", 0) == 0) {
        return WaylandAnswers();
    }
    if (!platform.empty()) {
        return true; // offscreen, vnc and the like need no server
    }
    return WaylandAnswers() || XServerAnswers();
}

} // namespace tessaron
