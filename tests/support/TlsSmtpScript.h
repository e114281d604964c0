#pragma once
// The script of the tests' TLS SMTP server (Linux, OpenSSL): the tests' authority, the
// certificates it issues, and the replies of a server of a given kind. Shared by the Linux
// tests and tls_smtp_helper, the server the Windows tests reach under Wine.

#include "FakeSmtpServer.h"
#include "MailTlsSupport.h"

#include <utility>

namespace tessaron::test {

// The tests' authority (Trusted) and the certificates of every kind.
class TlsAuthority {
public:
    static const TlsAuthority& Get() {
        static const TlsAuthority a;
        return a;
    }
    const KeyPair& For(Cert c) const {
        return c == Cert::Good        ? good_
               : c == Cert::WrongName ? wrongName_
               : c == Cert::Expired   ? expired_
                                      : stranger_;
    }
    const TestAuthority& Trusted() const { return trusted_; }

private:
    TlsAuthority() = default;
    // Named for the process: the Windows tests under Wine trust the authorities of servers
    // run at the same time, and Wine picks an issuer by its name alone.
    TestAuthority trusted_{"Tessaron Test Authority " + std::to_string(getpid())},
        other_{"Someone Else's Authority"};
    KeyPair good_ = trusted_.Issue("localhost"), wrongName_ = trusted_.Issue("mail.example.org"),
            expired_ = trusted_.Issue("localhost", true), stranger_ = other_.Issue("localhost");
};

inline SmtpScript TlsScript(const TlsServerKind& kind, int acceptWaitMs) {
    SmtpScript s;
    s.Greeting = "220 test ESMTP";
    s.Cert = &TlsAuthority::Get().For(kind.Certificate);
    s.Tls = kind.Tls;
    s.AcceptWaitMs = acceptWaitMs;
    int loginStep = 0;
    s.Reply = [=](const std::string& line) mutable -> std::string {
        if (line.rfind("EHLO", 0) == 0)
            return "250-test\r\n" + std::string(kind.StartTls ? "250-STARTTLS\r\n" : "") +
                   "250 AUTH " + kind.Auth;
        if (line == "STARTTLS")
            return "220 go ahead";
        if (line == "AUTH LOGIN" || (loginStep == 1 && line == kTlsUser64))
            return ++loginStep, "334 next";
        if (line.rfind("AUTH", 0) == 0 || std::exchange(loginStep, 0) == 2)
            return line == "AUTH PLAIN " + kTlsPlain || line == kTlsPassword64
                       ? "235 ok"
                       : "535 5.7.8 Authentication credentials invalid";
        return line == "DATA" ? "354 go" : line == "QUIT" ? "221 bye" : "250 ok";
    };
    return s;
}

} // namespace tessaron::test
