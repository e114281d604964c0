#pragma once
// frmEmailSetup: the "Email Setup" dialog, a view over EmailSetup (src/ui), which decides
// what it shows, stores and says. It shows the stored server, sender, port, security and
// user, and an empty masked password box (left empty, the kept password stays). Choosing a
// security moves a usual port along (25, 587, 465). OK stores the values (a password in
// the credential store) and says so in a box only when the password could not be kept;
// Cancel stores nothing. "Send Test Mail" sends a short mail with the values as they are
// in the dialog to the address typed beside it and shows the outcome in a box.

#include <QDialog>

#include <memory>

class QComboBox;
class QLineEdit;
class QPushButton;

namespace tessaron {
class EmailSetup;
class SecretStore;
class clsRegSettings;
struct EmailSetupValues;
} // namespace tessaron

namespace tessaron::gui {

class frmEmailSetup : public QDialog {
    Q_OBJECT
public:
    // settings (and secrets, when given) must outlive the dialog; secrets null: the
    // system's credential store.
    explicit frmEmailSetup(clsRegSettings& settings, QWidget* parent = nullptr,
                           SecretStore* secrets = nullptr);
    ~frmEmailSetup() override;

private slots:
    void cmdOK_Click();
    void cmdTestMail_Click();
    void cboSecurity_Changed(int index);

private:
    EmailSetupValues Values() const;

    std::unique_ptr<EmailSetup> m_setup;
    QLineEdit* m_txtSMTPServer = nullptr;
    QLineEdit* m_txtEmailFrom = nullptr;
    QLineEdit* m_txtSMTPPort = nullptr;
    QComboBox* m_cboSecurity = nullptr;
    QLineEdit* m_txtSMTPUser = nullptr;
    QLineEdit* m_txtSMTPPassword = nullptr;
    QLineEdit* m_txtTestTo = nullptr;
    QPushButton* m_cmdTestMail = nullptr;
};

// Shows the dialog modally over parent (the main window's "Email Setup" menu item).
void ShowEmailSetup(QWidget* parent, clsRegSettings& settings);
// The same over the user's settings file (the store's default company and program).
void ShowEmailSetup(QWidget* parent);

} // namespace tessaron::gui
