// The mail socket's system calls on Windows: Winsock with getaddrinfo, a non-blocking
// socket, WSAPoll.
#include "mail/SocketOps.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include "platform/win32/Win32Support.h"

#include <algorithm>

namespace tessaron::sockops {

namespace {

SOCKET SocketOf(Handle sock) {
    return static_cast<SOCKET>(sock);
}

Failure LastFailure() {
    return FailureOf(::WSAGetLastError());
}

// Winsock is started once for the process and left running until it ends.
bool StartWinsock() {
    static const bool started = [] {
        WSADATA data{};
        return ::WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    return started;
}

// The result of one send or recv: the bytes moved, kWouldBlock, or kFailed with why set.
long Transferred(int n, Failure& why) {
    if (n != SOCKET_ERROR) {
        return n;
    }
    if (::WSAGetLastError() == WSAEWOULDBLOCK) {
        return kWouldBlock;
    }
    why = LastFailure();
    return kFailed;
}

} // namespace

struct Address : addrinfo {};

Failure FailureOf(int code) {
    return {code, win32::ErrorText(static_cast<DWORD>(code))};
}

Failure ConnectionRefused() {
    return FailureOf(WSAECONNREFUSED);
}

Address* LookUp(const std::string& host, int port, Failure& why) {
    if (!StartWinsock()) {
        why = FailureOf(WSASYSNOTREADY);
        return nullptr;
    }
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const int rc = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
    if (rc == 0) {
        return static_cast<Address*>(found);
    }
    why = FailureOf(rc); // getaddrinfo's codes are Winsock error codes
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
    const SOCKET s = ::socket(a->ai_family, a->ai_socktype, a->ai_protocol);
    u_long nonBlocking = 1;
    if (s == INVALID_SOCKET || ::ioctlsocket(s, FIONBIO, &nonBlocking) != 0) {
        why = LastFailure();
        if (s != INVALID_SOCKET) {
            ::closesocket(s);
        }
        return Start::Failed;
    }
    sock = static_cast<Handle>(s);
    if (::connect(s, a->ai_addr, static_cast<int>(a->ai_addrlen)) == 0) {
        return Start::Connected;
    }
    if (::WSAGetLastError() == WSAEWOULDBLOCK) {
        return Start::InProgress;
    }
    why = LastFailure();
    Close(sock);
    sock = kNoSocket;
    return Start::Failed;
}

int ConnectResult(Handle sock, bool hangUp) {
    int error = 0;
    int len = sizeof error;
    if (::getsockopt(SocketOf(sock), SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &len) !=
        0) {
        error = ::WSAGetLastError();
    }
    // WSAPoll reports a refused connection as a hang-up with no error recorded.
    return error == 0 && hangUp ? WSAECONNREFUSED : error;
}

long SendSome(Handle sock, const char* data, std::size_t size, Failure& why) {
    const int want = static_cast<int>(std::min<std::size_t>(size, 1 << 20));
    return Transferred(::send(SocketOf(sock), data, want, 0), why);
}

long ReceiveSome(Handle sock, char* buffer, std::size_t size, Failure& why) {
    return Transferred(::recv(SocketOf(sock), buffer, static_cast<int>(size), 0), why);
}

Readiness Wait(Handle sock, bool read, bool write, int timeoutMs) {
    const int wait = timeoutMs > 0 ? timeoutMs : 0;
    const short wanted = static_cast<short>((read ? POLLRDNORM : 0) | (write ? POLLWRNORM : 0));
    Readiness r;
    if (wanted == 0 || sock == kNoSocket) {
        ::Sleep(static_cast<DWORD>(wait)); // WSAPoll refuses an empty set
        return r;
    }
    WSAPOLLFD p{SocketOf(sock), wanted, 0};
    if (::WSAPoll(&p, 1, wait) > 0) {
        r.HangUp = (p.revents & (POLLHUP | POLLERR)) != 0;
        r.Readable = (p.revents & POLLRDNORM) != 0 || r.HangUp;
        r.Writable = (p.revents & POLLWRNORM) != 0;
    }
    return r;
}

void Close(Handle sock) {
    if (sock != kNoSocket) {
        ::closesocket(SocketOf(sock));
    }
}

} // namespace tessaron::sockops
