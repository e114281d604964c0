#pragma once
// SelectionBrowser: the Qt tree and list views over the window layer's selection panes
// (ui::SelectionPanes, which decides what they show and how ticking changes the selection
// set). It passes the views' clicks on and shows what changed.

#include "DriveTreeModel.h"
#include "FileListModel.h"
#include "SelectViews.h"

#include "ui/SelectionPanes.h"

#include <QObject>

#include <array>
#include <string>

namespace tessaron::gui {

class SelectionBrowser : public QObject, private ui::PanesView {
    Q_OBJECT
public:
    // sel must outlive the browser. The two views are made as children of viewParent,
    // which lays them out.
    SelectionBrowser(clsSelections& sel, QWidget* viewParent);
    ~SelectionBrowser() override;

    ui::SelectionPanes& Panes() { return m_panes; }
    DriveTreeModel& TreeModel() { return *m_treeModel; }
    FileListModel& ListModel() { return *m_listModel; }
    const ui::FileList& List() const { return m_panes.List(); }
    DriveTreeView* Tree() const { return m_tree; }
    FileListView* ListView() const { return m_list; }

    // The drives below the root, the root expanded and chosen, the drives in the list.
    void Start() { m_panes.Rebuild(); }
    // Refresh, New and Load (see ui::SelectionPanes::Rebuild).
    void Rebuild() { m_panes.Rebuild(); }
    // Makes a node current and shows it in the list.
    void ChooseNode(const QModelIndex& node);
    bool GoTo(const std::string& folder) { return m_panes.GoTo(folder); }
    // Ticks (checked) or unticks a tree node; the root cannot be ticked.
    void NodeCheck(const QModelIndex& node, bool checked);
    // Toggles the tick of the list item in row (0-based).
    void ItemCheckClick(int row) { m_panes.ItemCheckClick(row); }

signals:
    // A line for the status bar: how many items the list shows, or why a folder could not
    // be read.
    void StatusText(const QString& text);

private:
    void ChooseNode(ui::TreeNode& node) override;
    void ListAboutToChange() override;
    void ListChanged() override;
    void MarksChanged() override;
    void StatusChanged(const std::string& text) override;
    void ShowNode(const QModelIndex& node);
    void SetupColumns();
    void KeepColumnWidths();

    ui::SelectionPanes m_panes;
    DriveTreeModel* m_treeModel;
    FileListModel* m_listModel;
    DriveTreeView* m_tree;
    FileListView* m_list;
    // Column widths of the drive view and the folder view, kept while the list refills.
    std::array<QList<int>, 2> m_widths;
    bool m_filling = false;
};

} // namespace tessaron::gui
