#include "frmEmailSetup.h"

#include "mail/clsRegSettings.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace tessaron::gui {

namespace {

const char* const kSection = "Settings";
const char* const kServerKey = "SMTPServer";
const char* const kFromKey = "EmailFrom";

QLineEdit* TextBox(const char* name, const std::string& text, QWidget* parent) {
    auto* box = new QLineEdit(QString::fromStdString(text), parent);
    box->setObjectName(name);
    box->setMinimumWidth(box->fontMetrics().averageCharWidth() * 40);
    return box;
}

QPushButton* Button(const char* name, const QString& text, QDialogButtonBox::ButtonRole role,
                    QDialogButtonBox* box) {
    auto* button = box->addButton(text, role);
    button->setObjectName(name);
    return button;
}

} // namespace

frmEmailSetup::frmEmailSetup(clsRegSettings& settings, QWidget* parent)
    : QDialog(parent), m_settings(settings) {
    setObjectName("frmEmailSetup");
    setWindowTitle(QStringLiteral("Email Setup"));
    m_txtSMTPServer = TextBox("txtSMTPServer", settings.GetSetting(kSection, kServerKey, ""), this);
    m_txtEmailFrom = TextBox("txtEmailFrom", settings.GetSetting(kSection, kFromKey, ""), this);
    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("SMTP Server:"), m_txtSMTPServer);
    form->addRow(QStringLiteral("Email From:"), m_txtEmailFrom);
    auto* buttons = new QDialogButtonBox(this);
    QPushButton* ok = Button("cmdOK", QStringLiteral("OK"), QDialogButtonBox::AcceptRole, buttons);
    ok->setDefault(true);
    Button("cmdCancel", QStringLiteral("Cancel"), QDialogButtonBox::RejectRole, buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &frmEmailSetup::cmdOK_Click);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);
}

void frmEmailSetup::cmdOK_Click() {
    // Stored as typed; a failed write is not reported (the mailer then says what is missing).
    m_settings.SaveSetting(kSection, kServerKey, m_txtSMTPServer->text().toStdString());
    m_settings.SaveSetting(kSection, kFromKey, m_txtEmailFrom->text().toStdString());
    accept();
}

void ShowEmailSetup(QWidget* parent, clsRegSettings& settings) {
    frmEmailSetup dialog(settings, parent);
    dialog.exec();
}

void ShowEmailSetup(QWidget* parent) {
    clsRegSettings settings;
    ShowEmailSetup(parent, settings);
}

} // namespace tessaron::gui
