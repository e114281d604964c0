#include "CommandLine.h"

#include "platform/win32/Win32Support.h"

namespace tessaron {

// The arguments the C runtime made are in the ANSI code page and lost their quotes; the
// system's own string has every character and is read with the tokenizer, as it is.
std::string ProcessCommandLine(int, char**) {
    return std::string(AfterProgramName(win32::Narrow(::GetCommandLineW())));
}

} // namespace tessaron
