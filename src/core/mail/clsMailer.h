#pragma once
// clsMailer: mails the backup log as one plain-text message over SMTP.
//
// Two ways of talking, chosen by the account (MailAccount). With security None and no
// user it is the raw conversation mail always had: EHLO at once, replies taken by their
// first three characters, "220" and "250" good for any step, bare addresses, no MIME.
// With STARTTLS, TLS or a login the conversation is strict: the greeting is awaited, every
// reply is read whole and must carry the expected code, addresses go in angle brackets
// and the message declares UTF-8 text. STARTTLS is sent only when the server's EHLO reply
// offers it, and then EHLO is said again over TLS; with TLS the first byte is encrypted.
// When TLS cannot be had (not offered, a certificate that cannot be verified, a failed
// handshake) nothing more is sent: there is no fallback to clear text. A login (AUTH PLAIN,
// else AUTH LOGIN, as the server offers) goes only over TLS, or in clear to the server on
// this machine (127.0.0.1, ::1) when the user chose None. The password is looked up
// before connecting; without one nothing is sent.
// The mailer never throws and never shows anything: every outcome is a line in the run's
// log through IMailHost::AddLogLine (display = true). It runs on the caller's thread;
// its waits poll the socket briefly and call IMailHost::Yield on every turn, and the
// socket's connect, data, close and error notices are handled inside those waits.
//
// Nothing a server or the log text holds can take the conversation over or keep it
// going: the message travels dot-stuffed with CR LF line ends and lines of at most 998
// characters (SmtpData), each wait is bounded, the whole mail step ends within
// TimeLimitSeconds, and a connection that fails, closes or cannot be made ends the
// wait at once.
//
// How the backup run uses it, after logging the run's result line:
//     clsMailer mailer(host, settings);       // settings: the process's clsRegSettings
//     mailer.Send_Email(setup.EmailTo, resultText, logText);

#include "mail/IMailHost.h"
#include "mail/MailAccount.h"
#include "mail/SecretStore.h"
#include "mail/clsRegSettings.h"

#include <chrono>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

namespace tessaron {

class IMailSocket;

class clsMailer {
public:
    // host and settings must outlive the mailer. The account (ReadMailAccount) is read
    // from section "Settings" at each Send_Email.
    clsMailer(IMailHost& host, const clsRegSettings& settings);
    // Talks through the given socket instead of the system's (scripted servers).
    clsMailer(IMailHost& host, const clsRegSettings& settings, std::unique_ptr<IMailSocket> socket);
    ~clsMailer();
    clsMailer(const clsMailer&) = delete;
    clsMailer& operator=(const clsMailer&) = delete;

    // Asks this credential store for passwords instead of the system's (not owned; it must
    // outlive the mailer).
    void Secrets(SecretStore& store) { secrets_ = &store; }
    // The server's TCP port. Until set, the account's port.
    void Port(int port);
    int Port() const;
    // Seconds to wait for the connection and for each reply (default 30), counted on
    // a one-second clock, so a wait ends between seconds and seconds + 1 later.
    void TimeoutSeconds(int seconds);
    int TimeoutSeconds() const { return timeoutSeconds_; }
    // The whole mail step, from connecting to the reply to QUIT, ends at the latest this
    // many seconds after it began (default 120), however slowly the server answers; the
    // wait cut short logs its step's failure line.
    void TimeLimitSeconds(int seconds);
    int TimeLimitSeconds() const { return timeLimitSeconds_; }

    // Builds the message, connects, runs the dialogue and closes. All outcomes go to
    // the log. A sender or recipient holding a carriage return or line feed (or a
    // subject holding one), or a server the settings cannot give (LastError of the
    // settings store is logged), is refused with a log line before any connection is
    // made. A connection that fails (refused, name not found)
    // logs the socket's error line and "Unable to send email - Unable to connect to " + server at
    // once.
    void Send_Email(const std::string& recipient, const std::string& subject,
                    const std::string& body);
    // The same with the given account instead of the settings' (a test mail with values
    // not stored yet). True when the server accepted the message; every failure is
    // logged: an account Problem, a login without encryption to another machine, a
    // password that cannot be had (its reason), and each failure of the conversation.
    bool Send(const MailAccount& account, const std::string& recipient, const std::string& subject,
              const std::string& body);
    // The SMTP commands on an open connection: EHLO, MAIL FROM, RCPT TO, DATA, the
    // message as SmtpData, QUIT. Logs the failing step with the server's reply (on one
    // line: a trailing line break dropped, control characters shown as \r, \n or \xHH,
    // at most kMaxReplyShown characters) and stops there. True when the server accepted
    // the message.
    bool Send_Email_Worker(const std::string& sender, const std::string& recipient,
                           const std::string& message);
    // Waits for a reply: true when the buffered reply begins with code, "220" or "250"
    // (the buffer is then emptied); false at once when it begins with text that sorts
    // above "400" or when the connection is closed or has failed (no reply can come any
    // more), and false when the time-out or the mail step's time limit passes. The
    // buffer is kept for the log line. In the strict conversation: true only for a
    // whole reply (every line of it) with exactly that code, which is then taken from
    // the buffer; false at once for a whole reply with another code.
    bool Winsock_WaitFor(const std::string& code);

    // The socket's four notices, raised inside the mailer's waits.
    void Winsock1_Connect();
    void Winsock1_Close();
    void Winsock1_DataArrival(long bytesTotal);
    void Winsock1_Error(int number, const std::string& description);

    // The whole message text for the given header values and moment (local time, with
    // the zone in force then): From, To, Date, Subject, an empty line, the banner line
    // and the body as passed.
    // With mime, the header also says the body is UTF-8 text.
    static std::string BuildMessage(const std::string& from, const std::string& to,
                                    const std::string& subject, const std::string& body,
                                    std::time_t moment, bool mime = false);
    // The Date header's value for a moment, e.g. "Thu, 5 Nov 2026 9:07:03 -0500". The
    // weekday and month names are English whatever the user's locale, as mail requires.
    static std::string FormatMailDate(std::time_t moment);
    // A message as it travels after DATA, before the final CR LF "." CR LF: every line
    // ends in CR LF (a bare CR or LF is a line end too), a line longer than
    // kMaxLineLength characters is folded (not inside a UTF-8 character), and a line
    // beginning with "." gets a second "." in front, so that no text ends the data
    // early. A last line without a line end stays without one.
    static std::string SmtpData(const std::string& message);

    static constexpr std::size_t kMaxLineLength = 998;
    static constexpr std::size_t kMaxReplyShown = 1000;
    // The most a strict reply may hold before it is taken for a failure.
    static constexpr std::size_t kMaxReply = 64 * 1024;

private:
    using Clock = std::chrono::steady_clock;

    void DoEvents();
    long long NowSeconds() const;
    bool OutOfTime() const { return Clock::now() >= stepEnd_; }
    bool WaitForConnection();
    bool RefuseUnsafe(const std::string& from, const std::string& recipient,
                      const std::string& subject);
    void Fail(const std::string& why);
    std::string Hidden(std::string text) const;
    bool TakePassword(const MailAccount& account, std::string& password);
    bool WaitForWholeReply(const std::string& code);
    bool Step(const std::string& command, const char* code, const std::string& failure);
    bool Secure(const std::string& server);
    bool LogIn(const MailAccount& account, const std::string& password);
    bool StrictExchange(const MailAccount& account, const std::string& password,
                        const std::string& recipient, const std::string& message);

    IMailHost& host_;
    const clsRegSettings& settings_;
    std::unique_ptr<IMailSocket> socket_;
    SecretStore* secrets_ = nullptr;
    std::string replyBuffer_;
    std::string lastReply_;           // the last whole reply accepted in the strict conversation
    std::vector<std::string> hidden_; // the password in the forms it travels, kept out of the log
    bool strict_ = false;
    bool secured_ = false; // the connection is encrypted
    bool connected_ = false;
    bool socketFailed_ = false; // an Error or TlsFailed notice since the last connect
    int port_ = 0;
    int timeoutSeconds_ = 30;
    int timeLimitSeconds_ = 120;
    Clock::time_point stepEnd_ = Clock::time_point::max();
};

} // namespace tessaron
