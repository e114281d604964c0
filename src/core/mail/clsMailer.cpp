#include "mail/clsMailer.h"

#include "mail/MailSocket.h"
#include "mail/TimeZone.h"

#include <array>
#include <chrono>

namespace tessaron {

namespace {

constexpr const char* kCrLf = "\r\n";
constexpr const char* kSection = "Settings";
constexpr int kDefaultPort = 25;
// Each turn of a wait polls the socket this long before letting the host run.
constexpr int kPollMs = 20;

struct Step {
    const char* Code;
    const char* Failure;
};

bool HasLineBreak(const std::string& s) {
    return s.find_first_of("\r\n") != std::string::npos;
}

int ParsePort(const std::string& text) {
    if (text.empty() || text.size() > 5 ||
        text.find_first_not_of("0123456789") != std::string::npos)
        return 0;
    const int port = std::stoi(text);
    return port >= 1 && port <= 65535 ? port : 0;
}

std::string Strftime(const char* format, const std::tm& tm) {
    char buf[64];
    const std::size_t n = std::strftime(buf, sizeof buf, format, &tm);
    return std::string(buf, n);
}

std::string TwoDigits(int n) {
    return (n < 10 ? "0" : "") + std::to_string(n);
}

} // namespace

clsMailer::clsMailer(IMailHost& host, const clsRegSettings& settings)
    : host_(host), settings_(settings), socket_(std::make_unique<MailSocket>()) {}

clsMailer::~clsMailer() = default;

void clsMailer::Port(int port) {
    if (port >= 1 && port <= 65535)
        port_ = port;
}

int clsMailer::Port() const {
    if (port_ != 0)
        return port_;
    const int stored = ParsePort(settings_.GetSetting(kSection, "SMTPPort", ""));
    return stored != 0 ? stored : kDefaultPort;
}

void clsMailer::TimeoutSeconds(int seconds) {
    timeoutSeconds_ = seconds < 0 ? 0 : seconds;
}

std::string clsMailer::FormatMailDate(std::time_t moment) {
    std::tm tm{};
    if (localtime_r(&moment, &tm) == nullptr)
        return "";
    // Weekday and month names follow the C library's time locale; the day and the
    // hour have no leading zero.
    return Strftime("%a", tm) + ", " + std::to_string(tm.tm_mday) + " " + Strftime("%b", tm) + " " +
           std::to_string(tm.tm_year + 1900) + " " + std::to_string(tm.tm_hour) + ":" +
           TwoDigits(tm.tm_min) + ":" + TwoDigits(tm.tm_sec) + " " +
           TimeZone(moment).FormatTimeZone();
}

std::string clsMailer::BuildMessage(const std::string& from, const std::string& to,
                                    const std::string& subject, const std::string& body,
                                    std::time_t moment) {
    std::string message;
    message += "From: " + from + kCrLf;
    message += "To: " + to + kCrLf;
    message += "Date: " + FormatMailDate(moment) + kCrLf;
    message += "Subject: " + subject + kCrLf + kCrLf;
    message += "************************ Backup Log ************************";
    message += kCrLf;
    message += body;
    return message;
}

bool clsMailer::RefuseUnsafe(const std::string& from, const std::string& recipient,
                             const std::string& subject) {
    // A line break would let a crafted address or subject add SMTP commands or headers.
    const char* what = HasLineBreak(from)        ? "sender address"
                       : HasLineBreak(recipient) ? "recipient address"
                       : HasLineBreak(subject)   ? "subject"
                                                 : nullptr;
    if (what == nullptr)
        return false;
    host_.AddLogLine(std::string("Unable to send email - The ") + what +
                         " contains a carriage return or line feed",
                     true);
    return true;
}

void clsMailer::Send_Email(const std::string& recipient, const std::string& subject,
                           const std::string& body) {
    try {
        const std::string server = settings_.GetSetting(kSection, "SMTPServer", "");
        const std::string from = settings_.GetSetting(kSection, "EmailFrom", "");
        if (RefuseUnsafe(from, recipient, subject))
            return;
        const std::string message =
            BuildMessage(from, recipient, subject, body, std::time(nullptr));
        replyBuffer_.clear();
        connected_ = false;
        socket_->Connect(server, Port());
        const long long deadline = NowSeconds() + timeoutSeconds_;
        while (!connected_) {
            if (NowSeconds() > deadline) {
                // The socket stays as it is; the next mail or the mailer's end closes it.
                host_.AddLogLine("Unable to send email - Unable to connect to " + server, true);
                return;
            }
            DoEvents();
        }
        Send_Email_Worker(from, recipient, message);
        socket_->Close();
    } catch (...) {
        // An unexpected failure ends the mail quietly; the backup's outcome stands.
    }
}

bool clsMailer::Send_Email_Worker(const std::string& sender, const std::string& recipient,
                                  const std::string& message) {
    const std::array<std::pair<std::string, Step>, 5> steps{{
        {"EHLO mail", {"250", "Unable to send email - Error sending EHLO - "}},
        {"MAIL FROM: " + sender, {"250", "Unable to send email - Error sending MAIL FROM - "}},
        {"RCPT TO: " + recipient, {"250", "Unable to send email - Error sending RCPT TO - "}},
        {"DATA", {"354", "Unable to send email - Error sending DATA - "}},
        // Sent as it is: no dot doubling, so a line holding only "." ends it early.
        {message + kCrLf + ".", {"250", "Unable to send email - Error sending message data - "}},
    }};
    for (const auto& [text, step] : steps) {
        socket_->SendData(text + kCrLf);
        if (!Winsock_WaitFor(step.Code)) {
            host_.AddLogLine(step.Failure + replyBuffer_, true);
            return false;
        }
    }
    socket_->SendData(std::string("QUIT") + kCrLf);
    Winsock_WaitFor("221");
    return true;
}

bool clsMailer::Winsock_WaitFor(const std::string& code) {
    const long long deadline = NowSeconds() + timeoutSeconds_;
    for (;;) {
        std::string head = replyBuffer_.substr(0, 3);
        // "220" and "250" are taken for any awaited code: a late greeting answers the
        // EHLO wait and every later reply then lands one wait behind.
        if (head == code || head == "220" || head == "250") {
            replyBuffer_.clear();
            return true;
        }
        DoEvents();
        head = replyBuffer_.substr(0, 3);
        if (head > "400")
            return false;
        if (NowSeconds() > deadline)
            return false;
    }
}

void clsMailer::Winsock1_Connect() {
    connected_ = true;
}

void clsMailer::Winsock1_Close() {
    connected_ = false;
}

void clsMailer::Winsock1_DataArrival(long /*bytesTotal*/) {
    try {
        // Each arrival replaces the buffer, which therefore never holds more than one
        // read's worth of a long or endless reply.
        if (connected_)
            replyBuffer_ = socket_->GetData();
    } catch (...) {
    }
}

void clsMailer::Winsock1_Error(int /*number*/, const std::string& description) {
    host_.AddLogLine("Unable to send Email - Error: " + description, true);
    socket_->Close();
}

void clsMailer::DoEvents() {
    for (const MailSocket::Event& e : socket_->Poll(kPollMs)) {
        switch (e.Kind) {
        case MailSocket::Notice::Connect:
            Winsock1_Connect();
            break;
        case MailSocket::Notice::DataArrival:
            Winsock1_DataArrival(e.Bytes);
            break;
        case MailSocket::Notice::Close:
            Winsock1_Close();
            break;
        case MailSocket::Notice::Error:
            Winsock1_Error(e.Number, e.Description);
            break;
        }
    }
    host_.Yield();
}

long long clsMailer::NowSeconds() const {
    using namespace std::chrono;
    return duration_cast<seconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace tessaron
