#pragma once
// frmEmailSetup: the "Email Setup" dialog over the settings store. It shows the stored SMTP
// server and sender address (section "Settings", keys "SMTPServer" and "EmailFrom"); OK
// stores both exactly as typed, without any check, and Cancel stores nothing. Other values
// of the settings file (such as "SMTPPort") stay as they are.

#include <QDialog>

class QLineEdit;

namespace tessaron {
class clsRegSettings;
}

namespace tessaron::gui {

class frmEmailSetup : public QDialog {
    Q_OBJECT
public:
    // settings must outlive the dialog.
    explicit frmEmailSetup(clsRegSettings& settings, QWidget* parent = nullptr);

private slots:
    void cmdOK_Click();

private:
    clsRegSettings& m_settings;
    QLineEdit* m_txtSMTPServer = nullptr;
    QLineEdit* m_txtEmailFrom = nullptr;
};

// Shows the dialog modally over parent (the main window's "Email Setup" menu item).
void ShowEmailSetup(QWidget* parent, clsRegSettings& settings);
// The same over the user's settings file (the store's default company and program).
void ShowEmailSetup(QWidget* parent);

} // namespace tessaron::gui
