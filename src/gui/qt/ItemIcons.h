#pragma once
// The icons of the drive tree and the file list: the desktop's icon theme where it has
// the icon, Qt's standard icons otherwise.

#include <QIcon>

#include <string>

namespace tessaron::gui {

enum class ItemIcon { Computer, Removable, Fixed, Network, CdRom, RamDisk, Folder, File };

// The icon of a drive type ("REMOVABLE", "FIXED", "REMOTE", "CDROM", "RAMDISK"); an
// unknown type shows as a fixed disk.
ItemIcon DriveIcon(const std::string& driveType);

// The icon itself, looked up once per process (a QApplication must exist).
const QIcon& IconOf(ItemIcon icon);

} // namespace tessaron::gui
