#include "FakeSmtpServer.h"
#include "MailTestSupport.h"
#include "mail/clsMailer.h"

#include <gtest/gtest.h>

namespace tessaron {
namespace {

using test::FakeSmtpServer;
using test::SmtpScript;
using Replies = std::vector<std::pair<std::string, std::string>>;

const std::string kFrom = "backup@example.org";
const std::string kTo = "admin@example.org";
// A body line starting with "." goes out as it is: the mailer does no dot doubling.
const std::string kBody = "line one\r\n.hidden\r\nlast line\r\n";
const std::string kEhlo = "EHLO mail\r\n";
const std::string kMail = kEhlo + "MAIL FROM: backup@example.org\r\n";
const std::string kRcpt = kMail + "RCPT TO: admin@example.org\r\n";
const std::string kWhole = kRcpt + "DATA\r\nFrom: " + kFrom + "\r\nTo: " + kTo +
                           "\r\nDate: *\r\nSubject: Backup Complete\r\n\r\n" +
                           "************************ Backup Log ************************\r\n" +
                           kBody + "\r\n.\r\nQUIT\r\n";
const std::string kFailed = "Unable to send email - Error sending ";

std::string HideDate(std::string s) {
    if (const auto at = s.find("Date: "); at != std::string::npos)
        s.replace(at + 6, s.find('\r', at) - at - 6, "*");
    return s;
}

// Every command gets "250 OK" except those starting with a listed prefix.
SmtpScript Script(Replies special, std::string greeting = "", std::string closeOn = "",
                  int acceptWaitMs = 5000) {
    SmtpScript s;
    s.GreetingDelayMs = greeting.empty() ? 0 : 300;
    s.Greeting = std::move(greeting);
    s.CloseOn = std::move(closeOn);
    s.AcceptWaitMs = acceptWaitMs;
    s.Reply = [special](const std::string& line) {
        for (const auto& [prefix, reply] : special) {
            if (line.rfind(prefix, 0) == 0)
                return reply;
        }
        return std::string("250 OK");
    };
    return s;
}

struct Outcome {
    test::RecordingHost Host;
    double Seconds = 0;
};

// Sends the standard mail through a server on 127.0.0.1.
Outcome SendMail(int port, int timeout, const std::string& from = kFrom,
                 const std::string& to = kTo, const std::string& subject = "Backup Complete") {
    test::TempTree dir;
    clsRegSettings settings;
    settings.SettingsFile(HKeyCurrentUser, dir.Path("settings.ini"));
    settings.SaveSetting("Settings", "SMTPServer", "127.0.0.1");
    settings.SaveSetting("Settings", "EmailFrom", from);
    Outcome out;
    clsMailer mailer(out.Host, settings);
    mailer.Port(port);
    mailer.TimeoutSeconds(timeout);
    const auto start = std::chrono::steady_clock::now();
    mailer.Send_Email(to, subject, kBody);
    out.Seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return out;
}

TEST(Mailer, SendsWhatTheServerAllowsAndLogsTheOutcome) {
    struct Case {
        std::string Name;
        SmtpScript Script; // AcceptWaitMs 0: nobody listens, the connection is refused
        std::string Received;
        std::string Log;      // the log lines, each followed by "|"
        bool WaitsForTimeout; // of 1 s; else the time-out is 10 s and the send ends well before
    };
    const Case cases[]{
        {"Every250", Script({}), kWhole, "", false},
        // The greeting arrives after EHLO and is taken as its reply: the client runs one
        // reply behind the server to the end and still completes.
        {"GreetingAfterEhlo",
         Script({{"EHLO", "250 hi"}, {"DATA", "354 go"}, {"QUIT", "221 bye"}}, "220 ok"), kWhole,
         "", false},
        // A 5xx fails at once and DATA is never sent.
        {"Rcpt550", Script({{"RCPT", "550 no such user"}}), kRcpt,
         kFailed + "RCPT TO - 550 no such user\r\n|", false},
        // A 400 reply does not end the wait: the mailer waits out its time-out.
        {"Reply400", Script({{"EHLO", "400 try later"}}), kEhlo,
         kFailed + "EHLO - 400 try later\r\n|", true},
        {"Silence", Script({{"", ""}}), kEhlo, kFailed + "EHLO - |", true},
        {"ClosesMidDialogue", Script({}, "", "MAIL FROM"), kMail, kFailed + "MAIL FROM - |", true},
        {"ConnectionRefused", Script({}, "", "", 0), "",
         "Unable to send Email - Error: Connection refused|"
         "Unable to send email - Unable to connect to 127.0.0.1|",
         true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.Name);
        FakeSmtpServer server(c.Script);
        if (c.Script.AcceptWaitMs == 0)
            server.Stop();
        const Outcome out = SendMail(server.Port(), c.WaitsForTimeout ? 1 : 10);
        EXPECT_EQ(HideDate(server.Received()), c.Received);
        std::string log;
        for (const std::string& line : out.Host.Lines)
            log += line + "|";
        EXPECT_EQ(log, c.Log);
        EXPECT_TRUE(out.Host.AllDisplayed);
        EXPECT_GT(out.Host.Yields, 0);
        EXPECT_GE(out.Seconds, c.WaitsForTimeout ? 1 : 0);
        EXPECT_LT(out.Seconds, c.WaitsForTimeout ? 4 : 3);
    }
}

TEST(Mailer, EndlessReplyEndsAtTheTimeoutWithABoundedLogLine) {
    SmtpScript script;
    script.Flood = 64 * 1024 * 1024;
    script.DeadlineMs = 6000;
    FakeSmtpServer server(script);
    const Outcome out = SendMail(server.Port(), 1);
    EXPECT_LT(out.Seconds, 4);
    ASSERT_EQ(out.Host.Lines.size(), 1u);
    EXPECT_EQ(out.Host.Lines[0].rfind(kFailed + "EHLO - ", 0), 0u);
    EXPECT_LE(out.Host.Lines[0].size(), 64 * 1024 + 64);
}

// A line break in a header value could smuggle SMTP commands.
TEST(Mailer, LineBreakInAnAddressOrSubjectIsRefusedBeforeConnecting) {
    const std::string cases[][4]{
        {"a@x\r\nRCPT TO: evil@x", kTo, "Done", "sender address"},
        {kFrom, "b@x\nDATA", "Done", "recipient address"},
        {kFrom, kTo, "Done\r\nBcc: evil@x", "subject"},
    };
    for (const auto& [from, to, subject, what] : cases) {
        FakeSmtpServer server(Script({}, "", "", 300));
        const Outcome out = SendMail(server.Port(), 1, from, to, subject);
        server.Stop();
        EXPECT_FALSE(server.Accepted()) << what;
        EXPECT_EQ(out.Host.Lines, std::vector<std::string>{"Unable to send email - The " + what +
                                                           " contains a carriage return or line "
                                                           "feed"});
    }
}

TEST(Mailer, PortComesFromTheSettingsWhenItIsAValidNumber) {
    const std::pair<std::string, int> cases[]{{"", 25},      {"2525", 2525}, {"0", 25},
                                              {"70000", 25}, {"25x", 25},    {"-5", 25}};
    test::TempTree dir;
    clsRegSettings settings;
    settings.SettingsFile(HKeyCurrentUser, dir.Path("settings.ini"));
    test::RecordingHost host;
    for (const auto& [stored, expected] : cases) {
        settings.SaveSetting("Settings", "SMTPPort", stored);
        clsMailer mailer(host, settings);
        EXPECT_EQ(mailer.Port(), expected) << stored;
    }
}

TEST(MailDate, OneDigitHourAndTheZoneInForceAtTheMoment) {
    const std::string us = "EST5EDT,M3.2.0,M11.1.0";
    const std::tuple<std::string, std::time_t, std::string> cases[]{
        {us, test::Utc(2026, 11, 5, 14, 7, 3), "Thu, 5 Nov 2026 9:07:03 -0500"},
        {us, test::Utc(2026, 7, 4, 4, 0, 9), "Sat, 4 Jul 2026 0:00:09 -0400"},
        {"IST-5:30", test::Utc(2026, 1, 1, 0, 0, 0), "Thu, 1 Jan 2026 5:30:00 +0530"},
        {"NPT-5:45", test::Utc(2026, 12, 31, 18, 15, 0), "Fri, 1 Jan 2027 0:00:00 +0545"},
        {"NST3:30NDT,M3.2.0,M11.1.0", test::Utc(2026, 1, 10, 12, 0, 0),
         "Sat, 10 Jan 2026 8:30:00 -0330"},
        {"UTC0", test::Utc(2026, 2, 28, 23, 59, 59), "Sat, 28 Feb 2026 23:59:59 +0000"},
    };
    for (const auto& [tz, moment, expected] : cases) {
        test::EnvOverride zone("TZ", tz);
        EXPECT_EQ(clsMailer::FormatMailDate(moment), expected) << tz;
    }
}

} // namespace
} // namespace tessaron
