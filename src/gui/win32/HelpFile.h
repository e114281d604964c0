#pragma once
// Help > Contents: the help file tessaron.chm beside the program, opened on its table of
// contents through HTML Help (hhctrl.ocx, loaded when first needed, so that the program
// starts and runs without it). Without the help file, or without HTML Help, the HTML
// manual beside the program (manual\index.html) opens in the browser; without that, a box
// says where the manual was looked for.

#include <windows.h>
#undef Yield // an old macro of the system headers; the run views have a member of that name

namespace tessaron::win {

void OpenHelp(HWND owner);

// Closes every help window the program opened (the main window is closing).
void CloseHelp();

} // namespace tessaron::win
