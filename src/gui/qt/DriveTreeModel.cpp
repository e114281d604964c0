#include "DriveTreeModel.h"

#include "DriveSource.h"
#include "ListText.h"
#include "SelectionMarks.h"

#include "platform/clsFileSystem.h"
#include "platform/clsPath.h"
#include "selection/clsSelections.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace tessaron::gui {

struct DriveTreeModel::Node {
    std::string key;
    QString text;
    ItemIcon icon = ItemIcon::Folder;
    bool unread = true; // the sub-folders have not been read: shows an expand button
    Node* parent = nullptr;
    int row = 0;
    std::vector<std::unique_ptr<Node>> children;

    Node* Add(std::string childKey, QString childText, ItemIcon childIcon) {
        auto child = std::make_unique<Node>();
        child->key = std::move(childKey);
        child->text = std::move(childText);
        child->icon = childIcon;
        child->parent = this;
        child->row = static_cast<int>(children.size());
        children.push_back(std::move(child));
        return children.back().get();
    }
};

namespace {

// The names of the real folders (never links to folders) of a listing, sorted without
// regard to letter case as the file list sorts names.
std::vector<std::string> SubFolders(const std::vector<clsFSItem>& listing) {
    std::vector<std::string> names;
    std::vector<QString> keys;
    for (const clsFSItem& item : listing) {
        if (item.IsDirectory) {
            names.push_back(item.Path);
            keys.push_back(QString::fromStdString(item.Path).toUpper());
        }
    }
    std::vector<std::size_t> order(names.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&keys](std::size_t a, std::size_t b) { return keys[a] < keys[b]; });
    std::vector<std::string> sorted;
    sorted.reserve(names.size());
    for (std::size_t i : order) {
        sorted.push_back(std::move(names[i]));
    }
    return sorted;
}

} // namespace

DriveTreeModel::DriveTreeModel(const clsSelections& sel, QObject* parent)
    : QAbstractItemModel(parent), m_sel(sel), m_root(MakeRoot()) {}

DriveTreeModel::~DriveTreeModel() = default;

std::unique_ptr<DriveTreeModel::Node> DriveTreeModel::MakeRoot() {
    auto root = std::make_unique<Node>();
    root->key = kRootKey;
    root->text = "My Computer";
    root->icon = ItemIcon::Computer;
    root->unread = false;
    return root;
}

void DriveTreeModel::FillDrives() {
    beginResetModel();
    m_root = MakeRoot();
    for (const clsFSItem& drive : ListDrives()) {
        m_root->Add(drive.Path, QString::fromStdString(DriveText(drive.Path, drive.Description)),
                    DriveIcon(drive.DriveType));
    }
    endResetModel();
}

void DriveTreeModel::ReadChildren(const QModelIndex& index) {
    const Node* node = NodeOf(index);
    if (node == nullptr || !node->unread) {
        return;
    }
    clsFileSystem fs;
    fs.GetDirectory(node->key);
    TakeChildren(index, fs.Items);
}

void DriveTreeModel::TakeChildren(const QModelIndex& index, const std::vector<clsFSItem>& listing) {
    Node* node = NodeOf(index);
    if (node == nullptr || !node->unread) {
        return;
    }
    node->unread = false;
    AddChildren(node, listing);
    // The expand button goes when the folder turned out to have no sub-folders.
    const QModelIndex self = IndexOf(node);
    emit dataChanged(self, self);
}

void DriveTreeModel::AddChildren(Node* node, const std::vector<clsFSItem>& listing) {
    const std::vector<std::string> names = SubFolders(listing);
    if (names.empty()) {
        return;
    }
    beginInsertRows(IndexOf(node), 0, static_cast<int>(names.size()) - 1);
    node->children.reserve(names.size());
    for (const std::string& name : names) {
        node->Add(ChildPath(node->key, name), QString::fromStdString(name), ItemIcon::Folder);
    }
    endInsertRows();
}

bool DriveTreeModel::IsRead(const QModelIndex& index) const {
    const Node* node = NodeOf(index);
    return node != nullptr && !node->unread;
}

QModelIndex DriveTreeModel::RootIndex() const {
    return IndexOf(m_root.get());
}

bool DriveTreeModel::IsRoot(const QModelIndex& index) const {
    return NodeOf(index) == m_root.get();
}

std::string DriveTreeModel::KeyOf(const QModelIndex& index) const {
    const Node* node = NodeOf(index);
    return node != nullptr ? node->key : std::string();
}

DriveTreeModel::Node* DriveTreeModel::FindIn(Node* node, std::string_view key) {
    if (node->key == key) {
        return node;
    }
    for (const auto& child : node->children) {
        if (Node* found = FindIn(child.get(), key)) {
            return found;
        }
    }
    return nullptr;
}

QModelIndex DriveTreeModel::FindKey(std::string_view key) const {
    const Node* node = FindIn(m_root.get(), key);
    return node != nullptr ? IndexOf(node) : QModelIndex();
}

DriveTreeModel::Node* DriveTreeModel::DriveHolding(const std::string& path) const {
    const auto parts = clsPath::SplitParts(path, NativePathStyle());
    Node* best = nullptr;
    std::size_t bestDepth = 0;
    for (const auto& drive : m_root->children) {
        const auto driveParts = clsPath::SplitParts(drive->key, NativePathStyle());
        if (PartsContain(driveParts, parts) && driveParts.size() >= bestDepth) {
            best = drive.get();
            bestDepth = driveParts.size();
        }
    }
    return best;
}

QModelIndex DriveTreeModel::Reveal(const std::string& path) {
    Node* node = DriveHolding(path);
    if (node == nullptr) {
        return {};
    }
    const auto parts = clsPath::SplitParts(path, NativePathStyle());
    std::size_t depth = clsPath::SplitParts(node->key, NativePathStyle()).size();
    for (; depth < parts.size(); ++depth) {
        ReadChildren(IndexOf(node));
        const std::string key = ChildPath(node->key, std::string(parts[depth]));
        auto it = std::find_if(node->children.begin(), node->children.end(),
                               [&key](const auto& child) { return child->key == key; });
        if (it == node->children.end()) {
            return {};
        }
        node = it->get();
    }
    return IndexOf(node);
}

void DriveTreeModel::MarksChanged() {
    MarksChangedBelow(m_root.get());
}

void DriveTreeModel::MarksChangedBelow(const Node* node) {
    if (node->children.empty()) {
        return;
    }
    const int last = static_cast<int>(node->children.size()) - 1;
    emit dataChanged(IndexOf(node->children.front().get()), IndexOf(node->children[last].get()),
                     {Qt::CheckStateRole});
    for (const auto& child : node->children) {
        MarksChangedBelow(child.get());
    }
}

DriveTreeModel::Node* DriveTreeModel::NodeOf(const QModelIndex& index) const {
    return index.isValid() ? static_cast<Node*>(index.internalPointer()) : nullptr;
}

QModelIndex DriveTreeModel::IndexOf(const Node* node) const {
    return createIndex(node->row, 0, const_cast<Node*>(node));
}

QModelIndex DriveTreeModel::index(int row, int column, const QModelIndex& parent) const {
    if (column != 0 || row < 0) {
        return {};
    }
    if (!parent.isValid()) {
        return row == 0 ? RootIndex() : QModelIndex();
    }
    const Node* node = NodeOf(parent);
    if (row >= static_cast<int>(node->children.size())) {
        return {};
    }
    return IndexOf(node->children[static_cast<std::size_t>(row)].get());
}

QModelIndex DriveTreeModel::parent(const QModelIndex& child) const {
    const Node* node = NodeOf(child);
    return node != nullptr && node->parent != nullptr ? IndexOf(node->parent) : QModelIndex();
}

int DriveTreeModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) {
        return 1;
    }
    return parent.column() == 0 ? static_cast<int>(NodeOf(parent)->children.size()) : 0;
}

int DriveTreeModel::columnCount(const QModelIndex&) const {
    return 1;
}

QVariant DriveTreeModel::data(const QModelIndex& index, int role) const {
    const Node* node = NodeOf(index);
    if (node == nullptr) {
        return {};
    }
    switch (role) {
    case Qt::DisplayRole:
        return node->text;
    case Qt::DecorationRole:
        return IconOf(node->icon);
    case Qt::CheckStateRole:
        return node == m_root.get() ? QVariant() : QVariant(MarkOf(m_sel, node->key));
    case Qt::ToolTipRole:
        return node == m_root.get() ? QVariant() : QString::fromStdString(node->key);
    case KeyRole:
        return QString::fromStdString(node->key);
    default:
        return {};
    }
}

Qt::ItemFlags DriveTreeModel::flags(const QModelIndex& index) const {
    return index.isValid() ? Qt::ItemIsEnabled | Qt::ItemIsSelectable : Qt::NoItemFlags;
}

bool DriveTreeModel::hasChildren(const QModelIndex& parent) const {
    const Node* node = NodeOf(parent);
    return node == nullptr || node->unread || !node->children.empty();
}

bool DriveTreeModel::canFetchMore(const QModelIndex& parent) const {
    const Node* node = NodeOf(parent);
    return node != nullptr && node->unread;
}

void DriveTreeModel::fetchMore(const QModelIndex& parent) {
    ReadChildren(parent);
}

} // namespace tessaron::gui
