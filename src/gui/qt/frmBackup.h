#pragma once
// frmBackup: the backup progress window. It runs one backup set through the core's
// BackupEngine on the window's own thread and is the engine's view: the log list, the
// current-file and overall frames with their labels and bars, the caption with the
// percentage, the result and the Cancel button that becomes Close.
//
// While a run is in progress the window hands control to the event loop from Yield at
// most every few milliseconds, so that the Cancel button, the close box and repaints are
// served without slowing the copy. A 500 ms timer refreshes labels and bars between the
// run's own refreshes (for instance while a question box is open).
//
// Closing the window during a run asks "Do you want to cancel this operation?"
// ("Cancel Operation", Yes/No): Yes cancels the run and the window closes itself when the
// run has stopped; No lets the run go on. The end of the user's session during a run
// cancels it the same way without asking. Once the run is finished the window closes
// freely. The parent (the main window) is hidden while the run window is up and shown
// again when it closes; a parent that was not visible when the run started stays hidden.

#include "engine/IBackupView.h"

#include <QTimer>
#include <QWidget>

#include <array>
#include <chrono>
#include <memory>
#include <string>

class QLabel;
class QListView;
class QProgressBar;
class QPushButton;
class QGroupBox;

namespace tessaron {
class BackupEngine;
class clsRegSettings;
class clsSetup;
} // namespace tessaron

namespace tessaron::gui {

class LogListModel;
class LogWidthDelegate;

class frmBackup : public QWidget, public IBackupView {
    Q_OBJECT
public:
    // parent: the window that owns this one (may be null); Run hides it.
    explicit frmBackup(QWidget* parent = nullptr);
    ~frmBackup() override;

    // The backup set to run; not owned, must outlive Run. Run may set its BackupType to
    // "FULL" when it is neither "FULL" nor "INCREMENTAL".
    void Setup(clsSetup& setup);
    // Folder for the run's log files; when never set, the program's log folder.
    void LogDir(const std::string& dir);
    // The settings store the mailer reads; when never set, the user's settings file.
    void Settings(const clsRegSettings& settings);

    // Hides parent (when not null), shows this window and runs the set. Returns after the
    // whole run (mail, log copy and ejection included): true only when the run ended with
    // neither an error nor a cancellation. With unloadOnExit the window closes itself at
    // the end; otherwise it stays, showing the log and "Close", until the user closes it.
    bool Run(QWidget* parent, bool unloadOnExit);

    // The Cancel button's work: asks the run to stop at its next check, and closes the
    // window once the run is finished.
    void CancelRun();
    // Ctrl+C or SIGTERM: an open question of the run is answered the way its close box
    // answers (and the run logs it as answered "(interrupted)"), then the run is cancelled.
    void Interrupt();

    bool Running() const { return m_running; }
    // True once the last run's result is known.
    bool Finished() const;
    // True when the last run was cancelled (Cancel, a confirmed close, a refused target).
    bool Cancelled() const;
    // Full path of the last run's log file (empty before the first run).
    const std::string& LogFile() const;

    // --- The engine's view ---------------------------------------------------------------
    void AddLine(const std::string& line) override;
    void AppendToLastLine(const std::string& text) override;
    void SetText(ViewText which, const std::string& text) override;
    int GetBar(ViewBar which) const override;
    void SetBar(ViewBar which, int value) override;
    MsgAnswer Ask(const std::string& title, const std::string& text, MsgButtons buttons) override;
    std::string LastAnswerReason() const override { return m_answerReason; }
    void Yield() override;
    void Finished(bool unloadOnExit) override;

protected:
    void closeEvent(QCloseEvent* event) override;

private slots:
    void cmdCancel_Click();
    void Timer1_Timer();

private:
    void BuildControls();
    QWidget* BuildCurrentFrame();
    QWidget* BuildOverallFrame();
    QWidget* BuildBottomRow();
    QLabel* ValueLabel(const char* name);
    bool QueryUnload();
    void SessionEnding();
    void ShowInstead(QWidget* parent);
    void Unload();
    void ShowParent();
    void FlushLog();

    std::unique_ptr<BackupEngine> m_engine;
    clsSetup* m_setup = nullptr;
    QWidget* m_parent = nullptr;
    bool m_parentWasVisible = false;
    bool m_running = false;
    bool m_unloadOnExit = false;
    bool m_asking = false;         // a question of the run is open
    std::string m_answerReason;    // why the last question was answered without a person
    bool m_unloading = false;      // the window closes itself: no question
    bool m_unloadAfterRun = false; // closed while the finished run still ends (eject)
    std::chrono::steady_clock::time_point m_lastEvents;
    std::chrono::steady_clock::time_point m_lastRefresh;
    QTimer m_timer;

    LogListModel* m_log = nullptr;
    LogWidthDelegate* m_logWidth = nullptr;
    QListView* m_lstLog = nullptr;
    QGroupBox* m_fraCurrent = nullptr;
    QGroupBox* m_fraOverall = nullptr;
    QProgressBar* m_pbCurrent = nullptr;
    QProgressBar* m_pbOverAll = nullptr;
    QPushButton* m_cmdCancel = nullptr;
    std::array<QLabel*, 16> m_labels{}; // by ViewText; null for texts that are no label
};

// Runs setup in a new run window over mainWindow (null: the run window alone) and
// returns the run's exit status: 0 "Backup Complete", 1 "Error During Backup",
// 2 "Backup Cancelled". With unloadOnExit the window is gone when this returns; without
// it the window stays until the user closes it, and then deletes itself. The log folder
// is TESSARON_LOG_DIR when that is set, else the program's log folder.
int RunBackupWindow(QWidget* mainWindow, clsSetup& setup, bool unloadOnExit);

} // namespace tessaron::gui
