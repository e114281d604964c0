#pragma once
// MailSocket: a non-blocking TCP client socket that reports what happened to it as
// notices (connected, data waiting, closed by the peer, error), in the manner of an
// event-driven socket control. Nothing blocks except the name lookup in Connect.
// Memory stays bounded: at most kMaxPending received bytes wait to be read, and
// reading stops while they are not taken.

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace tessaron {

class MailSocket {
public:
    enum class Notice { Connect, DataArrival, Close, Error };
    struct Event {
        Notice Kind = Notice::Error;
        long Bytes = 0;          // DataArrival: bytes waiting
        int Number = 0;          // Error: errno or name lookup code
        std::string Description; // Error: the system's text
    };

    MailSocket();
    ~MailSocket();
    MailSocket(const MailSocket&) = delete;
    MailSocket& operator=(const MailSocket&) = delete;

    // Starts connecting to host:port (any local port). A failure, also a name that
    // cannot be resolved, shows as an Error notice from the next Poll.
    void Connect(const std::string& host, int port);
    // Queues data; it goes out during later polls. Ignored when not connected.
    void SendData(const std::string& data);
    // Takes every received byte waiting.
    std::string GetData();
    // Closes the connection; queued and waiting data are dropped. No notice follows.
    void Close();

    // Waits up to timeoutMs for activity and returns the notices it produced, in the
    // order connect, data, close or error.
    std::vector<Event> Poll(int timeoutMs);

    static constexpr std::size_t kMaxPending = 64 * 1024;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace tessaron
