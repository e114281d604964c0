#pragma once
// frmMain: the main window, where the user composes a backup set: the output directory,
// the backup type, the options, the mail address, and the ticked drives, folders and
// files. The controls are the editing surface of one backup set record: every change of
// a control is written into the record at once, and loading a set writes the record back
// into the controls. There is no modified flag: New, Load and closing never ask to save.
//
// Option coupling: choosing Incremental unticks and greys "Clear Output Directory Before
// Backup", choosing Full enables it again; "Email Log To:" enables the address box.
//
// Controls carry the object names of their roles (txtOutput, cmdBrowse, optFull,
// optIncremental, chkClean, chkSaveLog, chkStopOnError, chkVerify, chkEject, chkEmail,
// txtEmailTo, cmdStart, fraBottom, tvSelect, lvSelect) and the menu actions theirs
// (mnuNew, mnuLoad, mnuSave, mnuSaveAs, mnuExit, mnuRefresh, mnuStart, mnuEmailSetup,
// mnuContents, mnuAbout).

#include "RunStarter.h"
#include "SelectionBrowser.h"

#include "setfile/clsSetup.h"

#include <QMainWindow>

#include <string>

class QCheckBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QSplitter;

namespace tessaron {
class clsRegSettings;
}

namespace tessaron::gui {

class clsComDlg;

class frmMain : public QMainWindow {
    Q_OBJECT
public:
    // settings keeps the window's size, position and split; it must outlive the window.
    // The window starts with a new set, the root "My Computer" expanded and chosen, and
    // the drives in the list.
    explicit frmMain(clsRegSettings& settings, MainWindowHooks hooks = StandardHooks(),
                     QWidget* parent = nullptr);
    ~frmMain() override;

    // The current backup set. A run started from the window uses it.
    clsSetup& Setup() { return m_setup; }
    // The set file last loaded or saved under; empty at start and after New.
    const std::string& CurrentFileName() const { return m_fileName; }
    SelectionBrowser& Browser() { return *m_browser; }
    MainWindowHooks& Hooks() { return m_hooks; }
    // 10000 x 6000 twips at the screen's logical resolution.
    QSize MinimumWindowSize() const;

    // New Backup Set: a new set in the controls, no file name, no tick marks. The caption
    // stays.
    void ResetSetup();
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
    // a drive or an absolute path, backup type), each failure a box; then the run.
    void Start();
    // Browse: asks for the output directory.
    void Browse();
    // Refresh: rebuilds the drive tree and refills the list.
    void Refresh();

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    struct Controls {
        QLineEdit* txtOutput = nullptr;
        QPushButton* cmdBrowse = nullptr;
        QRadioButton* optFull = nullptr;
        QRadioButton* optIncremental = nullptr;
        QCheckBox* chkClean = nullptr;
        QCheckBox* chkSaveLog = nullptr;
        QCheckBox* chkStopOnError = nullptr;
        QCheckBox* chkVerify = nullptr;
        QCheckBox* chkEject = nullptr;
        QCheckBox* chkEmail = nullptr;
        QLineEdit* txtEmailTo = nullptr;
        QPushButton* cmdStart = nullptr;
        QGroupBox* fraBottom = nullptr;
    };

    void BuildMenus();
    QWidget* BuildCentre();
    QGroupBox* BuildBottomFrame();
    QGroupBox* BuildTypeFrame();
    void ConnectOptions();
    void ConnectTypeButtons();
    void ConnectSwitch(QCheckBox* box, bool clsSetup::*field);
    void WriteRecordToControls();
    void ShowBackupType(const std::string& type);
    bool CheckSelections();
    bool CheckStart();
    void SaveSetup(const std::string& fileName);
    void SetCaption();
    clsComDlg SetFileDialog(const char* title) const;
    void Refuse(const char* title, const char* text, QWidget* focus = nullptr);

    clsRegSettings& m_settings;
    MainWindowHooks m_hooks;
    clsSetup m_setup;
    std::string m_fileName;
    const QString m_baseCaption = "Tessaron";
    // True while the record is written into the controls: their handlers then leave the
    // record alone (it already holds the values) and only couple the controls.
    bool m_writingControls = false;
    Controls m_ui;
    QSplitter* m_split = nullptr;
    bool m_splitPlaced = false; // the first show sets the split
    QLabel* m_status = nullptr;
    SelectionBrowser* m_browser = nullptr;
};

} // namespace tessaron::gui
