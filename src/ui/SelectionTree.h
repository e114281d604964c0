#pragma once
// SelectionTree: the drive tree without any toolkit. The root "My Computer" holds one node
// per drive, each drive and folder node its sub-folders. A node's sub-folders are read
// the first time it is expanded (until then it shows an expand button), and only once per
// fill: Refresh, New and Load rebuild the tree from the drives.
//
// Every node has a key: "computer" for the root, the drive's root or mount point for a
// drive, the full path for a folder. Its tick mark is derived from the selection set
// whenever it is shown (SelectionMarks.h); the root shows none. The control that shows
// the tree reads the nodes and follows their changes through a TreeObserver.

#include "ui/ItemIcon.h"
#include "ui/SelectionMarks.h"

#include "platform/clsFSItem.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tessaron::ui {

struct TreeNode {
    std::string Key;
    std::string Text; // UTF-8
    ItemIcon Icon = ItemIcon::Folder;
    bool Unread = true; // the sub-folders have not been read: shows an expand button
    TreeNode* Parent = nullptr;
    int Row = 0; // position among the parent's children
    std::vector<std::unique_ptr<TreeNode>> Children;

    // Shows an expand button: unread, or read with sub-folders.
    bool HasChildren() const { return Unread || !Children.empty(); }
};

// What the control showing the tree is told. Calls come in pairs around each change.
class TreeObserver {
public:
    virtual ~TreeObserver() = default;
    virtual void BeforeReset() {}
    virtual void AfterReset() {}
    // Children first..last of parent are about to be added (and then were added).
    virtual void BeforeInsert(const TreeNode& /*parent*/, int /*first*/, int /*last*/) {}
    virtual void AfterInsert(const TreeNode& /*parent*/) {}
    // The node was read and its expand button may have to go.
    virtual void NodeRead(const TreeNode& /*node*/) {}
};

class SelectionTree {
public:
    static constexpr const char* kRootKey = "computer";

    // sel must outlive the tree. The tree holds the root alone until FillDrives.
    explicit SelectionTree(const clsSelections& sel);

    // observer (nullptr: none) must outlive the tree or be replaced first.
    void SetObserver(TreeObserver* observer) {
        m_observer = observer != nullptr ? observer : &m_none;
    }

    // Rebuilds the tree: the root with one unread node per drive, nothing else.
    void FillDrives();
    // Reads the sub-folders of an unread node; does nothing for a node read before. A
    // folder that cannot be read gets no children.
    void ReadChildren(TreeNode& node);
    // The same with the node's listing read by the caller (clsFileSystem::GetDirectory).
    void TakeChildren(TreeNode& node, const std::vector<clsFSItem>& listing);

    TreeNode& Root() { return *m_root; }
    const TreeNode& Root() const { return *m_root; }
    bool IsRoot(const TreeNode& node) const { return &node == m_root.get(); }
    // The loaded node with this key, or nullptr.
    TreeNode* FindKey(std::string_view key) const;
    // The node of a folder path, reading the levels on the way down from the drive that
    // holds it; nullptr when no drive holds it or a folder on the way is missing.
    TreeNode* Reveal(const std::string& path);
    // The node's mark; None for the root.
    Mark MarkOf(const TreeNode& node) const;

private:
    static std::unique_ptr<TreeNode> MakeRoot();
    TreeNode* DriveHolding(const std::string& path) const;

    const clsSelections& m_sel;
    std::unique_ptr<TreeNode> m_root;
    TreeObserver m_none;
    TreeObserver* m_observer = &m_none;
};

// The names of the real folders (never links to folders) of a listing, sorted as the file
// list sorts names: without regard to letter case.
std::vector<std::string> SubFolders(const std::vector<clsFSItem>& listing);

} // namespace tessaron::ui
