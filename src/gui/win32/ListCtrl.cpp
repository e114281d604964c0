#include "ListCtrl.h"

#include "Win32Text.h"

#include <algorithm>
#include <cwchar>

namespace tessaron::win {

namespace {

const wchar_t* const kPrevProc = L"PrevWndProc";
const wchar_t* const kOwner = L"TessaronListCtrl";

} // namespace

ListCtrl::ListCtrl(HWND list, ui::SelectionPanes& panes) : m_list(list), m_panes(panes) {
    ListView_SetCallbackMask(m_list, LVIS_STATEIMAGEMASK);
    Install();
}

void ListCtrl::Install() {
    if (::GetPropW(m_list, kPrevProc) != nullptr) {
        return;
    }
    const LONG_PTR old =
        ::SetWindowLongPtrW(m_list, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&ListCtrl::Hook));
    if (!::SetPropW(m_list, kPrevProc, reinterpret_cast<HANDLE>(old)) ||
        !::SetPropW(m_list, kOwner, reinterpret_cast<HANDLE>(this))) {
        ::SetWindowLongPtrW(m_list, GWLP_WNDPROC, old);
        ::RemovePropW(m_list, kPrevProc);
    }
}

void ListCtrl::Uninstall(HWND list) {
    const HANDLE old = ::GetPropW(list, kPrevProc);
    if (old == nullptr) {
        return;
    }
    ::SetWindowLongPtrW(list, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(old));
    ::RemovePropW(list, kPrevProc);
    ::RemovePropW(list, kOwner);
}

bool ListCtrl::OnMark(int item, int x) const {
    RECT bounds{};
    bounds.left = LVIR_BOUNDS;
    if (item < 0 || !::SendMessageW(m_list, LVM_GETITEMRECT, static_cast<WPARAM>(item),
                                    reinterpret_cast<LPARAM>(&bounds))) {
        return false;
    }
    return x - bounds.left <= kMarkWidth;
}

LRESULT CALLBACK ListCtrl::Hook(HWND list, UINT message, WPARAM wParam, LPARAM lParam) {
    const auto prev = reinterpret_cast<WNDPROC>(::GetPropW(list, kPrevProc));
    auto* self = static_cast<ListCtrl*>(::GetPropW(list, kOwner));
    if (prev == nullptr) {
        return ::DefWindowProcW(list, message, wParam, lParam);
    }
    switch (message) {
    case WM_DESTROY: {
        const LRESULT result = ::CallWindowProcW(prev, list, message, wParam, lParam);
        Uninstall(list);
        return result;
    }
    case LVM_SETIMAGELIST:
        return 0;
    case kReflectedNotify: {
        const auto* nm = reinterpret_cast<const NMITEMACTIVATE*>(lParam);
        if (self != nullptr && nm->hdr.code == static_cast<UINT>(NM_CLICK) &&
            self->OnMark(nm->iItem, nm->ptAction.x)) {
            self->ListView_ItemCheckClick(nm->iItem + 1);
            return 0;
        }
        break;
    }
    default:
        break;
    }
    return ::CallWindowProcW(prev, list, message, wParam, lParam);
}

void ListCtrl::ListView_ItemCheckClick(int index) {
    m_panes.ItemCheckClick(index - 1);
}

void ListCtrl::SetColumns() {
    const ui::FileList& list = m_panes.List();
    const int view = list.CurrentView() == ui::FileList::View::Drives ? 0 : 1;
    if (view == m_columnsOf) {
        return;
    }
    m_columnsOf = view;
    while (ListView_DeleteColumn(m_list, 0)) {
    }
    for (int i = 0; i < list.ColumnCount(); ++i) {
        std::wstring title = Widen(list.ColumnTitle(i));
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT;
        column.fmt = list.IsSizeColumn(i) ? LVCFMT_RIGHT : LVCFMT_LEFT;
        // At least as wide as its title, so that no title is cut.
        const int titleWidth = ListView_GetStringWidth(m_list, title.c_str()) + 20;
        column.cx = std::max(Twips(list.ColumnTwips(i), m_list), titleWidth);
        column.pszText = title.data();
        ListView_InsertColumn(m_list, i, &column);
    }
}

void ListCtrl::ShowSortArrow() {
    const ui::FileList& list = m_panes.List();
    HWND header = ListView_GetHeader(m_list);
    for (int i = 0; i < list.ColumnCount(); ++i) {
        HDITEMW item{};
        item.mask = HDI_FORMAT;
        Header_GetItem(header, i, &item);
        item.fmt &= ~(HDF_SORTUP | HDF_SORTDOWN);
        if (list.CurrentView() == ui::FileList::View::Folder && i == list.SortColumn()) {
            item.fmt |= list.KeysOrder() == ui::SortOrder::Ascending ? HDF_SORTUP : HDF_SORTDOWN;
        }
        Header_SetItem(header, i, &item);
    }
}

void ListCtrl::Refill() {
    SetColumns();
    ShowSortArrow();
    ListView_SetItemState(m_list, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
    ListView_SetItemCountEx(m_list, m_panes.List().Count(), 0);
    ListView_EnsureVisible(m_list, 0, FALSE);
    ::InvalidateRect(m_list, nullptr, TRUE);
}

void ListCtrl::FillItem(NMLVDISPINFOW& info) const {
    const ui::FileList& list = m_panes.List();
    LVITEMW& item = info.item;
    if (item.iItem < 0 || item.iItem >= list.Count()) {
        return;
    }
    if ((item.mask & LVIF_TEXT) != 0 && item.pszText != nullptr && item.cchTextMax > 0) {
        const std::wstring text = Widen(list.Text(item.iItem, item.iSubItem));
        const std::size_t n = std::min(text.size(), static_cast<std::size_t>(item.cchTextMax - 1));
        std::wmemcpy(item.pszText, text.data(), n);
        item.pszText[n] = L'\0';
    }
    if ((item.mask & LVIF_IMAGE) != 0 && item.iSubItem == 0) {
        item.iImage = static_cast<int>(list.IconOf(item.iItem));
    }
    if ((item.mask & LVIF_STATE) != 0) {
        item.state = (item.state & ~LVIS_STATEIMAGEMASK) |
                     INDEXTOSTATEIMAGEMASK(static_cast<UINT>(list.MarkOf(item.iItem)));
        item.stateMask |= LVIS_STATEIMAGEMASK;
    }
}

bool ListCtrl::OnNotify(const NMHDR& header, LPARAM lParam, LRESULT& result) {
    result = 0;
    switch (header.code) {
    case LVN_GETDISPINFOW:
        FillItem(*reinterpret_cast<NMLVDISPINFOW*>(lParam));
        return true;
    case NM_CLICK:
        result = ::SendMessageW(m_list, kReflectedNotify, 0, lParam);
        return true;
    case NM_DBLCLK: {
        // The second click of a quick pair on a mark ticks again; elsewhere it opens.
        const auto& nm = reinterpret_cast<const NMITEMACTIVATE&>(header);
        if (OnMark(nm.iItem, nm.ptAction.x)) {
            ListView_ItemCheckClick(nm.iItem + 1);
        } else {
            m_panes.OpenItem(nm.iItem);
        }
        return true;
    }
    case LVN_COLUMNCLICK:
        m_panes.HeaderClicked(reinterpret_cast<const NMLISTVIEW&>(header).iSubItem);
        return true;
    case LVN_KEYDOWN: {
        const WORD key = reinterpret_cast<const NMLVKEYDOWN&>(header).wVKey;
        const int focused = ListView_GetNextItem(m_list, -1, LVNI_FOCUSED);
        if (key == VK_SPACE && focused >= 0) {
            ListView_ItemCheckClick(focused + 1);
        } else if (key == VK_RETURN && focused >= 0) {
            m_panes.OpenItem(focused);
        }
        return true;
    }
    default:
        return false;
    }
}

} // namespace tessaron::win
