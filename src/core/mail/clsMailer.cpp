#include "mail/clsMailer.h"

#include "mail/MailSocket.h"
#include "mail/SecretStore.h"
#include "mail/TimeZone.h"
#include "mail/TlsChannel.h"
#include "platform/Trim.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

namespace tessaron {

namespace {

constexpr const char* kCrLf = "\r\n";
constexpr const char* kUnable = "Unable to send email - ";
constexpr const char* kEhloFailure = "Unable to send email - Error sending EHLO - ";
// Each turn of a wait polls the socket this long before letting the host run.
constexpr int kPollMs = 20;

struct Step_ {
    const char* Code;
    const char* Failure;
};

bool HasLineBreak(const std::string& s) {
    return s.find_first_of("\r\n") != std::string::npos;
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
    std::size_t taken = 0;
    // The bound is on what is shown: an escaped character takes up to four.
    for (; taken < reply.size() && out.size() < clsMailer::kMaxReplyShown; ++taken) {
        const char c = reply[taken];
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
    return taken < reply.size() ? out + "..." : out;
}

// The length of the first whole reply in text: its lines up to the one whose code is not
// followed by "-", with that line's end. 0 while it is not whole yet.
std::size_t WholeReply(std::string_view text) {
    for (std::size_t start = 0;;) {
        const std::size_t end = text.find('\n', start);
        if (end == std::string_view::npos)
            return 0;
        if (end - start < 4 || text[start + 3] != '-')
            return end + 1;
        start = end + 1;
    }
}

std::string Upper(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    return out;
}

// The words of the EHLO reply's line for an extension ("STARTTLS", "AUTH"), each in upper
// case with the keyword first; empty when no line names it. "AUTH=PLAIN" (an old form)
// counts as "AUTH PLAIN".
std::vector<std::string> Extension(std::string_view reply, const std::string& keyword) {
    for (std::size_t start = 0; start < reply.size();) {
        std::size_t end = reply.find('\n', start);
        end = end == std::string_view::npos ? reply.size() : end;
        std::string line = Upper(reply.substr(start, end - start));
        start = end + 1;
        std::vector<std::string> words;
        for (std::size_t at = 4; at < line.size();) {
            const std::size_t stop = std::min(line.find_first_of(" =\r", at), line.size());
            if (stop > at)
                words.push_back(line.substr(at, stop - at));
            at = stop + 1;
        }
        if (!words.empty() && words[0] == keyword)
            return words;
    }
    return {};
}

bool Offers(const std::vector<std::string>& words, const char* word) {
    return std::find(words.begin() + (words.empty() ? 0 : 1), words.end(), word) != words.end();
}

std::string Base64(std::string_view data) {
    static constexpr char kDigits[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t i = 0; i < data.size(); i += 3) {
        const std::size_t n = std::min<std::size_t>(3, data.size() - i);
        std::uint32_t v = 0;
        for (std::size_t k = 0; k < 3; ++k)
            v = v << 8 | (k < n ? static_cast<unsigned char>(data[i + k]) : 0u);
        for (std::size_t k = 0; k < 4; ++k)
            out += k <= n ? kDigits[(v >> (18 - 6 * k)) & 63] : '=';
    }
    return out;
}

// The bare address of "Ann Lee <ann@example.org>" or of "ann@example.org".
std::string AddressOf(const std::string& text) {
    const std::size_t open = text.rfind('<');
    const std::size_t close = text.find('>', open == std::string::npos ? 0 : open);
    if (open != std::string::npos && close != std::string::npos)
        return text.substr(open + 1, close - open - 1);
    return TrimWhiteSpace(text);
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
    return port_ != 0 ? port_ : ReadMailAccount(settings_).Port;
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
                                    std::time_t moment, bool mime) {
    std::string message;
    message += "From: " + from + kCrLf;
    message += "To: " + to + kCrLf;
    message += "Date: " + FormatMailDate(moment) + kCrLf;
    message += "Subject: " + subject + kCrLf;
    if (mime)
        message += std::string("MIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n") +
                   "Content-Transfer-Encoding: 8bit\r\n";
    message += kCrLf;
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
    Send(ReadMailAccount(settings_), recipient, subject, body);
}

void clsMailer::Fail(const std::string& why) {
    host_.AddLogLine(kUnable + OneLine(Hidden(why)), true);
}

bool clsMailer::Send(const MailAccount& account, const std::string& recipient,
                     const std::string& subject, const std::string& body) {
    try {
        if (!account.Problem.empty()) {
            Fail(account.Problem);
            return false;
        }
        std::string password;
        hidden_.clear();
        if (RefuseUnsafe(account.From, recipient, subject) ||
            (!account.User.empty() && !TakePassword(account, password)))
            return false;
        strict_ = account.Security != MailSecurity::None || !account.User.empty();
        const std::string message =
            BuildMessage(account.From, recipient, subject, body, std::time(nullptr), strict_);
        stepEnd_ = Clock::now() + std::chrono::seconds(timeLimitSeconds_);
        replyBuffer_.clear();
        connected_ = secured_ = socketFailed_ = false;
        socket_->Connect(account.Server, port_ != 0 ? port_ : account.Port);
        if (!WaitForConnection()) {
            // The socket stays as it is; the next mail or the mailer's end closes it.
            Fail("Unable to connect to " + account.Server);
            return false;
        }
        const bool sent = strict_ ? StrictExchange(account, password, recipient, message)
                                  : Send_Email_Worker(account.From, recipient, message);
        socket_->Close();
        return sent;
    } catch (...) {
        // An unexpected failure ends the mail quietly; the backup's outcome stands.
    }
    return false;
}

bool clsMailer::TakePassword(const MailAccount& account, std::string& password) {
    if (account.Security == MailSecurity::None && !IsLoopback(account.Server)) {
        Fail("A login (SMTPUser) needs SMTPSecurity STARTTLS or TLS: a password is never sent "
             "unencrypted");
        return false;
    }
    const std::string whose = account.User + " at " + account.Server;
    SecretLookup found;
    if (account.Password) {
        found = {true, *account.Password, ""};
    } else if (!account.PasswordFile.empty()) {
        found = ReadPasswordFile(account.PasswordFile);
    } else {
        const std::unique_ptr<SecretStore> own = secrets_ ? nullptr : SecretStore::Create();
        SecretStore& store = secrets_ ? *secrets_ : *own;
        found = store.Lookup(account.Server, account.User);
        found.Why = found.Found ? ""
                    : found.Why.empty()
                        ? "No password is kept for " + whose + " in " + store.Name() +
                              "; enter it in Email Setup, or name a password file "
                              "(SMTPPasswordFile)"
                        : "No password for " + whose + ": " + found.Why +
                              "; name a password file (SMTPPasswordFile) instead";
    }
    if (!found.Found) {
        Fail(found.Why);
        return false;
    }
    password = found.Value;
    // A server that repeats a refused command in its reply must not put the password
    // into the log.
    hidden_ = {password, Base64(password),
               Base64(std::string(1, '\0') + account.User + '\0' + password)};
    return true;
}

std::string clsMailer::Hidden(std::string text) const {
    for (const std::string& secret : hidden_) {
        for (std::size_t at; !secret.empty() && (at = text.find(secret)) != std::string::npos;)
            text.replace(at, secret.size(), "***");
    }
    return text;
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
    const std::array<std::pair<std::string, Step_>, 5> steps{{
        {"EHLO mail", {"250", kEhloFailure}},
        {"MAIL FROM: " + sender, {"250", "Unable to send email - Error sending MAIL FROM - "}},
        {"RCPT TO: " + recipient, {"250", "Unable to send email - Error sending RCPT TO - "}},
        {"DATA", {"354", "Unable to send email - Error sending DATA - "}},
        {SmtpData(message) + kCrLf + ".",
         {"250", "Unable to send email - Error sending message data - "}},
    }};
    for (const auto& [text, step] : steps) {
        if (!Step(text, step.Code, step.Failure))
            return false;
    }
    socket_->SendData(std::string("QUIT") + kCrLf);
    Winsock_WaitFor("221");
    return true;
}

bool clsMailer::Step(const std::string& command, const char* code, const std::string& failure) {
    socket_->SendData(command + kCrLf);
    if (Winsock_WaitFor(code))
        return true;
    host_.AddLogLine(failure + OneLine(Hidden(replyBuffer_)), true);
    return false;
}

bool clsMailer::StrictExchange(const MailAccount& account, const std::string& password,
                               const std::string& recipient, const std::string& message) {
    if (account.Security == MailSecurity::Tls && !Secure(account.Server))
        return false;
    if (!Winsock_WaitFor("220")) {
        Fail("No greeting from the server - " + replyBuffer_);
        return false;
    }
    if (!Step("EHLO mail", "250", kEhloFailure))
        return false;
    if (account.Security == MailSecurity::StartTls) {
        if (Extension(lastReply_, "STARTTLS").empty()) {
            Fail("The server does not offer STARTTLS");
            return false;
        }
        // RFC 3207: after TLS the client forgets what it knew and says EHLO again.
        if (!Step("STARTTLS", "220", "Unable to send email - Error sending STARTTLS - ") ||
            !Secure(account.Server) || !Step("EHLO mail", "250", kEhloFailure))
            return false;
    }
    if (!account.User.empty() && !LogIn(account, password))
        return false;
    const std::array<std::pair<std::string, Step_>, 5> steps{{
        {"MAIL FROM:<" + AddressOf(account.From) + ">",
         {"250", "Unable to send email - Error sending MAIL FROM - "}},
        {"RCPT TO:<" + AddressOf(recipient) + ">",
         {"250", "Unable to send email - Error sending RCPT TO - "}},
        {"DATA", {"354", "Unable to send email - Error sending DATA - "}},
        {SmtpData(message) + kCrLf + ".",
         {"250", "Unable to send email - Error sending message data - "}},
        {"QUIT", {"221", ""}},
    }};
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const auto& [text, step] = steps[i];
        // The message is delivered once its data is accepted; QUIT's reply is a courtesy.
        if (i + 1 == steps.size()) {
            socket_->SendData(text + kCrLf);
            Winsock_WaitFor(step.Code);
        } else if (!Step(text, step.Code, step.Failure)) {
            return false;
        }
    }
    return true;
}

bool clsMailer::Secure(const std::string& server) {
    // Nothing said in clear before this point may count as the encrypted server's words.
    replyBuffer_.clear();
    socket_->StartTls(server);
    const long long deadline = NowSeconds() + timeoutSeconds_;
    while (!secured_) {
        if (socketFailed_)
            return false; // the notice has logged why
        if (!connected_ || NowSeconds() > deadline || OutOfTime()) {
            Fail(std::string(kHandshakeFailure) + "the server did not complete the handshake");
            return false;
        }
        DoEvents();
    }
    return true;
}

bool clsMailer::LogIn(const MailAccount& account, const std::string& password) {
    if (!secured_ && !IsLoopback(account.Server)) {
        Fail("A login is sent only over an encrypted connection");
        return false;
    }
    const std::vector<std::string> auth = Extension(lastReply_, "AUTH");
    const std::string failure = std::string(kUnable) + "Error logging in - ";
    if (Offers(auth, "PLAIN"))
        return Step("AUTH PLAIN " + Base64(std::string(1, '\0') + account.User + '\0' + password),
                    "235", failure);
    if (Offers(auth, "LOGIN"))
        return Step("AUTH LOGIN", "334", failure) && Step(Base64(account.User), "334", failure) &&
               Step(Base64(password), "235", failure);
    Fail("The server offers neither AUTH PLAIN nor AUTH LOGIN");
    return false;
}

bool clsMailer::WaitForWholeReply(const std::string& code) {
    const long long deadline = NowSeconds() + timeoutSeconds_;
    for (;;) {
        if (const std::size_t whole = WholeReply(replyBuffer_); whole != 0) {
            if (replyBuffer_.compare(0, 3, code) != 0 || replyBuffer_.size() < 3)
                return false;
            lastReply_ = replyBuffer_.substr(0, whole);
            replyBuffer_.erase(0, whole);
            return true;
        }
        if (!connected_ || socketFailed_ || replyBuffer_.size() > kMaxReply)
            return false;
        DoEvents();
        if (NowSeconds() > deadline || OutOfTime())
            return false;
    }
}

bool clsMailer::Winsock_WaitFor(const std::string& code) {
    if (strict_)
        return WaitForWholeReply(code);
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
        // read's worth of a long or endless reply. A strict reply may come in several
        // pieces; its wait ends once the buffer passes kMaxReply.
        if (connected_ && strict_)
            replyBuffer_ += socket_->GetData();
        else if (connected_)
            replyBuffer_ = socket_->GetData();
    } catch (...) {
    }
}

void clsMailer::Winsock1_Error(int /*number*/, const std::string& description) {
    socketFailed_ = true;
    host_.AddLogLine("Unable to send Email - Error: " + OneLine(Hidden(description)), true);
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
        case IMailSocket::Notice::Secured:
            secured_ = true;
            break;
        case IMailSocket::Notice::TlsFailed:
            socketFailed_ = true;
            Fail(e.Description);
            socket_->Close();
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
