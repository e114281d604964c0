#pragma once
// BackupEngine: one backup run from start to summary (the logic behind the backup
// progress window). The public members below are what the front ends use; the engine
// issue fills in the rest.

#include "engine/IBackupView.h"

#include <string>

namespace tessaron {

class clsSetup;

class BackupEngine {
public:
    // The view must outlive the engine.
    explicit BackupEngine(IBackupView& view);
    ~BackupEngine();

    // The backup set to run; set before Run. Not owned; Run may change its BackupType
    // to "FULL" when it is neither "FULL" nor "INCREMENTAL".
    void Setup(clsSetup& setup);
    // Folder for the run's log files (created when missing). Default: the program's
    // log folder (Log beside the executable when writable, else the user's state folder).
    void LogDir(const std::string& dir);
    const std::string& LogDir() const;

    // Runs the backup. True only when the run ended with neither an error nor a
    // cancellation.
    bool Run(bool unloadOnExit);

    // Asks the run to stop at its next check (the Cancel button, Ctrl+C). Safe to call
    // from IBackupView::Yield and from a signal-driven flag check.
    void Cancel();
    bool Cancelled() const;
    // True once the result is known.
    bool Finished() const;
    // Full path of this run's log file (empty before Run).
    const std::string& LogFile() const;
};

} // namespace tessaron
