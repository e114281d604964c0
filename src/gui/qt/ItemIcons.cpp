#include "ItemIcons.h"

#include <QApplication>
#include <QStyle>

#include <array>

namespace tessaron::gui {

namespace {

struct IconSource {
    const char* themeName;
    QStyle::StandardPixmap fallback;
};

// In the order of ItemIcon.
constexpr std::array<IconSource, 8> kSources{{
    {"computer", QStyle::SP_ComputerIcon},
    {"drive-removable-media", QStyle::SP_DriveFDIcon},
    {"drive-harddisk", QStyle::SP_DriveHDIcon},
    {"folder-remote", QStyle::SP_DriveNetIcon},
    {"media-optical", QStyle::SP_DriveCDIcon},
    {"drive-harddisk", QStyle::SP_DriveHDIcon},
    {"folder", QStyle::SP_DirClosedIcon},
    {"text-x-generic", QStyle::SP_FileIcon},
}};

std::array<QIcon, 8> LoadIcons() {
    std::array<QIcon, 8> icons;
    for (std::size_t i = 0; i < kSources.size(); ++i) {
        QIcon fallback = QApplication::style()->standardIcon(kSources[i].fallback);
        icons[i] = QIcon::fromTheme(kSources[i].themeName, fallback);
    }
    return icons;
}

} // namespace

const QIcon& IconOf(ItemIcon icon) {
    static const std::array<QIcon, 8> icons = LoadIcons();
    return icons[static_cast<std::size_t>(icon)];
}

} // namespace tessaron::gui
