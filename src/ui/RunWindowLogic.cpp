#include "ui/RunWindowLogic.h"

namespace tessaron::ui {

namespace {

constexpr auto kRefreshInterval = std::chrono::milliseconds(500);

} // namespace

RunWindowLogic::RunWindowLogic(IRunWindow& window) : m_window(window), m_engine(*this) {}

void RunWindowLogic::Setup(clsSetup& setup) {
    m_setup = &setup;
    m_engine.Setup(setup);
}

bool RunWindowLogic::Run(bool unloadOnExit) {
    if (!CanRun()) {
        return false;
    }
    m_running = true;
    m_unloadOnExit = unloadOnExit;
    m_hidden = false;
    m_interrupted = false;
    m_texts.Reset();
    Publish();
    const bool succeeded = m_engine.Run();
    m_running = false;
    m_refreshing = false;
    return succeeded;
}

bool RunWindowLogic::ButtonClicked() {
    const bool close = !m_running || m_engine.Finished();
    m_engine.Cancel();
    return close;
}

bool RunWindowLogic::KeyPressesButton(Key key) const {
    return key == Key::Escape || !m_running || m_engine.Finished();
}

RunWindowLogic::CloseAction RunWindowLogic::CloseRequested(CloseRequest how) {
    const bool done = !m_running || m_engine.Finished();
    if (how == CloseRequest::System) {
        // Kept even for a finished window: it closes itself once a run has stopped.
        m_engine.Cancel();
        m_unloadOnExit = true;
        return CloseAction::Refuse;
    }
    if (how == CloseRequest::User && !done) {
        const MsgAnswer answer = ShowQuestion(
            {"Cancel Operation", "Do you want to cancel this operation?", MsgButtons::YesNo});
        if (answer == MsgAnswer::Yes) {
            m_engine.Cancel();
            m_unloadOnExit = true;
        }
        return CloseAction::Refuse;
    }
    if (m_running) {
        m_hidden = true;
        return CloseAction::Hide;
    }
    return CloseAction::Close;
}

bool RunWindowLogic::Interrupt() {
    m_interrupted = true;
    if (m_questionOpen) {
        m_window.CloseQuestion();
    }
    return ButtonClicked();
}

void RunWindowLogic::TimerTick() {
    if (m_refreshing && std::chrono::steady_clock::now() - m_lastRefresh >= kRefreshInterval) {
        m_engine.UpdateProgress();
    }
}

MsgAnswer RunWindowLogic::ShowQuestion(const Question& question) {
    m_questionOpen = true;
    const MsgAnswer answer = m_window.ShowQuestion(question);
    m_questionOpen = false;
    return answer;
}

void RunWindowLogic::ShowAll() {
    m_texts.TakeChanges();
    Publish(std::bitset<kRunLabelCount>().set(), std::bitset<kRunBarCount>().set());
}

void RunWindowLogic::Publish() {
    const RunTexts::Changes changes = m_texts.TakeChanges();
    Publish(changes.Labels, changes.Bars);
}

// Only what changed goes to the controls: a toolkit's window need not compare.
void RunWindowLogic::Publish(const std::bitset<kRunLabelCount>& labels,
                             const std::bitset<kRunBarCount>& bars) {
    for (std::size_t i = 0; i < kRunLabelCount; ++i) {
        if (labels.test(i)) {
            const auto which = static_cast<RunLabel>(i);
            m_window.ShowText(which, m_texts.Text(which));
        }
    }
    for (std::size_t i = 0; i < kRunBarCount; ++i) {
        if (bars.test(i)) {
            const auto which = static_cast<RunBar>(i);
            m_window.ShowBar(which, m_texts.Bar(which));
        }
    }
}

// --- The run's events ---------------------------------------------------------------------

void RunWindowLogic::PhaseStarted(RunPhase phase, const clsProgress& progress) {
    m_refreshing = true;
    m_lastRefresh = std::chrono::steady_clock::now();
    m_texts.PhaseStarted(phase, progress);
    Publish();
}

void RunWindowLogic::FileStarted(const std::string& path) {
    m_texts.FileStarted(path);
    Publish();
}

void RunWindowLogic::Progress(const clsProgress& progress) {
    m_lastRefresh = std::chrono::steady_clock::now();
    m_texts.Progress(progress);
    Publish();
}

void RunWindowLogic::LogLine(const std::string& line) {
    m_window.AddLogLine(line);
}

void RunWindowLogic::AppendToLastLine(const std::string& text) {
    m_window.AppendToLastLogLine(text);
}

// After Ctrl+C nobody is asked: the question answers as its close box would.
Answer RunWindowLogic::Ask(const Question& question) {
    if (m_interrupted) {
        return UnattendedAnswer(question.Buttons, AnswerReason::Interrupted);
    }
    const MsgAnswer answer = ShowQuestion(question);
    if (m_interrupted) {
        return UnattendedAnswer(question.Buttons, AnswerReason::Interrupted);
    }
    return {answer, AnswerReason::Person};
}

void RunWindowLogic::Result(RunResult result) {
    m_refreshing = false;
    m_texts.Result(result);
    Publish();
}

void RunWindowLogic::Finished() {
    m_texts.Finished();
    Publish();
}

void RunWindowLogic::Yield() {
    m_window.PumpMessages();
}

} // namespace tessaron::ui
