// Email Setup over a settings file of its own, and where Help > Contents finds the manual.
#include "FakeSmtpServer.h"
#include "HelpManual.h"
#include "MessageBoxes.h"
#include "TempTree.h"
#include "TestNames.h"
#include "frmEmailSetup.h"

#include "mail/clsRegSettings.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <gtest/gtest.h>

#include <vector>

namespace tessaron::gui {
namespace {

using test::TempTree;

const char* const kBefore = "[Software\\VELQO\\Tessaron\\Settings]\n"
                            "SMTPServer=old.example.com\n"
                            "EmailFrom=old@example.com\n"
                            "SMTPPort=2525\n";

struct Typed {
    const char* name;
    QString server, from;
};

class EmailSetupOk : public ::testing::TestWithParam<Typed> {
protected:
    TempTree tree;
    clsRegSettings settings;
    void SetUp() override {
        tree.Write("settings.ini", kBefore);
        settings.SettingsFile(HKeyCurrentUser, tree.Path("settings.ini"));
    }
    // Opens the dialog, checks it shows the stored values, types and presses a button.
    void TypeAndPress(const QString& server, const QString& from, const char* button) {
        frmEmailSetup dialog(settings);
        auto* txtServer = dialog.findChild<QLineEdit*>("txtSMTPServer");
        auto* txtFrom = dialog.findChild<QLineEdit*>("txtEmailFrom");
        EXPECT_EQ(dialog.windowTitle(), "Email Setup");
        EXPECT_EQ(txtServer->text(), "old.example.com");
        EXPECT_EQ(txtFrom->text(), "old@example.com");
        txtServer->setText(server);
        txtFrom->setText(from);
        dialog.findChild<QPushButton*>(button)->click();
    }
};

// OK stores exactly what was typed (blanks, nothing at all, any letters), and the other
// values of the file stay.
TEST_P(EmailSetupOk, StoresExactlyWhatWasTyped) {
    const Typed& t = GetParam();
    TypeAndPress(t.server, t.from, "cmdOK");
    clsRegSettings reread;
    reread.SettingsFile(HKeyCurrentUser, tree.Path("settings.ini"));
    EXPECT_EQ(reread.GetSetting("Settings", "SMTPServer", "-"), t.server.toStdString());
    EXPECT_EQ(reread.GetSetting("Settings", "EmailFrom", "-"), t.from.toStdString());
    EXPECT_EQ(reread.GetSetting("Settings", "SMTPPort", "-"), "2525");
}

INSTANTIATE_TEST_SUITE_P(EmailSetup, EmailSetupOk,
                         ::testing::Values(Typed{"BlanksAndNotAscii",
                                                 QString::fromUtf8(" m\xC3\xA4il.example  "),
                                                 QString::fromUtf8(" Zo\xC3\xAB Lee <z@x.org> ")},
                                           Typed{"Empty", "", ""}),
                         test::ParamName());

// Cancel leaves the file byte for byte as it was.
TEST_F(EmailSetupOk, CancelStoresNothing) {
    TypeAndPress("new.example.com", "new@example.com", "cmdCancel");
    EXPECT_EQ(tree.Read("settings.ini"), kBefore);
}

// The security moves the port along, the password is masked, and the test mail goes
// with the dialog's values and says in a box what happened.
TEST_F(EmailSetupOk, SecurityPortAndTestMail) {
    frmEmailSetup dialog(settings);
    auto* port = dialog.findChild<QLineEdit*>("txtSMTPPort");
    auto* security = dialog.findChild<QComboBox*>("cboSecurity");
    EXPECT_EQ(dialog.findChild<QLineEdit*>("txtSMTPPassword")->echoMode(), QLineEdit::Password);
    port->setText("25");
    security->setCurrentIndex(2);
    EXPECT_EQ(port->text(), "465"); // which port follows which security: EmailSetupTest
    test::FakeSmtpServer server(test::SmtpScript{});
    security->setCurrentIndex(0);
    port->setText(QString::number(server.Port()));
    dialog.findChild<QLineEdit*>("txtSMTPServer")->setText("127.0.0.1");
    dialog.findChild<QLineEdit*>("txtTestTo")->setText("ann@example.org");
    QString shown;
    const MessageBoxHandler before =
        SetMessageBoxHandler([&](QWidget*, const QString&, const QString& text, MsgButtons) {
            shown = text;
            return MsgAnswer::OK;
        });
    dialog.findChild<QPushButton*>("cmdTestMail")->click();
    SetMessageBoxHandler(before);
    EXPECT_EQ(shown, QString("The server 127.0.0.1:%1 (None) accepted the test mail to "
                             "ann@example.org.")
                         .arg(server.Port()));
    EXPECT_EQ(tree.Read("settings.ini"), kBefore); // nothing stored without OK
}

const char* const kBeside = "prefix/bin/manual/index.html";
const char* const kInstalled = "prefix/share/doc/tessaron/manual/index.html";

struct ManualPlace {
    const char* name;
    std::vector<const char*> manuals; // relative to the tree
    const char* expected;             // relative to the tree; null: none in the tree
};

class ManualSearch : public ::testing::TestWithParam<ManualPlace> {};

// The manual is found beside the program (build tree) before the installed folder relative
// to the program (any prefix).
TEST_P(ManualSearch, FindsTheFirstPlace) {
    const ManualPlace& m = GetParam();
    TempTree tree;
    tree.MakeDir("prefix/bin");
    for (const char* manual : m.manuals) {
        tree.Write(manual, "<html></html>");
    }
    const QString found = FindManual(QString::fromStdString(tree.Path("prefix/bin")));
    if (m.expected != nullptr) {
        EXPECT_EQ(found, QString::fromStdString(tree.Path(m.expected)));
    } else { // only the configured prefix is left, outside the tree
        EXPECT_FALSE(found.startsWith(QString::fromStdString(tree.Root())));
    }
}

INSTANTIATE_TEST_SUITE_P(
    HelpContents, ManualSearch,
    ::testing::Values(ManualPlace{"BesideFirst", {kInstalled, kBeside}, kBeside},
                      ManualPlace{"InstalledDocFolder", {kInstalled}, kInstalled},
                      ManualPlace{"Missing", {}, nullptr}),
    test::ParamName());

} // namespace
} // namespace tessaron::gui
