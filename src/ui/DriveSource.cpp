#include "ui/DriveSource.h"

#include "platform/clsFileSystem.h"

namespace tessaron::ui {

namespace {

DriveLister& Lister() {
    static DriveLister lister;
    return lister;
}

} // namespace

std::vector<clsFSItem> ListDrives() {
    if (Lister()) {
        return Lister()();
    }
    clsFileSystem fs;
    fs.GetDrives();
    return std::move(fs.Items);
}

DriveLister SetDriveLister(DriveLister lister) {
    DriveLister old = std::move(Lister());
    Lister() = std::move(lister);
    return old;
}

} // namespace tessaron::ui
