// MailSocket over Winsock: a non-blocking socket watched with WSAPoll, its four notices
// made from what the poll reports.
#include "mail/MailSocket.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include "platform/win32/Win32Support.h"

namespace tessaron {

namespace {

MailSocket::Event ErrorEvent(int number) {
    MailSocket::Event e;
    e.Kind = MailSocket::Notice::Error;
    e.Number = number;
    e.Description = win32::ErrorText(static_cast<DWORD>(number));
    return e;
}

MailSocket::Event MakeNotice(MailSocket::Notice kind, long bytes = 0) {
    MailSocket::Event e;
    e.Kind = kind;
    e.Bytes = bytes;
    return e;
}

// Winsock is started once for the process and left running until it ends.
bool StartWinsock() {
    static const bool started = [] {
        WSADATA data{};
        return ::WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    return started;
}

} // namespace

struct MailSocket::Impl {
    enum class State { Idle, Connecting, Connected, Done };

    SOCKET sock = INVALID_SOCKET;
    State state = State::Idle;
    addrinfo* addresses = nullptr;
    addrinfo* nextAddress = nullptr;
    int lastConnectError = 0;
    bool peerClosed = false;
    std::string out;
    std::size_t outSent = 0;
    std::string in;
    std::vector<Event> queued;

    ~Impl() { Reset(); }

    void CloseSocket() {
        if (sock != INVALID_SOCKET) {
            ::closesocket(sock);
        }
        sock = INVALID_SOCKET;
    }

    void Reset() {
        CloseSocket();
        if (addresses != nullptr) {
            ::freeaddrinfo(addresses);
        }
        addresses = nextAddress = nullptr;
        state = State::Idle;
        peerClosed = false;
        out.clear();
        outSent = 0;
        in.clear();
        queued.clear();
    }

    // Starts a connection to the next address of the lookup; when none is left the last
    // failure becomes an Error notice.
    void TryNextAddress(std::vector<Event>& events) {
        CloseSocket();
        while (nextAddress != nullptr) {
            const addrinfo* a = nextAddress;
            nextAddress = nextAddress->ai_next;
            sock = ::socket(a->ai_family, a->ai_socktype, a->ai_protocol);
            u_long nonBlocking = 1;
            if (sock == INVALID_SOCKET || ::ioctlsocket(sock, FIONBIO, &nonBlocking) != 0) {
                lastConnectError = ::WSAGetLastError();
                CloseSocket();
                continue;
            }
            if (::connect(sock, a->ai_addr, static_cast<int>(a->ai_addrlen)) == 0) {
                state = State::Connected;
                events.push_back(MakeNotice(Notice::Connect));
                return;
            }
            if (::WSAGetLastError() == WSAEWOULDBLOCK) {
                state = State::Connecting;
                return;
            }
            lastConnectError = ::WSAGetLastError();
            CloseSocket();
        }
        Fail(events, lastConnectError != 0 ? lastConnectError : WSAECONNREFUSED);
    }

    void FinishConnect(short revents, std::vector<Event>& events) {
        int error = 0;
        int len = sizeof error;
        if (::getsockopt(sock, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &len) != 0) {
            error = ::WSAGetLastError();
        }
        if (error == 0 && (revents & (POLLERR | POLLHUP)) != 0) {
            error = WSAECONNREFUSED;
        }
        if (error == 0) {
            state = State::Connected;
            events.push_back(MakeNotice(Notice::Connect));
            return;
        }
        lastConnectError = error;
        TryNextAddress(events);
    }

    void Fail(std::vector<Event>& events, int code) {
        state = State::Done;
        events.push_back(ErrorEvent(code));
    }

    void Flush(std::vector<Event>& events) {
        while (outSent < out.size()) {
            const int want = static_cast<int>(std::min<std::size_t>(out.size() - outSent, 1 << 20));
            const int n = ::send(sock, out.data() + outSent, want, 0);
            if (n == SOCKET_ERROR) {
                const int code = ::WSAGetLastError();
                return code == WSAEWOULDBLOCK ? void() : Fail(events, code);
            }
            outSent += static_cast<std::size_t>(n);
        }
        out.clear();
        outSent = 0;
    }

    void Receive(std::vector<Event>& events) {
        char buf[16384];
        const std::size_t room = kMaxPending - in.size();
        const int n = ::recv(sock, buf, static_cast<int>(room < sizeof buf ? room : sizeof buf), 0);
        if (n > 0) {
            in.append(buf, static_cast<std::size_t>(n));
            events.push_back(MakeNotice(Notice::DataArrival, static_cast<long>(in.size())));
        } else if (n == 0) {
            peerClosed = true;
            events.push_back(MakeNotice(Notice::Close));
        } else if (::WSAGetLastError() != WSAEWOULDBLOCK) {
            Fail(events, ::WSAGetLastError());
        }
    }

    short Wanted() const {
        if (state == State::Connecting) {
            return POLLWRNORM;
        }
        if (state != State::Connected) {
            return 0;
        }
        short wanted = 0;
        if (!peerClosed && in.size() < kMaxPending) {
            wanted |= POLLRDNORM;
        }
        if (outSent < out.size()) {
            wanted |= POLLWRNORM;
        }
        return wanted;
    }

    void Handle(short revents, std::vector<Event>& events) {
        if (state == State::Connecting) {
            return FinishConnect(revents, events);
        }
        if ((revents & POLLWRNORM) != 0) {
            Flush(events);
        }
        if (state == State::Connected && (revents & (POLLRDNORM | POLLHUP | POLLERR)) != 0) {
            Receive(events);
        }
    }
};

MailSocket::MailSocket() : impl_(std::make_unique<Impl>()) {}
MailSocket::~MailSocket() = default;

void MailSocket::Connect(const std::string& host, int port) {
    impl_->Reset();
    if (!StartWinsock()) {
        impl_->Fail(impl_->queued, WSASYSNOTREADY);
        return;
    }
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    const std::string service = std::to_string(port);
    const int rc = ::getaddrinfo(host.c_str(), service.c_str(), &hints, &impl_->addresses);
    if (rc != 0) {
        impl_->addresses = nullptr;
        impl_->Fail(impl_->queued, rc); // getaddrinfo's codes are Winsock error codes
        return;
    }
    impl_->nextAddress = impl_->addresses;
    impl_->TryNextAddress(impl_->queued);
}

void MailSocket::SendData(const std::string& data) {
    if (impl_->state == Impl::State::Connected) {
        impl_->out += data;
    }
}

std::string MailSocket::GetData() {
    std::string data;
    data.swap(impl_->in);
    return data;
}

void MailSocket::Close() {
    impl_->Reset();
}

std::vector<MailSocket::Event> MailSocket::Poll(int timeoutMs) {
    std::vector<Event> events;
    events.swap(impl_->queued);
    const short wanted = impl_->sock != INVALID_SOCKET ? impl_->Wanted() : 0;
    const int wait = events.empty() ? timeoutMs : 0;
    if (wanted == 0) {
        // Nothing to watch: a plain pause, so that an idle loop does not spin.
        ::Sleep(static_cast<DWORD>(wait > 0 ? wait : 0));
        return events;
    }
    WSAPOLLFD p{impl_->sock, wanted, 0};
    if (::WSAPoll(&p, 1, wait) > 0 && p.revents != 0) {
        impl_->Handle(p.revents, events);
    }
    return events;
}

} // namespace tessaron
