#pragma once
// MailSocket: a non-blocking TCP client socket that reports what happened to it as
// notices (connected, data waiting, closed by the peer, error), in the manner of an
// event-driven socket control. On request it turns the connection into a TLS one
// (TlsChannel) and then carries only encrypted data. Nothing blocks, not even the name lookup: it
// runs on a helper thread and its outcome shows in a later Poll. Memory stays bounded: at most
// kMaxPending received bytes wait to be read, and reading stops while they are not taken.
//
// IMailSocket is what the mailer talks to; MailSocket is the system's socket, and tests
// and fuzzing hand the mailer scripted ones.

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace tessaron {

class IMailSocket {
public:
    // Secured: the TLS handshake StartTls began has ended well. TlsFailed: it failed, or
    // the encrypted data did; Description says why, and the connection is given up.
    enum class Notice { Connect, DataArrival, Close, Error, Secured, TlsFailed };
    struct Event {
        Notice Kind = Notice::Error;
        long Bytes = 0;          // DataArrival: bytes waiting
        int Number = 0;          // Error: errno or name lookup code
        std::string Description; // Error: the system's text
    };

    virtual ~IMailSocket() = default;

    // Starts connecting to host:port (any local port). A failure, also a name that
    // cannot be resolved, shows as an Error notice from a later Poll.
    virtual void Connect(const std::string& host, int port) = 0;
    // Queues data; it goes out during later polls. Ignored when not connected, and after
    // StartTls until the Secured notice.
    virtual void SendData(const std::string& data) = 0;
    // Begins TLS with the server named host on the open connection. Whatever arrived in
    // clear and was not taken yet is dropped: from here on only decrypted data arrives.
    // The outcome is a later Secured or TlsFailed notice.
    virtual void StartTls(const std::string& host) = 0;
    // Takes every received byte waiting.
    virtual std::string GetData() = 0;
    // Closes the connection; queued and waiting data are dropped. No notice follows.
    virtual void Close() = 0;
    // Waits up to timeoutMs for activity and returns the notices it produced, in the
    // order connect, data, close or error.
    virtual std::vector<Event> Poll(int timeoutMs) = 0;
};

class MailSocket : public IMailSocket {
public:
    using IMailSocket::Event;
    using IMailSocket::Notice;

    MailSocket();
    ~MailSocket() override;
    MailSocket(const MailSocket&) = delete;
    MailSocket& operator=(const MailSocket&) = delete;

    void Connect(const std::string& host, int port) override;
    void SendData(const std::string& data) override;
    void StartTls(const std::string& host) override;
    std::string GetData() override;
    void Close() override;
    std::vector<Event> Poll(int timeoutMs) override;

    static constexpr std::size_t kMaxPending = 64 * 1024;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace tessaron
