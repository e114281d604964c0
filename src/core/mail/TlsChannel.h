#pragma once
// TlsChannel: the client's side of TLS over memory buffers. It never touches a socket:
// MailSocket hands it what arrived and sends what it gives, so that the mail's
// non-blocking waits and their bounds are the same with TLS as without.
//
// The server's certificate must chain to an authority the system trusts and be issued for
// the host name given to Begin (an IP address is checked as one). On Linux the system's
// authorities are OpenSSL's default ones, so SSL_CERT_FILE and SSL_CERT_DIR add or replace
// them; on Windows they are the system's certificate stores. TLS 1.2 is the oldest
// version accepted. Nothing here falls back to clear text: once failed, a channel stays so.

#include <memory>
#include <string>
#include <string_view>

namespace tessaron {

class TlsChannel {
public:
    enum class State { Handshaking, Secured, Failed };

    // The system's TLS (OpenSSL on Linux, Schannel on Windows).
    static std::unique_ptr<TlsChannel> Create();
    virtual ~TlsChannel() = default;

    // Starts the handshake with the server named host; its first bytes wait in
    // TakeOutgoing.
    virtual State Begin(const std::string& host) = 0;
    // Takes bytes that arrived from the server: they go on with the handshake, or are
    // decrypted and appended to plain.
    virtual State Receive(std::string_view wire, std::string& plain) = 0;
    // Encrypts data for the server (only once Secured; ignored otherwise).
    virtual void Send(std::string_view data) = 0;
    // The bytes to send to the server now, taken.
    virtual std::string TakeOutgoing() = 0;
    // Why the channel failed, to follow "Unable to send email - ": "the server's
    // certificate could not be verified: ..." or "the secure connection could not be
    // made: ...". Empty while it has not failed.
    virtual const std::string& Failure() const = 0;
};

// The beginnings of the failure texts, shared by the systems.
inline constexpr const char* kCertificateFailure =
    "the server's certificate could not be verified: ";
inline constexpr const char* kHandshakeFailure = "the secure connection could not be made: ";

} // namespace tessaron
