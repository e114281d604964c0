#pragma once
// frmEmailSetup: the native "Email Setup" dialog, a view over EmailSetup (src/ui), which
// decides what it shows, stores and says. It shows the stored server, sender, port,
// security and user, and an empty masked password box (left empty, the kept password
// stays). Choosing a security moves a usual port along (25, 587, 465). OK stores the values
// as typed (a password in the credential store) and says so in a box only when the
// password could not be kept; Cancel, Escape and the close box store nothing. "Send Test
// Mail" sends a short mail with the values as they are in the dialog to the address typed
// beside it and shows the outcome in a box.

#include "Controls.h"

#include <memory>

namespace tessaron {
class EmailSetup;
class SecretStore;
class clsRegSettings;
struct EmailSetupValues;
} // namespace tessaron

namespace tessaron::win {

enum EmailControlId : int {
    txtSMTPServer = 400,
    txtEmailFrom,
    txtSMTPPort,
    cboSecurity,
    txtSMTPUser,
    txtSMTPPassword,
    txtTestTo,
    cmdTestMail,
};

class frmEmailSetup : public ModalDialog {
public:
    // settings (and secrets, when given) must outlive the dialog; secrets null: the
    // system's credential store.
    explicit frmEmailSetup(clsRegSettings& settings, SecretStore* secrets = nullptr);
    ~frmEmailSetup() override;

    // Shows the dialog modally over owner; IDOK when OK stored the values.
    INT_PTR Show(HWND owner);

private:
    void OnInit() override;
    bool OnCommand(int id, int code) override;
    EmailSetupValues Values() const;
    void cmdOK_Click();
    void cmdTestMail_Click();

    std::unique_ptr<EmailSetup> m_setup;
};

} // namespace tessaron::win
