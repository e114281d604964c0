#pragma once
// ListCtrl: the system's list view in report view over the window layer's file list. The
// list holds no rows of its own (it is an owner-data list): each row's texts, icon and
// tick mark (state image 1 unticked, 2 ticked, 3 partly ticked) are asked for when they
// are shown, so a mark is never stored.
//
// The list never toggles a mark itself. Its window is subclassed: the old window procedure
// is kept in the window property "PrevWndProc"; the hook swallows LVM_SETIMAGELIST (the
// state images cannot be replaced once it is in), undoes itself on WM_DESTROY, and takes
// the click notifications that the parent reflects to the list (WM_NOTIFY + 0x2000): a
// click on an item at most 16 pixels right of the item's left edge (the mark's column)
// goes to ListView_ItemCheckClick and nothing else happens; any other click goes on as
// usual.

#include "ui/SelectionPanes.h"

#include <windows.h>
#undef Yield // an old macro of the system headers; the run views have a member of that name

#include <commctrl.h>

namespace tessaron::win {

// The reflected form of WM_NOTIFY that the parent sends back to the list.
constexpr UINT kReflectedNotify = WM_NOTIFY + 0x2000; // 0x204E
// The width of the mark's column at an item's left edge.
constexpr int kMarkWidth = 16;

class ListCtrl {
public:
    // list is a report-view list view with LVS_OWNERDATA whose small and state image lists
    // are set; panes must outlive this object. Installs the hook.
    ListCtrl(HWND list, ui::SelectionPanes& panes);
    ~ListCtrl() { Uninstall(m_list); }
    ListCtrl(const ListCtrl&) = delete;
    ListCtrl& operator=(const ListCtrl&) = delete;

    HWND Handle() const { return m_list; }
    // A click on the mark of the item at index (1-based): toggles its tick.
    void ListView_ItemCheckClick(int index);
    // The rows (and, for another view, the columns) are shown again.
    void Refill();
    // Every visible mark is shown again.
    void MarksChanged() { ::InvalidateRect(m_list, nullptr, FALSE); }
    // A notification of the control (WM_NOTIFY to its parent); true when it was handled,
    // with the result in result. Clicks are reflected to the list for its hook.
    bool OnNotify(const NMHDR& header, LPARAM lParam, LRESULT& result);

    // Puts the kept window procedure back and removes the property; nothing when the hook
    // is not installed.
    static void Uninstall(HWND list);

private:
    static LRESULT CALLBACK Hook(HWND list, UINT message, WPARAM wParam, LPARAM lParam);
    void Install();
    bool OnMark(int item, int x) const;
    void FillItem(NMLVDISPINFOW& info) const;
    void SetColumns();
    void ShowSortArrow();

    HWND m_list;
    ui::SelectionPanes& m_panes;
    int m_columnsOf = -1; // the view whose columns are shown (0 drives, 1 folder)
};

} // namespace tessaron::win
