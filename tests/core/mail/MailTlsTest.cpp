// Mail over STARTTLS and TLS with a login, against the tests' own server and authority:
// what reaches the server, in clear and encrypted, and the log lines of every refusal.
#include "MailTestSupport.h"
#include "MailTlsSupport.h"
#include "TestNames.h"
#include "mail/SecretStore.h"
#include "mail/clsMailer.h"

#include <gtest/gtest.h>

namespace tessaron {
namespace {

using test::Cert;
using test::TlsServerKind;

const std::string& kUser = test::kTlsUser;
const std::string& kPassword = test::kTlsPassword;
const std::string& kPlain = test::kTlsPlain;
const std::string& kUser64 = test::kTlsUser64;
const std::string& kPassword64 = test::kTlsPassword64;
const std::string kEnvelope = "MAIL FROM:<backup@example.org>\r\nRCPT TO:<admin@example.org>\r\n"
                              "DATA\r\n";

TlsServerKind Server(Cert cert, bool tls, std::string auth = "PLAIN LOGIN", bool startTls = true) {
    return {cert, tls, std::move(auth), startTls};
}

struct TlsCase {
    const char* Name;
    TlsServerKind Kind;
    MailSecurity Security;
    std::string Server;   // as the settings name it
    std::string Password; // what the client gives (empty: a password file others can read)
    std::string Received; // a pattern ("*" at the end: anything may follow)
    std::vector<std::string> Log;
    bool Delivered;
};

class MailTls : public ::testing::TestWithParam<TlsCase> {};

TEST_P(MailTls, DeliversOnlyOverAVerifiedChannelAndNeverShowsThePassword) {
    if (const std::string why = test::TlsTestServer::Unavailable(); !why.empty())
        GTEST_SKIP() << why;
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
        test::LetOthersRead(account.PasswordFile, true);
    } else {
        account.Password = c.Password;
    }
    test::TlsTestServer server(c.Kind, c.Received.empty() ? 300 : 5000); // "": nobody will call
    ASSERT_NE(server.Port(), 0) << "the test server did not start";
    account.Port = server.Port();
    clsRegSettings settings;
    test::RecordingHost host;
    clsMailer mailer(host, settings);
    mailer.TimeoutSeconds(3);
    EXPECT_EQ(mailer.Send(account, "admin@example.org", "Backup Complete", "log\r\n"), c.Delivered);

    const std::string received = server.Received();
    EXPECT_TRUE(test::Matches(received, c.Received)) << received;
    EXPECT_EQ(host.Lines.size(), c.Log.size()) << ::testing::PrintToString(host.Lines);
    for (std::size_t i = 0; i < c.Log.size() && i < host.Lines.size(); ++i) {
        EXPECT_TRUE(test::Matches(host.Lines[i], c.Log[i])) << host.Lines[i];
    }
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
    const std::tuple<std::string, bool, std::string> cases[]{
        {"s3cr3t\r\nmore\r\n", false, "s3cr3t"},
        {"s3cr3t\n", true,
         "The password file " + file +
             " can be read by other users; allow only "
             "its owner to read it*"},
        {"\nlater", false, "The password file " + file + " holds no password on its first line"},
    };
    for (const auto& [text, others, expected] : cases) {
        test::WriteFile(file, text);
        test::LetOthersRead(file, others);
        const SecretLookup got = ReadPasswordFile(file);
        EXPECT_TRUE(test::Matches(got.Found ? got.Value : got.Why, expected))
            << got.Value << got.Why;
    }
    EXPECT_TRUE(test::Matches(ReadPasswordFile(dir.Path("none")).Why,
                              "The password file " + dir.Path("none") + " cannot be opened: *"));
}

} // namespace
} // namespace tessaron
