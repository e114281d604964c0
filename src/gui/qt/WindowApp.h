#pragma once
// What every window of the program shares: the application's name, organisation, version
// and icon. Call SetUpApplication once, right after the QApplication is made.

namespace tessaron::gui {

void SetUpApplication();

} // namespace tessaron::gui
