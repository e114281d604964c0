#include "FakeSmtpServer.h"
#include "MailTestSupport.h"
#include "TestNames.h"
#include "mail/MailSocket.h"
#include "mail/clsMailer.h"

#include <gtest/gtest.h>

namespace tessaron {
namespace {

using test::FakeSmtpServer;
using test::Matches;
using test::SmtpScript;
using Replies = std::vector<std::pair<std::string, std::string>>;

const std::string kFrom = "backup@example.org";
const std::string kTo = "admin@example.org";
const std::string kBody = "line one\r\nlast line\r\n";
const std::string kEhlo = "EHLO mail\r\n";
const std::string kMail = kEhlo + "MAIL FROM: backup@example.org\r\n";
const std::string kRcpt = kMail + "RCPT TO: admin@example.org\r\n";
const std::string kFailed = "Unable to send email - Error sending ";

// What the server receives for a whole mail whose body travels as sentBody.
std::string Whole(const std::string& sentBody) {
    return kRcpt + "DATA\r\nFrom: " + kFrom + "\r\nTo: " + kTo +
           "\r\nDate: *\r\nSubject: Backup Complete\r\n\r\n" +
           "************************ Backup Log ************************\r\n" + sentBody +
           "\r\n.\r\nQUIT\r\n";
}

std::string HideDate(std::string s) {
    if (const auto at = s.find("Date: "); at != std::string::npos)
        s.replace(at + 6, s.find('\r', at) - at - 6, "*");
    return s;
}

// Every command gets "250 OK" except those starting with a listed prefix.
SmtpScript Script(Replies special, std::string greeting = "", std::string closeOn = "") {
    SmtpScript s;
    s.GreetingDelayMs = greeting.empty() ? 0 : 300;
    s.Greeting = std::move(greeting);
    s.CloseOn = std::move(closeOn);
    s.Reply = [special](const std::string& line) {
        for (const auto& [prefix, reply] : special) {
            if (line.rfind(prefix, 0) == 0)
                return reply;
        }
        return std::string("250 OK");
    };
    return s;
}

struct Limits {
    int Timeout = 10; // seconds per wait
    int Limit = 120;  // seconds for the whole mail step
};

struct Outcome {
    test::RecordingHost Host;
    double Seconds = 0;
};

// Sends a mail through a server on 127.0.0.1 with the settings in a temporary file.
Outcome SendMail(int port, Limits limits, const std::string& body = kBody,
                 const std::string& from = kFrom, const std::string& to = kTo,
                 const std::string& subject = "Backup Complete") {
    test::TempTree dir;
    clsRegSettings settings;
    settings.SettingsFile(HKeyCurrentUser, dir.Path("settings.ini"));
    settings.SaveSetting("Settings", "SMTPServer", "127.0.0.1");
    settings.SaveSetting("Settings", "EmailFrom", from);
    Outcome out;
    clsMailer mailer(out.Host, settings);
    mailer.Port(port);
    mailer.TimeoutSeconds(limits.Timeout);
    mailer.TimeLimitSeconds(limits.Limit);
    const auto start = std::chrono::steady_clock::now();
    mailer.Send_Email(to, subject, body);
    out.Seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return out;
}

// How a server's behaviour ends the mail: what it received, the log lines, and how
// long the mail step took.
enum class Waits { Quick, OneSecond, TwoInAll };

struct Exchange {
    const char* Name;
    SmtpScript Script; // AcceptWaitMs 0: nobody listens, the connection is refused
    std::string Received;
    std::vector<std::string> Log;
    Waits Wait = Waits::Quick; // Quick: done within 3 s; else waits out the limit given
};

class MailExchange : public ::testing::TestWithParam<Exchange> {};

TEST_P(MailExchange, EndsAsTheServerAllowsAndSaysWhy) {
    const Exchange& c = GetParam();
    FakeSmtpServer server(c.Script);
    if (c.Script.AcceptWaitMs == 0)
        server.Stop();
    const Limits limits = c.Wait == Waits::OneSecond  ? Limits{1, 120}
                          : c.Wait == Waits::TwoInAll ? Limits{2, 2}
                                                      : Limits{};
    const Outcome out = SendMail(server.Port(), limits);
    const std::string received = HideDate(server.Received());
    EXPECT_TRUE(Matches(received, c.Received)) << received;
    ASSERT_EQ(out.Host.Lines.size(), c.Log.size()) << ::testing::PrintToString(out.Host.Lines);
    for (std::size_t i = 0; i < c.Log.size(); ++i) {
        EXPECT_TRUE(Matches(out.Host.Lines[i], c.Log[i])) << out.Host.Lines[i];
        EXPECT_LE(out.Host.Lines[i].size(), clsMailer::kMaxReplyShown + 80);
        EXPECT_EQ(out.Host.Lines[i].find_first_of("\r\n"), std::string::npos);
    }
    EXPECT_TRUE(out.Host.AllDisplayed);
    EXPECT_GT(out.Host.Yields, 0);
    EXPECT_GE(out.Seconds, static_cast<int>(c.Wait)); // Quick 0, OneSecond 1, TwoInAll 2
    EXPECT_LT(out.Seconds, c.Wait == Waits::Quick ? 3 : 3.5);
}

SmtpScript With(SmtpScript s, void (*change)(SmtpScript&)) {
    change(s);
    return s;
}

const Exchange kExchanges[] = {
    Exchange("Every250", Script({}), Whole(kBody), {}),
    // The greeting arrives after EHLO and is taken as its reply: the client runs one reply
    // behind the server to the end and still completes.
    Exchange("GreetingAfterEhlo",
             Script({{"EHLO", "250 hi"}, {"DATA", "354 go"}, {"QUIT", "221 bye"}}, "220 ok"),
             Whole(kBody), {}),
    // A 5xx fails at once and DATA is never sent.
    Exchange("Rcpt550", Script({{"RCPT", "550 no such user"}}), kRcpt,
             {kFailed + "RCPT TO - 550 no such user"}),
    // A server's reply is shown on one line, control characters escaped.
    Exchange("MultiLineReply", Script({{"MAIL", "553-bad\r\n553 \x1b[2Jgone"}}), kMail,
             {kFailed + "MAIL FROM - 553-bad\\r\\n553 \\x1B[2Jgone"}),
    // A 400 reply does not end the wait: the mailer waits out its time-out.
    Exchange("Reply400", Script({{"EHLO", "400 try later"}}), kEhlo,
             {kFailed + "EHLO - 400 try later"}, Waits::OneSecond),
    Exchange("NeverAnswers", Script({{"", ""}}), kEhlo, {kFailed + "EHLO - "}, Waits::OneSecond),
    // An endless run of zeros, one byte at a time, in answer to EHLO.
    Exchange("DripsOneByteAtATime",
             With(Script({{"EHLO", std::string(400, '0')}}), [](SmtpScript& s) { s.DripMs = 10; }),
             kEhlo, {kFailed + "EHLO - *"}, Waits::OneSecond),
    Exchange("EndlessReply",
             With({}, [](SmtpScript& s) { s.Flood = 64 << 20, s.DeadlineMs = 6000; }), kEhlo,
             {kFailed + "EHLO - 111*"}, Waits::OneSecond),
    // Each reply comes just inside its wait, but the whole step has 2 seconds.
    Exchange("SlowServerMeetsTheTimeLimit", With({}, [](SmtpScript& s) { s.ReplyDelayMs = 900; }),
             kMail + "*", {kFailed + "*"}, Waits::TwoInAll),
    // Once the server has closed, no reply can come: the wait ends at once.
    Exchange("ClosesMidDialogue", Script({}, "", "MAIL FROM"), kMail, {kFailed + "MAIL FROM - "}),
    Exchange("ConnectionRefused", With({}, [](SmtpScript& s) { s.AcceptWaitMs = 0; }), "",
             {"Unable to send Email - Error: Connection refused",
              "Unable to send email - Unable to connect to 127.0.0.1"}),
};

INSTANTIATE_TEST_SUITE_P(Servers, MailExchange, ::testing::ValuesIn(kExchanges), test::ParamName());

// The log text travels so that no line of it can end the message or break the SMTP
// line limit, whatever file names it holds.
struct BodyCase {
    const char* Name;
    std::string Body;
    std::string Sent;
};

class MailBody : public ::testing::TestWithParam<BodyCase> {};

TEST_P(MailBody, TravelsDotStuffedInLinesOfAtMost998) {
    FakeSmtpServer server(Script({}));
    const Outcome out = SendMail(server.Port(), {}, GetParam().Body);
    EXPECT_EQ(HideDate(server.Received()), Whole(GetParam().Sent));
    EXPECT_TRUE(out.Host.Lines.empty()) << out.Host.Lines[0];
}

const std::string kX998(998, 'x');

const BodyCase kBodies[] = {
    // Undoubled, the "." would end the data and the next line would run as a command.
    {"DotLine", "a\r\n.\r\nRCPT TO: eve@example.org\r\n",
     "a\r\n..\r\nRCPT TO: eve@example.org\r\n"},
    {"LeadingDots", "..x\r\n.y\r\n", "...x\r\n..y\r\n"},
    {"LongLine", std::string(5000, 'x') + "\r\n",
     kX998 + "\r\n" + kX998 + "\r\n" + kX998 + "\r\n" + kX998 + "\r\n" + kX998 +
         "\r\nxxxxxxxxxx\r\n"},
    {"BareLineEnds", "a\nb\rc\r\r\nd", "a\r\nb\r\nc\r\n\r\nd"},
    // The fold moves a two-byte character to the next line whole.
    {"FoldKeepsACharacterWhole", std::string(997, 'x') + "\xc3\xa9\r\n",
     std::string(997, 'x') + "\r\n\xc3\xa9\r\n"},
    // A piece that starts with "." after a fold is doubled too.
    {"FoldedPieceStartingWithADot", kX998 + ".\r\n", kX998 + "\r\n..\r\n"},
    {"DotLineOf998", "." + std::string(997, 'y'), ".." + std::string(996, 'y') + "\r\ny"},
};

INSTANTIATE_TEST_SUITE_P(Bodies, MailBody, ::testing::ValuesIn(kBodies), test::ParamName());

// A line break in a header value could smuggle SMTP commands or headers.
struct Smuggled {
    const char* Name;
    std::string From, To, Subject, What;
};

class LineBreakRefused : public ::testing::TestWithParam<Smuggled> {};

TEST_P(LineBreakRefused, BeforeConnecting) {
    const Smuggled& c = GetParam();
    SmtpScript script;
    script.AcceptWaitMs = 300;
    FakeSmtpServer server(script);
    const Outcome out = SendMail(server.Port(), {1, 120}, kBody, c.From, c.To, c.Subject);
    server.Stop();
    EXPECT_FALSE(server.Accepted());
    EXPECT_EQ(out.Host.Lines, std::vector<std::string>{"Unable to send email - The " + c.What +
                                                       " contains a carriage return or line feed"});
}

INSTANTIATE_TEST_SUITE_P(
    Headers, LineBreakRefused,
    ::testing::Values(Smuggled{"Sender", "a@x\r\nRCPT TO: evil@x", kTo, "Done", "sender address"},
                      Smuggled{"Recipient", kFrom, "b@x\nDATA", "Done", "recipient address"},
                      Smuggled{"Subject", kFrom, kTo, "Done\r\nBcc: evil@x", "subject"}),
    test::ParamName());

// A socket whose connection fails with a system text that ends in a line break, as the
// texts of some systems do.
class FailingSocket : public IMailSocket {
public:
    void Connect(const std::string&, int) override {}
    void SendData(const std::string&) override {}
    void StartTls(const std::string&) override {}
    std::string GetData() override { return {}; }
    void Close() override {}
    std::vector<Event> Poll(int) override {
        Event e;
        e.Description = "No connection could be made\r\n";
        return {e};
    }
};

TEST(Mailer, SocketErrorTextStaysOnOneLogLine) {
    test::TempTree dir;
    clsRegSettings settings;
    settings.SettingsFile(HKeyCurrentUser, dir.Path("settings.ini"));
    test::RecordingHost host;
    clsMailer(host, settings, std::make_unique<FailingSocket>()).Send_Email(kTo, "Done", kBody);
    EXPECT_EQ(host.Lines,
              (std::vector<std::string>{"Unable to send Email - Error: No connection could be made",
                                        "Unable to send email - Unable to connect to "}));
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

} // namespace
} // namespace tessaron
