#include "ConsoleView.h"

#include "platform/Trim.h"

#include <algorithm>
#include <cctype>
#include <istream>
#include <ostream>

namespace tessaron {

namespace {

constexpr std::chrono::milliseconds kRefresh{500};
const char* const kClearLine = "\r\033[K";

std::chrono::milliseconds SteadyNow() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now().time_since_epoch());
}

std::string Lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

// Keeps the end of a text (the file name matters most) within a number of characters,
// counting UTF-8 sequences as one and never cutting one apart.
std::string KeepTail(const std::string& s, std::size_t width) {
    auto isLead = [](unsigned char c) { return (c & 0xC0) != 0x80; };
    std::size_t chars = static_cast<std::size_t>(
        std::count_if(s.begin(), s.end(), [&](char c) { return isLead(c); }));
    if (chars <= width) {
        return s;
    }
    if (width <= 3) {
        return std::string(width, '.');
    }
    std::size_t drop = chars - (width - 3);
    std::size_t pos = 0;
    while (pos < s.size() && drop > 0) {
        ++pos;
        while (pos < s.size() && !isLead(static_cast<unsigned char>(s[pos]))) {
            ++pos;
        }
        --drop;
    }
    return "..." + s.substr(pos);
}

const char* ButtonPrompt(MsgButtons buttons) {
    switch (buttons) {
    case MsgButtons::OK:
        return "[OK] (press Enter): ";
    case MsgButtons::YesNo:
        return "[Y]es / [N]o: ";
    case MsgButtons::RetryCancel:
        return "[R]etry / [C]ancel: ";
    }
    return "";
}

} // namespace

bool ParseAnswer(const std::string& reply, MsgButtons buttons, MsgAnswer& answer) {
    std::string r = Lower(TrimWhiteSpace(reply));
    auto is = [&r](const char* word) { return r == word || (r.size() == 1 && r[0] == word[0]); };
    switch (buttons) {
    case MsgButtons::OK:
        answer = MsgAnswer::OK;
        return r.empty() || r == "ok" || r == "o";
    case MsgButtons::YesNo:
        answer = is("yes") ? MsgAnswer::Yes : MsgAnswer::No;
        return is("yes") || is("no");
    case MsgButtons::RetryCancel:
        answer = is("retry") ? MsgAnswer::Retry : MsgAnswer::Cancel;
        return is("retry") || is("cancel");
    }
    return false;
}

ConsoleView::ConsoleView(std::ostream& out, std::ostream& err, std::istream& in,
                         ConsoleOptions options, Clock clock)
    : m_out(out), m_err(err), m_in(in), m_options(options),
      m_clock(clock ? std::move(clock) : Clock(SteadyNow)) {}

void ConsoleView::WatchInterrupt(std::function<bool()> interrupted,
                                 std::function<void()> onCancel) {
    m_interrupted = std::move(interrupted);
    m_onCancel = std::move(onCancel);
}

bool ConsoleView::CheckInterrupt() {
    if (!m_interrupted || !m_interrupted()) {
        return false;
    }
    if (!m_cancelSent) {
        m_cancelSent = true;
        ClearProgress();
        m_err << "\nCancelling - the run stops at its next check (Ctrl+C again ends at once)\n"
              << std::flush;
        if (m_onCancel) {
            m_onCancel();
        }
    }
    return true;
}

void ConsoleView::EndPendingLine() {
    if (m_linePending) {
        m_out << '\n';
        m_linePending = false;
    }
}

void ConsoleView::ClearProgress() {
    if (m_progressShown) {
        m_err << kClearLine << std::flush;
        m_progressShown = false;
    }
}

void ConsoleView::LogLine(const std::string& line) {
    ClearProgress();
    EndPendingLine();
    // The line end is written with the next line, so that "Done" can still be appended.
    m_out << line << std::flush;
    m_lastLine = line;
    m_linePending = true;
}

void ConsoleView::AppendToLastLine(const std::string& text) {
    m_lastLine += text;
    if (m_linePending) {
        m_out << text << std::flush;
        return;
    }
    // The progress display ended the line on the terminal. When the display is still
    // below it, the line is written again in place, so that it does not show twice.
    if (m_progressShown && m_options.OutIsTerminal) {
        ClearProgress();
        m_out << "\033[" << TerminalRows(m_lastLine.size() - text.size()) << "A\r\033[J";
    } else {
        ClearProgress();
    }
    m_out << m_lastLine << std::flush;
    m_linePending = true;
}

// Terminal rows a line of that many bytes took (each UTF-8 character counted once, so a
// line of wide characters may be counted short: then it shows twice, never overwrites).
int ConsoleView::TerminalRows(std::size_t bytes) const {
    std::size_t chars = 0;
    for (std::size_t i = 0; i < bytes && i < m_lastLine.size(); ++i) {
        if ((static_cast<unsigned char>(m_lastLine[i]) & 0xC0) != 0x80) {
            ++chars;
        }
    }
    const std::size_t cols = static_cast<std::size_t>(std::max(m_options.Columns, 1));
    return static_cast<int>(std::max<std::size_t>(1, (chars + cols - 1) / cols));
}

void ConsoleView::PhaseStarted(RunPhase phase, const clsProgress& progress) {
    m_texts.PhaseStarted(phase, progress);
}

void ConsoleView::FileStarted(const std::string& path) {
    m_texts.FileStarted(path);
}

void ConsoleView::Progress(const clsProgress& progress) {
    m_texts.Progress(progress);
}

void ConsoleView::Result(RunResult result) {
    m_texts.Result(result);
}

// The figures of the run window in one line: "Verifying 42%  3/10 files  1,000/5,000 bytes
// 500 B/s  0:00:08 left".
std::string ConsoleView::ProgressHead() const {
    using ui::RunLabel;
    std::string s = m_texts.Phase() == RunPhase::Verify ? "Verifying " : "";
    s += std::to_string(m_texts.Bar(ui::RunBar::Overall)) + "%";
    auto pair = [&](RunLabel done, RunLabel total, const char* unit) {
        if (!Text(total).empty()) {
            std::string d = Text(done).empty() ? "0" : Text(done);
            s += "  " + d + "/" + Text(total) + " " + unit;
        }
    };
    pair(RunLabel::FilesDone, RunLabel::Files, "files");
    pair(RunLabel::BytesDone, RunLabel::Bytes, "bytes");
    if (!Text(RunLabel::BytesPerSecond).empty()) {
        s += "  " + Text(RunLabel::BytesPerSecond) + " B/s";
    }
    if (!Text(RunLabel::Remaining).empty()) {
        s += "  " + Text(RunLabel::Remaining) + " left";
    }
    return s;
}

std::string ConsoleView::ProgressText() const {
    const std::string& file = Text(ui::RunLabel::CurrentFile);
    return file.empty() ? ProgressHead() : ProgressHead() + "  " + file;
}

void ConsoleView::DrawProgress() {
    if (m_linePending && m_options.OutIsTerminal) {
        // Both streams share the terminal: the log line must end before the display.
        EndPendingLine();
    } else if (m_linePending) {
        m_out << std::flush;
    }
    // One terminal row: the figures first, then as much of the file name's end as fits.
    std::size_t width = static_cast<std::size_t>(std::max(m_options.Columns - 1, 20));
    std::string line = ProgressHead();
    const std::string& file = Text(ui::RunLabel::CurrentFile);
    if (line.size() >= width) {
        line.resize(width);
    } else if (!file.empty() && line.size() + 2 < width) {
        line += "  " + KeepTail(file, width - line.size() - 2);
    }
    m_err << '\r' << line << "\033[K" << std::flush;
    m_progressShown = true;
}

void ConsoleView::Yield() {
    if (CheckInterrupt() || !m_options.Progress) {
        return;
    }
    std::chrono::milliseconds now = m_clock();
    if (m_drawnOnce && now - m_lastDraw < kRefresh) {
        return;
    }
    m_drawnOnce = true;
    m_lastDraw = now;
    DrawProgress();
}

Answer ConsoleView::Ask(const Question& question) {
    ClearProgress();
    if (CheckInterrupt()) {
        return UnattendedAnswer(question.Buttons, AnswerReason::Interrupted);
    }
    if (!m_options.Interactive) {
        return UnattendedAnswer(question.Buttons, AnswerReason::NoTerminal);
    }
    return AskTerminal(question);
}

void ConsoleView::Warning(const std::string& text) {
    ClearProgress();
    m_err << "Warning: " << text << std::endl;
}

Answer ConsoleView::AskTerminal(const Question& question) {
    EndPendingLine();
    m_out << std::flush;
    std::string shown;
    for (char c : question.Text) {
        if (c != '\r') {
            shown += c;
        }
    }
    m_err << "\n" << question.Title << "\n" << shown << "\n";
    for (;;) {
        m_err << ButtonPrompt(question.Buttons) << std::flush;
        std::string reply;
        // End of input or an interrupt while waiting leaves the safe answer.
        const bool read = static_cast<bool>(std::getline(m_in, reply));
        if (CheckInterrupt() || !read) {
            m_err << "\n";
            return UnattendedAnswer(question.Buttons, m_cancelSent ? AnswerReason::Interrupted
                                                                   : AnswerReason::NoAnswer);
        }
        MsgAnswer answer{};
        if (ParseAnswer(reply, question.Buttons, answer)) {
            return {answer, AnswerReason::Person};
        }
    }
}

void ConsoleView::Finished() {
    m_texts.Finished();
    End();
}

void ConsoleView::End() {
    ClearProgress();
    EndPendingLine();
    m_out << std::flush;
}

} // namespace tessaron
