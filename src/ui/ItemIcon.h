#pragma once
// The kinds of icon the drive tree and the file list show; each toolkit draws its own.

#include <string>

namespace tessaron::ui {

enum class ItemIcon { Computer, Removable, Fixed, Network, CdRom, RamDisk, Folder, File };

// The icon of a drive type ("REMOVABLE", "FIXED", "REMOTE", "CDROM", "RAMDISK"); an
// unknown type shows as a fixed disk.
inline ItemIcon DriveIcon(const std::string& driveType) {
    if (driveType == "REMOVABLE") {
        return ItemIcon::Removable;
    }
    if (driveType == "REMOTE") {
        return ItemIcon::Network;
    }
    if (driveType == "CDROM") {
        return ItemIcon::CdRom;
    }
    return driveType == "RAMDISK" ? ItemIcon::RamDisk : ItemIcon::Fixed;
}

} // namespace tessaron::ui
