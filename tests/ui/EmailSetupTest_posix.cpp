// What Email Setup decides: the port that follows the security, what OK stores (the
// password only in the credential store), and what a test mail says.
#include "FakeSmtpServer.h"
#include "MailTestSupport.h"
#include "TestNames.h"
#include "mail/SecretStore.h"
#include "mail/clsRegSettings.h"
#include "ui/EmailSetup.h"

#include <gtest/gtest.h>

namespace tessaron {
namespace {

class FakeStore : public SecretStore {
public:
    std::string Name() const override { return "the fake store"; }
    SecretLookup Lookup(const std::string&, const std::string&) override { return {}; }
    std::string Store(const std::string& server, const std::string& user,
                      const std::string& password) override {
        Kept.push_back(server + "|" + user + "|" + password);
        return Why;
    }
    std::vector<std::string> Kept;
    std::string Why;
};

TEST(EmailSetupPort, FollowsTheSecurityUnlessTypedOtherwise) {
    const std::tuple<MailSecurity, std::string, std::string> cases[]{
        {MailSecurity::StartTls, "25", "587"}, {MailSecurity::Tls, "25", "465"},
        {MailSecurity::Tls, "587", "465"},     {MailSecurity::None, "465", "25"},
        {MailSecurity::StartTls, "", "587"},   {MailSecurity::Tls, "2525", "2525"},
    };
    for (const auto& [security, port, expected] : cases)
        EXPECT_EQ(EmailSetup::PortFor(security, port), expected) << port;
}

struct SaveCase {
    const char* Name;
    std::string User, Password, StoreWhy;
    std::vector<std::string> Kept;
    bool Ok;
};

class EmailSetupSave : public ::testing::TestWithParam<SaveCase> {};

// OK stores the values as typed and the security's word; a typed password goes to the
// credential store only, and an empty box keeps what is kept.
TEST_P(EmailSetupSave, StoresTheValuesAndThePasswordOnlyInTheStore) {
    const SaveCase& c = GetParam();
    test::TempTree dir;
    clsRegSettings settings;
    settings.SettingsFile(HKeyCurrentUser, dir.Path("settings.ini"));
    FakeStore store;
    store.Why = c.StoreWhy;
    EmailSetup setup(settings, &store);
    const EmailSetupValues v{"smtp.example.org",     "me@example.org", "587",
                             MailSecurity::StartTls, c.User,           c.Password};
    const EmailSetupOutcome saved = setup.Save(v);
    EXPECT_EQ(saved.Ok, c.Ok);
    EXPECT_EQ(saved.Text.empty(), c.Ok) << saved.Text;
    EXPECT_EQ(store.Kept, c.Kept);
    EXPECT_EQ(dir.Read("settings.ini"), "[Software\\VELQO\\Tessaron\\Settings]\nSMTPServer=smtp."
                                        "example.org\nEmailFrom=me@example.org\nSMTPPort=587\n"
                                        "SMTPSecurity=STARTTLS\nSMTPUser=" +
                                            c.User + "\n");
    const EmailSetupValues again = setup.Load();
    EXPECT_EQ(std::tie(again.Server, again.Port, again.Security, again.User, again.Password),
              std::tie(v.Server, v.Port, v.Security, v.User, ""));
}

INSTANTIATE_TEST_SUITE_P(
    Ok, EmailSetupSave,
    ::testing::Values(
        SaveCase{"TypedPassword", "ann", "pw", "", {"smtp.example.org|ann|pw"}, true},
        SaveCase{"UntouchedPasswordIsKept", "ann", "", "", {}, true},
        SaveCase{"NoUserNoPassword", "", "pw", "", {}, true},
        SaveCase{"StoreRefuses", "ann", "pw", "no store", {"smtp.example.org|ann|pw"}, false}),
    test::ParamName());

// A test mail's outcome: the server's acceptance, or the failure lines with its reply
// (without an address: tests/gui/DialogsTest.cpp).
TEST(EmailSetupTestMail, SaysWhatTheServerDid) {
    const std::tuple<std::string, std::string, bool, std::string> cases[]{
        {"", "admin@example.org", true,
         "The server 127.0.0.1:* (None) accepted the test mail to "
         "admin@example.org."},
        {"550 no such user", "admin@example.org", false,
         "The test mail was not sent:\n\nUnable to send email - Error sending RCPT TO - 550 no "
         "such user"},
    };
    for (const auto& [refusal, to, ok, text] : cases) {
        test::SmtpScript script;
        script.Reply = [refusal](const std::string& line) {
            return line.rfind("RCPT", 0) == 0 && !refusal.empty() ? refusal : "250 OK";
        };
        test::FakeSmtpServer server(script);
        clsRegSettings settings;
        settings.SettingsFile(HKeyCurrentUser, "/nonexistent/settings.ini");
        EmailSetup setup(settings);
        int yields = 0;
        const EmailSetupValues v{
            "127.0.0.1", "me@example.org", std::to_string(server.Port()), MailSecurity::None, "",
            ""};
        const EmailSetupOutcome sent = setup.SendTestMail(v, to, [&] { ++yields; });
        EXPECT_EQ(sent.Ok, ok);
        EXPECT_TRUE(test::Matches(sent.Text, text)) << sent.Text;
        EXPECT_EQ(server.Received().find("Subject: Tessaron test mail\r\n") != std::string::npos,
                  ok);
        EXPECT_GT(yields, 0);
    }
}

} // namespace
} // namespace tessaron
