#include "mail/MailSocket.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace tessaron {

namespace {

MailSocket::Event ErrorEvent(int number, const std::string& description) {
    MailSocket::Event e;
    e.Kind = MailSocket::Notice::Error;
    e.Number = number;
    e.Description = description;
    return e;
}

MailSocket::Event MakeNotice(MailSocket::Notice kind, long bytes = 0) {
    MailSocket::Event e;
    e.Kind = kind;
    e.Bytes = bytes;
    return e;
}

// One name lookup, shared with the thread that makes it: a resolver that does not
// answer must not hold up the mail's waits. Whoever lets go last (the socket, or the
// thread when the socket has given up) frees the addresses.
struct NameLookup {
    std::mutex Lock;
    bool Done = false;
    int Code = 0;  // getaddrinfo's result
    int Errno = 0; // errno after it, for EAI_SYSTEM
    addrinfo* Addresses = nullptr;

    ~NameLookup() {
        if (Addresses != nullptr)
            freeaddrinfo(Addresses);
    }
};

std::shared_ptr<NameLookup> StartLookup(const std::string& host, int port) {
    auto lookup = std::make_shared<NameLookup>();
    auto resolve = [lookup, host, service = std::to_string(port)] {
        addrinfo hints{};
        hints.ai_family = AF_UNSPEC;
        hints.ai_socktype = SOCK_STREAM;
        hints.ai_flags = AI_NUMERICSERV;
        addrinfo* found = nullptr;
        const int rc = getaddrinfo(host.c_str(), service.c_str(), &hints, &found);
        const int error = errno;
        const std::lock_guard<std::mutex> hold(lookup->Lock);
        lookup->Code = rc;
        lookup->Errno = error;
        lookup->Addresses = rc == 0 ? found : nullptr;
        lookup->Done = true;
    };
    try {
        std::thread(resolve).detach();
    } catch (const std::system_error&) {
        resolve(); // no thread to be had: look the name up here
    }
    return lookup;
}

} // namespace

struct MailSocket::Impl {
    enum class State { Idle, Resolving, Connecting, Connected, Done };

    int fd = -1;
    State state = State::Idle;
    std::shared_ptr<NameLookup> lookup;
    addrinfo* addresses = nullptr;
    addrinfo* nextAddress = nullptr;
    int lastConnectError = 0;
    bool peerClosed = false;
    std::string out;
    std::size_t outSent = 0;
    std::string in;
    std::vector<Event> queued;

    ~Impl() { Reset(); }

    void CloseFd() {
        if (fd >= 0)
            close(fd);
        fd = -1;
    }

    void Reset() {
        CloseFd();
        if (addresses != nullptr)
            freeaddrinfo(addresses);
        addresses = nextAddress = nullptr;
        lookup.reset();
        state = State::Idle;
        peerClosed = false;
        out.clear();
        outSent = 0;
        in.clear();
        queued.clear();
    }

    // Once the lookup has ended: connects to its first address, or reports its failure.
    void TakeLookup(std::vector<Event>& events) {
        int rc = 0, error = 0;
        {
            const std::lock_guard<std::mutex> hold(lookup->Lock);
            if (!lookup->Done)
                return;
            rc = lookup->Code;
            error = lookup->Errno;
            addresses = std::exchange(lookup->Addresses, nullptr);
        }
        lookup.reset();
        if (rc != 0) {
            state = State::Done;
            const bool system = rc == EAI_SYSTEM;
            events.push_back(
                ErrorEvent(system ? error : rc, system ? std::strerror(error) : gai_strerror(rc)));
            return;
        }
        nextAddress = addresses;
        TryNextAddress(events);
    }

    // Starts a connection to the next address of the lookup; when none is left the
    // last failure becomes an Error notice.
    void TryNextAddress(std::vector<Event>& events) {
        CloseFd();
        for (; nextAddress != nullptr; nextAddress = nextAddress->ai_next) {
            const addrinfo* a = nextAddress;
            fd =
                socket(a->ai_family, a->ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, a->ai_protocol);
            if (fd < 0) {
                lastConnectError = errno;
                continue;
            }
            nextAddress = nextAddress->ai_next;
            if (connect(fd, a->ai_addr, a->ai_addrlen) == 0) {
                state = State::Connected;
                events.push_back(MakeNotice(Notice::Connect));
                return;
            }
            if (errno == EINPROGRESS) {
                state = State::Connecting;
                return;
            }
            lastConnectError = errno;
            CloseFd();
            if (nextAddress == nullptr)
                break;
        }
        state = State::Done;
        const int code = lastConnectError != 0 ? lastConnectError : ECONNREFUSED;
        events.push_back(ErrorEvent(code, std::strerror(code)));
    }

    void FinishConnect(std::vector<Event>& events) {
        int error = 0;
        socklen_t len = sizeof error;
        if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &len) != 0)
            error = errno;
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
        events.push_back(ErrorEvent(code, std::strerror(code)));
    }

    void Flush(std::vector<Event>& events) {
        while (outSent < out.size()) {
            // MSG_NOSIGNAL: a peer that has gone must not end the process by SIGPIPE.
            const ssize_t n =
                send(fd, out.data() + outSent, out.size() - outSent, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
                return;
            if (n < 0)
                return Fail(events, errno);
            outSent += static_cast<std::size_t>(n);
        }
        out.clear();
        outSent = 0;
    }

    void Receive(std::vector<Event>& events) {
        char buf[16384];
        const std::size_t room = kMaxPending - in.size();
        const ssize_t n = recv(fd, buf, room < sizeof buf ? room : sizeof buf, MSG_DONTWAIT);
        if (n > 0) {
            in.append(buf, static_cast<std::size_t>(n));
            events.push_back(MakeNotice(Notice::DataArrival, static_cast<long>(in.size())));
        } else if (n == 0) {
            peerClosed = true;
            events.push_back(MakeNotice(Notice::Close));
        } else if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
            Fail(events, errno);
        }
    }

    short Wanted() const {
        if (state == State::Connecting)
            return POLLOUT;
        if (state != State::Connected)
            return 0;
        short wanted = 0;
        if (!peerClosed && in.size() < kMaxPending)
            wanted |= POLLIN;
        if (outSent < out.size())
            wanted |= POLLOUT;
        return wanted;
    }

    void Handle(short revents, std::vector<Event>& events) {
        if (state == State::Connecting)
            return FinishConnect(events);
        if ((revents & POLLOUT) != 0)
            Flush(events);
        if (state == State::Connected && (revents & (POLLIN | POLLHUP | POLLERR)) != 0)
            Receive(events);
    }
};

MailSocket::MailSocket() : impl_(std::make_unique<Impl>()) {}
MailSocket::~MailSocket() = default;

void MailSocket::Connect(const std::string& host, int port) {
    impl_->Reset();
    impl_->state = Impl::State::Resolving;
    impl_->lookup = StartLookup(host, port);
    impl_->TakeLookup(impl_->queued);
}

void MailSocket::SendData(const std::string& data) {
    if (impl_->state == Impl::State::Connected)
        impl_->out += data;
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
    if (impl_->state == Impl::State::Resolving)
        impl_->TakeLookup(events);
    const short wanted = impl_->fd >= 0 ? impl_->Wanted() : 0;
    // With nothing to watch the wait is a plain pause, so an idle loop does not spin
    // on a socket that keeps reporting its hang-up.
    pollfd p{wanted != 0 ? impl_->fd : -1, wanted, 0};
    const int rc = poll(&p, 1, events.empty() ? timeoutMs : 0);
    if (rc > 0 && p.revents != 0)
        impl_->Handle(p.revents, events);
    return events;
}

} // namespace tessaron
