#pragma once
// The window front end, when the build has one (the Qt window with TESSARON_GUI, the
// native Windows window with TESSARON_WIN32_GUI); the console front end is always there.

#include <string>

namespace tessaron {

// True when a window can be shown: the build has the window front end and a display
// answers (see DisplayAvailable in Display.h).
bool WindowAvailable();

// True when the window front end runs a /RUN in its run window; otherwise a /RUN always
// runs in the console.
bool WindowRunsBackups();

// Why no window can be shown (for the message printed instead); "" when one can.
std::string WhyNoWindow();

// Opens the main window and reads the command line (the joined arguments) into it: every
// /LOAD and /RUN loads its set into the window (a set that cannot be loaded is reported in
// a box, and the window stays); /QUIET, /LOGPATH and /BLOCKSIZE go into its set. When the
// last of them is a /RUN that loaded its set, only the run window is shown and the exit
// status is the run's (Ctrl+C and SIGTERM cancel the run); otherwise the exit status is
// given when the main window has closed. programName is argv[0].
int RunMainWindow(char* programName, const std::string& commandLine);

} // namespace tessaron
