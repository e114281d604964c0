#include "HelpFile.h"

#include "MessageBoxes.h"
#include "Win32Text.h"

#include "platform/clsFileSystem.h"

#include <shellapi.h>

namespace tessaron::win {

namespace {

constexpr UINT kDisplayToc = 0x0001; // HH_DISPLAY_TOC
constexpr UINT kCloseAll = 0x0012;   // HH_CLOSE_ALL

using HtmlHelpFn = HWND(WINAPI*)(HWND, LPCWSTR, UINT, DWORD_PTR);

// HTML Help's entry, or null where the system has none. Loaded once and kept.
HtmlHelpFn HtmlHelp() {
    static const HtmlHelpFn entry = []() -> HtmlHelpFn {
        HMODULE module = ::LoadLibraryW(L"hhctrl.ocx");
        return module == nullptr ? nullptr
                                 : reinterpret_cast<HtmlHelpFn>(reinterpret_cast<void*>(
                                       ::GetProcAddress(module, "HtmlHelpW")));
    }();
    return entry;
}

bool g_helpOpened = false;

bool IsFile(const std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

} // namespace

void OpenHelp(HWND owner) {
    const std::wstring dir = Widen(clsFileSystem::ProgramDir());
    const std::wstring chm = dir + L"\\tessaron.chm";
    if (IsFile(chm) && HtmlHelp() != nullptr) {
        // The viewer's own failures are its to show.
        HtmlHelp()(owner, chm.c_str(), kDisplayToc, 0);
        g_helpOpened = true;
        return;
    }
    const std::wstring manual = dir + L"\\manual\\index.html";
    if (IsFile(manual) &&
        reinterpret_cast<INT_PTR>(::ShellExecuteW(owner, L"open", manual.c_str(), nullptr, nullptr,
                                                  SW_SHOWNORMAL)) > 32) {
        return;
    }
    ShowMessageBox(owner, "Help",
                   "The manual was not found. Looked for:\n" + Narrow(chm) + "\n" + Narrow(manual),
                   MsgButtons::OK);
}

void CloseHelp() {
    if (g_helpOpened && HtmlHelp() != nullptr) {
        HtmlHelp()(nullptr, nullptr, kCloseAll, 0);
    }
}

} // namespace tessaron::win
