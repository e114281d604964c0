// The native run window's wiring over real runs on a temporary tree: the window is made in
// the test process, its button and close box are worked through their own messages from a
// timer during the run, and the run's questions are answered through the message box
// handler. What the logic decides is checked in tests/ui.
#include "MessageBoxes.h"
#include "TempTree.h"
#include "TestNames.h"
#include "Win32Text.h"
#include "frmBackup.h"

#include "setfile/clsSetup.h"

#include <windows.h>
#undef Yield // an old macro of the system headers; the run views have a member of that name

#include <commctrl.h>
#include <gtest/gtest.h>

namespace tessaron::win {
namespace {

using test::TempTree;

// What the user does once the run is under way.
enum class During { Nothing, ClickCancel, CloseBox };

struct RunCase {
    const char* name;
    During during;
    MsgAnswer clearTarget;  // the answer to "Clear Target"
    MsgAnswer cancelAnswer; // the answer to "Cancel Operation"
    const char* result;
    bool closedByRun; // the window closed itself when the run ended
};

const RunCase kRunCases[] = {
    {"ShownThroughToClose", During::Nothing, MsgAnswer::Yes, MsgAnswer::No, "Backup Complete",
     false},
    {"CancelPartWay", During::ClickCancel, MsgAnswer::Yes, MsgAnswer::No, "Backup Cancelled",
     false},
    {"CloseBoxAnsweredNoGoesOn", During::CloseBox, MsgAnswer::Yes, MsgAnswer::No, "Backup Complete",
     false},
    {"CloseBoxAnsweredYesCancelsAndCloses", During::CloseBox, MsgAnswer::Yes, MsgAnswer::Yes,
     "Backup Cancelled", true},
    {"ClearTargetAnsweredNo", During::Nothing, MsgAnswer::No, MsgAnswer::No, "Backup Cancelled",
     false},
};

std::string Text(HWND window) {
    return WindowText(window);
}

class NativeRunWindow : public ::testing::TestWithParam<RunCase> {
protected:
    static NativeRunWindow* s_current;

    void SetUp() override {
        for (int i = 0; i < 60; ++i) {
            tree.Write("src/f" + std::to_string(i) + ".txt", std::string(2000, 'x'));
        }
        tree.Write("dst/old.txt", "o");
        setup.Target = tree.NativePath("dst");
        setup.BackupType = "FULL";
        setup.CleanTarget = true;
        setup.Verify = true;
        setup.Sel.AddSelection(tree.NativePath("src"));
        window.Setup(setup);
        window.LogDir(tree.NativePath("logs"));
        parent = ::CreateWindowExW(0, L"STATIC", L"parent", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 100,
                                   100, 400, 300, nullptr, nullptr, nullptr, nullptr);
        m_old = SetMessageBoxHandler([this](HWND owner, const std::string& title,
                                            const std::string&, MsgButtons) {
            boxes.push_back(title);
            owners.push_back(owner);
            return title == "Cancel Operation" ? GetParam().cancelAnswer : GetParam().clearTarget;
        });
        s_current = this;
    }
    void TearDown() override {
        SetMessageBoxHandler(std::move(m_old));
        ::DestroyWindow(parent);
        s_current = nullptr;
    }
    // Once the copy is under way: what the case does, as the user would.
    static void CALLBACK Act(HWND, UINT, UINT_PTR id, DWORD) {
        NativeRunWindow& t = *s_current;
        if (t.window.Handle() == nullptr || t.boxes.empty()) {
            return; // the copy starts after the "Clear Target" question
        }
        ::KillTimer(nullptr, id);
        t.parentHidden = !::IsWindowVisible(t.parent);
        if (t.GetParam().during == During::ClickCancel) {
            ::SendMessageW(t.window.Control(cmdCancel), BM_CLICK, 0, 0);
        } else if (t.GetParam().during == During::CloseBox) {
            ::SendMessageW(t.window.Handle(), WM_CLOSE, 0, 0);
        }
    }

    TempTree tree;
    clsSetup setup;
    frmBackup window;
    HWND parent = nullptr;
    bool parentHidden = false;
    std::vector<std::string> boxes;
    std::vector<HWND> owners;

private:
    MessageBoxHandler m_old;
};

NativeRunWindow* NativeRunWindow::s_current = nullptr;

TEST_P(NativeRunWindow, RunEndsAsTheUserChose) {
    const RunCase& c = GetParam();
    ::SetTimer(nullptr, 0, 1, &NativeRunWindow::Act);
    window.Run(parent, false);
    ASSERT_FALSE(boxes.empty());
    EXPECT_EQ(boxes[0], "Clear Target");
    EXPECT_NE(owners[0], nullptr) << "the question is centred on the run window";
    if (c.during == During::CloseBox) {
        ASSERT_EQ(boxes.size(), 2u);
        EXPECT_EQ(boxes[1], "Cancel Operation");
    }
    if (c.clearTarget == MsgAnswer::Yes) {
        EXPECT_TRUE(parentHidden) << "the main window is hidden during the run";
    }
    EXPECT_EQ(window.Result() == RunResult::Complete, std::string(c.result) == "Backup Complete");
    if (c.closedByRun) {
        EXPECT_EQ(window.Handle(), nullptr);
        EXPECT_TRUE(::IsWindowVisible(parent)) << "the main window is back";
        return;
    }
    ASSERT_NE(window.Handle(), nullptr) << "the window stays with its log";
    EXPECT_EQ(Text(window.Control(lblResult)), c.result);
    EXPECT_EQ(Text(window.Control(cmdCancel)), "Close");
    HWND list = window.Control(lstLog);
    const auto count = ::SendMessageW(list, LB_GETCOUNT, 0, 0);
    EXPECT_EQ(::SendMessageW(list, LB_GETCURSEL, 0, 0), count - 1) << "the newest line shows";
    std::wstring last(static_cast<std::size_t>(::SendMessageW(list, LB_GETTEXTLEN, count - 1, 0)),
                      L'\0');
    ::SendMessageW(list, LB_GETTEXT, count - 1, reinterpret_cast<LPARAM>(last.data()));
    EXPECT_TRUE(Narrow(last).ends_with(c.result)) << Narrow(last);
    if (window.Result() == RunResult::Complete) {
        EXPECT_EQ(Text(window.Handle()), "Backup Progress - 100% Complete");
        EXPECT_EQ(Text(window.Control(lblFilesTrans)), "Files Verified");
        EXPECT_EQ(Text(window.Control(lblFilesTransfered)), "60");
    }
    // Enter presses Close once it reads so; the window goes and the main window is back.
    ::PostMessageW(window.Control(cmdCancel), WM_KEYDOWN, VK_RETURN, 0);
    window.WaitUntilClosed();
    EXPECT_EQ(window.Handle(), nullptr);
    EXPECT_TRUE(::IsWindowVisible(parent));
}

INSTANTIATE_TEST_SUITE_P(Native, NativeRunWindow, ::testing::ValuesIn(kRunCases),
                         test::ParamName());

} // namespace
} // namespace tessaron::win
