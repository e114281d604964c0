#pragma once
// ConsoleView: the backup run's view for a terminal or an unattended run. Every line the
// window's log list would show goes to the output stream as it comes; a one-line progress
// display is kept on the error stream when that is a terminal; questions are asked on the
// terminal, or answered No / Cancel (OK for an OK-only box) when nobody can answer, with
// the reason (the run logs it); warnings go to the error stream. The progress line is
// made of the run window's own texts (ui/RunTexts.h).

#include "engine/IBackupView.h"
#include "ui/RunTexts.h"

#include <chrono>
#include <functional>
#include <iosfwd>
#include <string>

namespace tessaron {

struct ConsoleOptions {
    bool Progress = false;      // the error stream is a terminal: keep the progress line
    bool OutIsTerminal = false; // the output stream shows on the same terminal
    bool Interactive = false;   // the input stream is a terminal: ask questions there
    int Columns = 80;           // width of the progress line's terminal
};

class ConsoleView : public IBackupView {
public:
    using Clock = std::function<std::chrono::milliseconds()>;

    // The streams must outlive the view. clock defaults to a monotonic clock.
    ConsoleView(std::ostream& out, std::ostream& err, std::istream& in, ConsoleOptions options,
                Clock clock = {});

    // interrupted is polled by Yield and Ask; the first time it reports true, onCancel is
    // called (once), the way the window's Cancel button cancels the run.
    void WatchInterrupt(std::function<bool()> interrupted, std::function<void()> onCancel);

    void PhaseStarted(RunPhase phase, const clsProgress& progress) override;
    void FileStarted(const std::string& path) override;
    void Progress(const clsProgress& progress) override;
    void LogLine(const std::string& line) override;
    void AppendToLastLine(const std::string& text) override;
    // Asked on the terminal when there is one. Otherwise, or once Ctrl+C came, or when the
    // terminal's input ends, answered without a person: "no terminal", "interrupted",
    // "no answer".
    Answer Ask(const Question& question) override;
    void Warning(const std::string& text) override;
    void Result(RunResult result) override;
    void Finished() override;
    void Yield() override;

    // The run has returned: the progress display is gone and the last line has its end.
    void End();

    // The progress display as it would be drawn now, not yet cut to the terminal width.
    std::string ProgressText() const;

private:
    std::string ProgressHead() const;
    bool CheckInterrupt();
    void EndPendingLine();
    void ClearProgress();
    int TerminalRows(std::size_t bytes) const;
    void DrawProgress();
    Answer AskTerminal(const Question& question);
    const std::string& Text(ui::RunLabel which) const { return m_texts.Text(which); }

    std::ostream& m_out;
    std::ostream& m_err;
    std::istream& m_in;
    ConsoleOptions m_options;
    Clock m_clock;
    std::function<bool()> m_interrupted;
    std::function<void()> m_onCancel;
    bool m_cancelSent = false;

    ui::RunTexts m_texts;
    std::string m_lastLine;     // the last log line with what was appended to it
    bool m_linePending = false; // printed without its line end, appends may follow
    bool m_progressShown = false;
    bool m_drawnOnce = false;
    std::chrono::milliseconds m_lastDraw{0};
};

// The answer a typed reply picks among the buttons (first letter or whole word, any
// case; an empty reply picks OK in an OK-only box). False when the reply fits no button.
bool ParseAnswer(const std::string& reply, MsgButtons buttons, MsgAnswer& answer);

} // namespace tessaron
