#include "RunWindowFrontEnd.h"

namespace tessaron {

bool CanShowWindow() {
    return false;
}

int RunInWindow(int&, char**, clsSetup&) {
    return 3;
}

} // namespace tessaron
