#pragma once
// EmailSetup: what the "Email Setup" dialog decides, for every window toolkit (the Qt
// dialog, the native Windows one) and the console's /TESTMAIL. The dialog shows
// EmailSetupValues, calls PortFor when the security changes, Save on OK and SendTestMail
// on "Send Test Mail", and shows the texts these give back; it decides nothing itself.
//
// The password box starts empty and never shows the kept password: left empty, the kept
// one stays (and a test mail uses it); typed, OK keeps it in the system's credential
// store, never in the settings.

#include "mail/MailAccount.h"

#include <functional>
#include <memory>
#include <string>

namespace tessaron {

class clsRegSettings;
class SecretStore;

struct EmailSetupValues {
    std::string Server;
    std::string From;
    std::string Port; // as typed
    MailSecurity Security = MailSecurity::None;
    std::string User;
    std::string Password; // typed; empty: keep the kept one
};

// The outcome of OK or of a test mail: whether it went well, and the text to show in a box
// titled "Email Setup" (empty: nothing to show).
struct EmailSetupOutcome {
    bool Ok = false;
    std::string Text;
};

class EmailSetup {
public:
    // settings and secrets must outlive this; secrets null: the system's credential store.
    explicit EmailSetup(clsRegSettings& settings, SecretStore* secrets = nullptr);
    ~EmailSetup();

    // The stored values (the port as stored, or the security's usual port when none is);
    // the password empty.
    EmailSetupValues Load() const;
    // The port to show once the security is changed to security: the usual port of the new
    // security (25, 587, 465) when the port is empty or is the usual port of another one,
    // else the port as typed.
    static std::string PortFor(MailSecurity security, const std::string& port);
    // OK: stores server, sender, port and user as typed and the security's word, and keeps
    // a typed password for the user at the server in the credential store. Not Ok, with
    // the reason, when the password could not be kept (the settings are stored all the
    // same).
    EmailSetupOutcome Save(const EmailSetupValues& values);
    // Sends a short test mail to "to" with these values (not the stored ones; the password
    // file named in the settings still counts), calling yield while it waits. Ok when the
    // server accepted it; the text says so, or gives the mail's failure lines, which end
    // in the server's last reply.
    EmailSetupOutcome SendTestMail(const EmailSetupValues& values, const std::string& to,
                                   const std::function<void()>& yield);

    static constexpr const char* kTitle = "Email Setup";
    static constexpr const char* kTestSubject = "Tessaron test mail";

private:
    SecretStore& Secrets();

    clsRegSettings& settings_;
    SecretStore* secrets_;
    std::unique_ptr<SecretStore> own_;
};

} // namespace tessaron
