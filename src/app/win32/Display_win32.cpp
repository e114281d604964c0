#include "Display.h"

namespace tessaron {

// A Windows program always has the desktop to show its windows on.
bool DisplayAvailable() {
    return true;
}

} // namespace tessaron
