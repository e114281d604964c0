#pragma once
// frmBackup: the backup progress window in Qt. It runs one backup set on the window's own
// thread through the window layer's RunWindowLogic, which decides what the window shows
// and what its button, keys, close box and questions do (see ui/RunWindowLogic.h); this
// class only puts those texts into Qt controls: the log list, the current-file and overall
// frames with their labels and bars, the caption, the result and the Cancel/Close button.
//
// While a run is in progress the window hands control to the event loop at most every
// few milliseconds, so that the button, the close box and repaints are served without
// slowing the copy. The parent (the main window) is hidden while the run window is up
// and shown again when it closes; a parent that was not visible when the run started
// stays hidden.

#include "ui/RunWindowLogic.h"

#include <QTimer>
#include <QWidget>

#include <array>
#include <chrono>
#include <string>

class QLabel;
class QListView;
class QProgressBar;
class QPushButton;
class QGroupBox;

namespace tessaron {
class clsRegSettings;
class clsSetup;
} // namespace tessaron

namespace tessaron::gui {

class LogListModel;
class LogWidthDelegate;

class frmBackup : public QWidget, public ui::IRunWindow {
    Q_OBJECT
public:
    // parent: the window that owns this one (may be null); Run hides it.
    explicit frmBackup(QWidget* parent = nullptr);
    ~frmBackup() override;

    // The backup set to run; not owned, must outlive Run. Run may set its BackupType to
    // "FULL" when it is neither "FULL" nor "INCREMENTAL".
    void Setup(clsSetup& setup);
    // Folder for the run's log files; when never set, the engine's default.
    void LogDir(const std::string& dir);
    // The settings store the mailer reads; when never set, the user's settings file.
    void Settings(const clsRegSettings& settings);

    // Hides parent (when not null), shows this window and runs the set. Returns after the
    // whole run (mail, log copy and ejection included): true only when the run ended with
    // neither an error nor a cancellation. With unloadOnExit the window closes itself at
    // the end; otherwise it stays, showing the log and "Close", until the user closes it.
    bool Run(QWidget* parent, bool unloadOnExit);

    // The Cancel/Close button's work.
    void CancelRun();
    // Ctrl+C or SIGTERM: an open question is answered No or Cancel (logged
    // "(interrupted)"), then the run is cancelled as by the button.
    void Interrupt();

    bool Running() const { return m_logic.Running(); }
    // True once the last run's work is done (the button reads Close).
    bool Finished() const;
    // How the last run ended.
    RunResult Result() const;
    // Full path of the last run's log file (empty before the first run).
    const std::string& LogFile() const;

    // --- ui::IRunWindow: what the logic shows through Qt -------------------------------
    void ShowText(ui::RunLabel which, const std::string& text) override;
    void ShowBar(ui::RunBar which, int value) override;
    void AddLogLine(const std::string& line) override;
    void AppendToLastLogLine(const std::string& text) override;
    MsgAnswer ShowQuestion(const Question& question) override;
    void CloseQuestion() override;
    void PumpMessages() override;

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private slots:
    void cmdCancel_Click();

private:
    void BuildControls();
    QWidget* BuildCurrentFrame();
    QWidget* BuildOverallFrame();
    QWidget* BuildBottomRow();
    QLabel* ValueLabel(const char* name);
    bool PressKey(int key);
    void ShowInstead(QWidget* parent);
    void WaitUntilPlaced();
    void Unload();
    void ShowParent();
    void FlushLog();

    ui::RunWindowLogic m_logic;
    QWidget* m_parent = nullptr;
    bool m_parentWasVisible = false;
    bool m_unloading = false; // the window closes itself: no question
    std::chrono::steady_clock::time_point m_lastEvents;
    QTimer m_timer;

    LogListModel* m_log = nullptr;
    LogWidthDelegate* m_logWidth = nullptr;
    QListView* m_lstLog = nullptr;
    QGroupBox* m_fraCurrent = nullptr;
    QGroupBox* m_fraOverall = nullptr;
    QProgressBar* m_pbCurrent = nullptr;
    QProgressBar* m_pbOverAll = nullptr;
    QPushButton* m_cmdCancel = nullptr;
    std::array<QLabel*, ui::kRunLabelCount> m_labels{}; // null for texts that are no label
};

// Runs setup in a new run window over mainWindow (null: the run window alone) and
// returns the run's exit status (ExitStatus of its result). With unloadOnExit the window
// is gone when this returns; without it the window stays until the user closes it, and
// then deletes itself. The log folder is the engine's default (see BackupEngine::LogDir).
int RunBackupWindow(QWidget* mainWindow, clsSetup& setup, bool unloadOnExit);

} // namespace tessaron::gui
