// The tests' TLS SMTP server on Linux: a thread of the test, its authority trusted through
// SSL_CERT_FILE for the whole test program.
#include "MailTlsSupport.h"
#include "TempTree.h"
#include "TlsSmtpScript.h"

#include <sys/stat.h>

namespace tessaron::test {

struct TlsTestServer::Impl {
    explicit Impl(SmtpScript script) : Server(std::move(script)) {}
    FakeSmtpServer Server;
};

std::string TlsTestServer::Unavailable() {
    return "";
}

TlsTestServer::TlsTestServer(const TlsServerKind& kind, int acceptWaitMs) {
    static const TempTree dir;
    [[maybe_unused]] static const bool trusted = [] {
        WriteFile(dir.Path("ca.pem"), TlsAuthority::Get().TrustedPem());
        return setenv("SSL_CERT_FILE", dir.Path("ca.pem").c_str(), 1) == 0;
    }();
    impl_ = std::make_unique<Impl>(TlsScript(kind, acceptWaitMs));
}

TlsTestServer::~TlsTestServer() = default;

int TlsTestServer::Port() const {
    return impl_->Server.Port();
}

std::string TlsTestServer::Received() {
    return impl_->Server.Received();
}

void LetOthersRead(const std::string& path, bool others) {
    chmod(path.c_str(), others ? 0644 : 0600);
}

} // namespace tessaron::test
