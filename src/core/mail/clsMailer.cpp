#include "mail/clsMailer.h"

#include "mail/MailSocket.h"
#include "mail/TimeZone.h"

#include <array>
#include <string_view>

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

std::string TwoDigits(int n) {
    return (n < 10 ? "0" : "") + std::to_string(n);
}

bool IsContinuationByte(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Where a line longer than the limit is cut: not inside a UTF-8 character, unless the
// text there is no UTF-8 at all.
std::size_t FoldPoint(std::string_view line, std::size_t limit) {
    std::size_t cut = limit;
    for (int back = 0; back < 3 && cut > 1 && IsContinuationByte(line[cut]); ++back)
        --cut;
    return IsContinuationByte(line[cut]) ? limit : cut;
}

// Appends one line of the message, folded and dot-stuffed; the pieces of a folded line
// are joined by CR LF, and the last gets one when the line had a line end.
void AppendDataLine(std::string& out, std::string_view line, bool ended) {
    do {
        const bool dot = !line.empty() && line[0] == '.';
        const std::size_t limit = clsMailer::kMaxLineLength - (dot ? 1 : 0);
        const std::size_t take = line.size() <= limit ? line.size() : FoldPoint(line, limit);
        if (dot)
            out += '.';
        out.append(line.substr(0, take));
        line.remove_prefix(take);
        if (ended || !line.empty())
            out += kCrLf;
    } while (!line.empty());
}

// Outside text as the end of one log line: a trailing line break dropped, control
// characters shown escaped, at most kMaxReplyShown characters.
std::string OneLine(std::string_view reply) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    while (!reply.empty() && (reply.back() == '\n' || reply.back() == '\r'))
        reply.remove_suffix(1);
    std::string out;
    for (const char c : reply.substr(0, clsMailer::kMaxReplyShown)) {
        const auto u = static_cast<unsigned char>(c);
        if (c == '\r') {
            out += "\\r";
        } else if (c == '\n') {
            out += "\\n";
        } else if ((u < 0x20 && c != '\t') || u == 0x7F) {
            out += "\\x";
            out += kHex[u >> 4];
            out += kHex[u & 15];
        } else {
            out += c;
        }
    }
    return reply.size() > clsMailer::kMaxReplyShown ? out + "..." : out;
}

} // namespace

clsMailer::clsMailer(IMailHost& host, const clsRegSettings& settings)
    : clsMailer(host, settings, std::make_unique<MailSocket>()) {}

clsMailer::clsMailer(IMailHost& host, const clsRegSettings& settings,
                     std::unique_ptr<IMailSocket> socket)
    : host_(host), settings_(settings), socket_(std::move(socket)) {}

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

void clsMailer::TimeLimitSeconds(int seconds) {
    timeLimitSeconds_ = seconds < 0 ? 0 : seconds;
}

std::string clsMailer::FormatMailDate(std::time_t moment) {
    static constexpr std::array<const char*, 7> kDays{"Sun", "Mon", "Tue", "Wed",
                                                      "Thu", "Fri", "Sat"};
    static constexpr std::array<const char*, 12> kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    std::tm tm{};
    if (localtime_r(&moment, &tm) == nullptr || tm.tm_wday < 0 || tm.tm_wday > 6 || tm.tm_mon < 0 ||
        tm.tm_mon > 11)
        return "";
    // The day and the hour have no leading zero.
    return std::string(kDays[static_cast<std::size_t>(tm.tm_wday)]) + ", " +
           std::to_string(tm.tm_mday) + " " + kMonths[static_cast<std::size_t>(tm.tm_mon)] + " " +
           std::to_string(tm.tm_year + 1900) + " " + std::to_string(tm.tm_hour) + ":" +
           TwoDigits(tm.tm_min) + ":" + TwoDigits(tm.tm_sec) + " " +
           TimeZone(moment).FormatTimeZone();
}

std::string clsMailer::SmtpData(const std::string& message) {
    std::string out;
    out.reserve(message.size() + message.size() / 32 + 16);
    std::size_t start = 0;
    while (start < message.size()) {
        const std::size_t end = message.find_first_of("\r\n", start);
        const std::string_view line =
            std::string_view(message).substr(start, end == std::string::npos ? end : end - start);
        AppendDataLine(out, line, end != std::string::npos);
        if (end == std::string::npos)
            break;
        // CR LF is one line end; a CR or LF alone is one too.
        start = end + (message.compare(end, 2, kCrLf) == 0 ? 2 : 1);
    }
    return out;
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
        // Without a server, say why the settings gave none (e.g. no regular file there).
        if (server.empty() && !settings_.LastError().empty()) {
            host_.AddLogLine("Unable to send email - " + settings_.LastError(), true);
            return;
        }
        const std::string from = settings_.GetSetting(kSection, "EmailFrom", "");
        if (RefuseUnsafe(from, recipient, subject))
            return;
        const std::string message =
            BuildMessage(from, recipient, subject, body, std::time(nullptr));
        stepEnd_ = Clock::now() + std::chrono::seconds(timeLimitSeconds_);
        replyBuffer_.clear();
        connected_ = false;
        socketFailed_ = false;
        socket_->Connect(server, Port());
        if (!WaitForConnection()) {
            // The socket stays as it is; the next mail or the mailer's end closes it.
            host_.AddLogLine("Unable to send email - Unable to connect to " + server, true);
            return;
        }
        Send_Email_Worker(from, recipient, message);
        socket_->Close();
    } catch (...) {
        // An unexpected failure ends the mail quietly; the backup's outcome stands.
    }
}

bool clsMailer::WaitForConnection() {
    const long long deadline = NowSeconds() + timeoutSeconds_;
    while (!connected_) {
        // A refused connection or an unknown name cannot come up any more.
        if (socketFailed_ || NowSeconds() > deadline || OutOfTime())
            return false;
        DoEvents();
    }
    return true;
}

bool clsMailer::Send_Email_Worker(const std::string& sender, const std::string& recipient,
                                  const std::string& message) {
    const std::array<std::pair<std::string, Step>, 5> steps{{
        {"EHLO mail", {"250", "Unable to send email - Error sending EHLO - "}},
        {"MAIL FROM: " + sender, {"250", "Unable to send email - Error sending MAIL FROM - "}},
        {"RCPT TO: " + recipient, {"250", "Unable to send email - Error sending RCPT TO - "}},
        {"DATA", {"354", "Unable to send email - Error sending DATA - "}},
        {SmtpData(message) + kCrLf + ".",
         {"250", "Unable to send email - Error sending message data - "}},
    }};
    for (const auto& [text, step] : steps) {
        socket_->SendData(text + kCrLf);
        if (!Winsock_WaitFor(step.Code)) {
            host_.AddLogLine(step.Failure + OneLine(replyBuffer_), true);
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
        // Once the connection is closed or has failed, no reply can arrive.
        if (!connected_ || socketFailed_)
            return false;
        DoEvents();
        head = replyBuffer_.substr(0, 3);
        if (head > "400")
            return false;
        if (NowSeconds() > deadline || OutOfTime())
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
    socketFailed_ = true;
    host_.AddLogLine("Unable to send Email - Error: " + OneLine(description), true);
    socket_->Close();
}

void clsMailer::DoEvents() {
    for (const IMailSocket::Event& e : socket_->Poll(kPollMs)) {
        switch (e.Kind) {
        case IMailSocket::Notice::Connect:
            Winsock1_Connect();
            break;
        case IMailSocket::Notice::DataArrival:
            Winsock1_DataArrival(e.Bytes);
            break;
        case IMailSocket::Notice::Close:
            Winsock1_Close();
            break;
        case IMailSocket::Notice::Error:
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
