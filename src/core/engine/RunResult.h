#pragma once
// RunResult: how a backup run ended, its result line and the program's exit status for it.
// Decided once, when the run writes its result line; every front end reads it from there.

namespace tessaron {

enum class RunResult {
    Complete,  // neither an error nor a cancellation
    Error,     // some entry failed (the run may have gone on past it)
    Cancelled, // Cancel, a confirmed close, Ctrl+C, or a target check that refused
};

// The result line of the log, the window's result label and the mail's subject.
constexpr const char* ResultText(RunResult result) {
    switch (result) {
    case RunResult::Complete:
        return "Backup Complete";
    case RunResult::Error:
        return "Error During Backup";
    case RunResult::Cancelled:
        return "Backup Cancelled";
    }
    return "";
}

// The exit status of a /RUN that ran: 0, 1 or 2 as above.
constexpr int ExitStatus(RunResult result) {
    switch (result) {
    case RunResult::Complete:
        return 0;
    case RunResult::Error:
        return 1;
    case RunResult::Cancelled:
        return 2;
    }
    return 1;
}

// The exit status of a /RUN that ran nothing: the set could not be loaded, the command
// line is unusable, or the set has nothing that could be copied.
constexpr int kExitNothingRun = 3;

} // namespace tessaron
