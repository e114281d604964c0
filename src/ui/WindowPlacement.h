#pragma once
// The main window remembers its size, position and the split between tree and list in the
// settings store's "Window" section (the registry under the program's key on Windows),
// and gets them back clamped to a screen that is there now: a monitor unplugged since
// must not leave the window out of reach.

#include <optional>
#include <vector>

namespace tessaron {
class clsRegSettings;
}

namespace tessaron::ui {

struct Rect {
    int Left = 0, Top = 0, Width = 0, Height = 0;
    int Right() const { return Left + Width; }  // one past the last column
    int Bottom() const { return Top + Height; } // one past the last row
    bool operator==(const Rect&) const = default;
};

struct Placement {
    std::optional<Rect> Normal; // the window's normal (not maximised) frame; none saved yet
    bool Maximized = false;
    int Split = 0; // the tree's width in pixels; 0 when none was saved
};

// wanted moved (and shrunk when it does not fit) into the screen area it overlaps most,
// or into the first area when it overlaps none. areas must not be empty.
Rect ClampToScreens(const Rect& wanted, const std::vector<Rect>& areas);

// What SavePlacement wrote; values missing or not numbers count as not saved.
Placement ReadPlacement(const clsRegSettings& settings);
void SavePlacement(clsRegSettings& settings, const Placement& placement);

} // namespace tessaron::ui
