#pragma once
// TreeCtrl: the system's tree view over the window layer's drive tree. It reads the nodes
// (text, icon, whether they can be expanded), follows their changes as the tree's
// observer, shows each node's tick mark as its state image (0 none, 1 unticked, 2 ticked,
// 3 partly ticked) and passes expanding, choosing and clicks on a mark to the panes. The
// control never changes a mark by itself: it has no check boxes of its own.

#include "ui/SelectionPanes.h"

#include <windows.h>
#undef Yield // an old macro of the system headers; the run views have a member of that name

#include <commctrl.h>
#include <unordered_map>

namespace tessaron::win {

class TreeCtrl : public ui::TreeObserver {
public:
    // tree is a tree view (without TVS_CHECKBOXES) with its state and normal image lists
    // set; panes must outlive this object.
    TreeCtrl(HWND tree, ui::SelectionPanes& panes) : m_tree(tree), m_panes(panes) {}

    HWND Handle() const { return m_tree; }
    // The control's item of a loaded node, or nullptr.
    HTREEITEM ItemOf(const ui::TreeNode& node) const;
    ui::TreeNode* NodeOf(HTREEITEM item) const;
    // Selects node (the control then asks the panes to show it), expands it and scrolls
    // it into view; shows it directly when it was selected already.
    void Choose(ui::TreeNode& node);
    // Shows every loaded node's mark again.
    void MarksChanged();
    // A notification of the control (WM_NOTIFY to its parent); true when it was handled,
    // with the result in result.
    bool OnNotify(const NMHDR& header, LRESULT& result);

private:
    void BeforeReset() override;
    void AfterReset() override;
    void AfterInsert(const ui::TreeNode& parent) override;
    void NodeRead(const ui::TreeNode& node) override;
    void Insert(const ui::TreeNode& node, HTREEITEM parent);
    void SetMark(HTREEITEM item, const ui::TreeNode& node);
    ui::TreeNode* NodeAtCursor(UINT& flags) const;

    HWND m_tree;
    ui::SelectionPanes& m_panes;
    std::unordered_map<const ui::TreeNode*, HTREEITEM> m_items;
};

} // namespace tessaron::win
