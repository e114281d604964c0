// A run whose mail fails: the failure is logged after the result, which it leaves alone.
// (What a mailed run sends: UserLocaleTest, on the whole program.)
#include "EngineTestSupport.h"
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
