#pragma once
// The images of the drive tree and the file list: the three tick marks (state images) and
// the item icons, in image lists made once per control.

#include <windows.h>
#undef Yield // an old macro of the system headers; the run views have a member of that name

#include <commctrl.h>

namespace tessaron::win {

// The tick marks unticked, ticked and partly ticked, drawn as the system draws check
// boxes. The tree shows state image n as image n, so its list starts with an empty image;
// the list shows it as image n - 1.
HIMAGELIST MakeStateImages(HWND control, bool blankFirst);

// One small icon per ui::ItemIcon, in that order: computer, removable, fixed, network,
// optical and RAM drives, folder, file.
HIMAGELIST MakeItemIcons();

} // namespace tessaron::win
