// TLS on POSIX: OpenSSL 3 over a pair of memory BIOs, verified against OpenSSL's default
// authorities (which honour SSL_CERT_FILE and SSL_CERT_DIR).
#include "mail/TlsChannel.h"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <arpa/inet.h>

namespace tessaron {

namespace {

struct Freer {
    void operator()(SSL_CTX* ctx) const { SSL_CTX_free(ctx); }
    void operator()(SSL* ssl) const { SSL_free(ssl); }
};

bool IsAddress(const std::string& host) {
    unsigned char buf[16];
    return inet_pton(AF_INET, host.c_str(), buf) == 1 ||
           inet_pton(AF_INET6, host.c_str(), buf) == 1;
}

// The reason of the oldest error OpenSSL queued on this thread, or of the failed call.
std::string QueuedReason(int sslError) {
    const unsigned long code = ERR_get_error();
    ERR_clear_error();
    if (code != 0) {
        const char* reason = ERR_reason_error_string(code);
        return reason != nullptr ? reason : "error " + std::to_string(code);
    }
    return sslError == SSL_ERROR_SYSCALL || sslError == SSL_ERROR_ZERO_RETURN
               ? "the server ended the connection"
               : "TLS error " + std::to_string(sslError);
}

class OpenSslChannel : public TlsChannel {
public:
    State Begin(const std::string& host) override {
        ERR_clear_error();
        host_ = host;
        ctx_.reset(SSL_CTX_new(TLS_client_method()));
        if (!ctx_ || SSL_CTX_set_min_proto_version(ctx_.get(), TLS1_2_VERSION) != 1 ||
            SSL_CTX_set_default_verify_paths(ctx_.get()) != 1)
            return Fail(kHandshakeFailure + QueuedReason(0));
        SSL_CTX_set_verify(ctx_.get(), SSL_VERIFY_PEER, nullptr);
        ssl_.reset(SSL_new(ctx_.get()));
        BIO* in = BIO_new(BIO_s_mem());
        BIO* out = BIO_new(BIO_s_mem());
        if (!ssl_ || in == nullptr || out == nullptr) {
            BIO_free(in);
            BIO_free(out);
            return Fail(kHandshakeFailure + QueuedReason(0));
        }
        SSL_set_bio(ssl_.get(), in, out);
        in_ = in;
        out_ = out;
        // The name is checked against the certificate; a name (not an address) is also
        // sent, so that a server with several names picks the right certificate.
        if (SSL_set1_host(ssl_.get(), host.c_str()) != 1 ||
            (!IsAddress(host) && SSL_set_tlsext_host_name(ssl_.get(), host.c_str()) != 1))
            return Fail(kHandshakeFailure + QueuedReason(0));
        SSL_set_connect_state(ssl_.get());
        return Handshake();
    }

    State Receive(std::string_view wire, std::string& plain) override {
        if (state_ == State::Failed)
            return state_;
        ERR_clear_error();
        BIO_write(in_, wire.data(), static_cast<int>(wire.size()));
        if (state_ == State::Handshaking && Handshake() != State::Secured)
            return state_;
        char buf[16384];
        for (;;) {
            const int n = SSL_read(ssl_.get(), buf, sizeof buf);
            if (n > 0) {
                plain.append(buf, static_cast<std::size_t>(n));
                continue;
            }
            const int error = SSL_get_error(ssl_.get(), n);
            // WANT_READ: the rest of a record has not arrived yet. A close_notify ends
            // the data; the socket's own close follows.
            if (error != SSL_ERROR_WANT_READ && error != SSL_ERROR_ZERO_RETURN)
                Fail(kHandshakeFailure + QueuedReason(error));
            return state_;
        }
    }

    void Send(std::string_view data) override {
        if (state_ != State::Secured || data.empty())
            return;
        ERR_clear_error();
        // A memory BIO takes everything: the write is whole or fails.
        if (SSL_write(ssl_.get(), data.data(), static_cast<int>(data.size())) <= 0)
            Fail(kHandshakeFailure + QueuedReason(0));
    }

    std::string TakeOutgoing() override {
        std::string bytes;
        if (out_ == nullptr)
            return bytes;
        bytes.resize(BIO_ctrl_pending(out_));
        if (!bytes.empty())
            bytes.resize(static_cast<std::size_t>(
                BIO_read(out_, bytes.data(), static_cast<int>(bytes.size()))));
        return bytes;
    }

    const std::string& Failure() const override { return failure_; }

private:
    State Handshake() {
        const int rc = SSL_do_handshake(ssl_.get());
        if (rc == 1)
            return state_ = State::Secured;
        const int error = SSL_get_error(ssl_.get(), rc);
        if (error == SSL_ERROR_WANT_READ)
            return state_;
        const long verified = SSL_get_verify_result(ssl_.get());
        if (verified != X509_V_OK)
            return Fail(kCertificateFailure + CertificateReason(verified));
        return Fail(kHandshakeFailure + QueuedReason(error));
    }

    std::string CertificateReason(long verified) const {
        if (verified == X509_V_ERR_HOSTNAME_MISMATCH || verified == X509_V_ERR_IP_ADDRESS_MISMATCH)
            return "it was not issued for " + host_;
        return X509_verify_cert_error_string(verified);
    }

    State Fail(std::string why) {
        ERR_clear_error();
        if (state_ != State::Failed)
            failure_ = std::move(why);
        return state_ = State::Failed;
    }

    std::unique_ptr<SSL_CTX, Freer> ctx_;
    std::unique_ptr<SSL, Freer> ssl_;
    BIO* in_ = nullptr;  // owned by ssl_
    BIO* out_ = nullptr; // owned by ssl_
    std::string host_;
    std::string failure_;
    State state_ = State::Handshaking;
};

} // namespace

std::unique_ptr<TlsChannel> TlsChannel::Create() {
    return std::make_unique<OpenSslChannel>();
}

} // namespace tessaron
