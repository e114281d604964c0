#include "frmEmailSetup.h"

#include "MessageBoxes.h"

#include "mail/clsRegSettings.h"
#include "ui/EmailSetup.h"

#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace tessaron::gui {

namespace {

// The box's entries in the order of MailSecurity.
const MailSecurity kSecurities[] = {MailSecurity::None, MailSecurity::StartTls, MailSecurity::Tls};
const char* const kSecurityTexts[] = {"None", "STARTTLS", "SSL/TLS"};

QLineEdit* TextBox(const char* name, const std::string& text, int chars, QWidget* parent) {
    auto* box = new QLineEdit(QString::fromStdString(text), parent);
    box->setObjectName(name);
    box->setMinimumWidth(box->fontMetrics().averageCharWidth() * chars);
    return box;
}

QPushButton* Button(const char* name, const QString& text, QDialogButtonBox::ButtonRole role,
                    QDialogButtonBox* box) {
    auto* button = box->addButton(text, role);
    button->setObjectName(name);
    return button;
}

QString Text(const QLineEdit* box) {
    return box->text();
}

} // namespace

frmEmailSetup::frmEmailSetup(clsRegSettings& settings, QWidget* parent, SecretStore* secrets)
    : QDialog(parent), m_setup(std::make_unique<EmailSetup>(settings, secrets)) {
    setObjectName("frmEmailSetup");
    setWindowTitle(QString::fromUtf8(EmailSetup::kTitle));
    const EmailSetupValues v = m_setup->Load();
    m_txtSMTPServer = TextBox("txtSMTPServer", v.Server, 40, this);
    m_txtEmailFrom = TextBox("txtEmailFrom", v.From, 40, this);
    m_txtSMTPPort = TextBox("txtSMTPPort", v.Port, 8, this);
    m_txtSMTPPort->setMaximumWidth(m_txtSMTPPort->minimumWidth());
    m_cboSecurity = new QComboBox(this);
    m_cboSecurity->setObjectName("cboSecurity");
    for (const char* text : kSecurityTexts)
        m_cboSecurity->addItem(QString::fromUtf8(text));
    m_cboSecurity->setCurrentIndex(static_cast<int>(v.Security));
    m_txtSMTPUser = TextBox("txtSMTPUser", v.User, 40, this);
    m_txtSMTPPassword = TextBox("txtSMTPPassword", "", 40, this);
    m_txtSMTPPassword->setEchoMode(QLineEdit::Password);
    m_txtSMTPPassword->setPlaceholderText(QStringLiteral("(unchanged when left empty)"));
    m_txtTestTo = TextBox("txtTestTo", "", 28, this);
    m_cmdTestMail = new QPushButton(QStringLiteral("Send Test Mail"), this);
    m_cmdTestMail->setObjectName("cmdTestMail");
    auto* test = new QHBoxLayout;
    test->addWidget(m_txtTestTo, 1);
    test->addWidget(m_cmdTestMail);

    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("SMTP Server:"), m_txtSMTPServer);
    form->addRow(QStringLiteral("Email From:"), m_txtEmailFrom);
    form->addRow(QStringLiteral("Port:"), m_txtSMTPPort);
    form->addRow(QStringLiteral("Security:"), m_cboSecurity);
    form->addRow(QStringLiteral("User Name:"), m_txtSMTPUser);
    form->addRow(QStringLiteral("Password:"), m_txtSMTPPassword);
    form->addRow(QStringLiteral("Test Mail To:"), test);
    auto* buttons = new QDialogButtonBox(this);
    QPushButton* ok = Button("cmdOK", QStringLiteral("OK"), QDialogButtonBox::AcceptRole, buttons);
    ok->setDefault(true);
    Button("cmdCancel", QStringLiteral("Cancel"), QDialogButtonBox::RejectRole, buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &frmEmailSetup::cmdOK_Click);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_cmdTestMail, &QPushButton::clicked, this, &frmEmailSetup::cmdTestMail_Click);
    connect(m_cboSecurity, &QComboBox::currentIndexChanged, this,
            &frmEmailSetup::cboSecurity_Changed);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);
}

frmEmailSetup::~frmEmailSetup() = default;

EmailSetupValues frmEmailSetup::Values() const {
    EmailSetupValues v;
    v.Server = Text(m_txtSMTPServer).toStdString();
    v.From = Text(m_txtEmailFrom).toStdString();
    v.Port = Text(m_txtSMTPPort).toStdString();
    v.Security = kSecurities[std::max(0, m_cboSecurity->currentIndex())];
    v.User = Text(m_txtSMTPUser).toStdString();
    v.Password = Text(m_txtSMTPPassword).toStdString();
    return v;
}

void frmEmailSetup::cboSecurity_Changed(int index) {
    const std::string port =
        EmailSetup::PortFor(kSecurities[std::max(0, index)], Text(m_txtSMTPPort).toStdString());
    m_txtSMTPPort->setText(QString::fromStdString(port));
}

void frmEmailSetup::cmdOK_Click() {
    const EmailSetupOutcome saved = m_setup->Save(Values());
    if (!saved.Text.empty())
        ShowMessageBox(this, windowTitle(), QString::fromStdString(saved.Text), MsgButtons::OK);
    accept();
}

void frmEmailSetup::cmdTestMail_Click() {
    // The dialog keeps painting while the mail waits, but takes no input until it is done.
    setEnabled(false);
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const EmailSetupOutcome sent =
        m_setup->SendTestMail(Values(), Text(m_txtTestTo).toStdString(), [] {
            QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        });
    QApplication::restoreOverrideCursor();
    setEnabled(true);
    ShowMessageBox(this, windowTitle(), QString::fromStdString(sent.Text), MsgButtons::OK);
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
