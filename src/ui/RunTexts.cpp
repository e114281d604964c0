#include "ui/RunTexts.h"

#include "engine/BackupEngine.h"
#include "engine/NumberText.h"
#include "engine/RunLog.h"

namespace tessaron::ui {

namespace {

struct PhaseCaptions {
    const char* Caption; // the window's caption at the start of the phase; null: kept
    const char* CurrentFrame;
    const char* OverallFrame;
    const char* FilesDone;
    const char* BytesDone;
};

const PhaseCaptions& CaptionsOf(RunPhase phase) {
    // The size phase begins a run; the copy keeps the caption the size phase left (its
    // percentage), so that the caption does not step back.
    static const PhaseCaptions kSize{kRunCaption, "Current File", "Overall Progress",
                                     "Files Transferred", "Bytes Transferred"};
    static const PhaseCaptions kCopy{nullptr, "Current File", "Overall Progress",
                                     "Files Transferred", "Bytes Transferred"};
    static const PhaseCaptions kVerify{"Backup Progress (Verifying)", "Current File (Verifying)",
                                       "Overall Progress (Verifying)", "Files Verified",
                                       "Bytes Read"};
    return phase == RunPhase::Verify ? kVerify : phase == RunPhase::Copy ? kCopy : kSize;
}

std::string GroupedIf(std::int64_t n, bool show) {
    return show ? FormatGrouped(n) : std::string();
}

} // namespace

RunTexts::RunTexts() {
    Reset();
    // A new window's controls show nothing yet.
    m_changes.Labels.set();
    m_changes.Bars.set();
}

void RunTexts::Reset() {
    for (std::size_t i = 0; i < kRunLabelCount; ++i) {
        Set(static_cast<RunLabel>(i), {});
    }
    SetCaptions(RunPhase::Size);
    Set(RunLabel::Button, "Cancel");
    SetBar(RunBar::Current, 0);
    SetBar(RunBar::Overall, 0);
}

void RunTexts::PhaseStarted(RunPhase phase, const clsProgress& progress) {
    SetCaptions(phase);
    ShowCounters(progress);
    // No bar keeps the last phase's value: where there is nothing to measure it reads 0.
    if (progress.CurrentSize <= 0) {
        SetBar(RunBar::Current, 0);
    }
    if (progress.TotalBytes <= 0) {
        SetBar(RunBar::Overall, 0);
    }
    Set(RunLabel::Elapsed, {});
    Set(RunLabel::BytesPerSecond, {});
    Set(RunLabel::Remaining, {});
}

void RunTexts::SetCaptions(RunPhase phase) {
    m_phase = phase;
    const PhaseCaptions& c = CaptionsOf(phase);
    if (c.Caption != nullptr) {
        Set(RunLabel::Caption, c.Caption);
    }
    Set(RunLabel::CurrentFrame, c.CurrentFrame);
    Set(RunLabel::OverallFrame, c.OverallFrame);
    Set(RunLabel::FilesDoneCaption, c.FilesDone);
    Set(RunLabel::BytesDoneCaption, c.BytesDone);
}

void RunTexts::FileStarted(const std::string& path) {
    Set(RunLabel::CurrentFile, EscapeControls(path));
    SetBar(RunBar::Current, 0);
}

void RunTexts::Progress(const clsProgress& p) {
    ShowCounters(p);
    Set(RunLabel::Caption,
        std::string(kRunCaption) + " - " + std::to_string(Bar(RunBar::Overall)) + "% Complete");
    if (p.ElapsedTime <= 0) {
        return;
    }
    Set(RunLabel::Elapsed, clsProgress::FormatTime(p.ElapsedTime));
    Set(RunLabel::BytesPerSecond, FormatGrouped(p.BytesPerSecond));
    Set(RunLabel::Remaining, clsProgress::FormatTime(p.RemainingTime));
}

// The current file, the totals, what is done, and the bars where they have a total.
void RunTexts::ShowCounters(const clsProgress& p) {
    Set(RunLabel::CurrentFile, EscapeControls(p.CurrentFile));
    Set(RunLabel::Files, GroupedIf(p.TotalFiles, p.TotalFiles > 0));
    Set(RunLabel::Bytes, GroupedIf(p.TotalBytes, p.TotalBytes > 0));
    Set(RunLabel::FilesDone, GroupedIf(p.FilesDone, p.TotalFiles > 0));
    Set(RunLabel::BytesDone, GroupedIf(p.BytesDone, p.TotalBytes > 0));
    if (const int v = clsProgress::BarValue(p.CurrentDone, p.CurrentSize); v >= 0) {
        SetBar(RunBar::Current, v);
    }
    if (const int v = clsProgress::BarValue(p.BytesDone + p.BytesSkipped, p.TotalBytes); v >= 0) {
        SetBar(RunBar::Overall, v);
    }
}

void RunTexts::Result(RunResult result) {
    Set(RunLabel::Result, ResultText(result));
}

void RunTexts::Finished() {
    Set(RunLabel::Button, "Close");
}

RunTexts::Changes RunTexts::TakeChanges() {
    Changes c = m_changes;
    m_changes = {};
    return c;
}

void RunTexts::Set(RunLabel which, std::string text) {
    std::string& shown = m_texts[Index(which)];
    if (shown != text) {
        shown = std::move(text);
        m_changes.Labels.set(Index(which));
    }
}

void RunTexts::SetBar(RunBar which, int value) {
    const auto i = static_cast<std::size_t>(which);
    if (m_bars[i] != value) {
        m_bars[i] = value;
        m_changes.Bars.set(i);
    }
}

} // namespace tessaron::ui
