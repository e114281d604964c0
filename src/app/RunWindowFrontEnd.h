#pragma once
// The run window as main() sees it: /RUN with a display shows only the run window. A
// build without Qt has the same functions: it can never show a window, and every run stays
// in the console.

namespace tessaron {

class clsSetup;

// True when this build has the window front end and a display can show it.
bool CanShowWindow();

// Runs the loaded set in the run window alone (no main window) and returns the exit
// status of /RUN: 0 "Backup Complete", 1 "Error During Backup", 2 "Backup Cancelled".
// Ctrl+C and SIGTERM cancel the run like its Cancel button (an open question is
// answered No or Cancel first). argc and argv are the
// program's own; they must outlive the call.
int RunInWindow(int& argc, char** argv, clsSetup& setup);

} // namespace tessaron
