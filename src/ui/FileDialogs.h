#pragma once
// What the main window asks of the system's file dialogs: the properties of one dialog,
// set before it is shown. Each toolkit's clsComDlg shows them.

#include <string>
#include <vector>

namespace tessaron::ui {

// One entry of a dialog's file type list: the text shown and the pattern it stands for.
struct FileFilter {
    std::string Text;    // "Backup Set Files (*.set)"
    std::string Pattern; // "*.set"; "*.*" stands for every file
};

enum class FileDialogKind { Open, Save, Directory };

struct FileDialogRequest {
    std::string Title;
    std::vector<FileFilter> Filter;
    int FilterIndex = 1;  // 1-based index of the filter chosen at first
    std::string InitDir;  // folder shown at first
    std::string InitFile; // file name proposed at first
    // Save: the extension given to a name typed without one, before the dialog asks
    // whether to replace an existing file, so that it asks about the name that will be
    // written. Empty: none.
    std::string DefaultExtension;
};

} // namespace tessaron::ui
