#include "frmAbout.h"

#include "MessageBoxes.h"
#include "Win32Text.h"

#include "mail/clsRegSettings.h"

#include <shellapi.h>

#ifndef TESSARON_VERSION
#error "the build passes TESSARON_VERSION"
#endif

namespace tessaron::win {

namespace {

constexpr const char* kTitle = "About Tessaron";

bool IsFile(const std::string& path) {
    const DWORD attributes = ::GetFileAttributesW(Widen(path).c_str());
    return !path.empty() && attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

} // namespace

frmAbout::frmAbout() = default;

frmAbout::~frmAbout() {
    if (m_titleFont != nullptr) {
        ::DeleteObject(m_titleFont);
    }
}

INT_PTR frmAbout::Show(HWND owner) {
    return ModalDialog::Show(owner, kTitle, 200, 92);
}

std::string frmAbout::SystemInfoTool() {
    clsRegSettings registry;
    registry.HKey(HKeyLocalMachine);
    registry.Company(""); // the sections below are full key paths under the root
    registry.AppName("");
    std::string path = registry.GetSetting("SOFTWARE\\Microsoft\\Shared Tools\\MSInfo", "Path", "");
    if (IsFile(path)) {
        return path;
    }
    const std::string folder =
        registry.GetSetting("SOFTWARE\\Microsoft\\Shared Tools Location", "MSInfo", "");
    path = folder.empty() ? "" : folder + "\\MSINFO32.EXE";
    return IsFile(path) ? path : "";
}

void frmAbout::OnInit() {
    HWND title = Add(L"STATIC", "Tessaron", SS_LEFT | SS_NOPREFIX, lblTitle, 10, 7, 180, 14);
    LOGFONTW lf{};
    ::GetObjectW(reinterpret_cast<HFONT>(::SendMessageW(title, WM_GETFONT, 0, 0)), sizeof lf, &lf);
    lf.lfWeight = FW_BOLD;
    lf.lfHeight = lf.lfHeight * 3 / 2;
    m_titleFont = ::CreateFontIndirectW(&lf);
    ::SendMessageW(title, WM_SETFONT, reinterpret_cast<WPARAM>(m_titleFont), FALSE);
    Add(L"STATIC", "Version " TESSARON_VERSION, SS_LEFT | SS_NOPREFIX, lblVersion, 10, 24, 180, 10);
    Add(L"STATIC", "A desktop backup utility.", SS_LEFT | SS_NOPREFIX, -1, 10, 38, 180, 10);
    Add(L"STATIC", "VELQO", SS_LEFT | SS_NOPREFIX, -1, 10, 50, 180, 10);
    Add(L"BUTTON", "OK", WS_TABSTOP | BS_DEFPUSHBUTTON, IDOK, 143, 71, 50, 14);
    Add(L"BUTTON", "&System Info...", WS_TABSTOP | BS_PUSHBUTTON, cmdSysInfo, 80, 71, 58, 14);
}

bool frmAbout::OnCommand(int id, int) {
    if (id == IDOK) {
        End(IDOK);
        return true;
    }
    if (id == cmdSysInfo) {
        cmdSysInfo_Click();
        return true;
    }
    return false;
}

void frmAbout::cmdSysInfo_Click() {
    const std::string tool = SystemInfoTool();
    if (!tool.empty() &&
        reinterpret_cast<INT_PTR>(::ShellExecuteW(Handle(), L"open", Widen(tool).c_str(), nullptr,
                                                  nullptr, SW_SHOWNORMAL)) > 32) {
        return;
    }
    ShowMessageBox(Handle(), "System Information",
                   "The system information tool is not available on this computer.",
                   MsgButtons::OK);
}

} // namespace tessaron::win
