#include "mail/MailAccount.h"

#include "mail/clsRegSettings.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace tessaron {

namespace {

constexpr const char* kSection = "Settings";

struct SecurityWord {
    MailSecurity Security;
    const char* Name;
    int Port;
};

constexpr std::array<SecurityWord, 3> kSecurities{{
    {MailSecurity::None, "None", 25},
    {MailSecurity::StartTls, "STARTTLS", 587},
    {MailSecurity::Tls, "TLS", 465},
}};

const SecurityWord& WordOf(MailSecurity security) {
    return *std::find_if(kSecurities.begin(), kSecurities.end(),
                         [security](const SecurityWord& w) { return w.Security == security; });
}

bool SameWord(const std::string& a, const char* b) {
    const std::string_view other(b);
    return a.size() == other.size() &&
           std::equal(a.begin(), a.end(), other.begin(), [](char x, char y) {
               return std::toupper(static_cast<unsigned char>(x)) ==
                      std::toupper(static_cast<unsigned char>(y));
           });
}

} // namespace

const char* SecurityName(MailSecurity security) {
    return WordOf(security).Name;
}

int UsualPort(MailSecurity security) {
    return WordOf(security).Port;
}

std::optional<MailSecurity> ParseSecurity(const std::string& text) {
    if (text.empty())
        return MailSecurity::None;
    for (const SecurityWord& w : kSecurities) {
        if (SameWord(text, w.Name))
            return w.Security;
    }
    return std::nullopt;
}

int ParsePort(const std::string& text) {
    if (text.empty() || text.size() > 5 ||
        text.find_first_not_of("0123456789") != std::string::npos)
        return 0;
    const int port = std::stoi(text);
    return port >= 1 && port <= 65535 ? port : 0;
}

bool IsLoopback(const std::string& server) {
    return server == "127.0.0.1" || server == "::1";
}

MailAccount ReadMailAccount(const clsRegSettings& settings) {
    MailAccount a;
    a.Server = settings.GetSetting(kSection, "SMTPServer", "");
    // Without a server, say why the settings gave none (e.g. no regular file there).
    if (a.Server.empty() && !settings.LastError().empty()) {
        a.Problem = settings.LastError();
        return a;
    }
    a.From = settings.GetSetting(kSection, "EmailFrom", "");
    const std::string security = settings.GetSetting(kSection, "SMTPSecurity", "");
    if (const auto parsed = ParseSecurity(security))
        a.Security = *parsed;
    else // never fall back to clear text for a word that was meant to ask for TLS
        a.Problem = "SMTPSecurity is \"" + security + "\"; it must be None, STARTTLS or TLS";
    const int port = ParsePort(settings.GetSetting(kSection, "SMTPPort", ""));
    a.Port = port != 0 ? port : UsualPort(a.Security);
    a.User = settings.GetSetting(kSection, "SMTPUser", "");
    a.PasswordFile = settings.GetSetting(kSection, "SMTPPasswordFile", "");
    return a;
}

} // namespace tessaron
