#pragma once
// Where the drive tree and the file list get the drives from: the platform's list of
// mounted file systems, unless a list of its own was put in place (for demonstrations
// and tests that must not depend on the machine's mounts).

#include "platform/clsFSItem.h"

#include <functional>
#include <vector>

namespace tessaron::ui {

using DriveLister = std::function<std::vector<clsFSItem>()>;

// The drives, as clsFileSystem::GetDrives lists them (or as the lister in place gives).
std::vector<clsFSItem> ListDrives();

// Puts lister in place of the platform's list (an empty one restores it) and returns the
// one it replaces.
DriveLister SetDriveLister(DriveLister lister);

} // namespace tessaron::ui
