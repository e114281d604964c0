#pragma once
// clsMailer: mails the backup log as one plain-text message over a raw SMTP
// conversation (no authentication, no TLS, no MIME, no dot doubling).
// The mailer never throws and never shows anything: every outcome is a line in the run's
// log through IMailHost::AddLogLine (display = true). It runs on the caller's thread;
// its waits poll the socket briefly and call IMailHost::Yield on every turn, and the
// socket's connect, data, close and error notices are handled inside those waits.
//
// How the backup run uses it, after logging the run's result line:
//     clsMailer mailer(host, settings);       // settings: the process's clsRegSettings
//     mailer.Send_Email(setup.EmailTo, resultText, logText);

#include "mail/IMailHost.h"
#include "mail/clsRegSettings.h"

#include <ctime>
#include <memory>
#include <string>

namespace tessaron {

class MailSocket;

class clsMailer {
public:
    // host and settings must outlive the mailer. The server ("SMTPServer") and sender
    // ("EmailFrom") are read from section "Settings" at each Send_Email.
    clsMailer(IMailHost& host, const clsRegSettings& settings);
    ~clsMailer();
    clsMailer(const clsMailer&) = delete;
    clsMailer& operator=(const clsMailer&) = delete;

    // The server's TCP port. Until set, Send_Email takes the "SMTPPort" value of
    // section "Settings" when it is a number from 1 to 65535, else 25.
    void Port(int port);
    int Port() const;
    // Seconds to wait for the connection and for each reply (default 30), counted on
    // a one-second clock, so a wait ends between seconds and seconds + 1 later.
    void TimeoutSeconds(int seconds);
    int TimeoutSeconds() const { return timeoutSeconds_; }

    // Builds the message, connects, runs the dialogue and closes. All outcomes go to
    // the log. A sender or recipient holding a carriage return or line feed (or a
    // subject holding one) is refused with a log line before any connection is made.
    void Send_Email(const std::string& recipient, const std::string& subject,
                    const std::string& body);
    // The SMTP commands on an open connection: EHLO, MAIL FROM, RCPT TO, DATA, the
    // message, QUIT. Logs the failing step with the server's reply and stops there.
    // True when the server accepted the message.
    bool Send_Email_Worker(const std::string& sender, const std::string& recipient,
                           const std::string& message);
    // Waits for a reply: true when the buffered reply begins with code, "220" or "250"
    // (the buffer is then emptied); false at once when it begins with text that sorts
    // above "400", or when the time-out passes (the buffer is kept for the log line).
    bool Winsock_WaitFor(const std::string& code);

    // The socket's four notices, raised inside the mailer's waits.
    void Winsock1_Connect();
    void Winsock1_Close();
    void Winsock1_DataArrival(long bytesTotal);
    void Winsock1_Error(int number, const std::string& description);

    // The whole message text for the given header values and moment (local time, with
    // the zone in force then): From, To, Date, Subject, an empty line, the banner line
    // and the body as passed.
    static std::string BuildMessage(const std::string& from, const std::string& to,
                                    const std::string& subject, const std::string& body,
                                    std::time_t moment);
    // The Date header's value for a moment, e.g. "Thu, 5 Nov 2026 9:07:03 -0500".
    static std::string FormatMailDate(std::time_t moment);

private:
    void DoEvents();
    long long NowSeconds() const;
    bool RefuseUnsafe(const std::string& from, const std::string& recipient,
                      const std::string& subject);

    IMailHost& host_;
    const clsRegSettings& settings_;
    std::unique_ptr<MailSocket> socket_;
    std::string replyBuffer_;
    bool connected_ = false;
    int port_ = 0;
    int timeoutSeconds_ = 30;
};

} // namespace tessaron
