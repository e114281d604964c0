#include "ui/SelectionPanes.h"

#include "ui/ListText.h"

#include "engine/NumberText.h"
#include "platform/clsFileSystem.h"

namespace tessaron::ui {

void SelectionPanes::SetView(PanesView* view, TreeObserver* treeObserver) {
    m_view = view;
    m_tree.SetObserver(treeObserver);
}

void SelectionPanes::Rebuild() {
    const std::string folder = m_list.Folder();
    m_tree.FillDrives();
    if (folder.empty() || !GoTo(folder)) {
        if (m_view != nullptr) {
            m_view->ChooseNode(m_tree.Root());
        } else {
            ShowNode(m_tree.Root());
        }
    }
}

void SelectionPanes::ShowNode(TreeNode& node) {
    if (m_view != nullptr) {
        m_view->ListAboutToChange();
    }
    if (m_tree.IsRoot(node)) {
        m_list.ShowDrives();
        ListFilled(true, "", "");
        return;
    }
    // One listing serves the list and, when not read yet, the node's sub-folders.
    clsFileSystem fs;
    fs.GetDirectory(node.Key);
    m_tree.TakeChildren(node, fs.Items);
    m_list.ShowListing(node.Key, fs.Items);
    ListFilled(fs.LastError.empty(), node.Key, ErrorReason(fs.LastError));
}

void SelectionPanes::ListFilled(bool ok, const std::string& folder, const std::string& reason) {
    if (m_view == nullptr) {
        return;
    }
    m_view->ListChanged();
    const int n = m_list.Count();
    m_view->StatusChanged(!ok      ? "Unable to read " + folder + " - " + reason
                          : n == 1 ? std::string("1 item")
                                   : FormatGrouped(static_cast<std::int64_t>(n)) + " items");
}

bool SelectionPanes::GoTo(const std::string& folder) {
    TreeNode* node = m_tree.Reveal(folder);
    if (node == nullptr) {
        return false;
    }
    if (m_view != nullptr) {
        m_view->ChooseNode(*node);
    } else {
        ShowNode(*node);
    }
    return true;
}

void SelectionPanes::NodeCheck(TreeNode& node, bool checked) {
    if (m_tree.IsRoot(node)) {
        return;
    }
    Tick(m_sel, node.Key, checked);
    if (m_view != nullptr) {
        m_view->MarksChanged();
    }
}

void SelectionPanes::ItemCheckClick(int row) {
    if (row < 0 || row >= m_list.Count()) {
        return;
    }
    const bool checked = TicksOnClick(m_list.MarkOf(row));
    const std::string key = m_list.KeyOf(row);
    if (TreeNode* node = m_tree.FindKey(key)) {
        NodeCheck(*node, checked);
    }
    // Done again whether or not a node had the key: the set takes a repeat calmly.
    Tick(m_sel, key, checked);
    if (m_view != nullptr) {
        m_view->MarksChanged();
    }
}

void SelectionPanes::OpenItem(int row) {
    if (row >= 0 && row < m_list.Count() && m_list.Opens(row)) {
        GoTo(m_list.KeyOf(row));
    }
}

void SelectionPanes::HeaderClicked(int column) {
    if (m_list.CurrentView() != FileList::View::Folder) {
        return;
    }
    if (m_view != nullptr) {
        m_view->ListAboutToChange();
    }
    m_list.HeaderClicked(column);
    if (m_view != nullptr) {
        m_view->ListChanged();
    }
}

} // namespace tessaron::ui
