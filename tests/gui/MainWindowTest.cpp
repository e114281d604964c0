// The Qt main window as a view: its controls and menus wired to the window
// layer (whose rules tests/ui checks), its size limits and its remembered placement.
#include "GuiTestSupport.h"
#include "TempTree.h"
#include "frmMain.h"

#include "mail/clsRegSettings.h"

#include <QAction>
#include <QCheckBox>
#include <QGuiApplication>
#include <QLineEdit>
#include <QRadioButton>
#include <QScreen>
#include <QSplitter>
#include <QTest>
#include <gtest/gtest.h>

namespace tessaron::gui {
namespace {

using test::CountingHooks;
using test::GuiScript;
using test::TempTree;

class MainWindowTest : public ::testing::Test {
protected:
    template <typename W = QWidget> W* Get(const char* name) {
        W* w = window.findChild<W*>(name);
        EXPECT_NE(w, nullptr) << name;
        return w;
    }
    void Click(const char* name) { Get<QAbstractButton>(name)->click(); }
    bool Checked(const char* name) { return Get<QAbstractButton>(name)->isChecked(); }
    bool Enabled(const char* name) { return Get(name)->isEnabled(); }

    TempTree tmp;
    clsRegSettings settings;
    GuiScript script;
    CountingHooks counts;
    frmMain window{settings, counts.Hooks()};
};

TEST_F(MainWindowTest, OpensOnTheDrivesAtLeastAtTheMinimumSize) {
    SelectionBrowser& browser = window.Browser();
    const QModelIndex root = browser.TreeModel().RootIndex();
    EXPECT_EQ(window.windowTitle(), "Tessaron");
    EXPECT_EQ(root.data().toString(), "My Computer");
    EXPECT_EQ(browser.Tree()->currentIndex(), root);
    EXPECT_TRUE(browser.Tree()->isExpanded(root));
    EXPECT_GT(browser.ListModel().rowCount(), 0);
    const QSize min = window.MinimumWindowSize();
    window.show();
    window.resize(100, 100);
    EXPECT_GE(window.width(), min.width());
    EXPECT_GE(window.height(), min.height());
}

// Each control reaches the logic, and what the logic decides reaches the controls.
TEST_F(MainWindowTest, ControlsAreWiredBothWays) {
    Click("optFull");
    Click("chkClean");
    Click("optIncremental");
    EXPECT_FALSE(Checked("chkClean") || Enabled("chkClean") || Checked("optFull"));
    Click("chkEmail");
    EXPECT_TRUE(Enabled("txtEmailTo"));
    Get<QLineEdit>("txtEmailTo")->setText("ann@example.com");
    Get<QLineEdit>("txtOutput")->setText("/media/usb");
    for (const char* box : {"chkSaveLog", "chkStopOnError", "chkVerify", "chkEject"}) {
        Click(box);
    }
    EXPECT_EQ(window.Setup().Format(),
              "Target = \"/media/usb\"\r\nBackupType = INCREMENTAL\r\n"
              "CleanTarget = False\r\nSaveLog = True\r\n"
              "StopOnError = True\r\nVerify = True\r\nEjectMedia = True\r\n"
              "EMail = True\r\nEMailTo = ann@example.com\r\n"
              "Selections = ");
    window.findChild<QAction*>("mnuNew")->trigger();
    EXPECT_FALSE(Checked("optIncremental") || Checked("chkEmail") || Enabled("txtEmailTo"));
    EXPECT_TRUE(Get<QLineEdit>("txtOutput")->text().isEmpty());
    window.show();
    window.Setup().Sel.AddSelection(tmp.Root());
    Click("cmdStart");
    ASSERT_EQ(script.Boxes.size(), 1u);
    EXPECT_EQ(script.Boxes[0].Title, "No Target Selected");
    EXPECT_EQ(window.focusWidget(), Get("txtOutput"));
    for (const char* name : {"mnuEmailSetup", "mnuContents", "mnuAbout"}) {
        window.findChild<QAction*>(name)->trigger();
    }
    EXPECT_EQ(counts.MenuWindows, 3);
}

TEST_F(MainWindowTest, LoadShowsTheSetInTheControlsAndTheTree) {
    tmp.Write("my.set", "Target = \"/m\"\r\nBackupType = FULL\r\nCleanTarget = True\r\n"
                        "Selections = \"" +
                            tmp.Root() + "\"\r\n");
    script.Paths = {tmp.Path("my.set")};
    window.findChild<QAction*>("mnuLoad")->trigger();
    EXPECT_EQ(window.windowTitle().toStdString(), "Tessaron - " + tmp.Path("my.set"));
    EXPECT_TRUE(Checked("optFull") && Checked("chkClean"));
    EXPECT_EQ(Get<QLineEdit>("txtOutput")->text(), "/m");
    const QModelIndex node = window.Browser().TreeModel().Reveal(tmp.Root());
    ASSERT_TRUE(node.isValid()) << "the tree is rebuilt and shows the set's folder";
    EXPECT_EQ(node.data(Qt::CheckStateRole).toInt(), Qt::Checked);
}

// What one window saves when it closes, the next one gets back, clamped to the screen.
TEST(Placement, NextWindowOpensWhereTheLastClosed) {
    TempTree tmp;
    clsRegSettings settings;
    settings.SettingsFile(HKeyCurrentUser, tmp.Path("settings.ini"));
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    {
        frmMain first(settings);
        first.show();
        first.setGeometry(screen.left() + 40, screen.top() + 30, 700, 450);
        first.findChild<QSplitter*>("splSelect")->setSizes({180, 500});
        first.close();
    }
    frmMain next(settings);
    next.show();
    EXPECT_EQ(next.geometry(), QRect(screen.left() + 40, screen.top() + 30, 700, 450));
    EXPECT_EQ(next.findChild<QSplitter*>("splSelect")->sizes().front(), 180);
    next.hide();
    next.show();
    EXPECT_EQ(next.geometry(), QRect(screen.left() + 40, screen.top() + 30, 700, 450))
        << "shown again after a run, it comes back where it was";
    settings.SaveSetting("Window", "Left", "100000");
    frmMain far(settings);
    EXPECT_TRUE(screen.contains(far.geometry())) << "a window off every screen is brought back";
}

} // namespace
} // namespace tessaron::gui
