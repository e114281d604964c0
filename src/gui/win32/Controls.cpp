#include "Controls.h"

#include "Win32Text.h"

#include <algorithm>
#include <vector>

namespace tessaron::win {

HFONT MessageFont() {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    ::SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    return ::CreateFontIndirectW(&metrics.lfMessageFont);
}

void RegisterWindowClass(const wchar_t* name, WNDPROC proc) {
    const HINSTANCE instance = ::GetModuleHandleW(nullptr);
    WNDCLASSEXW cls{};
    cls.cbSize = sizeof cls;
    if (::GetClassInfoExW(instance, name, &cls)) {
        return;
    }
    cls.lpfnWndProc = proc;
    cls.hInstance = instance;
    cls.hCursor = ::LoadCursorW(nullptr, IDC_ARROW);
    cls.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    cls.hIcon = ::LoadIconW(instance, MAKEINTRESOURCEW(1));
    cls.lpszClassName = name;
    ::RegisterClassExW(&cls);
}

HWND AddChild(HWND parent, const wchar_t* cls, const std::string& text, DWORD style, int id,
              HFONT font, DWORD exStyle) {
    HWND control = ::CreateWindowExW(
        exStyle, cls, Widen(text).c_str(), WS_CHILD | WS_VISIBLE | style, 0, 0, 10, 10, parent,
        reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), ::GetModuleHandleW(nullptr), nullptr);
    ::SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    return control;
}

void CentreOver(HWND window, HWND over) {
    RECT o{}, r{};
    if (over == nullptr || !::IsWindowVisible(over) || !::GetWindowRect(over, &o) ||
        !::GetWindowRect(window, &r)) {
        return;
    }
    const int w = r.right - r.left, h = r.bottom - r.top;
    ::SetWindowPos(window, nullptr, (o.left + o.right - w) / 2, (o.top + o.bottom - h) / 2, 0, 0,
                   SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void Place(HWND parent, int id, int x, int y, int w, int h) {
    ::MoveWindow(::GetDlgItem(parent, id), x, y, std::max(w, 0), std::max(h, 0), TRUE);
}

namespace {

// A dialog template with no controls: the header, no menu, the default class, the title
// and the font (DS_SETFONT), each WORD-aligned as the system reads them.
std::vector<WORD> DialogTemplate(const std::wstring& title, int width, int height) {
    std::vector<WORD> words(sizeof(DLGTEMPLATE) / sizeof(WORD), 0);
    auto* header = reinterpret_cast<DLGTEMPLATE*>(words.data());
    header->style = DS_MODALFRAME | DS_SETFONT | DS_CENTER | WS_POPUP | WS_CAPTION | WS_SYSMENU;
    header->cx = static_cast<short>(width);
    header->cy = static_cast<short>(height);
    words.push_back(0); // no menu
    words.push_back(0); // the system's dialog class
    words.insert(words.end(), title.begin(), title.end());
    words.push_back(0);
    words.push_back(9); // points
    const std::wstring face = L"MS Shell Dlg";
    words.insert(words.end(), face.begin(), face.end());
    words.push_back(0);
    return words;
}

} // namespace

INT_PTR ModalDialog::Show(HWND owner, const std::string& title, int width, int height) {
    const std::vector<WORD> tmpl = DialogTemplate(Widen(title), width, height);
    return ::DialogBoxIndirectParamW(::GetModuleHandleW(nullptr),
                                     reinterpret_cast<const DLGTEMPLATE*>(tmpl.data()), owner,
                                     &ModalDialog::DialogProc, reinterpret_cast<LPARAM>(this));
}

HWND ModalDialog::Add(const wchar_t* cls, const std::string& text, DWORD style, int id, int x,
                      int y, int w, int h, DWORD exStyle) {
    RECT r{x, y, x + w, y + h};
    ::MapDialogRect(m_dialog, &r);
    HWND control = AddChild(m_dialog, cls, text, style, id, m_font, exStyle);
    ::MoveWindow(control, r.left, r.top, r.right - r.left, r.bottom - r.top, FALSE);
    return control;
}

INT_PTR CALLBACK ModalDialog::DialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        auto* self = reinterpret_cast<ModalDialog*>(lParam);
        ::SetWindowLongPtrW(dialog, DWLP_USER, lParam);
        self->m_dialog = dialog;
        self->m_font = reinterpret_cast<HFONT>(::SendMessageW(dialog, WM_GETFONT, 0, 0));
        self->OnInit();
        CentreOver(dialog, ::GetWindow(dialog, GW_OWNER));
        return TRUE; // the first control with WS_TABSTOP gets the focus
    }
    auto* self = reinterpret_cast<ModalDialog*>(::GetWindowLongPtrW(dialog, DWLP_USER));
    if (self != nullptr && message == WM_COMMAND) {
        if (!self->OnCommand(LOWORD(wParam), HIWORD(wParam)) && LOWORD(wParam) == IDCANCEL) {
            self->End(IDCANCEL);
        }
        return TRUE;
    }
    return FALSE;
}

} // namespace tessaron::win
