#pragma once
// SelectionPanes: the drive tree and the file list together, and how ticking in them
// edits the selection set of the current backup set. No toolkit: the window's tree and
// list controls show what it holds and pass the user's clicks to it.
//
//  - Choosing a tree node shows it in the list: the root "My Computer" the drives, any
//    other node its folder (and the node is expanded).
//  - Ticking a node ticks its key (see Tick in SelectionMarks.h), unticking unticks it;
//    then every mark in the tree and the list is derived again, so ancestors show partly
//    ticked and loaded descendants follow.
//  - Clicking a list item's tick box toggles it: a ticked item becomes unticked, an
//    unticked or partly ticked one ticked. A tree node with the same key is ticked the
//    same way.
//  - Opening a folder or drive in the list opens it in the tree and the list.
//  - A click on a list column header sorts the folder (see FileList).

#include "ui/FileList.h"
#include "ui/SelectionTree.h"

#include <string>

namespace tessaron::ui {

// What the window does for the panes.
class PanesView {
public:
    virtual ~PanesView() = default;
    // Makes node the current node of the tree control, expanded and scrolled into view; the
    // control then calls ShowNode for it (also when it was current already).
    virtual void ChooseNode(TreeNode& node) = 0;
    // The list is about to hold other rows (or columns), and then holds them: show them
    // all again.
    virtual void ListAboutToChange() {}
    virtual void ListChanged() = 0;
    // The selection set changed: show every mark of the tree and the list again.
    virtual void MarksChanged() = 0;
    // A line for the status bar: how many items the list shows, or why a folder could not
    // be read.
    virtual void StatusChanged(const std::string& /*text*/) {}
};

class SelectionPanes {
public:
    // sel must outlive the panes.
    explicit SelectionPanes(clsSelections& sel) : m_sel(sel), m_tree(sel), m_list(sel) {}

    // view (must outlive the panes or be replaced) and the tree's observer.
    void SetView(PanesView* view, TreeObserver* treeObserver);

    SelectionTree& Tree() { return m_tree; }
    FileList& List() { return m_list; }
    const FileList& List() const { return m_list; }
    const clsSelections& Selections() const { return m_sel; }

    // Start, Refresh, New and Load: the tree is rebuilt from the drives and the list
    // refilled. The folder shown stays shown (its levels are read again) while it exists;
    // otherwise the root is chosen.
    void Rebuild();
    // The list shows node: the drives for the root, else its folder (the node's sub-folders
    // are taken from the same listing when not read yet).
    void ShowNode(TreeNode& node);
    // Opens a folder in the tree (reading the levels on the way) and the list; false when
    // no drive holds it or it does not exist.
    bool GoTo(const std::string& folder);

    // Ticks (checked) or unticks a tree node; the root cannot be ticked.
    void NodeCheck(TreeNode& node, bool checked);
    // A click on a node's mark (or Space on it).
    void NodeMarkClicked(TreeNode& node) { NodeCheck(node, TicksOnClick(m_tree.MarkOf(node))); }
    // Toggles the tick of the list item in row (0-based); out of range does nothing.
    void ItemCheckClick(int row);
    // Opens the list item in row when it is a folder or a drive.
    void OpenItem(int row);
    // A click on a list column header.
    void HeaderClicked(int column);

private:
    void ListFilled(bool ok, const std::string& folder, const std::string& reason);

    clsSelections& m_sel;
    SelectionTree m_tree;
    FileList m_list;
    PanesView* m_view = nullptr;
};

} // namespace tessaron::ui
