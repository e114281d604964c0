#pragma once
// IBackupView: what a backup run tells its screen, and the questions it asks there.
//
// The run never formats a label. It says what happened (a phase began, a file began, the
// counters at a refresh, a log line, a question, the result, the end of its work) and the
// view shows it. The texts of the run window ("Backup Progress - 42% Complete", "Files
// Verified", grouped numbers, times) are written once in the window layer (ui/RunTexts.h)
// that the Qt window, the native Windows window and the console share; a window builds on
// ui/RunWindowLogic.h, which implements this interface over a few toolkit calls.
//
// Contract for an implementation:
//  - Every call comes from the run's one thread, the thread that called BackupEngine::Run
//    (for a window, its user interface thread). Nothing needs a lock.
//  - Every call returns quickly except Ask (modal) and Yield. Inside those two the view may
//    run its message loop, and from there call BackupEngine::Cancel (the Cancel button,
//    Ctrl+C) and BackupEngine::UpdateProgress (a refresh timer), which calls Progress
//    re-entrantly. Nothing else of the engine may be called while a run is in progress.
//  - Order of one run: PhaseStarted(Size); PhaseStarted(Copy) unless the size phase or the
//    target check ended the run; PhaseStarted(Verify) when the set verifies and the copy
//    was not cancelled; Result once; Finished once. LogLine, AppendToLastLine, FileStarted,
//    Progress, Ask, Warning and Yield come anywhere in between; after Finished only the
//    ejection of the medium follows (at most one LogLine, and Yield).
//  - References are valid during the call only; a view keeps copies of what it needs.

#include "engine/RunResult.h"
#include "engine/clsProgress.h"

#include <string>

namespace tessaron {

// The phases of a run that show progress.
enum class RunPhase {
    Size,   // the selection is totalled ("Calculating Backup Size")
    Copy,   // the files are copied ("Copying Files To: ...")
    Verify, // the copies are read back and compared ("Verifying Files...")
};

// Buttons of a question box.
enum class MsgButtons { OK, YesNo, RetryCancel };
// The button chosen.
enum class MsgAnswer { OK, Yes, No, Retry, Cancel };

// "OK", "Yes", "No", "Retry", "Cancel".
const char* AnswerName(MsgAnswer answer);

// The button that changes nothing: No, Cancel, or OK for an OK-only box. A box closed
// with its close box or Escape answers it, and so does a view that cannot ask.
MsgAnswer SafeAnswer(MsgButtons buttons);

// Who gave an answer, when no person chose the button.
enum class AnswerReason {
    Person,      // a person chose it: nothing is logged
    NoTerminal,  // the console has no terminal to ask on
    NoAnswer,    // the terminal's input ended before a valid reply
    Interrupted, // Ctrl+C or SIGTERM came while the question was open, or before it
    QuietMode,   // quiet mode decided without asking
};

// "no terminal", "no answer", "interrupted", "quiet mode"; "" for a person.
const char* ReasonText(AnswerReason reason);

struct Question {
    std::string Title;
    std::string Text; // lines separated by CR LF
    MsgButtons Buttons = MsgButtons::OK;
};

struct Answer {
    MsgAnswer Button = MsgAnswer::OK;
    AnswerReason Reason = AnswerReason::Person;
};

// The answer a view gives when no person can answer: SafeAnswer, with why.
Answer UnattendedAnswer(MsgButtons buttons, AnswerReason reason);

// The log line of an answer no person gave: "<title> - answered <button> (<reason>)",
// for example "Clear Target - answered No (no terminal)".
std::string AnsweredLine(const std::string& title, const Answer& answer);

class IBackupView {
public:
    virtual ~IBackupView() = default;

    // A phase begins. progress holds the counters as it begins: all zero at Size; the
    // totals of the size phase at Copy; at Verify the totals with the current file, the
    // files and bytes done and the elapsed and remaining time back at zero (the sizes of
    // files that failed stay in BytesSkipped). A view shows the phase's captions and
    // these counters at once, not the last phase's until the next refresh.
    virtual void PhaseStarted(RunPhase phase, const clsProgress& progress) = 0;
    // The copy or verification of one file begins: path as the walk found it (control
    // characters not yet escaped). Its bar starts at 0. Comes once per file: often.
    virtual void FileStarted(const std::string& path) = 0;
    // The counters at a refresh: after every selection entry of a phase, every 500 ms at
    // the run's yields, and whenever the view calls BackupEngine::UpdateProgress. When
    // ElapsedTime is above 0 the elapsed time, BytesPerSecond and RemainingTime were
    // measured for this refresh (RemainingTime keeps its last value while the rate is 0);
    // at 0 they were not.
    virtual void Progress(const clsProgress& progress) = 0;
    // A new line of the on-screen log (time stamp, " - ", text; control characters
    // escaped). The view shows the newest line.
    virtual void LogLine(const std::string& line) = 0;
    // Text for the end of the last line ("Done"), without a time stamp.
    virtual void AppendToLastLine(const std::string& text) = 0;
    // A modal question of the run ("Clear Target", "Drive Not Ready", "Unknown Device").
    // A view that cannot ask answers UnattendedAnswer with its reason; the run logs
    // AnsweredLine for every answer a person did not give.
    virtual Answer Ask(const Question& question) = 0;
    // A problem the user must hear of although the run goes on (the log file cannot be
    // written); said once per run. Its line is in the on-screen log too.
    virtual void Warning(const std::string& text) { (void)text; }
    // The result is known and logged (before the mail, the log copy and the ejection).
    // The refreshes of the run have ended.
    virtual void Result(RunResult result) = 0;
    // The run's work is done (result logged, log mailed and copied): the Cancel button now
    // reads Close, and closing the window needs no confirmation. The ejection of the
    // medium may still follow before BackupEngine::Run returns.
    virtual void Finished() = 0;
    // Lets the user interface do its pending work (repaint, the Cancel button, Ctrl+C).
    // Called per block, per directory entry and per poll, thousands of times a second:
    // must return quickly (a window may pump its messages only every few milliseconds).
    virtual void Yield() = 0;
};

} // namespace tessaron
