#pragma once
// frmAbout: the native about box: the program's title, version and maker, and a "System
// Info..." button that starts the system information tool the registry names (the "Path"
// value of HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Shared Tools\MSInfo, else the folder of
// "Shared Tools Location\MSInfo" with msinfo32.exe). A computer without the tool gets a
// box saying so.

#include "Controls.h"

#include <string>

namespace tessaron::win {

enum AboutControlId : int { lblTitle = 500, lblVersion, cmdSysInfo };

class frmAbout : public ModalDialog {
public:
    frmAbout();
    ~frmAbout() override;

    INT_PTR Show(HWND owner);

    // The system information tool's full path as the registry gives it, when the file is
    // there; "" when not.
    static std::string SystemInfoTool();

private:
    void OnInit() override;
    bool OnCommand(int id, int code) override;
    void cmdSysInfo_Click();

    HFONT m_titleFont = nullptr;
};

} // namespace tessaron::win
