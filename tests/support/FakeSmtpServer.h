#pragma once
// A scripted SMTP server on 127.0.0.1 serving one connection in its own thread. It records
// every byte received (Received() waits for the end) and stops when the client closes, the
// script closes, or at DeadlineMs. With a certificate it speaks TLS: from the first byte
// (Tls), or after answering "STARTTLS"; the record then shows "[TLS]" where TLS began, and
// ends there when the handshake failed.

#include <openssl/ssl.h>

#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <memory>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace tessaron::test {

struct OpenSslFree {
    void operator()(EVP_PKEY* k) const { EVP_PKEY_free(k); }
    void operator()(X509* c) const { X509_free(c); }
    void operator()(BIO* b) const { BIO_free(b); }
};

// A key and its certificate.
struct KeyPair {
    std::unique_ptr<EVP_PKEY, OpenSslFree> Key;
    std::unique_ptr<X509, OpenSslFree> Cert;
};

struct SmtpScript {
    std::string Greeting; // "" sends none
    int GreetingDelayMs = 0;
    // The reply to a command line without CR LF (or to the "." ending the data); "" is none.
    std::function<std::string(const std::string&)> Reply = [](const std::string&) {
        return std::string("250 OK");
    };
    std::string CloseOn;   // close on a command starting with this
    std::size_t Flood = 0; // send this many bytes of endless data instead of any reply
    int ReplyDelayMs = 0;  // pause before each reply
    int DripMs = 0;        // send replies one byte at a time, this long apart
    int AcceptWaitMs = 5000;
    int DeadlineMs = 8000;
    const KeyPair* Cert = nullptr; // the server's certificate and key: STARTTLS is taken up
    bool Tls = false;              // TLS from the first byte (with Cert)
};

class FakeSmtpServer {
public:
    explicit FakeSmtpServer(SmtpScript script) : script_(std::move(script)) {
        std::signal(SIGPIPE, SIG_IGN); // a TLS write to a client that has gone
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
    // Waits for the server to finish and closes the listener.
    void Stop() {
        if (thread_.joinable())
            thread_.join();
        if (listener_ >= 0)
            close(listener_);
        listener_ = -1;
    }
    std::string Received() {
        Stop();
        return received_;
    }
    bool Accepted() const { return accepted_; }

private:
    void Serve() {
        pollfd p{listener_, POLLIN, 0};
        if (poll(&p, 1, script_.AcceptWaitMs) <= 0 ||
            (fd_ = accept(listener_, nullptr, nullptr)) < 0)
            return;
        accepted_ = true;
        const timeval limit{3, 0}; // a stalled handshake must not hold the server
        setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        if (!script_.Tls || StartTls())
            Talk();
        SSL_free(ssl_);
        SSL_CTX_free(ctx_);
        close(fd_);
    }

    bool StartTls() {
        received_ += "[TLS]";
        parsed_ = received_.size();
        ctx_ = SSL_CTX_new(TLS_server_method());
        SSL_CTX_use_certificate(ctx_, script_.Cert->Cert.get());
        SSL_CTX_use_PrivateKey(ctx_, script_.Cert->Key.get());
        ssl_ = SSL_new(ctx_);
        SSL_set_fd(ssl_, fd_);
        return SSL_accept(ssl_) == 1;
    }
    ssize_t Read(char* buf, std::size_t size) {
        return ssl_ ? SSL_read(ssl_, buf, static_cast<int>(size)) : recv(fd_, buf, size, 0);
    }
    ssize_t Write(const char* data, std::size_t size) {
        return ssl_ ? SSL_write(ssl_, data, static_cast<int>(size))
                    : send(fd_, data, size, MSG_NOSIGNAL);
    }

    void Talk() {
        const auto deadline =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(script_.DeadlineMs);
        std::this_thread::sleep_for(std::chrono::milliseconds(script_.GreetingDelayMs));
        Send(script_.Greeting);
        std::size_t flooded = 0;
        bool inData = false;
        while (std::chrono::steady_clock::now() < deadline) {
            if (flooded < script_.Flood) {
                const std::string piece(4096, '1');
                const ssize_t n =
                    send(fd_, piece.data(), piece.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
                if (n < 0 && errno != EAGAIN)
                    return;
                flooded += n > 0 ? static_cast<std::size_t>(n) : 0;
            }
            pollfd p{fd_, POLLIN, 0};
            if ((ssl_ == nullptr || SSL_pending(ssl_) == 0) &&
                poll(&p, 1, script_.Flood > 0 ? 5 : 50) <= 0)
                continue;
            char buf[4096];
            const ssize_t n = Read(buf, sizeof buf);
            if (n <= 0)
                return;
            received_.append(buf, static_cast<std::size_t>(n));
            for (std::size_t end; (end = received_.find("\r\n", parsed_)) != std::string::npos;) {
                const std::string line = received_.substr(parsed_, end - parsed_);
                parsed_ = end + 2;
                if (inData && line != ".")
                    continue;
                if (!script_.CloseOn.empty() && line.rfind(script_.CloseOn, 0) == 0)
                    return;
                if (script_.Flood == 0)
                    Send(script_.Reply(line));
                if (line == "STARTTLS" && script_.Cert != nullptr && ssl_ == nullptr) {
                    if (!StartTls())
                        return;
                }
                inData = line == "DATA";
            }
        }
    }

    // Replies go out one at a time with a pause after each, so the client reads them one
    // by one, as from a real server.
    void Send(const std::string& reply) {
        if (reply.empty())
            return;
        std::this_thread::sleep_for(std::chrono::milliseconds(script_.ReplyDelayMs));
        const std::string line = reply + "\r\n";
        const std::size_t piece = script_.DripMs > 0 ? 1 : line.size();
        for (std::size_t at = 0; at < line.size(); at += piece) {
            if (Write(line.data() + at, piece) < 0)
                return;
            std::this_thread::sleep_for(std::chrono::milliseconds(script_.DripMs));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
    }

    SmtpScript script_;
    int listener_ = -1;
    int fd_ = -1;
    int port_ = 0;
    SSL_CTX* ctx_ = nullptr;
    SSL* ssl_ = nullptr;
    std::thread thread_;
    std::string received_;
    std::size_t parsed_ = 0; // received_ up to here is answered
    std::atomic<bool> accepted_{false};
};

} // namespace tessaron::test
