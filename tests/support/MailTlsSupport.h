#pragma once
// The tests' SMTP server with STARTTLS, TLS and a login, as each system runs it, and the
// account it takes. Its certificates come from the tests' own authority, which the test
// process trusts while a server runs. Linux: the server is a thread of the test, the
// authority trusted through SSL_CERT_FILE. Windows under Wine: the server is a Linux
// program (tls_smtp_helper, OpenSSL) the test starts, reached over 127.0.0.1, its
// authority added to the user's trusted roots for the life of the server.

#include <memory>
#include <string>

namespace tessaron::test {

inline const std::string kTlsUser = "ann";
inline const std::string kTlsPassword = "s3cr3t pass";
inline const std::string kTlsPlain = "AGFubgBzM2NyM3QgcGFzcw=="; // "\0ann\0s3cr3t pass"
inline const std::string kTlsUser64 = "YW5u";
inline const std::string kTlsPassword64 = "czNjcjN0IHBhc3M=";

// The certificate the server shows: issued by the trusted authority for localhost, by
// another authority, for another name, or expired.
enum class Cert { Good, OtherAuthority, WrongName, Expired };

// A server that offers STARTTLS (unless StartTls is false) and AUTH with the mechanisms
// Auth, and takes kTlsUser with kTlsPassword; with Tls it speaks TLS from the first byte.
struct TlsServerKind {
    Cert Certificate = Cert::Good;
    bool Tls = false;
    std::string Auth = "PLAIN LOGIN";
    bool StartTls = true;
};

class TlsTestServer {
public:
    // Why this system cannot run the server ("" when it can): a test skips with it.
    static std::string Unavailable();
    // Serves one connection, waiting acceptWaitMs for it.
    TlsTestServer(const TlsServerKind& kind, int acceptWaitMs);
    ~TlsTestServer();
    TlsTestServer(const TlsTestServer&) = delete;
    TlsTestServer& operator=(const TlsTestServer&) = delete;

    // The port on 127.0.0.1; 0 when the server could not be started.
    int Port() const;
    // Everything received, "[TLS]" where TLS began; waits for the server to end.
    std::string Received();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// Lets every user of the machine read the file at path (others true), or its owner only.
void LetOthersRead(const std::string& path, bool others);

} // namespace tessaron::test
