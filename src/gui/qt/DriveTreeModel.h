#pragma once
// DriveTreeModel: the drive tree. The root "My Computer" holds one node per drive, each
// drive and folder node its sub-folders. A node's sub-folders are read from disk the
// first time it is expanded (until then it shows an expand button), and only once per
// fill: Refresh, New and Load rebuild the tree from the drives.
//
// Every node has a key: "computer" for the root, the mount point for a drive, the full
// path for a folder. Tick marks are derived from the selection set on every paint (see
// SelectionMarks.h); the root shows no tick box. The model never changes a mark itself:
// the window changes the selection set and then calls MarksChanged.

#include "ItemIcons.h"

#include "platform/clsFSItem.h"

#include <QAbstractItemModel>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tessaron {
class clsSelections;
}

namespace tessaron::gui {

class DriveTreeModel : public QAbstractItemModel {
    Q_OBJECT
public:
    static constexpr const char* kRootKey = "computer";
    // The role under which data() gives a node's key (a QString of its UTF-8 bytes).
    static constexpr int KeyRole = Qt::UserRole + 1;

    // sel must outlive the model. The tree holds the root alone until FillDrives.
    explicit DriveTreeModel(const clsSelections& sel, QObject* parent = nullptr);
    ~DriveTreeModel() override;

    // Rebuilds the tree: the root with one unread node per drive, nothing else.
    void FillDrives();
    // Reads the sub-folders of an unread node (they replace its expand button); does
    // nothing for a node read before. A folder that cannot be read gets no children.
    void ReadChildren(const QModelIndex& node);
    // The same with the node's folder listing read by the caller (the records of
    // clsFileSystem::GetDirectory for its key).
    void TakeChildren(const QModelIndex& node, const std::vector<clsFSItem>& listing);
    bool IsRead(const QModelIndex& node) const;

    QModelIndex RootIndex() const;
    bool IsRoot(const QModelIndex& node) const;
    std::string KeyOf(const QModelIndex& node) const;
    // The loaded node with this key, or an invalid index.
    QModelIndex FindKey(std::string_view key) const;
    // The node of a folder path, reading the levels on the way down from the drive that
    // holds it; invalid when no drive holds it or a folder on the way is missing.
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
    struct Node;
    static std::unique_ptr<Node> MakeRoot();
    Node* NodeOf(const QModelIndex& index) const;
    QModelIndex IndexOf(const Node* node) const;
    static Node* FindIn(Node* node, std::string_view key);
    void AddChildren(Node* node, const std::vector<clsFSItem>& listing);
    Node* DriveHolding(const std::string& path) const;
    void MarksChangedBelow(const Node* node);

    const clsSelections& m_sel;
    std::unique_ptr<Node> m_root;
};

} // namespace tessaron::gui
