#pragma once
// clsComDlg: the open, save and directory dialogs of the main window. The caller sets the
// properties, then calls one member; every dialog goes through one replaceable handler
// (SetFileDialogHandler), so that a test reads what would be shown and answers it.

#include "ui/FileDialogs.h"

#include <functional>
#include <string>
#include <vector>

class QWidget;

namespace tessaron::gui {

using ui::FileDialogKind;
using ui::FileFilter;

class clsComDlg : public ui::FileDialogRequest {
public:
    clsComDlg() = default;
    clsComDlg(const ui::FileDialogRequest& request, QWidget* owner)
        : ui::FileDialogRequest(request), Owner(owner) {}

    QWidget* Owner = nullptr;

    // The chosen file's full path, or "" when the user cancels.
    std::string GetFile();
    // The chosen file's full path for saving, or "" when the user cancels. Choosing an
    // existing file asks whether to replace it.
    std::string SaveFile();
    // The chosen folder's path, or "" when the user cancels. The process's current
    // directory is left as it was.
    std::string GetDirectory();
};

// What a dialog answers: the path the user chose, "" for Cancel.
using FileDialogHandler = std::function<std::string(FileDialogKind kind, const clsComDlg& dlg)>;

// Puts handler in place of the real dialogs (an empty handler restores them) and returns
// the handler it replaces.
FileDialogHandler SetFileDialogHandler(FileDialogHandler handler);

} // namespace tessaron::gui
