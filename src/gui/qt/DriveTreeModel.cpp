#include "DriveTreeModel.h"

#include "ItemIcons.h"

namespace tessaron::gui {

DriveTreeModel::DriveTreeModel(ui::SelectionTree& tree, QObject* parent)
    : QAbstractItemModel(parent), m_tree(tree) {
    m_tree.SetObserver(this);
}

DriveTreeModel::~DriveTreeModel() {
    m_tree.SetObserver(nullptr);
}

void DriveTreeModel::BeforeInsert(const ui::TreeNode& parent, int first, int last) {
    beginInsertRows(IndexOf(&parent), first, last);
}

// The expand button goes when the folder turned out to have no sub-folders.
void DriveTreeModel::NodeRead(const ui::TreeNode& node) {
    const QModelIndex self = IndexOf(&node);
    emit dataChanged(self, self);
}

void DriveTreeModel::ReadChildren(const QModelIndex& index) {
    if (ui::TreeNode* node = NodeOf(index)) {
        m_tree.ReadChildren(*node);
    }
}

bool DriveTreeModel::IsRead(const QModelIndex& index) const {
    const ui::TreeNode* node = NodeOf(index);
    return node != nullptr && !node->Unread;
}

QModelIndex DriveTreeModel::RootIndex() const {
    return IndexOf(&m_tree.Root());
}

bool DriveTreeModel::IsRoot(const QModelIndex& index) const {
    return NodeOf(index) == &m_tree.Root();
}

std::string DriveTreeModel::KeyOf(const QModelIndex& index) const {
    const ui::TreeNode* node = NodeOf(index);
    return node != nullptr ? node->Key : std::string();
}

QModelIndex DriveTreeModel::FindKey(std::string_view key) const {
    const ui::TreeNode* node = m_tree.FindKey(key);
    return node != nullptr ? IndexOf(node) : QModelIndex();
}

QModelIndex DriveTreeModel::Reveal(const std::string& path) {
    const ui::TreeNode* node = m_tree.Reveal(path);
    return node != nullptr ? IndexOf(node) : QModelIndex();
}

void DriveTreeModel::MarksChanged() {
    MarksChangedBelow(m_tree.Root());
}

void DriveTreeModel::MarksChangedBelow(const ui::TreeNode& node) {
    if (node.Children.empty()) {
        return;
    }
    emit dataChanged(IndexOf(node.Children.front().get()), IndexOf(node.Children.back().get()),
                     {Qt::CheckStateRole});
    for (const auto& child : node.Children) {
        MarksChangedBelow(*child);
    }
}

ui::TreeNode* DriveTreeModel::NodeOf(const QModelIndex& index) const {
    return index.isValid() ? static_cast<ui::TreeNode*>(index.internalPointer()) : nullptr;
}

QModelIndex DriveTreeModel::IndexOf(const ui::TreeNode* node) const {
    return createIndex(node->Row, 0, const_cast<ui::TreeNode*>(node));
}

QModelIndex DriveTreeModel::index(int row, int column, const QModelIndex& parent) const {
    if (column != 0 || row < 0) {
        return {};
    }
    if (!parent.isValid()) {
        return row == 0 ? RootIndex() : QModelIndex();
    }
    const ui::TreeNode* node = NodeOf(parent);
    if (row >= static_cast<int>(node->Children.size())) {
        return {};
    }
    return IndexOf(node->Children[static_cast<std::size_t>(row)].get());
}

QModelIndex DriveTreeModel::parent(const QModelIndex& child) const {
    const ui::TreeNode* node = NodeOf(child);
    return node != nullptr && node->Parent != nullptr ? IndexOf(node->Parent) : QModelIndex();
}

int DriveTreeModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) {
        return 1;
    }
    return parent.column() == 0 ? static_cast<int>(NodeOf(parent)->Children.size()) : 0;
}

int DriveTreeModel::columnCount(const QModelIndex&) const {
    return 1;
}

QVariant DriveTreeModel::data(const QModelIndex& index, int role) const {
    const ui::TreeNode* node = NodeOf(index);
    if (node == nullptr) {
        return {};
    }
    const bool root = m_tree.IsRoot(*node);
    switch (role) {
    case Qt::DisplayRole:
        return QString::fromStdString(node->Text);
    case Qt::DecorationRole:
        return IconOf(node->Icon);
    case Qt::CheckStateRole:
        return root ? QVariant() : QVariant(CheckStateOf(m_tree.MarkOf(*node)));
    case Qt::ToolTipRole:
        return root ? QVariant() : QString::fromStdString(node->Key);
    case KeyRole:
        return QString::fromStdString(node->Key);
    default:
        return {};
    }
}

Qt::ItemFlags DriveTreeModel::flags(const QModelIndex& index) const {
    return index.isValid() ? Qt::ItemIsEnabled | Qt::ItemIsSelectable : Qt::NoItemFlags;
}

bool DriveTreeModel::hasChildren(const QModelIndex& parent) const {
    const ui::TreeNode* node = NodeOf(parent);
    return node == nullptr || node->HasChildren();
}

bool DriveTreeModel::canFetchMore(const QModelIndex& parent) const {
    const ui::TreeNode* node = NodeOf(parent);
    return node != nullptr && node->Unread;
}

void DriveTreeModel::fetchMore(const QModelIndex& parent) {
    ReadChildren(parent);
}

} // namespace tessaron::gui
