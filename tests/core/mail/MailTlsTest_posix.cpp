// Mail over STARTTLS and TLS with a login, against the tests' own server and authority
// (trusted through SSL_CERT_FILE): what reaches the server, in clear and encrypted, and
// the log lines of every refusal.
#include "FakeSmtpServer.h"
#include "MailTestSupport.h"
#include "TestNames.h"
#include "mail/MailSocket.h"
#include "mail/clsMailer.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace tessaron {
namespace {

using test::KeyPair;
using test::SmtpScript;

const std::string kUser = "ann";
const std::string kPassword = "s3cr3t pass";
const std::string kPlain = "AGFubgBzM2NyM3QgcGFzcw=="; // "\0ann\0s3cr3t pass"
const std::string kUser64 = "YW5u";
const std::string kPassword64 = "czNjcjN0IHBhc3M=";
const std::string kEnvelope = "MAIL FROM:<backup@example.org>\r\nRCPT TO:<admin@example.org>\r\n"
                              "DATA\r\n";

enum class Cert { Good, OtherAuthority, WrongName, Expired };

// The tests' authority, trusted for the whole program, and the certificates it issues.
class Authority {
public:
    static const Authority& Get() {
        static const Authority a;
        return a;
    }
    const KeyPair& For(Cert c) const {
        return c == Cert::Good        ? good_
               : c == Cert::WrongName ? wrongName_
               : c == Cert::Expired   ? expired_
                                      : stranger_;
    }

private:
    Authority() {
        test::WriteFile(dir_.Path("ca.pem"), trusted_.Pem());
        setenv("SSL_CERT_FILE", dir_.Path("ca.pem").c_str(), 1);
    }
    test::TempTree dir_;
    test::TestAuthority trusted_, other_{"Someone Else's Authority"};
    KeyPair good_ = trusted_.Issue("localhost"), wrongName_ = trusted_.Issue("mail.example.org"),
            expired_ = trusted_.Issue("localhost", true), stranger_ = other_.Issue("localhost");
};

// A server that offers STARTTLS (unless told not to) and AUTH with the mechanisms given,
// and takes kUser with kPassword.
SmtpScript Server(Cert cert, bool tls, std::string auth = "PLAIN LOGIN", bool startTls = true) {
    SmtpScript s;
    s.Greeting = "220 test ESMTP";
    s.Cert = &Authority::Get().For(cert);
    s.Tls = tls;
    int loginStep = 0;
    s.Reply = [=](const std::string& line) mutable -> std::string {
        if (line.rfind("EHLO", 0) == 0)
            return "250-test\r\n" + std::string(startTls ? "250-STARTTLS\r\n" : "") + "250 AUTH " +
                   auth;
        if (line == "STARTTLS")
            return "220 go ahead";
        if (line == "AUTH LOGIN" || (loginStep == 1 && line == kUser64))
            return ++loginStep, "334 next";
        if (line.rfind("AUTH", 0) == 0 || std::exchange(loginStep, 0) == 2)
            return line == "AUTH PLAIN " + kPlain || line == kPassword64
                       ? "235 ok"
                       : "535 5.7.8 Authentication credentials invalid";
        return line == "DATA" ? "354 go" : line == "QUIT" ? "221 bye" : "250 ok";
    };
    return s;
}

struct TlsCase {
    const char* Name;
    SmtpScript Script;
    MailSecurity Security;
    std::string Server;   // as the settings name it
    std::string Password; // what the client gives (empty: a password file others can read)
    std::string Received; // a pattern ("*" at the end: anything may follow)
    std::vector<std::string> Log;
    bool Delivered;
};

class MailTls : public ::testing::TestWithParam<TlsCase> {};

TEST_P(MailTls, DeliversOnlyOverAVerifiedChannelAndNeverShowsThePassword) {
    const TlsCase& c = GetParam();
    test::TempTree dir;
    MailAccount account;
    account.Server = c.Server;
    account.From = "backup@example.org";
    account.Security = c.Security;
    account.User = kUser;
    if (c.Password.empty()) {
        account.PasswordFile = dir.Path("pw");
        test::WriteFile(account.PasswordFile, kPassword);
        chmod(account.PasswordFile.c_str(), 0644);
    } else {
        account.Password = c.Password;
    }
    SmtpScript script = c.Script;
    script.AcceptWaitMs = c.Received.empty() ? 300 : script.AcceptWaitMs; // nobody will call
    test::FakeSmtpServer server(script);
    account.Port = server.Port();
    clsRegSettings settings;
    test::RecordingHost host;
    clsMailer mailer(host, settings);
    mailer.TimeoutSeconds(3);
    EXPECT_EQ(mailer.Send(account, "admin@example.org", "Backup Complete", "log\r\n"), c.Delivered);

    const std::string received = server.Received();
    EXPECT_TRUE(test::Matches(received, c.Received)) << received;
    EXPECT_TRUE(test::MatchAll(host.Lines, c.Log)) << ::testing::PrintToString(host.Lines);
    // In clear, nothing of the login; in the log, nothing of the password at all.
    if (c.Server != "127.0.0.1") {
        EXPECT_EQ(received.substr(0, received.find("[TLS]")).find("AUTH"), std::string::npos);
    }
    for (const std::string& line : host.Lines) {
        for (const std::string& secret : {kPassword, kPlain, kPassword64})
            EXPECT_EQ(line.find(secret), std::string::npos) << line;
    }
}

const std::string kStartTls = "EHLO mail\r\nSTARTTLS\r\n[TLS]";
const std::string kRefusedCert = "Unable to send email - the server's certificate could not be "
                                 "verified: ";

const TlsCase kTlsCases[] = {
    TlsCase("StartTlsWithAuthPlain", Server(Cert::Good, false), MailSecurity::StartTls, "localhost",
            kPassword, kStartTls + "EHLO mail\r\nAUTH PLAIN " + kPlain + "\r\n" + kEnvelope + "*",
            {}, true),
    TlsCase("TlsWithAuthLogin", Server(Cert::Good, true, "LOGIN"), MailSecurity::Tls, "localhost",
            kPassword,
            "[TLS]EHLO mail\r\nAUTH LOGIN\r\n" + kUser64 + "\r\n" + kPassword64 + "\r\n" +
                kEnvelope + "*",
            {}, true),
    TlsCase("UnknownAuthority", Server(Cert::OtherAuthority, false), MailSecurity::StartTls,
            "localhost", kPassword, kStartTls, {kRefusedCert + "*"}, false),
    TlsCase("WrongName", Server(Cert::WrongName, true), MailSecurity::Tls, "localhost", kPassword,
            "[TLS]", {kRefusedCert + "it was not issued for localhost"}, false),
    TlsCase("Expired", Server(Cert::Expired, false), MailSecurity::StartTls, "localhost", kPassword,
            kStartTls, {kRefusedCert + "certificate has expired"}, false),
    TlsCase("NoStartTlsOffered", Server(Cert::Good, false, "PLAIN", false), MailSecurity::StartTls,
            "localhost", kPassword, "EHLO mail\r\n",
            {"Unable to send email - The server does not offer STARTTLS"}, false),
    TlsCase(
        "WrongPassword", Server(Cert::Good, false), MailSecurity::StartTls, "localhost", "wrong",
        kStartTls + "EHLO mail\r\nAUTH PLAIN AGFubgB3cm9uZw==\r\n",
        {"Unable to send email - Error logging in - 535 5.7.8 Authentication credentials invalid"},
        false),
    TlsCase("NoLoginMechanism", Server(Cert::Good, true, "CRAM-MD5"), MailSecurity::Tls,
            "localhost", kPassword, "[TLS]EHLO mail\r\n",
            {"Unable to send email - The server offers neither AUTH PLAIN nor AUTH LOGIN"}, false),
    // A password is sent in clear only to this machine, and only when None was chosen.
    TlsCase("ClearLoginToThisMachine", Server(Cert::Good, false), MailSecurity::None, "127.0.0.1",
            kPassword, "EHLO mail\r\nAUTH PLAIN " + kPlain + "\r\n" + kEnvelope + "*", {}, true),
    TlsCase(
        "ClearLoginElsewhere", Server(Cert::Good, false), MailSecurity::None, "localhost",
        kPassword, "",
        {"Unable to send email - A login (SMTPUser) needs SMTPSecurity STARTTLS or TLS: a password "
         "is never sent unencrypted"},
        false),
    // No login is tried with a password others could read: nothing is sent at all.
    TlsCase("PasswordFileOpenToOthers", Server(Cert::Good, false), MailSecurity::StartTls,
            "localhost", "", "",
            {"Unable to send email - The password file */pw can be read by other users*"}, false),
};

INSTANTIATE_TEST_SUITE_P(Servers, MailTls, ::testing::ValuesIn(kTlsCases), test::ParamName());

// The password file is read only when nobody but its owner can read it.
TEST(PasswordFile, ReadOnlyWhenOnlyItsOwnerCanReadIt) {
    test::TempTree dir;
    const std::string file = dir.Path("pw");
    const std::tuple<std::string, mode_t, std::string> cases[]{
        {"s3cr3t\r\nmore\r\n", 0600, "s3cr3t"},
        {"s3cr3t\n", 0640,
         "can be read by other users; allow only its owner to read it (chmod 600)"},
        {"s3cr3t\n", 0604,
         "can be read by other users; allow only its owner to read it (chmod 600)"},
        {"\nlater", 0600, "holds no password on its first line"},
    };
    for (const auto& [text, mode, expected] : cases) {
        test::WriteFile(file, text);
        chmod(file.c_str(), mode);
        const SecretLookup got = ReadPasswordFile(file);
        EXPECT_EQ(got.Found ? got.Value : got.Why,
                  got.Found ? expected : "The password file " + file + " " + expected);
    }
    mkfifo(dir.Path("fifo").c_str(), 0600); // refused at once, no writer awaited
    EXPECT_EQ(ReadPasswordFile(dir.Path("fifo")).Why,
              "The password file " + dir.Path("fifo") + " is not a regular file");
    EXPECT_EQ(ReadPasswordFile(dir.Path("none")).Why,
              "The password file " + dir.Path("none") +
                  " cannot be opened: No such file or directory");
}

} // namespace
} // namespace tessaron
