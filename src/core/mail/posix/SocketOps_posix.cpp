// The mail socket's system calls on POSIX: getaddrinfo, a non-blocking socket, poll.
#include "mail/SocketOps.h"

#include <cerrno>
#include <cstring>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tessaron::sockops {

namespace {

int FdOf(Handle sock) {
    return static_cast<int>(sock);
}

Failure LastFailure() {
    return FailureOf(errno);
}

} // namespace

struct Address : addrinfo {};

Failure FailureOf(int code) {
    return {code, std::strerror(code)};
}

Failure ConnectionRefused() {
    return FailureOf(ECONNREFUSED);
}

Address* LookUp(const std::string& host, int port, Failure& why) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const int rc = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
    if (rc == 0) {
        return static_cast<Address*>(found);
    }
    why = rc == EAI_SYSTEM ? LastFailure() : Failure{rc, ::gai_strerror(rc)};
    return nullptr;
}

const Address* NextAddress(const Address* address) {
    return static_cast<const Address*>(address->ai_next);
}

void FreeAddresses(Address* list) {
    if (list != nullptr) {
        ::freeaddrinfo(list);
    }
}

Start Connect(const Address* a, Handle& sock, Failure& why) {
    const int fd =
        ::socket(a->ai_family, a->ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, a->ai_protocol);
    if (fd < 0) {
        why = LastFailure();
        return Start::Failed;
    }
    sock = fd;
    if (::connect(fd, a->ai_addr, a->ai_addrlen) == 0) {
        return Start::Connected;
    }
    if (errno == EINPROGRESS) {
        return Start::InProgress;
    }
    why = LastFailure();
    Close(sock);
    sock = kNoSocket;
    return Start::Failed;
}

int ConnectResult(Handle sock, bool) {
    int error = 0;
    socklen_t len = sizeof error;
    if (::getsockopt(FdOf(sock), SOL_SOCKET, SO_ERROR, &error, &len) != 0) {
        error = errno;
    }
    return error;
}

long SendSome(Handle sock, const char* data, std::size_t size, Failure& why) {
    for (;;) {
        // MSG_NOSIGNAL: a peer that has gone must not end the process by SIGPIPE.
        const ssize_t n = ::send(FdOf(sock), data, size, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n >= 0) {
            return static_cast<long>(n);
        }
        if (errno == EAGAIN || errno == EWOULDBLOCK) {
            return kWouldBlock;
        }
        if (errno != EINTR) {
            why = LastFailure();
            return kFailed;
        }
    }
}

long ReceiveSome(Handle sock, char* buffer, std::size_t size, Failure& why) {
    const ssize_t n = ::recv(FdOf(sock), buffer, size, MSG_DONTWAIT);
    if (n >= 0) {
        return static_cast<long>(n);
    }
    if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) {
        return kWouldBlock;
    }
    why = LastFailure();
    return kFailed;
}

Readiness Wait(Handle sock, bool read, bool write, int timeoutMs) {
    const short wanted = static_cast<short>((read ? POLLIN : 0) | (write ? POLLOUT : 0));
    // A negative descriptor makes poll a plain pause.
    pollfd p{wanted != 0 && sock != kNoSocket ? FdOf(sock) : -1, wanted, 0};
    Readiness r;
    if (::poll(&p, 1, timeoutMs > 0 ? timeoutMs : 0) > 0) {
        r.HangUp = (p.revents & (POLLHUP | POLLERR)) != 0;
        r.Readable = (p.revents & POLLIN) != 0 || r.HangUp;
        r.Writable = (p.revents & POLLOUT) != 0;
    }
    return r;
}

void Close(Handle sock) {
    if (sock != kNoSocket) {
        ::close(FdOf(sock));
    }
}

} // namespace tessaron::sockops
