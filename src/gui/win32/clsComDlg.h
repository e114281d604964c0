#pragma once
// clsComDlg: the system's open and save dialogs, and a directory chooser made from the open
// dialog. The caller sets the properties, then calls one member; every dialog goes
// through one replaceable handler (SetFileDialogHandler), so that a test reads what would
// be shown and answers it.

#include "ui/FileDialogs.h"

#include <functional>
#include <string>
#include <windows.h>
#undef Yield // an old macro of the system headers; the run views have a member of that name

namespace tessaron::win {

class clsComDlg : public ui::FileDialogRequest {
public:
    clsComDlg() = default;
    clsComDlg(const ui::FileDialogRequest& request, HWND owner)
        : ui::FileDialogRequest(request), OwnerhWnd(owner) {}

    HWND OwnerhWnd = nullptr;

    // The chosen file's full path, or "" when the user cancels.
    std::string GetFile();
    // The chosen file's full path for saving, or "" when the user cancels. Choosing an
    // existing file asks whether to replace it.
    std::string SaveFile();
    // The chosen folder, or "" when the user cancels. The open dialog is shown with a
    // filter that matches no file, so that it lists only folders, and "Select a
    // Directory" in its name box; the folder it showed when accepted is the process's
    // current directory at that moment (the dialog moves it as the user navigates). The
    // current directory is set back afterwards, whatever the answer.
    std::string GetDirectory();
};

using FileDialogHandler = std::function<std::string(ui::FileDialogKind kind, const clsComDlg& dlg)>;

// Puts handler in place of the real dialogs (an empty handler restores them) and returns
// the handler it replaces.
FileDialogHandler SetFileDialogHandler(FileDialogHandler handler);

} // namespace tessaron::win
