#include "CommandLine.h"

namespace tessaron {

std::string ProcessCommandLine(int argc, char** argv) {
    return JoinArguments(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
}

} // namespace tessaron
