// The build without the window front end.
#include "WindowFrontEnd.h"

#include "engine/RunResult.h"

namespace tessaron {

bool WindowAvailable() {
    return false;
}

bool WindowRunsBackups() {
    return false;
}

std::string WhyNoWindow() {
    return "The window front end is not part of this build.";
}

int RunMainWindow(char*, const std::string&) {
    return kExitNothingRun;
}

} // namespace tessaron
