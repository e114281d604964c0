// The build without the window front end.
#include "WindowFrontEnd.h"

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
    return 3;
}

} // namespace tessaron
