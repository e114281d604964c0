#pragma once
// A scripted SMTP server on 127.0.0.1 for the mailer's tests. It serves one
// connection in its own thread, records every byte it receives, and stops by itself:
// when the client closes, when the script says so, or at its overall deadline.

#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace tessaron::test {

struct SmtpScript {
    // Sent after the connection is accepted, after greetingDelayMs; "" sends none.
    std::string Greeting;
    int GreetingDelayMs = 0;
    // The reply to a command line (or to "." at the end of the message data); ""
    // sends nothing. Commands are given without their CR LF.
    std::function<std::string(const std::string&)> Reply = [](const std::string&) {
        return std::string("250 OK");
    };
    // Close the connection on receiving a command that starts with this text.
    std::string CloseOn;
    // Send this much endless data (in 4 KiB pieces) instead of any reply.
    std::size_t Flood = 0;
    int AcceptWaitMs = 5000;
    int DeadlineMs = 8000;
};

class FakeSmtpServer {
public:
    explicit FakeSmtpServer(SmtpScript script) : script_(std::move(script)) {
        listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t len = sizeof addr;
        bind(listener_, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
        listen(listener_, 1);
        getsockname(listener_, reinterpret_cast<sockaddr*>(&addr), &len);
        port_ = ntohs(addr.sin_port);
        thread_ = std::thread([this] { Serve(); });
    }
    ~FakeSmtpServer() { Stop(); }

    int Port() const { return port_; }
    // Waits for the server to finish; after this Received() is final.
    void Stop() {
        if (thread_.joinable())
            thread_.join();
        if (listener_ >= 0)
            close(listener_);
        listener_ = -1;
    }
    std::string Received() {
        std::lock_guard<std::mutex> lock(mutex_);
        return received_;
    }
    bool Accepted() const { return accepted_; }

private:
    using Clock = std::chrono::steady_clock;

    void Serve() {
        pollfd p{listener_, POLLIN, 0};
        if (poll(&p, 1, script_.AcceptWaitMs) <= 0)
            return;
        const int fd = accept(listener_, nullptr, nullptr);
        if (fd < 0)
            return;
        accepted_ = true;
        Talk(fd);
        close(fd);
    }

    void Talk(int fd) {
        deadline_ = Clock::now() + std::chrono::milliseconds(script_.DeadlineMs);
        if (!script_.Greeting.empty()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(script_.GreetingDelayMs));
            Send(fd, script_.Greeting);
        }
        std::string pending;
        bool inData = false;
        while (Clock::now() < deadline_) {
            if (script_.Flood > 0 && !FloodOnce(fd))
                return;
            pollfd p{fd, POLLIN, 0};
            if (poll(&p, 1, script_.Flood > 0 ? 5 : 50) <= 0)
                continue;
            char buf[4096];
            const ssize_t n = recv(fd, buf, sizeof buf, 0);
            if (n <= 0)
                return;
            {
                std::lock_guard<std::mutex> lock(mutex_);
                received_.append(buf, static_cast<std::size_t>(n));
            }
            pending.append(buf, static_cast<std::size_t>(n));
            if (!HandleLines(fd, pending, inData))
                return;
        }
    }

    // Answers every complete line; false when the script closes the connection.
    bool HandleLines(int fd, std::string& pending, bool& inData) {
        for (std::size_t end; (end = pending.find("\r\n")) != std::string::npos;) {
            const std::string line = pending.substr(0, end);
            pending.erase(0, end + 2);
            if (inData && line != ".")
                continue;
            inData = false;
            if (!script_.CloseOn.empty() && line.rfind(script_.CloseOn, 0) == 0)
                return false;
            if (script_.Flood == 0) {
                const std::string reply = script_.Reply(line);
                if (!reply.empty())
                    Send(fd, reply);
            }
            inData = line == "DATA";
        }
        return true;
    }

    bool FloodOnce(int fd) {
        if (flooded_ >= script_.Flood)
            return true;
        const std::string piece(4096, '1');
        const ssize_t n = send(fd, piece.data(), piece.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n < 0 && errno != EAGAIN)
            return false;
        if (n > 0)
            flooded_ += static_cast<std::size_t>(n);
        return true;
    }

    // Replies go out one at a time with a pause after each, so that the client reads
    // them one by one, as from a real server.
    void Send(int fd, const std::string& reply) {
        const std::string line = reply + "\r\n";
        send(fd, line.data(), line.size(), MSG_NOSIGNAL);
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
    }

    SmtpScript script_;
    int listener_ = -1;
    int port_ = 0;
    std::thread thread_;
    std::mutex mutex_;
    std::string received_;
    std::atomic<bool> accepted_{false};
    std::size_t flooded_ = 0;
    Clock::time_point deadline_;
};

} // namespace tessaron::test
