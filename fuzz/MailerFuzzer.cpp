// The mailer against a scripted socket (no network): whatever the server says and
// whenever the connection fails, closes, or its TLS handshake ends well or badly, the mail
// step ends, its log lines are single bounded lines without the password, the body can
// never end the message early, and with STARTTLS or TLS nothing but EHLO and STARTTLS goes
// out in clear and nothing at all after a failed handshake. The input holds the account's
// security and login, the log text to mail, then the server's side: a notice kind and,
// for data, the text that arrives.

#include "FuzzSupport.h"
#include "mail/MailSocket.h"
#include "mail/clsMailer.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace tessaron;
using fuzz::Require;

namespace {

class ScriptedSocket : public IMailSocket {
public:
    explicit ScriptedSocket(FuzzedDataProvider& script) : script_(script) {}

    void Connect(const std::string&, int) override { connecting_ = true; }
    void SendData(const std::string& data) override {
        Require(!tlsAsked_ || secured_, "data sent while TLS is not up", data);
        (secured_ ? Encrypted : Sent) += data;
    }
    void StartTls(const std::string&) override {
        Require(connected_ && !tlsAsked_, "TLS asked for twice or without a connection");
        tlsAsked_ = true;
    }
    std::string GetData() override { return std::exchange(waiting_, std::string()); }
    void Close() override { connecting_ = false; }

    // Once the script is used up the connection fails (before it was made) or closes.
    std::vector<Event> Poll(int) override {
        Event e;
        if (script_.remaining_bytes() == 0) {
            e.Kind = connected_ ? Notice::Close : Notice::Error;
            e.Description = "script ended";
            connected_ = false;
            return {e};
        }
        switch (script_.ConsumeIntegralInRange<int>(0, 6)) {
        case 0:
            e.Kind = Notice::Connect;
            connected_ = connecting_;
            break;
        case 1:
            waiting_ = script_.ConsumeRandomLengthString(200);
            e.Kind = Notice::DataArrival;
            e.Bytes = static_cast<long>(waiting_.size());
            break;
        case 2:
            e.Kind = Notice::Close;
            break;
        case 3:
            e.Kind = Notice::Error;
            e.Description = script_.ConsumeRandomLengthString(40);
            break;
        case 4:
            if (!tlsAsked_ || secured_)
                return {};
            e.Kind = Notice::Secured;
            secured_ = true;
            break;
        case 5:
            if (!tlsAsked_)
                return {};
            e.Kind = Notice::TlsFailed;
            e.Description = script_.ConsumeRandomLengthString(40);
            connected_ = false;
            break;
        default:
            return {}; // nothing happened this turn
        }
        return {e};
    }

    std::string Sent;      // in clear
    std::string Encrypted; // once TLS is up

private:
    FuzzedDataProvider& script_;
    std::string waiting_;
    bool connecting_ = false;
    bool connected_ = false;
    bool tlsAsked_ = false;
    bool secured_ = false;
};

struct QuietHost : IMailHost {
    void AddLogLine(const std::string& text, bool) override { Lines.push_back(text); }
    void Yield() override {}
    std::vector<std::string> Lines;
};

// The data on the wire: CR LF line ends only, no line over the limit, and taking the
// stuffed dots away and joining the lines gives the text without its line breaks.
void CheckData(const std::string& text) {
    const std::string data = clsMailer::SmtpData(text);
    std::string joined;
    std::size_t start = 0;
    while (start < data.size()) {
        std::size_t end = data.find("\r\n", start);
        const std::size_t stop = end == std::string::npos ? data.size() : end;
        std::string line = data.substr(start, stop - start);
        Require(line.find_first_of("\r\n") == std::string::npos, "a bare CR or LF on the wire");
        Require(line.size() <= clsMailer::kMaxLineLength, "a line over the limit", line);
        Require(line.empty() || line[0] != '.' || (line.size() > 1 && line[1] == '.'),
                "a line begins with one dot", line);
        joined += line.empty() || line[0] != '.' ? line : line.substr(1);
        start = end == std::string::npos ? data.size() : end + 2;
    }
    std::string expected;
    for (const char c : text) {
        if (c != '\r' && c != '\n')
            expected += c;
    }
    Require(joined == expected, "the text changed on the wire");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider script(data, size);
    MailAccount account;
    account.Server = "mail.example.org";
    account.From = "backup@example.org";
    account.Security = static_cast<MailSecurity>(script.ConsumeIntegralInRange<int>(0, 2));
    account.User = script.ConsumeBool() ? "ann" : "";
    account.Password = "pw-Secret-1";
    const std::string body = script.ConsumeRandomLengthString(4000);
    CheckData(body);

    clsRegSettings settings;
    settings.SettingsFile(HKeyCurrentUser, "/nonexistent/tessaron-fuzz/settings.ini");
    QuietHost host;
    auto socket = std::make_unique<ScriptedSocket>(script);
    ScriptedSocket& wire = *socket;
    clsMailer mailer(host, settings, std::move(socket));
    mailer.Send(account, "ann@example.com", "Backup Complete", body);

    for (const std::string& line : host.Lines) {
        Require(line.find_first_of("\r\n") == std::string::npos, "a log line breaks", line);
        Require(line.size() <= clsMailer::kMaxReplyShown + 100, "a log line is too long");
        Require(account.User.empty() || line.find("pw-Secret-1") == std::string::npos,
                "the password is logged", line);
    }
    // In clear, with STARTTLS or TLS: at most EHLO and STARTTLS.
    if (account.Security != MailSecurity::None) {
        Require(wire.Sent.empty() || wire.Sent == "EHLO mail\r\n" ||
                    wire.Sent == "EHLO mail\r\nSTARTTLS\r\n",
                "more than EHLO and STARTTLS in clear", wire.Sent);
    }
    // The message ends once, at its end: nothing but QUIT may follow the end mark.
    const std::string& sent = account.Security == MailSecurity::None ? wire.Sent : wire.Encrypted;
    const std::size_t end = sent.find("\r\n.\r\n");
    Require(end == std::string::npos || sent.compare(end + 5, std::string::npos, "QUIT\r\n") == 0 ||
                end + 5 == sent.size(),
            "the message ended early", sent);
    return 0;
}
