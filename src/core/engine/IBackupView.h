#pragma once
// IBackupView: everything the backup run shows or asks, so that the run itself stays
// free of any window system. The Qt window, the console front end and the tests'
// scripted view implement it. All calls come from the run's one thread.

#include <string>

namespace tessaron {

// Buttons of a question box.
enum class MsgButtons { OK, YesNo, RetryCancel };
// The button the user chose.
enum class MsgAnswer { OK, Yes, No, Retry, Cancel };

// The texts the window's controls show; the run sets them through SetText.
enum class ViewText {
    WindowCaption,     // "Backup Progress" + " - 42% Complete", + " (Verifying)"
    CurrentFile,       // lblCurrentFile
    Files,             // lblFiles: total files (empty while 0)
    Bytes,             // lblBytes: total bytes (empty while 0)
    FilesTransferred,  // lblFilesTransfered
    BytesTransferred,  // lblBytesTransfered
    FilesTransCaption, // lblFilesTrans: "Files Transferred", then "Files Verified"
    BytesTransCaption, // lblBytesTrans: "Bytes Transferred", then "Bytes Read"
    CurrentFrame,      // fraCurrent caption: "Current File", + " (Verifying)"
    OverallFrame,      // fraOverall caption: "Overall Progress", + " (Verifying)"
    Elapsed,           // lblElapsed
    BytesPerSecond,    // lblBytesPerSecond
    Remaining,         // lblRemaining
    Result,            // lblResult
    CancelButton,      // cmdCancel: "Cancel", then "Close"
};

// The two progress bars, each 0 to 100.
enum class ViewBar { Current, Overall };

// "OK", "Yes", "No", "Retry", "Cancel".
inline const char* AnswerName(MsgAnswer answer) {
    switch (answer) {
    case MsgAnswer::OK:
        return "OK";
    case MsgAnswer::Yes:
        return "Yes";
    case MsgAnswer::No:
        return "No";
    case MsgAnswer::Retry:
        return "Retry";
    case MsgAnswer::Cancel:
        return "Cancel";
    }
    return "";
}

class IBackupView {
public:
    virtual ~IBackupView() = default;

    // A new line in the on-screen log; the view scrolls to it.
    virtual void AddLine(const std::string& line) = 0;
    // Text appended to the last on-screen log line (no time stamp).
    virtual void AppendToLastLine(const std::string& text) = 0;
    // Sets one of the texts above.
    virtual void SetText(ViewText which, const std::string& text) = 0;
    // The current value (0-100) of a progress bar.
    virtual int GetBar(ViewBar which) const = 0;
    // Sets a progress bar; the value is already kept between 0 and 100.
    virtual void SetBar(ViewBar which, int value) = 0;
    // Asks a modal question and returns the button chosen. A view that cannot ask
    // (no terminal, unattended run) answers No or Cancel (OK for an OK-only box).
    virtual MsgAnswer Ask(const std::string& title, const std::string& text,
                          MsgButtons buttons) = 0;
    // Why the last Ask was answered without a person ("no terminal"); empty when a person
    // answered. The run then logs "<title> - answered <answer> (<reason>)". A view whose
    // questions are always answered by a person need not override it.
    virtual std::string LastAnswerReason() const { return {}; }
    // A problem the user must hear of even though the run goes on (the log file cannot be
    // written): shown once, beside the on-screen log (the console writes it to standard
    // error). The line is also in the on-screen log.
    virtual void ShowWarning(const std::string& text) { (void)text; }
    // Lets the user interface do its pending work (repaint, Cancel button, Ctrl+C). Called
    // per block, per directory entry and per poll; must return quickly. A cancel request
    // seen here reaches the run through its Cancel member.
    virtual void Yield() = 0;
    // The run has finished: the window may unload (true when the run was started with
    // UnloadOnExit).
    virtual void Finished(bool unloadOnExit) { (void)unloadOnExit; }
};

} // namespace tessaron
