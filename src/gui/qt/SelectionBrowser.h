#pragma once
// SelectionBrowser: the drive tree and the file list together, and how ticking in them
// edits the selection set of the current backup set.
//
//  - Choosing a tree node shows it in the list: the root "My Computer" the drives, any
//    other node its folder (and the node is expanded).
//  - Ticking a node adds its key to the selection set, unticking removes it (the set
//    decides how entries and exceptions change); then every mark in the tree and the list
//    is derived again, so ancestors show partly ticked and loaded descendants follow.
//  - Clicking a list item's tick box toggles it: a ticked item becomes unticked, an
//    unticked or partly ticked one ticked. A tree node with the same key is ticked the
//    same way.
//  - Double clicking a folder or drive in the list (or Enter) opens it in the tree and
//    the list.
//  - A click on a list column header sorts the folder (see FileListModel).

#include "DriveTreeModel.h"
#include "FileListModel.h"
#include "SelectViews.h"

#include <QObject>

#include <array>
#include <string>

namespace tessaron {
class clsSelections;
}

namespace tessaron::gui {

class SelectionBrowser : public QObject {
    Q_OBJECT
public:
    // sel must outlive the browser. The two views are made as children of viewParent,
    // which lays them out.
    SelectionBrowser(clsSelections& sel, QWidget* viewParent);

    DriveTreeModel& TreeModel() { return *m_treeModel; }
    FileListModel& ListModel() { return *m_listModel; }
    DriveTreeView* Tree() const { return m_tree; }
    FileListView* List() const { return m_list; }

    // The drives below the root, the root expanded and chosen, the drives in the list.
    void Start();
    // Refresh, New and Load: the tree is rebuilt from the drives and the list refilled.
    // The folder shown stays shown (its levels are read again) while it exists.
    void Rebuild();
    // Makes a node current and shows it in the list.
    void ChooseNode(const QModelIndex& node);
    // Opens a folder in the tree (reading the levels on the way) and the list; false
    // when no drive holds it or it does not exist.
    bool GoTo(const std::string& folder);

    // Ticks (checked) or unticks a tree node; the root cannot be ticked.
    void NodeCheck(const QModelIndex& node, bool checked);
    // Toggles the tick of the list item in row (0-based).
    void ItemCheckClick(int row);
    // Opens the list item in row when it is a folder.
    void OpenItem(int row);
    // A click on a list column header.
    void HeaderClicked(int column);

signals:
    // A line for the status bar: how many items the list shows, or why a folder could not
    // be read.
    void StatusChanged(const QString& text);

private:
    void ShowNode(const QModelIndex& node);
    void ListFilled(bool ok, const std::string& folder, const std::string& reason);
    void MarksChanged();
    void SetupColumns();
    void KeepColumnWidths();

    clsSelections& m_sel;
    DriveTreeModel* m_treeModel;
    FileListModel* m_listModel;
    DriveTreeView* m_tree;
    FileListView* m_list;
    // Column widths of the drive view and the folder view, kept while the list refills.
    std::array<QList<int>, 2> m_widths;
    bool m_filling = false;
};

} // namespace tessaron::gui
