// A run that asks for mail sends its result and its on-screen log to the SMTP server.
#include "EngineTestSupport.h"
#include "FakeSmtpServer.h"
#include "mail/clsRegSettings.h"

namespace tessaron::test {
namespace {

class MailRunTest : public EngineTest {
protected:
    // Points the run's mail settings at a fake server on the loopback.
    void UseServer(int port) {
        settings.SettingsFile(HKeyCurrentUser, (root / "settings.ini").string());
        settings.SaveSetting("Settings", "SMTPServer", "127.0.0.1");
        settings.SaveSetting("Settings", "EmailFrom", "backup@example.com");
        settings.SaveSetting("Settings", "SMTPPort", std::to_string(port));
        setup.Email = true;
        setup.EmailTo = "ann@example.com";
    }
    bool Run() {
        return RunBackup([&](BackupEngine& engine) {
            engine.Settings(settings);
            engine.MailTimeout(2);
        });
    }
    clsRegSettings settings;
};

// The subject is the result and the body the on-screen log up to the result line,
// whatever the result.
TEST_F(MailRunTest, ResultIsTheSubjectAndTheLogTheBody) {
    struct Case {
        bool makeSource;
        const char* result;
    } cases[] = {{true, "Backup Complete"}, {false, "Error During Backup"}};
    for (const Case& c : cases) {
        fs::remove_all(src);
        fs::create_directories(src);
        if (c.makeSource) {
            WriteFile(src / "a.txt", "hello");
        } else {
            fs::remove_all(src); // the selected folder is gone: the run fails
        }
        FakeSmtpServer server(SmtpScript{});
        UseServer(server.Port());
        Run();
        server.Stop();
        const std::string got = server.Received();
        EXPECT_NE(got.find("RCPT TO: ann@example.com\r\n"), std::string::npos) << c.result;
        EXPECT_NE(got.find("Subject: " + std::string(c.result) + "\r\n\r\n"), std::string::npos)
            << got;
        const size_t body =
            got.find("************************ Backup Log ************************");
        ASSERT_NE(body, std::string::npos) << got;
        EXPECT_NE(got.find("Starting Backup (FULL)...", body), std::string::npos);
        // The body ends with the result line, then the end-of-data mark.
        EXPECT_NE(got.find(" - " + std::string(c.result) + "\r\n\r\n.\r\n", body),
                  std::string::npos)
            << got;
        // Lines kept off the screen are not mailed.
        EXPECT_EQ(got.find("Copying " + (src / "a.txt").string()), std::string::npos);
        EXPECT_TRUE(view.Shows(c.result));
    }
}

// A mail that fails (nothing listens) is logged after the result, which it leaves alone.
// (An address that could smuggle SMTP commands is refused by the mailer: MailerTest.)
TEST_F(MailRunTest, FailureLeavesTheResultAlone) {
    WriteFile(src / "a.txt", "a");
    UseServer(1);
    EXPECT_TRUE(Run());
    const auto result = std::find(view.lines.begin(), view.lines.end(), "Backup Complete");
    ASSERT_NE(result, view.lines.end());
    ASSERT_NE(result + 1, view.lines.end()); // the mailer's own lines follow the result
    EXPECT_EQ(result[1].rfind("Unable to send", 0), 0u) << result[1];
}

} // namespace
} // namespace tessaron::test
