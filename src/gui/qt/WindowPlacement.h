#pragma once
// The main window remembers its size, position and the split between tree and list in the
// settings store's "Window" section, and gets them back clamped to a screen that is there
// now (a monitor unplugged since must not leave the window out of reach).

#include <QList>
#include <QRect>

class QMainWindow;
class QSplitter;

namespace tessaron {
class clsRegSettings;
}

namespace tessaron::gui {

// wanted moved (and shrunk when it does not fit) into the screen area it overlaps most,
// or into the first area when it overlaps none. areas must not be empty.
QRect ClampToScreens(const QRect& wanted, const QList<QRect>& areas);

// Writes the window's normal geometry, whether it is maximised, and the tree's width.
void SavePlacement(clsRegSettings& settings, const QMainWindow& window, const QSplitter& split);
// Applies the geometry SavePlacement wrote; values missing or not numbers leave the
// window as it is.
void RestorePlacement(const clsRegSettings& settings, QMainWindow& window);
bool WantsMaximized(const clsRegSettings& settings);
// The tree's width SavePlacement wrote; 0 when none. Applied once the window is laid out.
int SavedTreeWidth(const clsRegSettings& settings);

} // namespace tessaron::gui
