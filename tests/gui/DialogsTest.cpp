// Email Setup over a settings file of its own, and where Help > Contents finds the manual.
#include "GuiTestSupport.h"
#include "HelpManual.h"
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

class EmailSetupTest : public ::testing::Test {
protected:
    void SetUp() override {
        tree.Write("settings.ini", kBefore);
        settings.SettingsFile(HKeyCurrentUser, tree.Path("settings.ini"));
    }
    std::string Stored(const char* key) {
        clsRegSettings reread;
        reread.SettingsFile(HKeyCurrentUser, tree.Path("settings.ini"));
        return reread.GetSetting("Settings", key, "-");
    }

    TempTree tree;
    clsRegSettings settings;
    test::GuiScript script;
};

struct Typed {
    const char* name;
    QString server, from;
    const char* button;
};

class EmailSetupButtons : public EmailSetupTest, public ::testing::WithParamInterface<Typed> {};

// The dialog shows the stored values. OK stores exactly what was typed (blanks, nothing at
// all, any letters) and the file's other values stay; Cancel leaves the file as it was.
TEST_P(EmailSetupButtons, OkStoresAsTypedCancelNothing) {
    const Typed& t = GetParam();
    {
        frmEmailSetup dialog(settings);
        auto* txtServer = dialog.findChild<QLineEdit*>("txtSMTPServer");
        auto* txtFrom = dialog.findChild<QLineEdit*>("txtEmailFrom");
        EXPECT_EQ(dialog.windowTitle(), "Email Setup");
        EXPECT_EQ(txtServer->text(), "old.example.com");
        EXPECT_EQ(txtFrom->text(), "old@example.com");
        txtServer->setText(t.server);
        txtFrom->setText(t.from);
        dialog.findChild<QPushButton*>(t.button)->click();
    }
    if (t.button == std::string("cmdCancel")) {
        EXPECT_EQ(tree.Read("settings.ini"), kBefore);
        return;
    }
    EXPECT_EQ(Stored("SMTPServer"), t.server.toStdString());
    EXPECT_EQ(Stored("EmailFrom"), t.from.toStdString());
    EXPECT_EQ(Stored("SMTPPort"), "2525");
}

INSTANTIATE_TEST_SUITE_P(
    EmailSetup, EmailSetupButtons,
    ::testing::Values(Typed{"BlanksAndNotAscii", QString::fromUtf8(" m\xC3\xA4il.example  "),
                            QString::fromUtf8(" Zo\xC3\xAB Lee <z@x.org> "), "cmdOK"},
                      Typed{"Empty", "", "", "cmdOK"},
                      Typed{"Cancel", "new.example.com", "new@example.com", "cmdCancel"}),
    test::ParamName());

// The security moves the port along (which port follows which: EmailSetupTest), the
// password is masked, and Test Mail says in a box what came of it, storing nothing.
TEST_F(EmailSetupTest, SecurityPortAndTestMail) {
    frmEmailSetup dialog(settings);
    auto* port = dialog.findChild<QLineEdit*>("txtSMTPPort");
    EXPECT_EQ(dialog.findChild<QLineEdit*>("txtSMTPPassword")->echoMode(), QLineEdit::Password);
    port->setText("25");
    dialog.findChild<QComboBox*>("cboSecurity")->setCurrentIndex(2);
    EXPECT_EQ(port->text(), "465");
    dialog.findChild<QPushButton*>("cmdTestMail")->click();
    ASSERT_EQ(script.Boxes.size(), 1u);
    EXPECT_EQ(script.Boxes[0].Text, "Type the address the test mail goes to.");
    EXPECT_EQ(tree.Read("settings.ini"), kBefore);
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
