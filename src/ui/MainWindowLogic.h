#pragma once
// MainWindowLogic: everything the main window decides, without any toolkit. The window's
// controls are the editing surface of one backup set record: every change of a control is
// written into the record at once (the control events below), and what the controls show
// is derived from the record (Options). There is no modified flag: New, Load and closing
// never ask to save.
//
// Option rules: choosing Incremental unticks and greys "Clear Output Directory Before
// Backup", choosing Full enables it again; "Email Log To:" enables the address box.
//
// The window implements MainWindowView and passes its control events and commands here;
// the Qt and the native Windows main windows are both thin views over this class.

#include "ui/FileDialogs.h"

#include "engine/IBackupView.h"
#include "setfile/clsSetup.h"

#include <string>

namespace tessaron::ui {

// What the option controls show: their values and whether they can be changed.
struct MainWindowOptions {
    std::string Output, EmailTo;
    bool Full = false, Incremental = false; // neither: no backup type chosen
    bool Clean = false, SaveLog = false, StopOnError = false, Verify = false, Eject = false,
         Email = false;
    bool CleanEnabled = true, EmailToEnabled = false;
    bool operator==(const MainWindowOptions&) const = default;
};

// The switches of the options frame, each writing one Boolean of the record.
enum class Switch { Clean, SaveLog, StopOnError, Verify, Eject, Email };

// What the window does for its logic.
class MainWindowView {
public:
    virtual ~MainWindowView() = default;
    // Shows the values and enabled states in the option controls. Setting a control here
    // must not count as a change by the user (or, if it does, passes the same value back).
    virtual void ShowOptions(const MainWindowOptions& options) = 0;
    virtual void ShowCaption(const std::string& caption) = 0;
    // The tree and the list are rebuilt (Refresh, New, Load), so that they show the set.
    virtual void RebuildSelection() = 0;
    // Puts the keyboard focus into the output directory box.
    virtual void FocusOutput() = 0;
    virtual MsgAnswer Message(const std::string& title, const std::string& text,
                              MsgButtons buttons) = 0;
    // Shows a file dialog; the path chosen, "" when the user cancels.
    virtual std::string FileDialog(FileDialogKind kind, const FileDialogRequest& request) = 0;
    // Runs the set in the run window (the main window stays); called after Start's checks.
    virtual void StartRun(clsSetup& setup) = 0;
};

class MainWindowLogic {
public:
    // view must outlive the logic. setFolder: where the set file dialogs open while there
    // is no current file (the program's folder where the user may write there, else a
    // folder of the user's). The record starts as New leaves it.
    MainWindowLogic(MainWindowView& view, std::string setFolder);

    clsSetup& Setup() { return m_setup; }
    const clsSetup& Setup() const { return m_setup; }
    // The set file last loaded or saved under; empty at start and after New.
    const std::string& FileName() const { return m_fileName; }
    // "Tessaron", or "Tessaron - " and the set file once one was loaded or saved.
    const std::string& Caption() const { return m_caption; }
    // What the option controls show for the record.
    MainWindowOptions Options() const;
    // Shows the record in the option controls and the caption (after the window is built).
    void ShowAll();

    // Control events: each writes the record and shows what changed.
    void OutputChanged(const std::string& text);
    void EmailToChanged(const std::string& text);
    void SwitchChanged(Switch which, bool on);
    void TypeChosen(BackupKind kind);

    // New Backup Set: a new set in the controls, no file name, no tick marks. The caption
    // stays.
    void New();
    // Load Backup Set...: asks for a file, then LoadSetup.
    void Load();
    // Loads a set file into the record and the controls, takes its name into the caption
    // and rebuilds the tree and list. When it cannot be loaded, says so in a box
    // ("Unable to load setup file - " + name, the reason on a second line) and leaves
    // everything as it was; false then.
    bool LoadSetup(const std::string& fileName);
    // Save Backup Set: Save As when there is no file name yet; otherwise writes the set
    // there when something is ticked.
    void Save();
    // Save Backup Set As...: when something is ticked, asks for a name (".set" added to a
    // name without extension), takes it as the file name and caption, and writes the set.
    void SaveAs();
    // Start and Start Backup: the checks in order (selections, target given, target names
    // a drive or server (Windows) or is absolute (POSIX), backup type, something left to
    // copy), the first failure a box; then the run.
    void Start();
    // Browse: asks for the output directory, opening at the nearest folder of the current
    // one that exists.
    void Browse();

private:
    bool CheckSelections();
    bool CheckStart();
    void Refuse(const char* title, const std::string& text, bool focusOutput = false);
    FileDialogRequest SetFileDialog(const char* title) const;
    void TakeFileName(const std::string& fileName);
    void Changed();

    MainWindowView& m_view;
    std::string m_setFolder;
    clsSetup m_setup;
    std::string m_fileName;
    std::string m_caption = "Tessaron";
    MainWindowOptions m_shown; // what the controls were last told to show
};

// The folder itself when it exists, else the nearest folder above it that exists; "" when
// none does or folder is empty.
std::string NearestExistingFolder(const std::string& folder);

// Writes text as the whole of fileName. An existing file is replaced in one step, so a
// failed write leaves it as it was; it keeps its permission bits. A symbolic link is
// written through, so the link stays. False when it could not be written.
bool WriteSetFile(const std::string& fileName, const std::string& text);

} // namespace tessaron::ui
