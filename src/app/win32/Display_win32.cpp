#include "Display.h"

#include "platform/win32/Win32Support.h"

namespace tessaron {

// A Windows program has a desktop to show its windows on unless it runs in a window
// station nobody sees: a scheduled task that runs whether or not the user is logged on, a
// service. A window there would wait for ever for an answer nobody can give.
bool DisplayAvailable() {
    HWINSTA station = ::GetProcessWindowStation();
    USEROBJECTFLAGS flags{};
    DWORD needed = 0;
    if (station == nullptr ||
        !::GetUserObjectInformationW(station, UOI_FLAGS, &flags, sizeof flags, &needed)) {
        return true;
    }
    return (flags.dwFlags & WSF_VISIBLE) != 0;
}

} // namespace tessaron
