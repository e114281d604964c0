// The native Windows window front end: the main window and the run window over the
// system's common controls. tessaron.exe (a Windows program) runs a /RUN in its run
// window; tessaron.com, its console twin, runs it in the console.
#include "WindowFrontEnd.h"

#include "CommandLine.h"
#include "Display.h"

#include "MessageBoxes.h"
#include "frmBackup.h"
#include "frmMain.h"

#include "engine/RunChecks.h"
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

namespace {

// Whether this program was built for the console (tessaron.com) rather than as a Windows
// program (tessaron.exe): read from its own image's header.
bool IsConsoleProgram() {
    const auto* base = reinterpret_cast<const BYTE*>(::GetModuleHandleW(nullptr));
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    return nt->OptionalHeader.Subsystem == IMAGE_SUBSYSTEM_WINDOWS_CUI;
}

// A /RUN in the run window alone; a set with nothing that could be copied is refused in a
// box, never run to a "Backup Complete" of nothing.
int RunFromCommandLine(clsSetup& setup) {
    if (const std::string nothing = NothingToRunReason(setup); !nothing.empty()) {
        win::ShowMessageBox(nullptr, "Nothing To Back Up", nothing, MsgButtons::OK);
        return kExitNothingRun;
    }
    return win::RunBackupWindow(nullptr, setup, true);
}

} // namespace

bool WindowRunsBackups() {
    return !IsConsoleProgram();
}

std::string WhyNoWindow() {
    return WindowAvailable() ? "" : "There is no desktop to open the main window on.";
}

int RunMainWindow(char*, const std::string& commandLine) {
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_TREEVIEW_CLASSES | ICC_LISTVIEW_CLASSES |
                                                       ICC_BAR_CLASSES | ICC_STANDARD_CLASSES |
                                                       ICC_PROGRESS_CLASS};
    ::InitCommonControlsEx(&controls);
    // The file dialogs and the known folders are COM services of the window's thread.
    const HRESULT com = ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    int status = kExitNothingRun;
    {
        clsRegSettings settings;
        win::frmMain window(settings);
        if (window.Create()) {
            const CommandLine cl = ReadCommandLine(
                commandLine, window.Logic().Setup(),
                [&window](const std::string& file) { return window.Logic().LoadSetup(file); });
            if (cl.Action == "/RUN") {
                // Only the run window shows: the main window was never shown.
                status = RunFromCommandLine(window.Logic().Setup());
            } else {
                window.Show();
                status = window.MessageLoop();
            }
        }
    }
    if (SUCCEEDED(com)) {
        ::CoUninitialize();
    }
    return status;
}

} // namespace tessaron
