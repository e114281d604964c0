// The run window's behaviour over real runs on a temporary tree, through a window that
// records what it is told to show: the close box and what shows as verification starts.
// The button and the keys, and the close box answered Yes or used after the run, are
// driven through the Qt window (tests/gui/frmBackupTest.cpp), a question interrupted by
// a signal through the program (tests/system/gui_run_test.sh).
#include "ui/RunWindowLogic.h"
#include "TempTree.h"
#include "TestNames.h"
#include "setfile/clsSetup.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <vector>

namespace tessaron::ui {
namespace {

using test::TempTree;
using Close = RunWindowLogic::CloseRequest;
using Action = RunWindowLogic::CloseAction;

class RecordingWindow : public IRunWindow {
public:
    std::map<RunLabel, std::string> shown;
    std::vector<std::string> lines; // without time stamps
    std::vector<Question> questions;
    std::function<MsgAnswer(const Question&)> answer; // default: the safe answer
    std::function<void()> onText;                     // after every text shown
    std::function<void()> onPump;

    void ShowText(RunLabel which, const std::string& text) override {
        shown[which] = text;
        if (onText) {
            onText();
        }
    }
    void ShowBar(RunBar, int) override {}
    void AddLogLine(const std::string& line) override {
        lines.push_back(line.substr(line.find(" - ") + 3));
    }
    void AppendToLastLogLine(const std::string& text) override { lines.back() += text; }
    MsgAnswer ShowQuestion(const Question& question) override {
        questions.push_back(question);
        return answer ? answer(question) : SafeAnswer(question.Buttons);
    }
    void CloseQuestion() override {}
    void PumpMessages() override {
        if (onPump) {
            onPump();
        }
    }
    bool Logged(const std::string& line) const {
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }
};

class RunWindowLogicTest : public ::testing::Test {
protected:
    TempTree tree;
    clsSetup setup{NativePathStyle()};
    RecordingWindow window;
    RunWindowLogic logic{window};

    void SetUp() override {
        for (int i = 0; i < 4; ++i) {
            tree.Write("src/f" + std::to_string(i) + ".txt", std::string(1000 + i, 'x'));
        }
        tree.MakeDir("dst");
        setup.Target = tree.NativePath("dst");
        setup.BackupType = "FULL";
        setup.Sel.AddSelection(tree.NativePath("src"));
        logic.Setup(setup);
        logic.Engine().LogDir(tree.NativePath("logs"));
    }
    // Calls action once, at the first yield of the copy phase.
    void DuringCopy(std::function<void()> action) {
        window.onPump = [this, action, done = false]() mutable {
            if (!done && window.Logged("Copying Files To: " + setup.Target + "...")) {
                done = true;
                action();
            }
        };
    }
    RunResult Result() const { return logic.Engine().Result(); }
};

enum class When { DuringCopy, OnceFinished };

struct CloseCase {
    const char* name;
    When when;
    Close how;
    MsgAnswer answer; // to "Cancel Operation"
    Action action;
    bool asked;
    RunResult result;
    bool unloads; // the window closes itself when Run returns
};

class CloseBox : public RunWindowLogicTest, public ::testing::WithParamInterface<CloseCase> {};

TEST_P(CloseBox, AsksOnlyDuringTheRun) {
    const CloseCase& c = GetParam();
    window.answer = [&](const Question&) { return c.answer; };
    Action action{};
    bool requested = false;
    auto request = [&] {
        if (!requested) {
            requested = true;
            action = logic.CloseRequested(c.how);
        }
    };
    if (c.when == When::DuringCopy) {
        DuringCopy(request);
    } else {
        window.onText = [&] {
            if (window.shown[RunLabel::Button] == "Close") {
                request();
            }
        };
    }
    logic.Run(false);
    EXPECT_EQ(action, c.action);
    EXPECT_EQ(Result(), c.result);
    EXPECT_EQ(logic.UnloadWhenRunEnds(), c.unloads);
    ASSERT_EQ(window.questions.size(), c.asked ? 1u : 0u);
    if (c.asked) {
        EXPECT_EQ(window.questions[0].Title, "Cancel Operation");
        EXPECT_EQ(window.questions[0].Text, "Do you want to cancel this operation?");
        EXPECT_EQ(window.questions[0].Buttons, MsgButtons::YesNo);
    }
}

INSTANTIATE_TEST_SUITE_P(
    RunWindowLogic, CloseBox,
    ::testing::Values(CloseCase{"NoGoesOn", When::DuringCopy, Close::User, MsgAnswer::No,
                                Action::Refuse, true, RunResult::Complete, false},
                      CloseCase{"SystemCancelsWithoutAsking", When::DuringCopy, Close::System,
                                MsgAnswer::No, Action::Refuse, false, RunResult::Cancelled, true},
                      CloseCase{"FinishedHidesUntilTheRunReturns", When::OnceFinished, Close::User,
                                MsgAnswer::No, Action::Hide, false, RunResult::Complete, true}),
    test::ParamName());

// As verification starts, the window shows its counters at once, not the copy's totals
// under the verification's captions until the next refresh.
TEST_F(RunWindowLogicTest, VerificationShowsItsOwnCountersFromTheStart) {
    setup.Verify = true;
    std::map<RunLabel, std::string> atFirstPump;
    window.onPump = [&] {
        if (atFirstPump.empty() && window.shown[RunLabel::FilesDoneCaption] == "Files Verified") {
            atFirstPump = window.shown;
        }
    };
    EXPECT_TRUE(logic.Run(false));
    EXPECT_EQ(atFirstPump[RunLabel::CurrentFrame], "Current File (Verifying)");
    EXPECT_EQ(atFirstPump[RunLabel::FilesDone], "0");
    EXPECT_EQ(atFirstPump[RunLabel::BytesDone], "0");
    EXPECT_EQ(window.shown[RunLabel::FilesDone], "4");
}

} // namespace
} // namespace tessaron::ui
