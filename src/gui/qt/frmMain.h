#pragma once
// frmMain: the Qt main window, a thin view over the window layer's MainWindowLogic (the
// record, the option rules, the Start checks, New, Load, Save and Save As, the caption)
// and SelectionPanes (the drive tree and file list and their marks).
//
// Controls carry the object names of their roles (txtOutput, cmdBrowse, optFull,
// optIncremental, chkClean, chkSaveLog, chkStopOnError, chkVerify, chkEject, chkEmail,
// txtEmailTo, cmdStart, fraBottom, tvSelect, lvSelect) and the menu actions theirs
// (mnuNew, mnuLoad, mnuSave, mnuSaveAs, mnuExit, mnuRefresh, mnuStart, mnuEmailSetup,
// mnuContents, mnuAbout).

#include "RunStarter.h"
#include "SelectionBrowser.h"

#include "ui/MainWindowLogic.h"

#include <QMainWindow>

#include <optional>
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

class frmMain : public QMainWindow, private ui::MainWindowView {
    Q_OBJECT
public:
    // settings keeps the window's size, position and split; it must outlive the window.
    // The window starts with a new set, the root "My Computer" expanded and chosen, and
    // the drives in the list.
    explicit frmMain(clsRegSettings& settings, MainWindowHooks hooks = StandardHooks(),
                     QWidget* parent = nullptr);
    ~frmMain() override;

    // The current backup set. A run started from the window uses it.
    clsSetup& Setup() { return m_logic.Setup(); }
    // The set file last loaded or saved under; empty at start and after New.
    const std::string& CurrentFileName() const { return m_logic.FileName(); }
    ui::MainWindowLogic& Logic() { return m_logic; }
    SelectionBrowser& Browser() { return *m_browser; }
    MainWindowHooks& Hooks() { return m_hooks; }
    // 10000 x 6000 twips at the screen's logical resolution.
    QSize MinimumWindowSize() const;

    // The commands (see ui::MainWindowLogic).
    void ResetSetup() { m_logic.New(); }
    void Load() { m_logic.Load(); }
    bool LoadSetup(const std::string& fileName) { return m_logic.LoadSetup(fileName); }
    void Save() { m_logic.Save(); }
    void SaveAs() { m_logic.SaveAs(); }
    void Start() { m_logic.Start(); }
    void Browse() { m_logic.Browse(); }
    void Refresh() { m_browser->Rebuild(); }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
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
    void ConnectSwitch(QCheckBox* box, ui::Switch which);
    void RestorePlacement();

    // The window layer's view.
    void ShowOptions(const ui::MainWindowOptions& options) override;
    void ShowCaption(const std::string& caption) override;
    void RebuildSelection() override { m_browser->Rebuild(); }
    void FocusOutput() override;
    MsgAnswer Message(const std::string& title, const std::string& text,
                      MsgButtons buttons) override;
    std::string FileDialog(ui::FileDialogKind kind, const ui::FileDialogRequest& request) override;
    void StartRun(clsSetup& setup) override { m_hooks.StartRun(this, setup, false); }

    clsRegSettings& m_settings;
    MainWindowHooks m_hooks;
    ui::MainWindowLogic m_logic;
    Controls m_ui;
    QSplitter* m_split = nullptr;
    bool m_splitPlaced = false; // the first show sets the split
    // Where the window was when it was hidden (for a run): it comes back there.
    std::optional<QRect> m_hiddenAt;
    QLabel* m_status = nullptr;
    SelectionBrowser* m_browser = nullptr;
};

} // namespace tessaron::gui
