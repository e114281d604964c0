#pragma once
// Texts of the native windows: UTF-8 inside, UTF-16 at every call of the system.

#include "platform/win32/Win32Support.h"

#include <string>

namespace tessaron::win {

using win32::Narrow;
using win32::Widen;

// The window's text (a caption, an edit box's contents) in UTF-8.
inline std::string WindowText(HWND window) {
    std::wstring text(static_cast<std::size_t>(::GetWindowTextLengthW(window)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(
        ::GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
    return Narrow(text);
}

inline void SetWindowText(HWND window, const std::string& utf8) {
    ::SetWindowTextW(window, Widen(utf8).c_str());
}

// A length in twips (1440 to the inch) in pixels at the window's resolution.
inline int Twips(int twips, HWND window) {
    const UINT dpi = window != nullptr ? ::GetDpiForWindow(window) : 96;
    return ::MulDiv(twips, dpi == 0 ? 96 : static_cast<int>(dpi), 1440);
}

} // namespace tessaron::win
