#pragma once
// What every native window makes its controls with: the system's message font and child
// windows in UTF-16, and a small in-memory dialog for the modal windows (Email Setup,
// About) so that Tab, Enter, Escape and the modal loop are the system's own.

#include <string>
#include <windows.h>
#undef Yield // an old macro of the system headers; the run views have a member of that name

namespace tessaron::win {

// The font the system uses for message boxes (the caller deletes it with DeleteObject).
HFONT MessageFont();

// Registers a top-level window class of the program's once: the arrow pointer, the
// dialogs' colour, the program's icon.
void RegisterWindowClass(const wchar_t* name, WNDPROC proc);

// The object a window was made for (CreateWindowEx's last argument), kept with the window
// from WM_NCCREATE on; null before that and for a window made without one.
template <class T> T* WindowObject(HWND window, UINT message, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        ::SetWindowLongPtrW(
            window, GWLP_USERDATA,
            reinterpret_cast<LONG_PTR>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams));
    }
    return reinterpret_cast<T*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
}

// A child control of parent with the given window class, text (UTF-8), style (WS_CHILD
// and WS_VISIBLE are added), identifier and font; placed later.
HWND AddChild(HWND parent, const wchar_t* cls, const std::string& text, DWORD style, int id,
              HFONT font, DWORD exStyle = 0);

// Moves window so that its middle is over the middle of over; nothing when over is null or
// hidden.
void CentreOver(HWND window, HWND over);

// Puts a child at x, y with width w and height h (pixels, negative sizes as 0).
void Place(HWND parent, int id, int x, int y, int w, int h);

// A modal dialog built in memory: Show makes it over owner (disabled meanwhile), centred
// on it (on the screen when owner is hidden or null), calls OnInit to make the controls and
// OnCommand for each command, and returns the result given to End. Escape and the close box send
// IDCANCEL, Enter the default button's command.
class ModalDialog {
public:
    virtual ~ModalDialog() = default;
    // width and height in dialog units (a quarter of the font's average width, an eighth
    // of its height).
    INT_PTR Show(HWND owner, const std::string& title, int width, int height);
    HWND Handle() const { return m_dialog; }
    HWND Control(int id) const { return ::GetDlgItem(m_dialog, id); }

protected:
    virtual void OnInit() = 0;
    // True when the command was handled; an IDCANCEL left unhandled ends the dialog.
    virtual bool OnCommand(int id, int code) = 0;
    // A control placed in dialog units.
    HWND Add(const wchar_t* cls, const std::string& text, DWORD style, int id, int x, int y, int w,
             int h, DWORD exStyle = 0);
    void End(INT_PTR result) { ::EndDialog(m_dialog, result); }

private:
    static INT_PTR CALLBACK DialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);

    HWND m_dialog = nullptr;
    HFONT m_font = nullptr;
};

} // namespace tessaron::win
