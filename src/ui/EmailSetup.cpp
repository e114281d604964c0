#include "ui/EmailSetup.h"

#include "mail/IMailHost.h"
#include "mail/SecretStore.h"
#include "mail/clsMailer.h"
#include "mail/clsRegSettings.h"

#include <vector>

namespace tessaron {

namespace {

constexpr const char* kSection = "Settings";

// Collects the mailer's lines for the outcome's text and lets the window breathe.
class CollectingHost : public IMailHost {
public:
    explicit CollectingHost(const std::function<void()>& yield) : yield_(yield) {}
    void AddLogLine(const std::string& text, bool) override { Lines.push_back(text); }
    void Yield() override {
        if (yield_)
            yield_();
    }
    std::vector<std::string> Lines;

private:
    const std::function<void()>& yield_;
};

MailAccount AccountOf(const EmailSetupValues& v, const std::string& passwordFile) {
    MailAccount a;
    a.Server = v.Server;
    a.From = v.From;
    a.Security = v.Security;
    const int port = ParsePort(v.Port);
    a.Port = port != 0 ? port : UsualPort(v.Security);
    a.User = v.User;
    if (!v.Password.empty())
        a.Password = v.Password;
    a.PasswordFile = passwordFile;
    return a;
}

} // namespace

EmailSetup::EmailSetup(clsRegSettings& settings, SecretStore* secrets)
    : settings_(settings), secrets_(secrets) {}

EmailSetup::~EmailSetup() = default;

SecretStore& EmailSetup::Secrets() {
    if (secrets_ == nullptr) {
        own_ = SecretStore::Create();
        secrets_ = own_.get();
    }
    return *secrets_;
}

EmailSetupValues EmailSetup::Load() const {
    const MailAccount stored = ReadMailAccount(settings_);
    EmailSetupValues v;
    v.Server = settings_.GetSetting(kSection, "SMTPServer", "");
    v.From = stored.From;
    v.Security = stored.Security;
    v.Port = std::to_string(stored.Port);
    v.User = stored.User;
    return v;
}

std::string EmailSetup::PortFor(MailSecurity security, const std::string& port) {
    for (const MailSecurity other :
         {MailSecurity::None, MailSecurity::StartTls, MailSecurity::Tls}) {
        if (port.empty() || port == std::to_string(UsualPort(other)))
            return std::to_string(UsualPort(security));
    }
    return port;
}

EmailSetupOutcome EmailSetup::Save(const EmailSetupValues& v) {
    // Stored as typed; a failed write is not reported (the mailer then says what is missing).
    settings_.SaveSetting(kSection, "SMTPServer", v.Server);
    settings_.SaveSetting(kSection, "EmailFrom", v.From);
    settings_.SaveSetting(kSection, "SMTPPort", v.Port);
    settings_.SaveSetting(kSection, "SMTPSecurity", SecurityName(v.Security));
    settings_.SaveSetting(kSection, "SMTPUser", v.User);
    if (v.User.empty() || v.Password.empty())
        return {true, ""};
    const std::string why = Secrets().Store(v.Server, v.User, v.Password);
    if (why.empty())
        return {true, ""};
    return {false, "The settings are saved, but the password could not be kept: " + why +
                       ".\n\nOn a machine without a credential store, put the password on "
                       "the first line of a file only you can read and name that file as "
                       "SMTPPasswordFile in the settings."};
}

EmailSetupOutcome EmailSetup::SendTestMail(const EmailSetupValues& v, const std::string& to,
                                           const std::function<void()>& yield) {
    if (to.empty())
        return {false, "Type the address the test mail goes to."};
    const MailAccount account =
        AccountOf(v, settings_.GetSetting(kSection, "SMTPPasswordFile", ""));
    CollectingHost host(yield);
    clsMailer mailer(host, settings_);
    mailer.Secrets(Secrets());
    const std::string through = account.Server + ":" + std::to_string(account.Port) + " (" +
                                SecurityName(account.Security) + ")";
    const bool accepted =
        mailer.Send(account, to, kTestSubject,
                    "This test mail was sent from Email Setup through " + through + ".\r\n");
    if (accepted)
        return {true, "The server " + through + " accepted the test mail to " + to + "."};
    std::string text = "The test mail was not sent:\n";
    for (const std::string& line : host.Lines)
        text += "\n" + line;
    return {false, text};
}

} // namespace tessaron
