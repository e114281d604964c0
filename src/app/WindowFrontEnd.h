#pragma once
// The window front end, when the build has one (TESSARON_GUI); the console front end is
// always there.

#include <string>

namespace tessaron {

// True when a window can be shown: the build has the window front end and there is a
// display (DISPLAY or WAYLAND_DISPLAY set, or a Qt platform named in QT_QPA_PLATFORM).
bool WindowAvailable();

// Why no window can be shown (for the message printed instead); "" when one can.
std::string WhyNoWindow();

// Opens the main window and reads the command line (the joined arguments) into it: every
// /LOAD and /RUN loads its set into the window (a set that cannot be loaded is reported in
// a box, and the window stays); /QUIET, /LOGPATH and /BLOCKSIZE go into its set. Returns
// the exit status when the window has closed. programName is argv[0].
int RunMainWindow(char* programName, const std::string& commandLine);

} // namespace tessaron
