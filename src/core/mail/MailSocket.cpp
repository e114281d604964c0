// MailSocket's connection: the states, buffers and notices the systems share. The system
// calls are behind SocketOps.h.
#include "mail/MailSocket.h"
#include "mail/SocketOps.h"
#include "mail/TlsChannel.h"

#include <mutex>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace tessaron {

namespace {

using sockops::Failure;

MailSocket::Event ErrorEvent(const Failure& why) {
    MailSocket::Event e;
    e.Kind = MailSocket::Notice::Error;
    e.Number = why.Code;
    e.Description = why.Text;
    return e;
}

MailSocket::Event MakeNotice(MailSocket::Notice kind, long bytes = 0, std::string why = {}) {
    MailSocket::Event e;
    e.Kind = kind;
    e.Bytes = bytes;
    e.Description = std::move(why);
    return e;
}

// One name lookup, shared with the thread that makes it: a resolver that does not
// answer must not hold up the mail's waits. Whoever lets go last (the socket, or the
// thread when the socket has given up) frees the addresses.
struct NameLookup {
    std::mutex Lock;
    bool Done = false;
    Failure Why;
    sockops::Address* Addresses = nullptr;

    ~NameLookup() { sockops::FreeAddresses(Addresses); }
};

std::shared_ptr<NameLookup> StartLookup(const std::string& host, int port) {
    auto lookup = std::make_shared<NameLookup>();
    auto resolve = [lookup, host, port] {
        Failure why;
        sockops::Address* found = sockops::LookUp(host, port, why);
        const std::lock_guard<std::mutex> hold(lookup->Lock);
        lookup->Why = std::move(why);
        lookup->Addresses = found;
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

    sockops::Handle sock = sockops::kNoSocket;
    State state = State::Idle;
    std::shared_ptr<NameLookup> lookup;
    sockops::Address* addresses = nullptr;
    const sockops::Address* nextAddress = nullptr;
    Failure lastConnectFailure;
    bool peerClosed = false;
    std::string out;
    std::size_t outSent = 0;
    std::string in;
    std::vector<Event> queued;
    std::unique_ptr<TlsChannel> tls; // set by StartTls: every byte in or out goes through it
    bool secured = false;

    ~Impl() { Reset(); }

    void CloseSocket() {
        sockops::Close(sock);
        sock = sockops::kNoSocket;
    }

    void Reset() {
        CloseSocket();
        sockops::FreeAddresses(addresses);
        addresses = nullptr;
        nextAddress = nullptr;
        lookup.reset();
        state = State::Idle;
        lastConnectFailure = {};
        peerClosed = false;
        out.clear();
        outSent = 0;
        in.clear();
        queued.clear();
        tls.reset();
        secured = false;
    }

    void Fail(std::vector<Event>& events, const Failure& why) {
        state = State::Done;
        events.push_back(ErrorEvent(why));
    }

    // Once the lookup has ended: connects to its first address, or reports its failure.
    void TakeLookup(std::vector<Event>& events) {
        Failure why;
        {
            const std::lock_guard<std::mutex> hold(lookup->Lock);
            if (!lookup->Done) {
                return;
            }
            why = lookup->Why;
            addresses = std::exchange(lookup->Addresses, nullptr);
        }
        lookup.reset();
        if (addresses == nullptr) {
            return Fail(events, why);
        }
        nextAddress = addresses;
        TryNextAddress(events);
    }

    // Starts a connection to the next address of the lookup; when none is left the last
    // failure becomes an Error notice.
    void TryNextAddress(std::vector<Event>& events) {
        CloseSocket();
        while (nextAddress != nullptr) {
            const sockops::Address* a = nextAddress;
            nextAddress = sockops::NextAddress(a);
            switch (sockops::Connect(a, sock, lastConnectFailure)) {
            case sockops::Start::Connected:
                state = State::Connected;
                events.push_back(MakeNotice(Notice::Connect));
                return;
            case sockops::Start::InProgress:
                state = State::Connecting;
                return;
            case sockops::Start::Failed:
                sock = sockops::kNoSocket;
                break;
            }
        }
        Fail(events,
             lastConnectFailure.Code != 0 ? lastConnectFailure : sockops::ConnectionRefused());
    }

    void FinishConnect(bool hangUp, std::vector<Event>& events) {
        const int error = sockops::ConnectResult(sock, hangUp);
        if (error == 0) {
            state = State::Connected;
            events.push_back(MakeNotice(Notice::Connect));
            return;
        }
        lastConnectFailure = sockops::FailureOf(error);
        TryNextAddress(events);
    }

    void Flush(std::vector<Event>& events) {
        while (outSent < out.size()) {
            Failure why;
            const long n = sockops::SendSome(sock, out.data() + outSent, out.size() - outSent, why);
            if (n == sockops::kWouldBlock) {
                return;
            }
            if (n == sockops::kFailed) {
                return Fail(events, why);
            }
            outSent += static_cast<std::size_t>(n);
        }
        out.clear();
        outSent = 0;
    }

    // Hands the outcome of the TLS channel's last step on: its bytes to send, the end of
    // the handshake, or its failure.
    void AfterTls(std::vector<Event>& events) {
        out += tls->TakeOutgoing();
        if (tls->Failure().empty() || state == State::Done) {
            return;
        }
        state = State::Done;
        events.push_back(MakeNotice(Notice::TlsFailed, 0, tls->Failure()));
    }

    void Decrypt(std::string_view wire, std::vector<Event>& events) {
        const std::size_t before = in.size();
        const TlsChannel::State now = tls->Receive(wire, in);
        AfterTls(events);
        if (now == TlsChannel::State::Failed)
            return;
        if (!secured && now == TlsChannel::State::Secured) {
            secured = true;
            events.push_back(MakeNotice(Notice::Secured));
        }
        if (in.size() > before)
            events.push_back(MakeNotice(Notice::DataArrival, static_cast<long>(in.size())));
    }

    void Receive(std::vector<Event>& events) {
        char buf[16384];
        const std::size_t room = kMaxPending - in.size();
        Failure why;
        const long n = sockops::ReceiveSome(sock, buf, room < sizeof buf ? room : sizeof buf, why);
        if (n > 0 && tls) {
            Decrypt(std::string_view(buf, static_cast<std::size_t>(n)), events);
        } else if (n > 0) {
            in.append(buf, static_cast<std::size_t>(n));
            events.push_back(MakeNotice(Notice::DataArrival, static_cast<long>(in.size())));
        } else if (n == 0) {
            peerClosed = true;
            events.push_back(MakeNotice(Notice::Close));
        } else if (n == sockops::kFailed) {
            Fail(events, why);
        }
    }

    bool WantsRead() const {
        return state == State::Connected && !peerClosed && in.size() < kMaxPending;
    }
    bool WantsWrite() const {
        return state == State::Connecting || (state == State::Connected && outSent < out.size());
    }

    void Handle(const sockops::Readiness& ready, std::vector<Event>& events) {
        if (state == State::Connecting) {
            return FinishConnect(ready.HangUp, events);
        }
        if (ready.Writable) {
            Flush(events);
        }
        if (state == State::Connected && ready.Readable) {
            Receive(events);
        }
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
    if (impl_->state != Impl::State::Connected) {
        return;
    }
    if (!impl_->tls) {
        impl_->out += data;
    } else if (impl_->secured) {
        impl_->tls->Send(data);
        impl_->AfterTls(impl_->queued);
    }
}

void MailSocket::StartTls(const std::string& host) {
    if (impl_->state != Impl::State::Connected || impl_->tls) {
        return;
    }
    // Clear text that came after the server's go-ahead was never protected: it must not
    // be read as the encrypted server's words.
    impl_->in.clear();
    impl_->tls = TlsChannel::Create();
    impl_->tls->Begin(host);
    impl_->AfterTls(impl_->queued);
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
    if (impl_->state == Impl::State::Resolving) {
        impl_->TakeLookup(events);
    }
    const bool read = impl_->WantsRead();
    const bool write = impl_->WantsWrite();
    const sockops::Readiness ready = sockops::Wait(read || write ? impl_->sock : sockops::kNoSocket,
                                                   read, write, events.empty() ? timeoutMs : 0);
    if (ready.Readable || ready.Writable || ready.HangUp) {
        impl_->Handle(ready, events);
    }
    return events;
}

} // namespace tessaron
