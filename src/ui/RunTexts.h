#pragma once
// RunTexts: what the run window shows in words and numbers (its caption, the frames'
// captions, the labels, the two bars, the result and the button), kept up to date from
// the run's events (engine/IBackupView.h). It is the one place where those texts are
// written: the Qt window and the native Windows window show them through
// RunWindowLogic, and the console's progress line is made of them.
//
// The rules, event by event:
//  - Reset (a new run): the copy's captions ("Backup Progress", "Current File", "Overall
//    Progress", "Files Transferred", "Bytes Transferred"), the button "Cancel", every
//    other text empty, both bars at 0.
//  - PhaseStarted: the phase's captions; at Verify "Files Verified", "Bytes Read", the
//    frames' captions with " (Verifying)" and the window's caption "Backup Progress
//    (Verifying)" (until the next refresh puts the percentage there). The counters of the
//    phase show at once, as a refresh shows them, with both bars from them (0 where
//    there is no total yet); the elapsed time, rate and remaining time are emptied until
//    the phase's first measured refresh.
//  - FileStarted: the file's path (control characters escaped), its bar at 0.
//  - Progress: the current file; the totals grouped ("1,234,567"), each empty while 0;
//    files and bytes done grouped, empty while their total is 0; each bar done / total
//    as clsProgress::BarValue gives it, unchanged while the total is 0; the window's
//    caption "Backup Progress - " + the overall bar + "% Complete"; when the elapsed time
//    is above 0 the elapsed time and the remaining time as h:mm:ss and the rate grouped,
//    otherwise those three keep their values.
//  - Result: its text ("Backup Complete", "Error During Backup", "Backup Cancelled").
//  - Finished: the button reads "Close".

#include "engine/IBackupView.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <string>

namespace tessaron::ui {

// The texts of the run window, by the control that shows them.
enum class RunLabel {
    Caption,          // the window's caption
    CurrentFrame,     // the current file's frame
    OverallFrame,     // the overall progress frame
    CurrentFile,      // the file being copied or verified
    Files,            // total files
    Bytes,            // total bytes
    FilesDoneCaption, // "Files Transferred" / "Files Verified"
    BytesDoneCaption, // "Bytes Transferred" / "Bytes Read"
    FilesDone,        // files copied or verified
    BytesDone,        // bytes copied or read
    Elapsed,          // elapsed time of the phase
    BytesPerSecond,   // rate of the phase
    Remaining,        // remaining time
    Result,           // the result
    Button,           // "Cancel" / "Close"
};
inline constexpr std::size_t kRunLabelCount = 15;

// The two bars, each 0 to 100.
enum class RunBar { Current, Overall };
inline constexpr std::size_t kRunBarCount = 2;

// The window's caption before and between runs.
inline constexpr const char* kRunCaption = "Backup Progress";

class RunTexts {
public:
    // What changed since the last TakeChanges.
    struct Changes {
        std::bitset<kRunLabelCount> Labels;
        std::bitset<kRunBarCount> Bars;
    };

    RunTexts();

    const std::string& Text(RunLabel which) const { return m_texts[Index(which)]; }
    int Bar(RunBar which) const { return m_bars[static_cast<std::size_t>(which)]; }
    // The phase shown: Size before the first PhaseStarted.
    RunPhase Phase() const { return m_phase; }

    void Reset();
    void PhaseStarted(RunPhase phase, const clsProgress& progress);
    void FileStarted(const std::string& path);
    void Progress(const clsProgress& progress);
    void Result(RunResult result);
    void Finished();

    // The texts and bars that changed since the last call (all of them on the first call),
    // and forgets them.
    Changes TakeChanges();

private:
    static std::size_t Index(RunLabel which) { return static_cast<std::size_t>(which); }
    void Set(RunLabel which, std::string text);
    void SetBar(RunBar which, int value);
    void SetCaptions(RunPhase phase);
    void ShowCounters(const clsProgress& p);

    std::array<std::string, kRunLabelCount> m_texts;
    std::array<int, kRunBarCount> m_bars{};
    RunPhase m_phase = RunPhase::Size;
    Changes m_changes;
};

} // namespace tessaron::ui
