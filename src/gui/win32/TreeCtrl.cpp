#include "TreeCtrl.h"

#include "Win32Text.h"

namespace tessaron::win {

HTREEITEM TreeCtrl::ItemOf(const ui::TreeNode& node) const {
    const auto it = m_items.find(&node);
    return it != m_items.end() ? it->second : nullptr;
}

ui::TreeNode* TreeCtrl::NodeOf(HTREEITEM item) const {
    if (item == nullptr) {
        return nullptr;
    }
    TVITEMW tv{};
    tv.mask = TVIF_PARAM;
    tv.hItem = item;
    return TreeView_GetItem(m_tree, &tv) ? reinterpret_cast<ui::TreeNode*>(tv.lParam) : nullptr;
}

void TreeCtrl::BeforeReset() {
    TreeView_DeleteAllItems(m_tree);
    m_items.clear();
}

void TreeCtrl::AfterReset() {
    const ui::TreeNode& root = m_panes.Tree().Root();
    Insert(root, TVI_ROOT);
    AfterInsert(root);
    TreeView_Expand(m_tree, ItemOf(root), TVE_EXPAND);
}

void TreeCtrl::AfterInsert(const ui::TreeNode& parent) {
    const HTREEITEM item = ItemOf(parent);
    for (const auto& child : parent.Children) {
        if (ItemOf(*child) == nullptr) {
            Insert(*child, item);
        }
    }
}

// The expand button goes when the folder turned out to have no sub-folders.
void TreeCtrl::NodeRead(const ui::TreeNode& node) {
    TVITEMW tv{};
    tv.mask = TVIF_CHILDREN;
    tv.hItem = ItemOf(node);
    tv.cChildren = node.HasChildren() ? 1 : 0;
    if (tv.hItem != nullptr) {
        TreeView_SetItem(m_tree, &tv);
    }
}

void TreeCtrl::Insert(const ui::TreeNode& node, HTREEITEM parent) {
    std::wstring text = Widen(node.Text);
    TVINSERTSTRUCTW ins{};
    ins.hParent = parent;
    ins.hInsertAfter = TVI_LAST;
    TVITEMW& tv = ins.item;
    tv.mask = TVIF_TEXT | TVIF_PARAM | TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_STATE | TVIF_CHILDREN;
    tv.pszText = text.data();
    tv.lParam = reinterpret_cast<LPARAM>(&node);
    tv.iImage = tv.iSelectedImage = static_cast<int>(node.Icon);
    tv.stateMask = TVIS_STATEIMAGEMASK;
    tv.state = INDEXTOSTATEIMAGEMASK(static_cast<UINT>(m_panes.Tree().MarkOf(node)));
    tv.cChildren = node.HasChildren() ? 1 : 0;
    m_items[&node] = TreeView_InsertItem(m_tree, &ins);
}

void TreeCtrl::SetMark(HTREEITEM item, const ui::TreeNode& node) {
    TreeView_SetItemState(m_tree, item,
                          INDEXTOSTATEIMAGEMASK(static_cast<UINT>(m_panes.Tree().MarkOf(node))),
                          TVIS_STATEIMAGEMASK);
}

void TreeCtrl::MarksChanged() {
    for (const auto& [node, item] : m_items) {
        SetMark(item, *node);
    }
}

void TreeCtrl::Choose(ui::TreeNode& node) {
    const HTREEITEM item = ItemOf(node);
    if (item == nullptr) {
        return;
    }
    if (TreeView_GetSelection(m_tree) == item) {
        m_panes.ShowNode(node);
        TreeView_Expand(m_tree, item, TVE_EXPAND);
    } else {
        TreeView_SelectItem(m_tree, item);
    }
    TreeView_EnsureVisible(m_tree, item);
}

ui::TreeNode* TreeCtrl::NodeAtCursor(UINT& flags) const {
    const DWORD pos = ::GetMessagePos();
    TVHITTESTINFO hit{};
    hit.pt = {static_cast<short>(LOWORD(pos)), static_cast<short>(HIWORD(pos))};
    ::ScreenToClient(m_tree, &hit.pt);
    const HTREEITEM item = TreeView_HitTest(m_tree, &hit);
    flags = hit.flags;
    return NodeOf(item);
}

bool TreeCtrl::OnNotify(const NMHDR& header, LRESULT& result) {
    result = 0;
    switch (header.code) {
    case TVN_ITEMEXPANDINGW: {
        const auto& nm = reinterpret_cast<const NMTREEVIEWW&>(header);
        auto* node = reinterpret_cast<ui::TreeNode*>(nm.itemNew.lParam);
        if ((nm.action & TVE_EXPAND) != 0 && node != nullptr) {
            m_panes.Tree().ReadChildren(*node);
        }
        return true;
    }
    case TVN_SELCHANGEDW: {
        const auto& nm = reinterpret_cast<const NMTREEVIEWW&>(header);
        if (auto* node = reinterpret_cast<ui::TreeNode*>(nm.itemNew.lParam)) {
            m_panes.ShowNode(*node);
            TreeView_Expand(m_tree, nm.itemNew.hItem, TVE_EXPAND);
        }
        return true;
    }
    case NM_CLICK: {
        UINT flags = 0;
        ui::TreeNode* node = NodeAtCursor(flags);
        if (node != nullptr && (flags & TVHT_ONITEMSTATEICON) != 0) {
            m_panes.NodeMarkClicked(*node);
            result = TRUE;
        }
        return true;
    }
    case TVN_KEYDOWN: {
        const auto& nm = reinterpret_cast<const NMTVKEYDOWN&>(header);
        ui::TreeNode* node = NodeOf(TreeView_GetSelection(m_tree));
        if (nm.wVKey == VK_SPACE && node != nullptr) {
            m_panes.NodeMarkClicked(*node);
            result = TRUE;
        }
        return true;
    }
    default:
        return false;
    }
}

} // namespace tessaron::win
