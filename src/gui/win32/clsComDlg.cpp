#include "clsComDlg.h"

#include "Win32Text.h"

#include <windows.h>
#undef Yield // an old macro of the system headers; the run views have a member of that name

#include <commdlg.h>

namespace tessaron::win {

namespace {

// The file name buffers hold 256 characters and a NUL.
constexpr DWORD kNameChars = 256;
constexpr DWORD kDirectoryFlags = OFN_NOVALIDATE | OFN_HIDEREADONLY; // 0x104

FileDialogHandler& Handler() {
    static FileDialogHandler handler;
    return handler;
}

// Text and pattern of every entry, each ended by a NUL, the list by a second NUL.
std::wstring FilterText(const std::vector<ui::FileFilter>& filters) {
    std::wstring text;
    for (const ui::FileFilter& f : filters) {
        text += Widen(f.Text) + L'\0' + Widen(f.Pattern) + L'\0';
    }
    return text + L'\0';
}

std::wstring NameBuffer(const std::string& initial) {
    std::wstring buffer = Widen(initial);
    buffer.resize(kNameChars + 1, L'\0');
    return buffer;
}

std::string UpToNul(const std::wstring& buffer) {
    return Narrow(std::wstring(buffer.c_str()));
}

// The record every dialog starts from; the strings must outlive the call.
struct Dialog {
    OPENFILENAMEW ofn{};
    std::wstring filter, file, fileTitle, initDir, title, defExt;

    Dialog(const clsComDlg& dlg, const std::string& initialFile)
        : filter(FilterText(dlg.Filter)), file(NameBuffer(initialFile)), fileTitle(NameBuffer("")),
          initDir(Widen(dlg.InitDir)), title(Widen(dlg.Title)),
          defExt(Widen(dlg.DefaultExtension)) {
        ofn.lStructSize = sizeof ofn;
        ofn.hwndOwner = dlg.OwnerhWnd;
        ofn.hInstance = ::GetModuleHandleW(nullptr);
        ofn.lpstrFilter = dlg.Filter.empty() ? nullptr : filter.c_str();
        ofn.nFilterIndex = static_cast<DWORD>(dlg.FilterIndex);
        ofn.lpstrFile = file.data();
        ofn.nMaxFile = kNameChars;
        ofn.lpstrFileTitle = fileTitle.data();
        ofn.nMaxFileTitle = kNameChars;
        ofn.lpstrInitialDir = initDir.empty() ? nullptr : initDir.c_str();
        ofn.lpstrTitle = title.c_str();
    }
};

} // namespace

std::string clsComDlg::GetFile() {
    if (Handler()) {
        return Handler()(ui::FileDialogKind::Open, *this);
    }
    Dialog d(*this, InitFile);
    return ::GetOpenFileNameW(&d.ofn) ? UpToNul(d.file) : "";
}

std::string clsComDlg::SaveFile() {
    if (Handler()) {
        return Handler()(ui::FileDialogKind::Save, *this);
    }
    Dialog d(*this, InitFile);
    d.ofn.Flags = OFN_OVERWRITEPROMPT | OFN_HIDEREADONLY | OFN_PATHMUSTEXIST;
    d.ofn.lpstrDefExt = d.defExt.empty() ? nullptr : d.defExt.c_str();
    return ::GetSaveFileNameW(&d.ofn) ? UpToNul(d.file) : "";
}

std::string clsComDlg::GetDirectory() {
    if (Handler()) {
        return Handler()(ui::FileDialogKind::Directory, *this);
    }
    wchar_t before[MAX_PATH * 4];
    const DWORD kept = ::GetCurrentDirectoryW(MAX_PATH * 4, before);
    clsComDlg folders = *this;
    folders.Filter = {{"Directories", "*.~#~"}}; // matches no real file: only folders show
    folders.FilterIndex = 0;
    Dialog d(folders, "Select a Directory");
    // Without OFN_NOCHANGEDIR the dialog moves the current directory as the user navigates.
    d.ofn.Flags = kDirectoryFlags;
    std::string chosen;
    if (::GetOpenFileNameW(&d.ofn)) {
        wchar_t now[MAX_PATH * 4];
        const DWORD n = ::GetCurrentDirectoryW(MAX_PATH * 4, now);
        chosen = n > 0 && n < MAX_PATH * 4 ? Narrow(std::wstring(now, n)) : "";
    }
    if (kept > 0 && kept < MAX_PATH * 4) {
        ::SetCurrentDirectoryW(before);
    }
    return chosen;
}

FileDialogHandler SetFileDialogHandler(FileDialogHandler handler) {
    FileDialogHandler old = std::move(Handler());
    Handler() = std::move(handler);
    return old;
}

} // namespace tessaron::win
