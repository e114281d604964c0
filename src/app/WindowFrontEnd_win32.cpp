// The native Windows window front end: the main window over the system's common controls.
// A /RUN runs in the console until the run window is part of this build.
#include "WindowFrontEnd.h"

#include "CommandLine.h"
#include "Display.h"

#include "frmMain.h"

#include "engine/RunResult.h"
#include "mail/clsRegSettings.h"

#include <windows.h>
#undef Yield // an old macro of the system headers; the run views have a member of that name

#include <commctrl.h>
#include <objbase.h>

namespace tessaron {

bool WindowAvailable() {
    return DisplayAvailable();
}

bool WindowRunsBackups() {
    return false;
}

std::string WhyNoWindow() {
    return WindowAvailable() ? "" : "There is no desktop to open the main window on.";
}

int RunMainWindow(char*, const std::string& commandLine) {
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_TREEVIEW_CLASSES | ICC_LISTVIEW_CLASSES |
                                                       ICC_BAR_CLASSES | ICC_STANDARD_CLASSES};
    ::InitCommonControlsEx(&controls);
    // The file dialogs and the known folders are COM services of the window's thread.
    const HRESULT com = ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    int status = kExitNothingRun;
    {
        clsRegSettings settings;
        win::frmMain window(settings);
        if (window.Create()) {
            ReadCommandLine(
                commandLine, window.Logic().Setup(),
                [&window](const std::string& file) { return window.Logic().LoadSetup(file); });
            window.Show();
            status = window.MessageLoop();
        }
    }
    if (SUCCEEDED(com)) {
        ::CoUninitialize();
    }
    return status;
}

} // namespace tessaron
