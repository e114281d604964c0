#pragma once
// Display: whether a window can be shown at all. One implementation per platform
// (posix/ and win32/ beside this header).

namespace tessaron {

// True when a window system is there to show a window on. On POSIX: the platform named by
// QT_QPA_PLATFORM (an X11 or Wayland one only when its server answers), else a Wayland
// compositor or an X server that accepts a connection (WAYLAND_DISPLAY, DISPLAY). Only the
// connection is tried, not the server's authorisation.
bool DisplayAvailable();

} // namespace tessaron
