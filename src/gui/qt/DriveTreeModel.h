#pragma once
// DriveTreeModel: the Qt item model over the window layer's drive tree (ui::SelectionTree):
// it reads the nodes, follows their changes, and gives each node's tick mark as its check
// state. The model never changes a mark itself: the window changes the selection set and
// then calls MarksChanged.

#include "ui/SelectionTree.h"

#include <QAbstractItemModel>

#include <string>
#include <string_view>

namespace tessaron::gui {

class DriveTreeModel : public QAbstractItemModel, public ui::TreeObserver {
    Q_OBJECT
public:
    // The role under which data() gives a node's key (a QString of its UTF-8 bytes).
    static constexpr int KeyRole = Qt::UserRole + 1;

    // tree must outlive the model; the model observes it.
    explicit DriveTreeModel(ui::SelectionTree& tree, QObject* parent = nullptr);
    ~DriveTreeModel() override;

    // Reads the sub-folders of an unread node (they replace its expand button).
    void ReadChildren(const QModelIndex& node);
    bool IsRead(const QModelIndex& node) const;

    QModelIndex RootIndex() const;
    bool IsRoot(const QModelIndex& node) const;
    std::string KeyOf(const QModelIndex& node) const;
    ui::TreeNode* NodeOf(const QModelIndex& index) const;
    QModelIndex IndexOf(const ui::TreeNode* node) const;
    // The loaded node with this key, or an invalid index.
    QModelIndex FindKey(std::string_view key) const;
    // The node of a folder path, reading the levels on the way (ui::SelectionTree::Reveal).
    QModelIndex Reveal(const std::string& path);
    // Repaints the tick marks of every loaded node (after the selection set changed).
    void MarksChanged();

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool hasChildren(const QModelIndex& parent = {}) const override;
    bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;

private:
    void BeforeReset() override { beginResetModel(); }
    void AfterReset() override { endResetModel(); }
    void BeforeInsert(const ui::TreeNode& parent, int first, int last) override;
    void AfterInsert(const ui::TreeNode&) override { endInsertRows(); }
    void NodeRead(const ui::TreeNode& node) override;
    void MarksChangedBelow(const ui::TreeNode& node);

    ui::SelectionTree& m_tree;
};

} // namespace tessaron::gui
