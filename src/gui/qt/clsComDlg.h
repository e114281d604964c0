#pragma once
// clsComDlg: the open, save and directory dialogs of the main window. The caller sets the
// properties, then calls one member; every dialog goes through one replaceable handler
// (SetFileDialogHandler), so that a test reads what would be shown and answers it.

#include <functional>
#include <string>
#include <vector>

class QWidget;

namespace tessaron::gui {

// One entry of a dialog's file type list: the text shown and the pattern it stands for.
struct FileFilter {
    std::string Text;    // "Backup Set Files (*.set)"
    std::string Pattern; // "*.set"; "*.*" stands for every file
};

enum class FileDialogKind { Open, Save, Directory };

class clsComDlg {
public:
    std::string Title;
    std::vector<FileFilter> Filter;
    int FilterIndex = 1;  // 1-based index of the filter chosen at first
    std::string InitDir;  // folder shown at first
    std::string InitFile; // file name proposed at first
    QWidget* Owner = nullptr;
    // SaveFile: the extension given to a name typed without one, before the dialog asks
    // whether to replace an existing file, so that it asks about the name that will be
    // written. Empty: none.
    std::string DefaultExtension;

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
