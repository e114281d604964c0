#pragma once
// frmMain: the native Windows main window, a thin view over the window layer's
// MainWindowLogic (the record, the option rules, the Start checks, New, Load, Save and
// Save As, the caption) and SelectionPanes (the drive tree and file list and their
// marks), with the system's common controls: a tree view and an owner-data list view in
// report view, both with state images for the marks, edit boxes, buttons, a status bar.
//
// The window is resizable (never below 10000 x 6000 twips); the options keep their height
// at the bottom and the tree and list take the rest, split by a bar the user drags. Size,
// position and split are kept in the settings store (the registry under the program's
// key, "Window"). Every text goes to and comes from the system in UTF-16.

#include "ListCtrl.h"
#include "TreeCtrl.h"

#include "ui/MainWindowLogic.h"
#include "ui/SelectionPanes.h"

#include <memory>
#include <string>
#include <windows.h>
#undef Yield // an old macro of the system headers; the run views have a member of that name

namespace tessaron {
class clsRegSettings;
}

namespace tessaron::win {

// The controls' identifiers (GetDlgItem) and the menu commands'.
enum ControlId : int {
    lblSelect = 100,
    tvSelect,
    lvSelect,
    fraBottom,
    lblOutput,
    txtOutput,
    cmdBrowse,
    fraType,
    optFull,
    optIncremental,
    chkClean,
    chkSaveLog,
    chkStopOnError,
    chkVerify,
    chkEject,
    chkEmail,
    txtEmailTo,
    cmdStart,
    sbStatus,
    mnuNew = 200,
    mnuLoad,
    mnuSave,
    mnuSaveAs,
    mnuExit,
    mnuRefresh,
    mnuStart,
    mnuEmailSetup,
    mnuContents,
    mnuAbout
};

class frmMain : private ui::MainWindowView, private ui::PanesView {
public:
    // settings keeps the window's size, position and split; it must outlive the window.
    explicit frmMain(clsRegSettings& settings);
    ~frmMain() override;
    frmMain(const frmMain&) = delete;
    frmMain& operator=(const frmMain&) = delete;

    // Makes the window (hidden) with a new set, the root "My Computer" expanded and chosen
    // and the drives in the list; false when the system refused it.
    bool Create();
    // Shows it where it was last closed (or the system's place for a new window).
    void Show();
    HWND Handle() const { return m_window; }
    HWND Control(ControlId id) const { return ::GetDlgItem(m_window, id); }

    ui::MainWindowLogic& Logic() { return m_logic; }
    ui::SelectionPanes& Panes() { return m_panes; }
    TreeCtrl& Tree() { return *m_tree; }
    ListCtrl& List() { return *m_list; }
    // The tree's width in pixels (the split between tree and list).
    int Split() const { return m_split; }

    // Keyboard shortcuts and moving between controls with Tab; true when msg was used.
    bool PreTranslate(MSG& msg);
    // Runs the window's messages until it is closed; the exit status (0).
    int MessageLoop();

private:
    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam);
    void BuildControls();
    HWND AddControl(const wchar_t* cls, const char* text, DWORD style, ControlId id,
                    DWORD exStyle = 0);
    void Layout();
    void LayoutBottom(int top, int width);
    void OnCommand(int id, int code);
    LRESULT OnNotify(const NMHDR& header, LPARAM lParam);
    bool OnSplitter(UINT message, LPARAM lParam);
    void RestorePlacement();
    void SavePlacement();
    void MenuWindow(int id);

    // The window layer's views.
    void ShowOptions(const ui::MainWindowOptions& options) override;
    void ShowCaption(const std::string& caption) override;
    void RebuildSelection() override { m_panes.Rebuild(); }
    void FocusOutput() override;
    MsgAnswer Message(const std::string& title, const std::string& text,
                      MsgButtons buttons) override;
    std::string FileDialog(ui::FileDialogKind kind, const ui::FileDialogRequest& request) override;
    void StartRun(clsSetup& setup) override;
    void ChooseNode(ui::TreeNode& node) override { m_tree->Choose(node); }
    void ListChanged() override { m_list->Refill(); }
    void MarksChanged() override;
    void StatusChanged(const std::string& text) override;

    clsRegSettings& m_settings;
    ui::MainWindowLogic m_logic;
    ui::SelectionPanes m_panes;
    HWND m_window = nullptr;
    HACCEL m_keys = nullptr;
    HFONT m_font = nullptr;
    HIMAGELIST m_images[3] = {}; // icons, tree marks, list marks
    std::unique_ptr<TreeCtrl> m_tree;
    std::unique_ptr<ListCtrl> m_list;
    int m_split = 0;         // the tree's width
    bool m_dragging = false; // the split bar is being dragged
    bool m_showing = false;  // the controls are being set from the record
};

} // namespace tessaron::win
