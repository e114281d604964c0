// The main window as a user meets it: menus, the option coupling, the Start checks, and
// New, Load, Save and Save As with their boxes, dialogs and caption.
#include "GuiTestSupport.h"
#include "TempTree.h"
#include "frmMain.h"

#include "mail/clsRegSettings.h"

#include <QAction>
#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
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
    QString Text(const char* name) { return Get<QLineEdit>(name)->text(); }
    std::string SetText() const { return window.Setup().Format(); }
    // The mark of the tree node of the drive that holds the temporary folder.
    Qt::CheckState DriveMark() {
        DriveTreeModel& tree = window.Browser().TreeModel();
        QModelIndex node = tree.Reveal(tmp.Root());
        while (node.parent() != tree.RootIndex()) {
            node = node.parent();
        }
        return static_cast<Qt::CheckState>(node.data(Qt::CheckStateRole).toInt());
    }

    TempTree tmp;
    clsRegSettings settings;
    GuiScript script;
    CountingHooks counts;
    mutable frmMain window{settings, counts.Hooks()};
};

TEST_F(MainWindowTest, MenusCarryTheirCaptionsAndKeys) {
    const std::tuple<const char*, const char*, const char*> items[] = {
        {"mnuNew", "New Backup Set", "Ctrl+N"},
        {"mnuLoad", "Load Backup Set...", "Ctrl+O"},
        {"mnuSave", "Save Backup Set", "Ctrl+S"},
        {"mnuSaveAs", "Save Backup Set As...", "Ctrl+Shift+S"},
        {"mnuExit", "Exit", "Ctrl+Q"},
        {"mnuRefresh", "Refresh", "F5"},
        {"mnuStart", "Start Backup", ""},
        {"mnuEmailSetup", "Email Setup", ""},
        {"mnuContents", "Contents...", "F1"},
        {"mnuAbout", "About...", ""}};
    for (const auto& [name, caption, keys] : items) {
        QAction* action = window.findChild<QAction*>(name);
        ASSERT_NE(action, nullptr) << name;
        EXPECT_EQ(action->text().remove('&').toStdString(), caption);
        EXPECT_EQ(action->shortcut().toString().toStdString(), keys) << name;
    }
    for (const char* name : {"mnuEmailSetup", "mnuContents", "mnuAbout"}) {
        window.findChild<QAction*>(name)->trigger();
    }
    EXPECT_EQ(counts.MenuWindows, 3);
}

TEST_F(MainWindowTest, OpensOnTheDrives) {
    SelectionBrowser& browser = window.Browser();
    const QModelIndex root = browser.TreeModel().RootIndex();
    EXPECT_EQ(window.windowTitle(), "Tessaron");
    EXPECT_EQ(root.data().toString(), "My Computer");
    EXPECT_EQ(browser.Tree()->currentIndex(), root);
    EXPECT_TRUE(browser.Tree()->isExpanded(root));
    EXPECT_EQ(browser.ListModel().CurrentView(), FileListModel::View::Drives);
    EXPECT_GT(browser.ListModel().rowCount(), 0);
    EXPECT_EQ(browser.ListModel().rowCount(), browser.TreeModel().rowCount(root));
}

TEST_F(MainWindowTest, HeldAtTheMinimumSize) {
    const QSize min = window.MinimumWindowSize();
    EXPECT_EQ(min, QSize((10000 * window.logicalDpiX() + 720) / 1440,
                         (6000 * window.logicalDpiY() + 720) / 1440));
    window.show();
    window.resize(100, 100);
    EXPECT_GE(window.width(), min.width());
    EXPECT_GE(window.height(), min.height());
}

// --- Option coupling ------------------------------------------------------------------------

struct CouplingCase {
    const char* name;
    std::vector<const char*> clicks;
    std::vector<const char*> setLines; // lines the set file would hold
    bool cleanChecked, cleanEnabled, addressEnabled;
};

class OptionCoupling : public MainWindowTest, public ::testing::WithParamInterface<CouplingCase> {};

TEST_P(OptionCoupling, ControlsWriteTheSetAndEachOther) {
    for (const char* name : GetParam().clicks) {
        Click(name);
    }
    for (const char* line : GetParam().setLines) {
        EXPECT_NE(SetText().find(std::string(line) + "\r\n"), std::string::npos) << line;
    }
    EXPECT_EQ(Checked("chkClean"), GetParam().cleanChecked);
    EXPECT_EQ(Enabled("chkClean"), GetParam().cleanEnabled);
    EXPECT_EQ(Enabled("txtEmailTo"), GetParam().addressEnabled);
}

INSTANTIATE_TEST_SUITE_P(
    MainWindow, OptionCoupling,
    ::testing::Values(
        CouplingCase{"FullAllowsClearing",
                     {"optFull", "chkClean"},
                     {"BackupType = FULL", "CleanTarget = True"},
                     true,
                     true,
                     false},
        CouplingCase{"IncrementalUnticksAndGreysClear",
                     {"optFull", "chkClean", "optIncremental"},
                     {"BackupType = INCREMENTAL", "CleanTarget = False"},
                     false,
                     false,
                     false},
        CouplingCase{"FullEnablesClearAgain",
                     {"optIncremental", "optFull"},
                     {"BackupType = FULL", "CleanTarget = False"},
                     false,
                     true,
                     false},
        CouplingCase{"EmailEnablesTheAddress", {"chkEmail"}, {"EMail = True"}, false, true, true},
        CouplingCase{"EmailOffGreysTheAddress",
                     {"chkEmail", "chkEmail"},
                     {"EMail = False"},
                     false,
                     true,
                     false},
        CouplingCase{"EachSwitchWritesItsOwnLine",
                     {"chkSaveLog", "chkStopOnError", "chkVerify", "chkEject"},
                     {"SaveLog = True", "StopOnError = True", "Verify = True", "EjectMedia = True",
                      "CleanTarget = False", "EMail = False"},
                     false,
                     true,
                     false}),
    [](const auto& tc) { return std::string(tc.param.name); });

// --- Start ----------------------------------------------------------------------------------

struct StartCase {
    const char* name;
    bool ticked;
    const char* target;
    bool full;
    const char* title; // nullptr: the run starts
    const char* text;
    bool focusOutput;
};

class StartChecks : public MainWindowTest, public ::testing::WithParamInterface<StartCase> {};

TEST_P(StartChecks, FirstFailingCheckSaysWhy) {
    const StartCase& c = GetParam();
    window.show();
    if (c.ticked) {
        window.Setup().Sel.AddSelection(tmp.Root());
    }
    // "<selection>" stands for the ticked folder itself, spelled another way.
    const std::string target =
        c.target == std::string("<selection>") ? tmp.Root() + "/." : c.target;
    Get<QLineEdit>("txtOutput")->setText(QString::fromStdString(target));
    if (c.full) {
        Click("optFull");
    }
    Get("cmdStart")->setFocus();
    Click("cmdStart");
    if (c.title == nullptr) {
        EXPECT_TRUE(script.Boxes.empty());
        EXPECT_EQ(counts.Runs, 1);
        EXPECT_FALSE(counts.LastUnloadOnExit) << "the main window stays after the run";
        return;
    }
    ASSERT_EQ(script.Boxes.size(), 1u);
    EXPECT_EQ(script.Boxes[0].Title, c.title);
    EXPECT_EQ(script.Boxes[0].Text, c.text);
    EXPECT_EQ(script.Boxes[0].Buttons, MsgButtons::OK);
    EXPECT_EQ(counts.Runs, 0);
    EXPECT_EQ(window.focusWidget() == Get("txtOutput"), c.focusOutput);
}

INSTANTIATE_TEST_SUITE_P(
    MainWindow, StartChecks,
    ::testing::Values(
        StartCase{"SelectionsComeFirst", false, "", false, "No Selections", "Please select an item",
                  false},
        StartCase{"NoTarget", true, "", true, "No Target Selected", "Select Target Path", true},
        StartCase{"RelativeTarget", true, "Backup", true, "Invalid Target",
                  "Target Path must specify a drive or server", true},
        StartCase{"ServerShare", true, "\\\\server\\share\\Backup", true, "Invalid Target",
                  "Target Path must specify a drive or server", true},
        StartCase{"NoBackupType", true, "/media/usb/Backup", false, "No Backup Type Selected",
                  "Select a Backup Type (Full or Incremental)", false},
        StartCase{"TargetIsTheOnlySelection", true, "<selection>", true, "Nothing To Back Up",
                  "Nothing to back up - every selection is the target or lies inside it", false},
        StartCase{"AllGivenRuns", true, "/media/usb/Backup", true, nullptr, nullptr, false}),
    [](const auto& tc) { return std::string(tc.param.name); });

// --- Load and New -----------------------------------------------------------------------------

struct LoadCase {
    const char* name;
    const char* content; // nullptr: no such file
    const char* reason;  // second line of the error box; nullptr: loads
    const char* output;  // txtOutput afterwards
    const char* type;    // "optFull", "optIncremental" or "" (neither)
    bool cleanChecked, cleanEnabled;
};

class LoadSet : public MainWindowTest, public ::testing::WithParamInterface<LoadCase> {};

TEST_P(LoadSet, ShowsTheSetOrSaysWhyNot) {
    const LoadCase& c = GetParam();
    Get<QLineEdit>("txtOutput")->setText("/before");
    const std::string file = tmp.Path("my.set");
    if (c.content != nullptr) {
        std::string text = c.content;
        for (std::size_t at = 0; (at = text.find("%ROOT%", at)) != std::string::npos;) {
            text.replace(at, 6, tmp.Root());
        }
        tmp.Write("my.set", text);
    }
    EXPECT_EQ(window.LoadSetup(file), c.reason == nullptr);
    if (c.reason != nullptr) {
        ASSERT_EQ(script.Boxes.size(), 1u);
        EXPECT_EQ(script.Boxes[0].Title, "Tessaron");
        EXPECT_EQ(script.Boxes[0].Text, "Unable to load setup file - " + file + "\n" + c.reason);
    }
    EXPECT_EQ(window.windowTitle().toStdString(),
              c.reason == nullptr ? "Tessaron - " + file : "Tessaron");
    EXPECT_EQ(Text("txtOutput").toStdString(), c.output);
    EXPECT_EQ(Checked("optFull"), std::string(c.type) == "optFull");
    EXPECT_EQ(Checked("optIncremental"), std::string(c.type) == "optIncremental");
    EXPECT_EQ(Checked("chkClean"), c.cleanChecked);
    EXPECT_EQ(Enabled("chkClean"), c.cleanEnabled);
}

INSTANTIATE_TEST_SUITE_P(
    MainWindow, LoadSet,
    ::testing::Values(
        LoadCase{"FullSet",
                 "Target = \"/media/usb\"\r\nBackupType = FULL\r\nCleanTarget = True\r\n"
                 "Selections = \"%ROOT%/A\"\r\n",
                 nullptr, "/media/usb", "optFull", true, true},
        LoadCase{"IncrementalNeverClears",
                 "Target = \"/m\"\r\nBackupType = INCREMENTAL\r\nCleanTarget = True\r\n", nullptr,
                 "/m", "optIncremental", false, false},
        LoadCase{"EmptyFileResetsUnderItsName", "", nullptr, "", "", false, true},
        LoadCase{"OtherTypeChoosesNeither", "BackupType = full\r\n", nullptr, "", "", false, true},
        LoadCase{"MissingFile", nullptr, "No such file or directory", "/before", "", false, true},
        LoadCase{"BadSwitchKeepsTheSet", "Target = \"/x\"\r\nVerify = yes\r\n", "Type mismatch",
                 "/before", "", false, true}),
    [](const auto& tc) { return std::string(tc.param.name); });

TEST_F(MainWindowTest, LoadedSelectionsShowAndNewClearsEverything) {
    tmp.Write("my.set", "Target = \"/m\"\r\nBackupType = FULL\r\nEMail = True\r\n"
                        "EMailTo = ann@example.com\r\nSelections = \"" +
                            tmp.Root() + "\"\r\n");
    ASSERT_TRUE(window.LoadSetup(tmp.Path("my.set")));
    EXPECT_EQ(DriveMark(), Qt::PartiallyChecked);
    EXPECT_TRUE(Enabled("txtEmailTo"));
    window.findChild<QAction*>("mnuNew")->trigger();
    EXPECT_EQ(DriveMark(), Qt::Unchecked);
    EXPECT_EQ(window.Setup().Format(), clsSetup().Format());
    EXPECT_EQ(Text("txtEmailTo"), "");
    EXPECT_FALSE(Checked("optFull") || Checked("chkEmail") || Enabled("txtEmailTo"));
    EXPECT_EQ(window.CurrentFileName(), "");
    EXPECT_EQ(window.windowTitle().toStdString(), "Tessaron - " + tmp.Path("my.set"))
        << "New leaves the caption";
}

// --- Save and Save As -------------------------------------------------------------------------

struct SaveCase {
    const char* name;
    bool ticked;
    const char* menu;
    const char* answer;  // the name given in the dialog; "" cancels
    const char* written; // the file written; nullptr: none
};

class SaveSet : public MainWindowTest, public ::testing::WithParamInterface<SaveCase> {};

TEST_P(SaveSet, WritesTheSetUnderTheRightName) {
    const SaveCase& c = GetParam();
    if (c.ticked) {
        window.Setup().Sel.AddSelection(tmp.Root());
    }
    script.Paths.push_back(*c.answer ? tmp.Path(c.answer) : "");
    window.findChild<QAction*>(c.menu)->trigger();
    if (!c.ticked) {
        ASSERT_EQ(script.Boxes.size(), 1u);
        EXPECT_EQ(script.Boxes[0].Title, "No Selections");
        EXPECT_EQ(script.Boxes[0].Text, "Please select an item");
        EXPECT_TRUE(script.Dialogs.empty());
    } else {
        ASSERT_EQ(script.Dialogs.size(), 1u);
        EXPECT_EQ(script.Dialogs[0].Kind, FileDialogKind::Save);
        EXPECT_EQ(script.Dialogs[0].Dialog.Title, "Save Backup Set File");
    }
    const std::string written = c.written != nullptr ? tmp.Path(c.written) : "";
    if (c.written != nullptr) {
        EXPECT_EQ(tmp.Read(c.written), window.Setup().Format());
    }
    EXPECT_EQ(window.CurrentFileName(), written);
    EXPECT_EQ(window.windowTitle().toStdString(),
              written.empty() ? "Tessaron" : "Tessaron - " + written);
    EXPECT_EQ(std::distance(test::fs::directory_iterator(tmp.Root()), {}), c.written != nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    MainWindow, SaveSet,
    ::testing::Values(SaveCase{"SaveWithNothingTicked", false, "mnuSave", "a.set", nullptr},
                      SaveCase{"SaveAsWithNothingTicked", false, "mnuSaveAs", "a.set", nullptr},
                      SaveCase{"SaveWithoutNameAsks", true, "mnuSave", "a.set", "a.set"},
                      SaveCase{"NoExtensionGetsSet", true, "mnuSaveAs", "mine", "mine.set"},
                      SaveCase{"OtherExtensionKept", true, "mnuSaveAs", "mine.txt", "mine.txt"},
                      SaveCase{"CancelWritesNothing", true, "mnuSaveAs", "", nullptr}),
    [](const auto& tc) { return std::string(tc.param.name); });

TEST_F(MainWindowTest, DialogsStartAtTheCurrentFile) {
    window.Setup().Sel.AddSelection(tmp.Root());
    script.Paths = {tmp.Path("sets/a.set")};
    tmp.MakeDir("sets");
    window.SaveAs();
    window.Setup().Sel.AddSelection("/other");
    window.Save();
    EXPECT_EQ(tmp.Read("sets/a.set"), window.Setup().Format()) << "Save writes without asking";
    window.Load();
    ASSERT_EQ(script.Dialogs.size(), 2u);
    const clsComDlg& load = script.Dialogs[1].Dialog;
    EXPECT_EQ(script.Dialogs[1].Kind, FileDialogKind::Open);
    EXPECT_EQ(load.Title, "Choose a Backup Set File");
    std::string filters;
    for (const FileFilter& f : load.Filter) {
        filters += f.Text + "|" + f.Pattern + "|";
    }
    EXPECT_EQ(filters, "Backup Set Files (*.set)|*.set|All Files (*.*)|*.*|");
    EXPECT_EQ(load.InitDir, tmp.Path("sets/"));
}

} // namespace
} // namespace tessaron::gui
