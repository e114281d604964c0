#pragma once
// MailAccount: how a mail reaches its server, as the settings store keeps it in section
// "Settings": "SMTPServer", "EmailFrom", "SMTPPort", "SMTPSecurity", "SMTPUser" and
// "SMTPPasswordFile". The password itself is never a setting: it comes from the system's
// credential store (SecretStore) or the password file (ReadPasswordFile).

#include <optional>
#include <string>

namespace tessaron {

class clsRegSettings;

// "None": plain SMTP, as mail always went. "STARTTLS": the connection starts in clear and
// turns to TLS before anything but EHLO is said (usually port 587). "TLS": TLS from the
// first byte (usually port 465).
enum class MailSecurity { None, StartTls, Tls };

struct MailAccount {
    std::string Server;
    std::string From;
    int Port = 25;
    MailSecurity Security = MailSecurity::None;
    std::string User;         // empty: no login
    std::string PasswordFile; // empty: the password comes from the credential store
    // A password given with the account (a test mail from the setup dialog, whose password
    // is not stored yet); when set, neither the file nor the store is asked.
    std::optional<std::string> Password;
    // Why these settings cannot be used, to follow "Unable to send email - " (a settings
    // file that cannot be read, an unknown SMTPSecurity); empty when they can.
    std::string Problem;
};

// The settings' values; a value missing gives the default: no server, security None, the
// security's usual port (also for a port that is no number from 1 to 65535), no login.
MailAccount ReadMailAccount(const clsRegSettings& settings);

// The settings' word for a security: "None", "STARTTLS", "TLS".
const char* SecurityName(MailSecurity security);
// A settings word in any letter case ("" is None); nothing for an unknown word.
std::optional<MailSecurity> ParseSecurity(const std::string& text);
// The port servers usually listen on with a security: 25, 587, 465.
int UsualPort(MailSecurity security);
// A port text as a number from 1 to 65535, or 0.
int ParsePort(const std::string& text);
// True for the two addresses of this machine a login may go to in clear: 127.0.0.1, ::1.
bool IsLoopback(const std::string& server);

} // namespace tessaron
