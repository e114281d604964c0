// The native main window's wiring: made in the test process and driven through its
// controls' own messages (TVM_*, LVM_*, BM_*, WM_SETTEXT, mouse clicks sent to the
// subclassed list). The rules themselves are the window layer's, checked in tests/ui.
#include "MessageBoxes.h"
#include "TempTree.h"
#include "TestNames.h"
#include "Win32Text.h"
#include "clsComDlg.h"
#include "frmMain.h"

#include "mail/clsRegSettings.h"
#include "ui/WindowPlacement.h"

#include <windows.h>
#undef Yield // an old macro of the system headers; the run views have a member of that name

#include <commctrl.h>
#include <gtest/gtest.h>

namespace tessaron::win {
namespace {

using test::TempTree;

// Runs the window's messages that are waiting (and those they cause) for a moment.
void Pump(int ms = 50) {
    const DWORD end = ::GetTickCount() + static_cast<DWORD>(ms);
    MSG msg{};
    do {
        while (::PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            ::TranslateMessage(&msg);
            ::DispatchMessageW(&msg);
        }
        ::Sleep(5);
    } while (::GetTickCount() < end);
}

std::string Backslashed(std::string path) {
    for (char& c : path) {
        c = c == '/' ? '\\' : c;
    }
    return path;
}

class NativeWindowTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        INITCOMMONCONTROLSEX controls{sizeof controls, ICC_TREEVIEW_CLASSES | ICC_LISTVIEW_CLASSES |
                                                           ICC_BAR_CLASSES};
        ::InitCommonControlsEx(&controls);
    }
    void SetUp() override {
        m_oldBox = SetMessageBoxHandler(
            [this](HWND, const std::string& title, const std::string& text, MsgButtons) {
                boxes.push_back(title + ": " + text);
                return MsgAnswer::OK;
            });
        m_oldDialog =
            SetFileDialogHandler([this](ui::FileDialogKind, const clsComDlg&) { return answer; });
        tmp.Write("A/A1/deep.txt", "d");
        tmp.MakeDir("B");
        tmp.Write("file.txt", "f");
        ASSERT_TRUE(window.Create());
        ::SetWindowPos(window.Handle(), nullptr, 0, 0, 900, 600, SWP_NOZORDER | SWP_SHOWWINDOW);
        Pump();
    }
    void TearDown() override {
        SetMessageBoxHandler(std::move(m_oldBox));
        SetFileDialogHandler(std::move(m_oldDialog));
    }

    std::string Key(const std::string& rel) const {
        return Backslashed(rel.empty() ? tmp.Root() : tmp.Path(rel));
    }
    HWND C(ControlId id) const { return window.Control(id); }
    HTREEITEM Item(const std::string& rel) {
        const ui::TreeNode* node = window.Panes().Tree().FindKey(Key(rel));
        return node != nullptr ? window.Tree().ItemOf(*node) : nullptr;
    }
    // The mark (state image) a tree item shows, read from the control.
    int TreeMark(HTREEITEM item) const {
        return static_cast<int>(TreeView_GetItemState(C(tvSelect), item, TVIS_STATEIMAGEMASK) >>
                                12);
    }
    int Row(const std::string& rel) { return window.Panes().List().Find(Key(rel)); }
    int ListMark(int row) const {
        return static_cast<int>(ListView_GetItemState(C(lvSelect), row, LVIS_STATEIMAGEMASK) >> 12);
    }
    // Chooses the temporary folder the way a user does: its tree item is selected.
    void OpenTemp() {
        ASSERT_NE(window.Panes().Tree().Reveal(Key("")), nullptr);
        TreeView_SelectItem(C(tvSelect), Item(""));
        Pump();
        ASSERT_EQ(window.Panes().List().Folder(), Key(""));
    }
    void ClickList(int row, int x) {
        RECT r{};
        r.left = LVIR_BOUNDS;
        ::SendMessageW(C(lvSelect), LVM_GETITEMRECT, static_cast<WPARAM>(row),
                       reinterpret_cast<LPARAM>(&r));
        const LPARAM at = MAKELPARAM(r.left + x, (r.top + r.bottom) / 2);
        ::PostMessageW(C(lvSelect), WM_LBUTTONDOWN, MK_LBUTTON, at);
        ::PostMessageW(C(lvSelect), WM_LBUTTONUP, 0, at);
        Pump(150);
    }
    bool Checked(ControlId id) const {
        return ::SendMessageW(C(id), BM_GETCHECK, 0, 0) == BST_CHECKED;
    }
    std::string Caption() const {
        wchar_t text[512];
        ::GetWindowTextW(window.Handle(), text, 512);
        return Narrow(text);
    }

    TempTree tmp;
    clsRegSettings settings;
    frmMain window{settings};
    std::vector<std::string> boxes;
    std::string answer;

private:
    MessageBoxHandler m_oldBox;
    FileDialogHandler m_oldDialog;
};

TEST_F(NativeWindowTest, OpensOnTheDrivesWithMenusAndHook) {
    EXPECT_EQ(Caption(), "Tessaron");
    HWND tree = C(tvSelect);
    const HTREEITEM root = TreeView_GetRoot(tree);
    wchar_t text[64]{};
    TVITEMW tv{};
    tv.mask = TVIF_TEXT;
    tv.hItem = root;
    tv.pszText = text;
    tv.cchTextMax = 64;
    TreeView_GetItem(tree, &tv);
    EXPECT_STREQ(text, L"My Computer");
    EXPECT_EQ(TreeMark(root), 0) << "the root shows no box";
    const HTREEITEM drive = TreeView_GetChild(tree, root);
    ASSERT_NE(drive, nullptr);
    EXPECT_EQ(TreeMark(drive), 1);
    EXPECT_EQ(TreeView_GetSelection(tree), root);
    EXPECT_GT(ListView_GetItemCount(C(lvSelect)), 0) << "the list shows the drives";
    EXPECT_EQ(ListView_GetItemCount(C(lvSelect)), static_cast<int>(TreeView_GetCount(tree)) - 1);
    HMENU file = ::GetSubMenu(::GetMenu(window.Handle()), 0);
    ::GetMenuStringW(file, mnuSaveAs, text, 64, MF_BYCOMMAND);
    EXPECT_STREQ(text, L"Save Backup Set &As...\tCtrl+Shift+S");
    EXPECT_NE(::GetPropW(C(lvSelect), L"PrevWndProc"), nullptr) << "the list is subclassed";
    EXPECT_EQ(::SendMessageW(C(lvSelect), LVM_SETIMAGELIST, LVSIL_STATE, 0), 0);
    EXPECT_NE(ListView_GetImageList(C(lvSelect), LVSIL_STATE), nullptr)
        << "the hook keeps the state images";
}

TEST_F(NativeWindowTest, SpaceInTheTreeTicksAndMarksFollow) {
    OpenTemp();
    window.Panes().Tree().Reveal(Key("A/A1"));
    TreeView_SelectItem(C(tvSelect), Item("A"));
    Pump();
    ::SendMessageW(C(tvSelect), WM_KEYDOWN, VK_SPACE, 0);
    Pump();
    EXPECT_EQ(TreeMark(Item("A")), 2);
    EXPECT_EQ(TreeMark(Item("A/A1")), 2) << "loaded descendants follow";
    EXPECT_EQ(TreeMark(Item("")), 3) << "the parent shows partly ticked";
    TreeView_SelectItem(C(tvSelect), Item(""));
    Pump();
    EXPECT_EQ(ListMark(Row("A")), 2);
    EXPECT_EQ(ListMark(Row("B")), 1);
}

struct ClickCase {
    const char* name;
    int x; // from the item's left edge
    int mark;
};

class ListClick : public NativeWindowTest, public ::testing::WithParamInterface<ClickCase> {};

// Only the 16 pixels of the mark toggle; the control never toggles a mark by itself.
TEST_P(ListClick, OnlyTheMarkColumnToggles) {
    OpenTemp();
    ClickList(Row("B"), GetParam().x);
    EXPECT_EQ(ListMark(Row("B")), GetParam().mark);
    EXPECT_EQ(TreeMark(Item("B")), GetParam().mark) << "the tree node follows";
}

const ClickCase kClickCases[] = {{"InsideTheMark", 8, 2},
                                 {"AtThe16PixelEdge", 16, 2},
                                 {"JustPastTheMark", 17, 1},
                                 {"OnTheName", 60, 1}};

INSTANTIATE_TEST_SUITE_P(Native, ListClick, ::testing::ValuesIn(kClickCases), test::ParamName());

TEST_F(NativeWindowTest, OptionControlsFollowTheRules) {
    ::SendMessageW(C(optFull), BM_CLICK, 0, 0);
    ::SendMessageW(C(chkClean), BM_CLICK, 0, 0);
    EXPECT_TRUE(Checked(optFull) && Checked(chkClean));
    ::SendMessageW(C(optIncremental), BM_CLICK, 0, 0);
    EXPECT_FALSE(Checked(optFull) || Checked(chkClean) || ::IsWindowEnabled(C(chkClean)));
    EXPECT_FALSE(::IsWindowEnabled(C(txtEmailTo)));
    ::SendMessageW(C(chkEmail), BM_CLICK, 0, 0);
    EXPECT_TRUE(::IsWindowEnabled(C(txtEmailTo)));
    ::SetWindowTextW(C(txtOutput), L"D:\\Backup \x0416\x00e9");
    EXPECT_EQ(window.Logic().Setup().Target, "D:\\Backup \xd0\x96\xc3\xa9")
        << "UTF-16 in, UTF-8 kept";
    EXPECT_EQ(window.Logic().Setup().BackupType, "INCREMENTAL");
    EXPECT_TRUE(window.Logic().Setup().Email);
}

TEST_F(NativeWindowTest, SaveLoadCaptionAndStart) {
    ::SendMessageW(window.Handle(), WM_COMMAND, cmdStart, 0);
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0], "No Selections: Please select an item");
    window.Logic().Setup().Sel.AddSelection(Key(""));
    ::SetWindowTextW(C(txtOutput), L"D:\\Backup");
    ::SendMessageW(C(optFull), BM_CLICK, 0, 0);
    answer = Key("daily");
    ::SendMessageW(window.Handle(), WM_COMMAND, mnuSaveAs, 0);
    EXPECT_EQ(Caption(), "Tessaron - " + Key("daily.set"));
    ::SendMessageW(window.Handle(), WM_COMMAND, mnuNew, 0);
    EXPECT_TRUE(::GetWindowTextLengthW(C(txtOutput)) == 0 && !Checked(optFull));
    answer = Key("daily.set");
    ::SendMessageW(window.Handle(), WM_COMMAND, mnuLoad, 0);
    EXPECT_TRUE(Checked(optFull));
    EXPECT_EQ(window.Logic().Setup().Target, "D:\\Backup");
}

TEST_F(NativeWindowTest, ClosingKeepsThePlacementAndUndoesTheHook) {
    HWND list = C(lvSelect);
    ::SendMessageW(window.Handle(), WM_CLOSE, 0, 0);
    EXPECT_EQ(window.Handle(), nullptr);
    EXPECT_FALSE(::IsWindow(list));
    const ui::Placement saved = ui::ReadPlacement(settings);
    ASSERT_TRUE(saved.Normal.has_value());
    EXPECT_EQ(saved.Normal->Width, 900);
    EXPECT_GT(saved.Split, 0);
}

} // namespace
} // namespace tessaron::win
