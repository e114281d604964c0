#include "FakeSmtpServer.h"
#include "MailTestSupport.h"
#include "mail/clsMailer.h"

#include <gtest/gtest.h>

namespace tessaron {
namespace {

using test::FakeSmtpServer;
using test::SmtpScript;
using Clock = std::chrono::steady_clock;

const std::string kFrom = "backup@example.org";
const std::string kTo = "admin@example.org";
const std::string kBody = "line one\r\n.hidden\r\nlast line\r\n";
const std::string kEhlo = "EHLO mail\r\n";
const std::string kMail = "MAIL FROM: backup@example.org\r\n";
const std::string kRcpt = "RCPT TO: admin@example.org\r\n";
const std::string kData = "DATA\r\n";
const std::string kMessage = "From: backup@example.org\r\nTo: admin@example.org\r\nDate: *\r\n"
                             "Subject: Backup Complete\r\n\r\n"
                             "************************ Backup Log ************************\r\n" +
                             kBody + "\r\n.\r\n";
const std::string kWhole = kEhlo + kMail + kRcpt + kData + kMessage + "QUIT\r\n";

std::string HideDate(std::string s) {
    const auto start = s.find("Date: ");
    if (start != std::string::npos)
        s.replace(start + 6, s.find('\r', start) - start - 6, "*");
    return s;
}

int UnusedPort() {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
    getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len);
    close(fd);
    return ntohs(addr.sin_port);
}

// Answers every command with "250 OK" except those named.
std::function<std::string(const std::string&)>
Answers(std::vector<std::pair<std::string, std::string>> special) {
    return [special](const std::string& line) {
        for (const auto& [prefix, reply] : special) {
            if (line.rfind(prefix, 0) == 0)
                return reply;
        }
        return std::string("250 OK");
    };
}

class MailerFixture {
public:
    MailerFixture() {
        settings.SettingsFile(HKeyCurrentUser, dir.File("settings.ini"));
        settings.SaveSetting("Settings", "SMTPServer", "127.0.0.1");
        settings.SaveSetting("Settings", "EmailFrom", kFrom);
    }
    // Sends the standard mail and returns how many seconds it took.
    double Send(int port, int timeout, const std::string& to = kTo,
                const std::string& subject = "Backup Complete") {
        clsMailer mailer(host, settings);
        mailer.Port(port);
        mailer.TimeoutSeconds(timeout);
        const auto start = Clock::now();
        mailer.Send_Email(to, subject, kBody);
        return std::chrono::duration<double>(Clock::now() - start).count();
    }

    test::TempDir dir;
    clsRegSettings settings;
    test::RecordingHost host;
};

struct DialogueCase {
    std::string Name;
    SmtpScript Script;
    bool Listening;
    int Timeout;
    std::string Received;
    std::vector<std::string> Log;
    double MinSeconds;
    double MaxSeconds;
};

SmtpScript Script(std::function<std::string(const std::string&)> reply, std::string greeting = "",
                  int greetingDelay = 0, std::string closeOn = "") {
    SmtpScript s;
    s.Reply = std::move(reply);
    s.Greeting = std::move(greeting);
    s.GreetingDelayMs = greetingDelay;
    s.CloseOn = std::move(closeOn);
    return s;
}

class MailerDialogue : public ::testing::TestWithParam<DialogueCase> {};

TEST_P(MailerDialogue, SendsWhatTheServerAllowsAndLogsTheOutcome) {
    const DialogueCase& c = GetParam();
    MailerFixture f;
    std::optional<FakeSmtpServer> server;
    if (c.Listening)
        server.emplace(c.Script);
    const double seconds = f.Send(server ? server->Port() : UnusedPort(), c.Timeout);
    if (server) {
        server->Stop();
        EXPECT_EQ(HideDate(server->Received()), c.Received);
    }
    EXPECT_EQ(f.host.Lines, c.Log);
    EXPECT_TRUE(f.host.AllDisplayed);
    EXPECT_GT(f.host.Yields, 0);
    EXPECT_GE(seconds, c.MinSeconds);
    EXPECT_LT(seconds, c.MaxSeconds);
}

const auto kGreetingLate = Answers(
    {{"EHLO", "250 hello"}, {"DATA", "354 go ahead"}, {".", "250 queued"}, {"QUIT", "221 bye"}});

INSTANTIATE_TEST_SUITE_P(
    Servers, MailerDialogue,
    ::testing::Values(
        DialogueCase{"Every250", Script(Answers({})), true, 10, kWhole, {}, 0, 3},
        DialogueCase{"GreetingAfterEhlo",
                     Script(kGreetingLate, "220 ready", 300),
                     true,
                     10,
                     kWhole,
                     {},
                     0,
                     4},
        // Only the greeting answers the EHLO wait; the rest of the dialogue is in step.
        DialogueCase{"GreetingAnswersEhlo",
                     Script(Answers({{"EHLO", ""}, {"DATA", "354 go ahead"}, {"QUIT", "221 bye"}}),
                            "220 ready", 300),
                     true,
                     10,
                     kWhole,
                     {},
                     0,
                     4},
        DialogueCase{"Rcpt550",
                     Script(Answers({{"RCPT", "550 no such user"}})),
                     true,
                     10,
                     kEhlo + kMail + kRcpt,
                     {"Unable to send email - Error sending RCPT TO - 550 no such user\r\n"},
                     0,
                     3},
        DialogueCase{"Reply400WaitsForTimeout",
                     Script(Answers({{"EHLO", "400 try later"}})),
                     true,
                     1,
                     kEhlo,
                     {"Unable to send email - Error sending EHLO - 400 try later\r\n"},
                     1,
                     4},
        DialogueCase{"Silence",
                     Script([](const std::string&) { return std::string(); }),
                     true,
                     1,
                     kEhlo,
                     {"Unable to send email - Error sending EHLO - "},
                     1,
                     4},
        DialogueCase{"ClosesMidDialogue",
                     Script(Answers({}), "", 0, "MAIL FROM"),
                     true,
                     1,
                     kEhlo + kMail,
                     {"Unable to send email - Error sending MAIL FROM - "},
                     1,
                     4},
        DialogueCase{"ConnectionRefused",
                     {},
                     false,
                     1,
                     "",
                     {"Unable to send Email - Error: Connection refused",
                      "Unable to send email - Unable to connect to 127.0.0.1"},
                     1,
                     4}),
    [](const auto& param) { return param.param.Name; });

TEST(Mailer, EndlessReplyEndsAtTheTimeoutWithABoundedLogLine) {
    MailerFixture f;
    SmtpScript script;
    script.Flood = 64 * 1024 * 1024;
    script.DeadlineMs = 6000;
    FakeSmtpServer server(script);
    const double seconds = f.Send(server.Port(), 1);
    server.Stop();
    ASSERT_EQ(f.host.Lines.size(), 1u);
    const std::string prefix = "Unable to send email - Error sending EHLO - ";
    EXPECT_EQ(f.host.Lines[0].rfind(prefix, 0), 0u);
    EXPECT_LE(f.host.Lines[0].size(), prefix.size() + 64 * 1024);
    EXPECT_LT(seconds, 4);
}

TEST(Mailer, UnresolvableServerIsASocketError) {
    MailerFixture f;
    f.settings.SaveSetting("Settings", "SMTPServer", "no-such-host.invalid");
    f.Send(25, 0);
    ASSERT_EQ(f.host.Lines.size(), 2u);
    EXPECT_EQ(f.host.Lines[0].rfind("Unable to send Email - Error: ", 0), 0u);
    EXPECT_EQ(f.host.Lines[1], "Unable to send email - Unable to connect to no-such-host.invalid");
}

struct InjectionCase {
    std::string From, To, Subject, Log;
};

class MailerInjection : public ::testing::TestWithParam<InjectionCase> {};

TEST_P(MailerInjection, LineBreakIsRefusedBeforeConnecting) {
    const InjectionCase& c = GetParam();
    MailerFixture f;
    f.settings.SaveSetting("Settings", "EmailFrom", c.From);
    SmtpScript script;
    script.AcceptWaitMs = 300;
    FakeSmtpServer server(script);
    f.Send(server.Port(), 1, c.To, c.Subject);
    server.Stop();
    EXPECT_FALSE(server.Accepted());
    EXPECT_EQ(f.host.Lines, std::vector<std::string>{c.Log});
}

INSTANTIATE_TEST_SUITE_P(
    Addresses, MailerInjection,
    ::testing::Values(
        InjectionCase{"a@x\r\nRCPT TO: evil@x", kTo, "Backup Complete",
                      "Unable to send email - The sender address contains a carriage return "
                      "or line feed"},
        InjectionCase{kFrom, "b@x\nDATA", "Backup Complete",
                      "Unable to send email - The recipient address contains a carriage "
                      "return or line feed"},
        InjectionCase{kFrom, kTo, "Done\r\nBcc: evil@x",
                      "Unable to send email - The subject contains a carriage return or line "
                      "feed"}));

TEST(Mailer, PortComesFromTheSettingsUnlessSet) {
    const std::vector<std::pair<std::string, int>> cases{{"", 25},      {"2525", 2525}, {"0", 25},
                                                         {"70000", 25}, {"25x", 25},    {"-5", 25}};
    for (const auto& [stored, expected] : cases) {
        MailerFixture f;
        f.settings.SaveSetting("Settings", "SMTPPort", stored);
        clsMailer mailer(f.host, f.settings);
        EXPECT_EQ(mailer.Port(), expected) << stored;
        mailer.Port(587);
        EXPECT_EQ(mailer.Port(), 587);
    }
}

struct DateCase {
    const char* Tz;
    std::time_t Moment;
    const char* Expected;
};

class MailDate : public ::testing::TestWithParam<DateCase> {};

TEST_P(MailDate, ReadsWithOneDigitHourAndZoneText) {
    const DateCase& c = GetParam();
    test::EnvOverride tz("TZ", c.Tz);
    EXPECT_EQ(clsMailer::FormatMailDate(c.Moment), c.Expected);
}

INSTANTIATE_TEST_SUITE_P(
    Zones, MailDate,
    ::testing::Values(
        DateCase{"EST5EDT,M3.2.0,M11.1.0", test::Utc(2026, 11, 5, 14, 7, 3),
                 "Thu, 5 Nov 2026 9:07:03 -0500"},
        DateCase{"EST5EDT,M3.2.0,M11.1.0", test::Utc(2026, 7, 4, 4, 0, 9),
                 "Sat, 4 Jul 2026 0:00:09 -0400"},
        DateCase{"IST-5:30", test::Utc(2026, 1, 1, 0, 0, 0), "Thu, 1 Jan 2026 5:30:00 +0530"},
        DateCase{"NPT-5:45", test::Utc(2026, 12, 31, 18, 15, 0), "Fri, 1 Jan 2027 0:00:00 +0545"},
        DateCase{"NST3:30NDT,M3.2.0,M11.1.0", test::Utc(2026, 1, 10, 12, 0, 0),
                 "Sat, 10 Jan 2026 8:30:00 -0330"},
        DateCase{"UTC0", test::Utc(2026, 2, 28, 23, 59, 59), "Sat, 28 Feb 2026 23:59:59 +0000"}));

TEST(MailDate, NamedZoneFromTheZoneDatabase) {
    if (!std::filesystem::exists("/usr/share/zoneinfo/America/New_York"))
        GTEST_SKIP() << "no zone database";
    test::EnvOverride tz("TZ", "America/New_York");
    EXPECT_EQ(clsMailer::FormatMailDate(test::Utc(2026, 11, 5, 14, 7, 3)),
              "Thu, 5 Nov 2026 9:07:03 -0500");
}

TEST(MailMessage, HeaderBannerAndBodyInOrder) {
    test::EnvOverride tz("TZ", "UTC0");
    EXPECT_EQ(clsMailer::BuildMessage("a@x", "b@y", "Backup Cancelled", "x\r\n.\r\n",
                                      test::Utc(2026, 3, 1, 9, 5, 0)),
              "From: a@x\r\nTo: b@y\r\nDate: Sun, 1 Mar 2026 9:05:00 +0000\r\n"
              "Subject: Backup Cancelled\r\n\r\n"
              "************************ Backup Log ************************\r\nx\r\n.\r\n");
}

} // namespace
} // namespace tessaron
