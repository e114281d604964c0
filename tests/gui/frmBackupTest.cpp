// The run window over real runs on temporary trees: what the user sees through the
// phases, Cancel, the close box, Close, the hidden main window and the questions.
#include "frmBackup.h"
#include "frmMain.h"

#include "EnvOverride.h"
#include "GuiTestSupport.h"
#include "TempTree.h"
#include "TestNames.h"
#include "mail/clsRegSettings.h"

#include "setfile/clsSetup.h"

#include <QGroupBox>
#include <QLabel>
#include <QListView>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

#include <functional>

namespace tessaron::gui {
namespace {

using test::ParamName;
using test::TempTree;

// The run window with a hook at every yield of the run.
class ProbedWindow : public frmBackup {
public:
    using frmBackup::frmBackup;
    std::function<void()> onYield;
    bool copying = false; // the copy phase has begun

    void AddLogLine(const std::string& line) override {
        copying = copying || line.find("Copying Files To: ") != std::string::npos;
        frmBackup::AddLogLine(line);
    }
    void PumpMessages() override {
        if (onYield) {
            onYield();
        }
        frmBackup::PumpMessages();
    }
};

class RunWindowTest : public ::testing::Test {
protected:
    TempTree tree;
    clsSetup setup{PathStyle::Posix};
    QWidget mainWindow;
    ProbedWindow* window = new ProbedWindow(&mainWindow);
    test::GuiScript script{MsgAnswer::No};

    void SetUp() override {
        for (int i = 0; i < 4; ++i) {
            tree.Write("src/f" + std::to_string(i) + ".txt", std::string(1000 + i, 'x'));
        }
        tree.MakeDir("dst");
        setup.Target = tree.Path("dst");
        setup.BackupType = "FULL";
        setup.Sel.AddSelection(tree.Path("src"));
        window->Setup(setup);
        window->LogDir(tree.Path("logs"));
        mainWindow.show();
    }

    template <typename T> T* Find(const char* name) const {
        return window->findChild<T*>(QString::fromLatin1(name));
    }
    QString Text(const char* label) const { return Find<QLabel>(label)->text(); }
    QString Title(const char* frame) const { return Find<QGroupBox>(frame)->title(); }

    // The log list's last line without its time stamp.
    QString LastLine() const {
        auto* model = Find<QListView>("lstLog")->model();
        const QString line = model->index(model->rowCount() - 1, 0).data().toString();
        return line.mid(line.indexOf(" - ") + 3);
    }
    // Calls action once, at the first yield of the copy phase.
    void DuringCopy(std::function<void()> action) {
        window->onYield = [this, action, done = false]() mutable {
            if (!done && window->copying) {
                done = true;
                action();
            }
        };
    }
};

// What the user does during the copy, or to close the window once the run is over.
enum class Act { Nothing, CancelButton, Escape, Enter, CloseBox };

struct RunCase {
    const char* name;
    Act during;
    MsgAnswer answer; // to the close box's question
    Act close;
};

class RunWindowRun : public RunWindowTest, public ::testing::WithParamInterface<RunCase> {
protected:
    void Do(Act act) {
        if (act == Act::CancelButton) {
            Find<QPushButton>("cmdCancel")->click();
        } else if (act == Act::Escape || act == Act::Enter) {
            const auto key = act == Act::Escape ? Qt::Key_Escape : Qt::Key_Return;
            QTest::keyClick(Find<QListView>("lstLog"), key);
            if (act == Act::Enter && window->isVisible()) {
                QTest::keyClick(Find<QPushButton>("cmdCancel"), key);
            }
        } else if (act == Act::CloseBox) {
            window->close();
        }
    }
};

// The run shows its texts in the window's controls with the main window hidden. Cancel,
// Escape, or the close box answered Yes, cancel during the copy (what the run then logs is
// the engine's). Enter presses the button only once it reads Close. A run
// cancelled through the close box closes its window; any other finished window is closed
// freely (no question) and the main window comes back.
TEST_P(RunWindowRun, EndsAsTheUserChose) {
    const RunCase& c = GetParam();
    script.Answer = c.answer;
    setup.Verify = true;
    bool hiddenDuringRun = false;
    DuringCopy([&] {
        hiddenDuringRun = !mainWindow.isVisible() && window->isVisible();
        Do(c.during);
    });
    const bool cancelled = c.during != Act::Nothing && c.during != Act::Enter;

    EXPECT_EQ(window->Run(&mainWindow, false), !cancelled);

    EXPECT_TRUE(hiddenDuringRun);
    ASSERT_EQ(script.Boxes.size(), c.during == Act::CloseBox ? 1u : 0u);
    if (c.during == Act::CloseBox) {
        EXPECT_EQ(script.Boxes[0].Title, "Cancel Operation");
        EXPECT_EQ(script.Boxes[0].Buttons, MsgButtons::YesNo);
    }
    EXPECT_EQ(Text("lblResult"), cancelled ? "Backup Cancelled" : "Backup Complete");
    EXPECT_EQ(window->isVisible(), c.during != Act::CloseBox);
    if (!cancelled) {
        EXPECT_EQ(Text("lblFilesTrans"), "Files Verified");
        EXPECT_EQ(Title("fraOverall"), "Overall Progress (Verifying)");
        EXPECT_EQ(Find<QProgressBar>("pbOverAll")->value(), 100);
        EXPECT_EQ(window->windowTitle(), "Backup Progress - 100% Complete");
        EXPECT_EQ(LastLine(), "Backup Complete");
    }
    EXPECT_EQ(Find<QPushButton>("cmdCancel")->text(), "Close");
    EXPECT_TRUE(Find<QPushButton>("cmdCancel")->isDefault());
    Do(c.close);
    EXPECT_EQ(script.Boxes.size(), c.during == Act::CloseBox ? 1u : 0u);
    EXPECT_FALSE(window->isVisible());
    EXPECT_TRUE(mainWindow.isVisible());
}

INSTANTIATE_TEST_SUITE_P(
    RunWindow, RunWindowRun,
    ::testing::Values(RunCase{"ClosedByButton", Act::Nothing, MsgAnswer::No, Act::CancelButton},
                      RunCase{"ClosedByCloseBox", Act::Nothing, MsgAnswer::No, Act::CloseBox},
                      RunCase{"EnterOnlyOnceItReadsClose", Act::Enter, MsgAnswer::No, Act::Enter},
                      RunCase{"CancelButton", Act::CancelButton, MsgAnswer::No, Act::CancelButton},
                      RunCase{"Escape", Act::Escape, MsgAnswer::No, Act::Escape},
                      RunCase{"CloseBoxYesCancels", Act::CloseBox, MsgAnswer::Yes, Act::Nothing}),
    ParamName());

// A run started to unload on exit closes its window and shows the main window again, unless
// the main window was never shown (a run from the command line).
TEST_F(RunWindowTest, UnloadOnExitShowsTheMainWindowAgain) {
    EXPECT_TRUE(window->Run(&mainWindow, true));
    EXPECT_FALSE(window->isVisible());
    EXPECT_TRUE(mainWindow.isVisible());

    mainWindow.hide();
    EXPECT_TRUE(window->Run(&mainWindow, true));
    EXPECT_FALSE(mainWindow.isVisible());
}

// A question of the run is a message box over the run window, its lines broken for Qt
// (what the answer does: tests/system/gui_run_test.sh).
TEST_F(RunWindowTest, QuestionIsAMessageBoxOverTheRunWindow) {
    script.Answer = MsgAnswer::Yes;
    setup.CleanTarget = true;
    tree.Write("dst/old.txt", "old");

    window->Run(&mainWindow, false);

    ASSERT_EQ(script.Boxes.size(), 1u);
    EXPECT_EQ(script.Boxes[0].Parent, window);
    EXPECT_EQ(script.Boxes[0].Title, "Clear Target");
    EXPECT_EQ(script.Boxes[0].Text, "Warning - All Files and Directories will be removed from \n" +
                                        setup.Target + "\nDo You Want To Continue?");
    EXPECT_EQ(script.Boxes[0].Buttons, MsgButtons::YesNo);
}

// The log list: appended text extends the last line, and the newest line is selected.
TEST(RunWindowLog, AppendsAndSelects) {
    frmBackup window;
    window.show();
    auto* list = window.findChild<QListView*>("lstLog");
    window.AddLogLine("Clearing /media/usb/Backup...");
    window.AppendToLastLogLine("Done");
    window.AddLogLine("last");
    QTest::qWait(30); // the window takes its messages every few milliseconds
    window.PumpMessages();
    EXPECT_TRUE(
        list->model()->index(0, 0).data().toString().endsWith("Clearing /media/usb/Backup...Done"));
    EXPECT_EQ(list->currentIndex().row(), 1);
}

// Start in the main window runs the set in the run window with the main window out of
// sight; closing the finished run window brings the main window back.
TEST(RunWindowFromMainWindow, StartRunsAndCloseBringsTheMainWindowBack) {
    TempTree tree;
    tree.Write("src/a.txt", "a");
    tree.MakeDir("dst");
    tree.Write("daily.set", "Target = \"" + tree.Path("dst") +
                                "\"\r\nBackupType = FULL\r\nSelections = \"" + tree.Path("src") +
                                "\"\r\n");
    const test::EnvOverride logs("TESSARON_LOG_DIR", tree.Path("logs"));
    clsRegSettings settings;
    settings.SettingsFile(HKeyCurrentUser, tree.Path("settings.ini"));
    frmMain mainWindow(settings);
    ASSERT_TRUE(mainWindow.LoadSetup(tree.Path("daily.set")));
    mainWindow.show();

    mainWindow.findChild<QPushButton*>("cmdStart")->click();

    auto* run = mainWindow.findChild<frmBackup*>();
    ASSERT_NE(run, nullptr);
    EXPECT_EQ(run->findChild<QLabel*>("lblResult")->text(), "Backup Complete");
    EXPECT_TRUE(run->isVisible());
    EXPECT_FALSE(mainWindow.isVisible());
    EXPECT_EQ(tree.Read("dst" + tree.Path("src/a.txt")), "a");
    run->findChild<QPushButton*>("cmdCancel")->click();
    EXPECT_TRUE(mainWindow.isVisible());
}

} // namespace
} // namespace tessaron::gui
