// The program takes the user's locale from the environment: its log dates and grouped
// numbers follow it, while the mailed log's Date header keeps the English names.

#include "EnvOverride.h"
#include "FakeSmtpServer.h"
#include "SystemSupport.h"

#include <clocale>
#include <regex>

using namespace tessaron::test;

namespace {

struct LocaleRun {
    const char* Name;
    const char* Locale;
    const char* Stamp; // every log line begins with it
    const char* Totals;
};

class UserLocale : public ::testing::TestWithParam<LocaleRun>, public Sandbox {};

TEST_P(UserLocale, DatesAndNumbersInTheLogAnEnglishDateInTheMail) {
    const LocaleRun& c = GetParam();
    if (const std::string why = LocaleMissing(c.Locale); !why.empty())
        GTEST_SKIP() << why;
    WriteFile(src / "a.bin", Bytes(1234, 'a'));
    FakeSmtpServer server(SmtpScript{});
    WriteFile(
        root / "config/tessaron/settings.ini",
        "[Software\\VELQO\\Tessaron\\Settings]\nSMTPServer=127.0.0.1\nEmailFrom=b@example.com\n"
        "SMTPPort=" +
            std::to_string(server.Port()) + "\n");
    const EnvOverride locale("LC_ALL", c.Locale), config("XDG_CONFIG_HOME", root / "config");
    SetFile set = Set();
    set.Extra = "EMail = True\r\nEMailTo = ann@example.com\r\n";
    const RunResult r = RunSet(set);
    ASSERT_EQ(r.Status, 0) << r.Out << r.Err;

    const std::string log = LastLog();
    EXPECT_TRUE(Contains(log, c.Totals)) << log;
    const std::regex stamp(std::string("^") + c.Stamp + " - ");
    std::istringstream lines(log);
    std::string line;
    while (std::getline(lines, line) && std::regex_search(line, stamp)) {
    }
    EXPECT_TRUE(lines.eof()) << "a line without the locale's time stamp: " << line;
    const std::regex date("\r\nDate: (Sun|Mon|Tue|Wed|Thu|Fri|Sat), [0-9]{1,2} "
                          "(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [0-9]{4} "
                          "[0-9]{1,2}:[0-9]{2}:[0-9]{2} [+-][0-9]{4}\r\n");
    const std::string mail = server.Received();
    EXPECT_TRUE(std::regex_search(mail, date)) << mail;
    EXPECT_TRUE(Contains(mail, c.Totals)) << mail;
    // The subject is the result; the body is the on-screen log, to the result line.
    EXPECT_TRUE(Contains(mail, "Subject: Backup Complete\r\n\r\n")) << mail;
    EXPECT_TRUE(Contains(mail, " - Backup Complete\r\n\r\n.\r\n")) << mail;
    EXPECT_FALSE(Contains(mail, "Copying " + (src / "a.bin").string())) << mail;
}

INSTANTIATE_TEST_SUITE_P(
    Locales, UserLocale,
    ::testing::Values(LocaleRun{"German", "de_DE.UTF-8",
                                "[0-9]{2}\\.[0-9]{2}\\.[0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2}",
                                "1 Files,  1.234 Bytes"},
                      LocaleRun{"C", "C", "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}",
                                "1 Files,  1,234 Bytes"}),
    tessaron::test::ParamName());

} // namespace
