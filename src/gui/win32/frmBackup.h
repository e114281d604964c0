#pragma once
// frmBackup: the native Windows run window, a thin view over the window layer's
// RunWindowLogic, which runs the set and decides what the window shows and what its
// button, keys, close box and questions do (see ui/RunWindowLogic.h). This class puts
// those texts into the system's controls: the current file's frame with its label and
// bar, the overall frame with totals, counters, rate, times and bar, the log list (a list
// box that selects its newest line and widens its scroll range to the widest line), the
// result and the Cancel/Close button; a 500 ms timer refreshes the labels.
//
// The run goes on on the window's own thread: at each yield the window serves its
// messages (at most every few milliseconds). The parent (the main window) is hidden while
// the run window is up and shown again, where it was, when the run window closes; a parent
// that was not visible stays hidden. The run's questions are message boxes centred on the
// run window.

#include "ui/RunWindowLogic.h"

#include <chrono>
#include <string>
#include <vector>
#include <windows.h>
#undef Yield // an old macro of the system headers; the run views have a member of that name

namespace tessaron {
class clsSetup;
}

namespace tessaron::win {

// The run window's controls.
enum RunControlId : int {
    fraCurrent = 300,
    lblCurrentFile,
    pbCurrent,
    fraOverall,
    lblFilesCaption,
    lblFiles,
    lblBytesCaption,
    lblBytes,
    lblElapsedCaption,
    lblElapsed,
    lblFilesTrans,
    lblFilesTransfered,
    lblBytesTrans,
    lblBytesTransfered,
    lblRateCaption,
    lblBytesPerSecond,
    lblRemainingCaption,
    lblRemaining,
    pbOverAll,
    lstLog,
    lblResult,
    cmdCancel,
};

class frmBackup : private ui::IRunWindow {
public:
    frmBackup();
    ~frmBackup() override;
    frmBackup(const frmBackup&) = delete;
    frmBackup& operator=(const frmBackup&) = delete;

    // The backup set to run; not owned, must outlive Run.
    void Setup(clsSetup& setup) { m_logic.Setup(setup); }
    // Folder for the run's log files; when never set, the program's log folder.
    void LogDir(const std::string& dir) { m_logic.Engine().LogDir(dir); }

    // Makes the window (over parent, which may be null), hides parent, shows the window
    // and runs the set. Returns after the whole run: true only when the run ended with
    // neither an error nor a cancellation. With unloadOnExit the window closes itself at
    // the end; otherwise it stays, showing the log and "Close", until the user closes it.
    bool Run(HWND parent, bool unloadOnExit);
    // Serves the window's messages until it has closed. A WM_QUIT ends the wait and is
    // posted again for the loop outside.
    void WaitUntilClosed();

    HWND Handle() const { return m_window; }
    HWND Control(int id) const { return ::GetDlgItem(m_window, id); }
    bool Running() const { return m_logic.Running(); }
    RunResult Result() const { return m_logic.Engine().Result(); }
    const std::string& LogFile() const { return m_logic.Engine().LogFile(); }
    // Escape, Enter and Tab for this window; true when msg was used.
    bool PreTranslate(MSG& msg);

private:
    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam);
    bool Create(HWND parent);
    void BuildControls();
    void Layout();
    void LayoutOverall(int top, int width);
    void ShowInstead(HWND parent);
    void OnClose();
    void Unload();
    void ShowParent();
    void ButtonClicked();
    void FlushLog();
    void FitLogWidth(const std::vector<std::wstring>& lines);

    // --- ui::IRunWindow ---
    void ShowText(ui::RunLabel which, const std::string& text) override;
    void ShowBar(ui::RunBar which, int value) override;
    void AddLogLine(const std::string& line) override;
    void AppendToLastLogLine(const std::string& text) override;
    MsgAnswer ShowQuestion(const Question& question) override;
    void CloseQuestion() override;
    void PumpMessages() override;

    ui::RunWindowLogic m_logic;
    HWND m_window = nullptr;
    HWND m_parent = nullptr;
    bool m_parentWasVisible = false;
    bool m_unloading = false; // the window closes itself: no question
    bool m_quit = false;      // a WM_QUIT came while the window served its messages
    HFONT m_font = nullptr;
    HFONT m_bold = nullptr;
    std::vector<std::wstring> m_pending; // log lines not yet in the list
    int m_widest = 0;                    // the widest line in the list, in pixels
    std::chrono::steady_clock::time_point m_lastEvents;
};

// Runs setup in a new run window over mainWindow (null: the run window alone), waits until
// the window has closed and returns the run's exit status (ExitStatus of its result). The
// log folder is TESSARON_LOG_DIR when that is set, else the program's log folder.
int RunBackupWindow(HWND mainWindow, clsSetup& setup, bool unloadOnExit);

} // namespace tessaron::win
