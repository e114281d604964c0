#pragma once
// Checks a front end makes before it starts a backup run.

#include <string>

namespace tessaron {

class clsSetup;

// Whether a target names a drive or a server (Windows: "C:\Backup", "\\srv\share") or,
// on POSIX, which has no drives, is absolute. A run refuses any other target, and so does
// the window's Start.
bool TargetNamesDrive(const std::string& target);

// Why a run of setup would have nothing it could copy, or "" when it may go ahead: the
// set has no selections, or no target, or every selection is the target itself or lies
// inside it (decided on the identity of folders, however the paths are spelled). The
// console refuses such a run with this text and exit status 3; the window shows it
// after its own checks of Start.
std::string NothingToRunReason(const clsSetup& setup);

} // namespace tessaron
