#include "ui/SelectionTree.h"

#include "ui/DriveSource.h"
#include "ui/ListText.h"

#include "platform/clsFileSystem.h"
#include "platform/clsPath.h"

#include <algorithm>
#include <numeric>

namespace tessaron::ui {

namespace {

TreeNode* AddChild(TreeNode& parent, std::string key, std::string text, ItemIcon icon) {
    auto child = std::make_unique<TreeNode>();
    child->Key = std::move(key);
    child->Text = std::move(text);
    child->Icon = icon;
    child->Parent = &parent;
    child->Row = static_cast<int>(parent.Children.size());
    parent.Children.push_back(std::move(child));
    return parent.Children.back().get();
}

TreeNode* FindIn(TreeNode& node, std::string_view key) {
    if (node.Key == key) {
        return &node;
    }
    for (const auto& child : node.Children) {
        if (TreeNode* found = FindIn(*child, key)) {
            return found;
        }
    }
    return nullptr;
}

} // namespace

std::vector<std::string> SubFolders(const std::vector<clsFSItem>& listing) {
    std::vector<std::string> names;
    std::vector<std::u32string> keys;
    for (const clsFSItem& item : listing) {
        if (item.IsDirectory) {
            names.push_back(item.Path);
            keys.push_back(UpperKey(item.Path));
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

SelectionTree::SelectionTree(const clsSelections& sel) : m_sel(sel), m_root(MakeRoot()) {}

std::unique_ptr<TreeNode> SelectionTree::MakeRoot() {
    auto root = std::make_unique<TreeNode>();
    root->Key = kRootKey;
    root->Text = "My Computer";
    root->Icon = ItemIcon::Computer;
    root->Unread = false;
    return root;
}

void SelectionTree::FillDrives() {
    m_observer->BeforeReset();
    m_root = MakeRoot();
    for (const clsFSItem& drive : ListDrives()) {
        AddChild(*m_root, drive.Path, DriveText(drive.Path, drive.Description),
                 DriveIcon(drive.DriveType));
    }
    m_observer->AfterReset();
}

void SelectionTree::ReadChildren(TreeNode& node) {
    if (!node.Unread) {
        return;
    }
    clsFileSystem fs;
    fs.GetDirectory(node.Key);
    TakeChildren(node, fs.Items);
}

void SelectionTree::TakeChildren(TreeNode& node, const std::vector<clsFSItem>& listing) {
    if (!node.Unread) {
        return;
    }
    node.Unread = false;
    const std::vector<std::string> names = SubFolders(listing);
    if (!names.empty()) {
        m_observer->BeforeInsert(node, 0, static_cast<int>(names.size()) - 1);
        node.Children.reserve(names.size());
        for (const std::string& name : names) {
            AddChild(node, ChildPath(node.Key, name), name, ItemIcon::Folder);
        }
        m_observer->AfterInsert(node);
    }
    m_observer->NodeRead(node);
}

TreeNode* SelectionTree::FindKey(std::string_view key) const {
    return FindIn(*m_root, key);
}

TreeNode* SelectionTree::DriveHolding(const std::string& path) const {
    const auto parts = clsPath::SplitParts(path, NativePathStyle());
    TreeNode* best = nullptr;
    std::size_t bestDepth = 0;
    for (const auto& drive : m_root->Children) {
        const auto driveParts = clsPath::SplitParts(drive->Key, NativePathStyle());
        if (PartsContain(driveParts, parts) && driveParts.size() >= bestDepth) {
            best = drive.get();
            bestDepth = driveParts.size();
        }
    }
    return best;
}

TreeNode* SelectionTree::Reveal(const std::string& path) {
    TreeNode* node = DriveHolding(path);
    if (node == nullptr) {
        return nullptr;
    }
    const auto parts = clsPath::SplitParts(path, NativePathStyle());
    std::size_t depth = clsPath::SplitParts(node->Key, NativePathStyle()).size();
    for (; depth < parts.size(); ++depth) {
        ReadChildren(*node);
        const std::string key = ChildPath(node->Key, std::string(parts[depth]));
        auto it = std::find_if(node->Children.begin(), node->Children.end(),
                               [&key](const auto& child) { return child->Key == key; });
        if (it == node->Children.end()) {
            return nullptr;
        }
        node = it->get();
    }
    return node;
}

Mark SelectionTree::MarkOf(const TreeNode& node) const {
    return IsRoot(node) ? Mark::None : ui::MarkOf(m_sel, node.Key);
}

} // namespace tessaron::ui
