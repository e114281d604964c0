// The main window's controls, menus, keys and layout, and its remembered placement.
#include "frmMain.h"

#include "Controls.h"
#include "ItemImages.h"
#include "Win32Text.h"

#include "ui/WindowPlacement.h"

namespace tessaron::win {

namespace {

constexpr int kGap = 6;          // between controls and at the window's edges
constexpr int kSplitBar = 5;     // the bar between tree and list
constexpr int kRow = 26;         // one row of options
constexpr int kMinTree = 60;     // neither tree nor list is dragged smaller
constexpr int kStartTree = 3600; // twips: the tree's width in a new window

struct MenuItem {
    int id;
    const char* text; // with the key shown after a tab
};

HMENU Popup(std::initializer_list<MenuItem> items) {
    HMENU menu = ::CreatePopupMenu();
    for (const MenuItem& item : items) {
        if (item.id == 0) {
            ::AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
        } else {
            ::AppendMenuW(menu, MF_STRING, static_cast<UINT_PTR>(item.id),
                          Widen(item.text).c_str());
        }
    }
    return menu;
}

HMENU BuildMenus() {
    HMENU bar = ::CreateMenu();
    const auto add = [bar](HMENU popup, const wchar_t* title) {
        ::AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(popup), title);
    };
    add(Popup({{mnuNew, "&New Backup Set\tCtrl+N"},
               {mnuLoad, "&Load Backup Set...\tCtrl+O"},
               {mnuSave, "&Save Backup Set\tCtrl+S"},
               {mnuSaveAs, "Save Backup Set &As...\tCtrl+Shift+S"},
               {0, nullptr},
               {mnuExit, "E&xit\tCtrl+Q"}}),
        L"&File");
    add(Popup({{mnuRefresh, "&Refresh\tF5"}}), L"&View");
    add(Popup({{mnuStart, "&Start Backup"}, {mnuEmailSetup, "&Email Setup"}}), L"&Action");
    add(Popup({{mnuContents, "&Contents...\tF1"}, {mnuAbout, "&About..."}}), L"&Help");
    return bar;
}

HACCEL BuildKeys() {
    ACCEL keys[] = {
        {FCONTROL | FVIRTKEY, 'N', mnuNew},  {FCONTROL | FVIRTKEY, 'O', mnuLoad},
        {FCONTROL | FVIRTKEY, 'S', mnuSave}, {FCONTROL | FSHIFT | FVIRTKEY, 'S', mnuSaveAs},
        {FCONTROL | FVIRTKEY, 'Q', mnuExit}, {FVIRTKEY, VK_F5, mnuRefresh},
        {FVIRTKEY, VK_F1, mnuContents}};
    return ::CreateAcceleratorTableW(keys, static_cast<int>(std::size(keys)));
}

// The work areas of the monitors there are now.
std::vector<ui::Rect> WorkAreas() {
    std::vector<ui::Rect> areas;
    ::EnumDisplayMonitors(
        nullptr, nullptr,
        [](HMONITOR monitor, HDC, LPRECT, LPARAM data) -> BOOL {
            MONITORINFO info{};
            info.cbSize = sizeof info;
            if (::GetMonitorInfoW(monitor, &info)) {
                const RECT& r = info.rcWork;
                reinterpret_cast<std::vector<ui::Rect>*>(data)->push_back(
                    {r.left, r.top, r.right - r.left, r.bottom - r.top});
            }
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&areas));
    return areas;
}

} // namespace

HWND frmMain::AddControl(const wchar_t* cls, const char* text, DWORD style, ControlId id,
                         DWORD exStyle) {
    return AddChild(m_window, cls, text, style, id, m_font, exStyle);
}

void frmMain::BuildControls() {
    ::SetMenu(m_window, BuildMenus());
    m_keys = BuildKeys();
    m_font = MessageFont();
    AddControl(L"STATIC", "Select Files &To Copy:", 0, lblSelect);
    HWND tree =
        AddControl(WC_TREEVIEWW, "",
                   WS_TABSTOP | TVS_HASBUTTONS | TVS_HASLINES | TVS_LINESATROOT | TVS_SHOWSELALWAYS,
                   tvSelect, WS_EX_CLIENTEDGE);
    HWND list =
        AddControl(WC_LISTVIEWW, "",
                   WS_TABSTOP | LVS_REPORT | LVS_OWNERDATA | LVS_SINGLESEL | LVS_SHOWSELALWAYS,
                   lvSelect, WS_EX_CLIENTEDGE);
    ListView_SetExtendedListViewStyle(list, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
    m_images[0] = MakeItemIcons();
    m_images[1] = MakeStateImages(tree, true);
    m_images[2] = MakeStateImages(list, false);
    TreeView_SetImageList(tree, m_images[0], TVSIL_NORMAL);
    TreeView_SetImageList(tree, m_images[1], TVSIL_STATE);
    TreeView_SetIndent(tree, 19);
    // The image lists go in before the hook, which refuses any later one.
    ListView_SetImageList(list, m_images[0], LVSIL_SMALL);
    ListView_SetImageList(list, m_images[2], LVSIL_STATE);
    m_tree = std::make_unique<TreeCtrl>(tree, m_panes);
    m_list = std::make_unique<ListCtrl>(list, m_panes);
    AddControl(L"BUTTON", "Options", BS_GROUPBOX, fraBottom);
    AddControl(L"STATIC", "Select &Output Directory", SS_LEFT, lblOutput);
    AddControl(L"EDIT", "", WS_TABSTOP | ES_AUTOHSCROLL, txtOutput, WS_EX_CLIENTEDGE);
    AddControl(L"BUTTON", "&Browse", WS_TABSTOP | BS_PUSHBUTTON, cmdBrowse);
    AddControl(L"BUTTON", "Backup Type", BS_GROUPBOX, fraType);
    AddControl(L"BUTTON", "F&ull", WS_TABSTOP | BS_RADIOBUTTON, optFull);
    AddControl(L"BUTTON", "&Incremental", WS_TABSTOP | BS_RADIOBUTTON, optIncremental);
    const std::pair<ControlId, const char*> boxes[] = {
        {chkClean, "&Clear Output Directory Before Backup"},
        {chkSaveLog, "Save Backup &Log to Output Directory"},
        {chkStopOnError, "Stop On &Error"},
        {chkVerify, "Ve&rify Files"},
        {chkEject, "E&ject Media"},
        {chkEmail, "E&mail Log To:"}};
    for (const auto& [id, text] : boxes) {
        AddControl(L"BUTTON", text, WS_TABSTOP | BS_CHECKBOX, id);
    }
    AddControl(L"EDIT", "", WS_TABSTOP | ES_AUTOHSCROLL, txtEmailTo, WS_EX_CLIENTEDGE);
    AddControl(L"BUTTON", "&Start", WS_TABSTOP | BS_DEFPUSHBUTTON, cmdStart);
    AddControl(STATUSCLASSNAMEW, "", SBARS_SIZEGRIP, sbStatus);
}

// The options keep their height at the bottom; the tree and the list take the rest.
void frmMain::Layout() {
    RECT client{};
    ::GetClientRect(m_window, &client);
    const int width = client.right;
    HWND status = Control(sbStatus);
    ::SendMessageW(status, WM_SIZE, 0, 0);
    RECT bar{};
    ::GetWindowRect(status, &bar);
    const int bottom = client.bottom - (bar.bottom - bar.top);
    const int optionsHeight = 4 * kRow + 3 * kGap;
    const int optionsTop = bottom - optionsHeight - kGap;
    Place(m_window, lblSelect, kGap, kGap, width - 2 * kGap, 16);
    const int top = kGap + 18;
    const int height = optionsTop - top - kGap;
    const int room = width - 2 * kGap - kSplitBar;
    m_split =
        std::clamp(m_split, std::min(kMinTree, room / 2), std::max(room - kMinTree, room / 2));
    Place(m_window, tvSelect, kGap, top, m_split, height);
    Place(m_window, lvSelect, kGap + m_split + kSplitBar, top, room - m_split, height);
    LayoutBottom(optionsTop, width);
}

void frmMain::LayoutBottom(int top, int width) {
    Place(m_window, fraBottom, kGap, top, width - 2 * kGap, 4 * kRow + 3 * kGap);
    const int left = 2 * kGap, right = width - 2 * kGap;
    const int start = Twips(1400, m_window);
    int y = top + 18;
    Place(m_window, lblOutput, left, y + 3, 150, 20);
    Place(m_window, txtOutput, left + 155, y, right - left - 155 - 90, 22);
    Place(m_window, cmdBrowse, right - 84, y - 1, 84, 24);
    y += kRow + 2;
    Place(m_window, fraType, left, y - 6, 120, 3 * kRow);
    Place(m_window, optFull, left + 10, y + 12, 100, 20);
    Place(m_window, optIncremental, left + 10, y + 12 + kRow, 100, 20);
    const int col1 = left + 130, col2 = col1 + 270;
    const int col2Width = right - col2 - start - kGap;
    const ControlId first[] = {chkClean, chkSaveLog, chkStopOnError};
    const ControlId second[] = {chkVerify, chkEject};
    for (int i = 0; i < 3; ++i) {
        Place(m_window, first[i], col1, y + i * kRow, 265, 20);
    }
    for (int i = 0; i < 2; ++i) {
        Place(m_window, second[i], col2, y + i * kRow, std::max(col2Width, 100), 20);
    }
    Place(m_window, chkEmail, col2, y + 2 * kRow, 100, 20);
    Place(m_window, txtEmailTo, col2 + 102, y + 2 * kRow - 1, col2Width - 102, 22);
    Place(m_window, cmdStart, right - start, y + 2 * kRow - 2, start, 26);
}

// The bar between tree and list: the pointer shows it can be dragged, dragging moves it.
bool frmMain::OnSplitter(UINT message, LPARAM lParam) {
    const int x = static_cast<short>(LOWORD(lParam));
    RECT tree{};
    ::GetWindowRect(Control(tvSelect), &tree);
    ::MapWindowPoints(nullptr, m_window, reinterpret_cast<POINT*>(&tree), 2);
    const int y = static_cast<short>(HIWORD(lParam));
    const bool onBar =
        x >= tree.right && x < tree.right + kSplitBar && y >= tree.top && y < tree.bottom;
    switch (message) {
    case WM_LBUTTONDOWN:
        if (onBar) {
            m_dragging = true;
            ::SetCapture(m_window);
        }
        return onBar;
    case WM_MOUSEMOVE:
        if (m_dragging) {
            m_split = x - kGap;
            Layout();
        }
        return m_dragging;
    case WM_LBUTTONUP:
        if (m_dragging) {
            m_dragging = false;
            ::ReleaseCapture();
        }
        return true;
    default:
        return onBar;
    }
}

void frmMain::RestorePlacement() {
    const ui::Placement saved = ui::ReadPlacement(m_settings);
    m_split = saved.Split > 0 ? saved.Split : Twips(kStartTree, m_window);
    WINDOWPLACEMENT wp{};
    wp.length = sizeof wp;
    ::GetWindowPlacement(m_window, &wp);
    const std::vector<ui::Rect> areas = WorkAreas();
    if (saved.Normal && !areas.empty()) {
        const ui::Rect r = ui::ClampToScreens(*saved.Normal, areas);
        wp.rcNormalPosition = {r.Left, r.Top, r.Right(), r.Bottom()};
    }
    wp.showCmd = saved.Maximized ? SW_SHOWMAXIMIZED : SW_SHOWNORMAL;
    wp.flags = 0;
    ::SetWindowPlacement(m_window, &wp);
}

void frmMain::SavePlacement() {
    WINDOWPLACEMENT wp{};
    wp.length = sizeof wp;
    if (!::GetWindowPlacement(m_window, &wp)) {
        return;
    }
    const RECT& r = wp.rcNormalPosition;
    ui::Placement p;
    p.Normal = ui::Rect{r.left, r.top, r.right - r.left, r.bottom - r.top};
    p.Maximized = wp.showCmd == SW_SHOWMAXIMIZED;
    p.Split = m_split;
    ui::SavePlacement(m_settings, p);
}

} // namespace tessaron::win
