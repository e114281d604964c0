#pragma once
// RunWindowLogic: the run window's behaviour, written once for every toolkit. It owns the
// run (BackupEngine), is the run's view (IBackupView), keeps what the window shows
// (RunTexts) and decides what the window's buttons, keys, close box and questions do. A
// toolkit's window implements IRunWindow (a handful of calls that put texts into
// controls, show a message box and pump messages) and forwards the user's actions to the
// members below; it decides nothing itself.
//
// What the window does, as the logic decides it:
//  - Run shows the window's texts for a new run and runs the set on the calling thread;
//    labels, bars and captions follow the run's events (see RunTexts), refreshed by the
//    run itself and by the window's 500 ms timer (TimerTick) from the size phase until
//    the result is known.
//  - The Cancel button cancels the run; once the run's work is done it reads "Close" and
//    closes the window (and still cancels: a run ejecting its medium stops waiting).
//  - The button is the window's default button. Escape presses it; Enter presses it only
//    once it reads "Close", so that Enter never cancels a run.
//  - The close box during a run asks "Do you want to cancel this operation?" (title
//    "Cancel Operation", Yes and No): Yes cancels the run and the window closes itself
//    when the run has stopped; No lets the run go on. Once the run's work is done the
//    window closes without a question. A close by the system (the session ends) cancels
//    without asking and is refused: the window closes itself when the run has stopped.
//  - A close allowed while Run has not yet returned (the medium is still being ejected)
//    hides the window; it goes when Run returns.
//  - The run's questions ("Clear Target", "Drive Not Ready", "Unknown Device") and the
//    close box's question are message boxes centred over the run window, never over the
//    hidden main window or a corner of the screen.
//  - Ctrl+C or SIGTERM (Interrupt) closes an open question, which then answers No or
//    Cancel (OK for a notice) and is logged "<title> - answered No (interrupted)"; a
//    question of the run after it is answered so without being shown. Then it does what
//    the Cancel button does.

#include "engine/BackupEngine.h"
#include "ui/RunTexts.h"

#include <chrono>
#include <string>

namespace tessaron {
class clsSetup;
}

namespace tessaron::ui {

// What the logic needs of a toolkit's run window. Every call comes on the window's own
// thread, which is also the run's thread.
class IRunWindow {
public:
    virtual ~IRunWindow() = default;

    // Puts a text into its control: a label, a frame's caption, the window's caption, the
    // button. Called only when the text changed.
    virtual void ShowText(RunLabel which, const std::string& text) = 0;
    // Sets a progress bar (0 to 100). Called only when the value changed.
    virtual void ShowBar(RunBar which, int value) = 0;
    // A new last line of the log list, which then shows it (selects it, scrolls to it,
    // widens its scroll range). The window may collect lines and show them at its next
    // PumpMessages or ShowQuestion and when Run returns.
    virtual void AddLogLine(const std::string& line) = 0;
    // Text appended to the log list's last line.
    virtual void AppendToLastLogLine(const std::string& text) = 0;
    // A modal message box with the question's title, text (lines separated by CR LF) and
    // buttons, centred over the run window; returns the button chosen. Closing the box
    // (its close box, Escape, CloseQuestion) answers SafeAnswer(buttons). The log list
    // shows every line logged before the box appears.
    virtual MsgAnswer ShowQuestion(const Question& question) = 0;
    // Closes the open message box as its close box would. Called from inside the message
    // loop that ShowQuestion runs.
    virtual void CloseQuestion() = 0;
    // Serves pending messages: painting, clicks, keys, the refresh timer. Called at every
    // yield of the run (per block, directory entry and poll): must return quickly; a
    // window may pump only every few milliseconds.
    virtual void PumpMessages() = 0;
};

class RunWindowLogic : public IBackupView {
public:
    // How a close of the window was requested.
    enum class CloseRequest {
        Program, // the window closes itself (Close, the end of a run that unloads)
        User,    // the close box of the title bar, Alt+F4
        System,  // the session ends, the task list closes the program
    };
    // What the window does with a close request.
    enum class CloseAction {
        Refuse, // stays open
        Hide,   // goes out of sight now (and shows its parent again); Run has not
                // returned yet, the window goes for good when it has
        Close,  // goes now (and shows its parent again)
    };
    enum class Key { Escape, Enter };

    // The window must outlive the logic.
    explicit RunWindowLogic(IRunWindow& window);

    // The run: set its set, log folder and settings through it before Run; read its log
    // file, result and counters. Never call Run on it directly.
    BackupEngine& Engine() { return m_engine; }
    const BackupEngine& Engine() const { return m_engine; }
    // The backup set to run (not owned; must outlive Run).
    void Setup(clsSetup& setup);
    // What the window shows now.
    const RunTexts& Texts() const { return m_texts; }
    // Puts every text and bar into the window: once, when its controls have been made.
    void ShowAll();

    // True when a set was given and no run is in progress.
    bool CanRun() const { return m_setup != nullptr && !m_running; }
    // Shows the texts of a new run and runs the set (the window is already shown). Returns
    // after the whole run: true only when the result is RunResult::Complete. With
    // unloadOnExit the window is to close itself at the end (see UnloadWhenRunEnds).
    bool Run(bool unloadOnExit);
    // Between Run's start and its return.
    bool Running() const { return m_running; }
    // Once Run has returned: whether the window must now close itself (it was run to
    // unload on exit, a close was confirmed or requested by the system during the run, or
    // it was hidden while the run ended).
    bool UnloadWhenRunEnds() const { return m_unloadOnExit || m_hidden; }

    // The Cancel/Close button was pressed. Returns true when the window must close
    // (CloseRequest::Program): the run's work is done, or no run is in progress.
    bool ButtonClicked();
    // Whether the key presses the Cancel/Close button.
    bool KeyPressesButton(Key key) const;
    // Whether and how the window closes; may ask the close question first.
    CloseAction CloseRequested(CloseRequest how);
    // Ctrl+C or SIGTERM: see above. Returns true when the window must close, as
    // ButtonClicked does.
    bool Interrupt();
    // The window's 500 ms timer: refreshes labels and bars when the run has not done so
    // itself for that long (a question is open, a slow medium).
    void TimerTick();

    // --- IBackupView: the run's events ----------------------------------------------------
    void PhaseStarted(RunPhase phase, const clsProgress& progress) override;
    void FileStarted(const std::string& path) override;
    void Progress(const clsProgress& progress) override;
    void LogLine(const std::string& line) override;
    void AppendToLastLine(const std::string& text) override;
    Answer Ask(const Question& question) override;
    void Result(RunResult result) override;
    void Finished() override;
    void Yield() override;

private:
    MsgAnswer ShowQuestion(const Question& question);
    void Publish();
    void Publish(const std::bitset<kRunLabelCount>& labels, const std::bitset<kRunBarCount>& bars);

    IRunWindow& m_window;
    BackupEngine m_engine;
    RunTexts m_texts;
    clsSetup* m_setup = nullptr;
    bool m_running = false;
    bool m_unloadOnExit = false;
    bool m_hidden = false;      // a close was allowed before Run returned
    bool m_refreshing = false;  // from the size phase to the result
    bool m_interrupted = false; // Ctrl+C or SIGTERM came during this run
    bool m_questionOpen = false;
    std::chrono::steady_clock::time_point m_lastRefresh;
};

} // namespace tessaron::ui
