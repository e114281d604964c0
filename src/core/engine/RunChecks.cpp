#include "engine/RunChecks.h"

#include "platform/SystemPlaces.h"
#include "platform/clsPath.h"
#include "setfile/clsSetup.h"

#include <algorithm>

namespace tessaron {

bool TargetNamesDrive(const std::string& target) {
    constexpr PathStyle style = NativePathStyle();
    if (style == PathStyle::Windows) {
        return !clsPath(target, style).Drive.empty();
    }
    return clsPath::IsAbsolute(target, style);
}

std::string NothingToRunReason(const clsSetup& setup) {
    const auto& sel = setup.Sel;
    const bool none = std::all_of(sel.begin(), sel.end(),
                                  [](const clsSelItem& item) { return item.path().empty(); });
    if (none) {
        return "Nothing to back up - the backup set has no selections";
    }
    if (setup.Target.empty()) {
        return "Nothing to back up - the backup set has no target";
    }
    SystemPlaces places;
    const bool allInside = std::all_of(sel.begin(), sel.end(), [&](const clsSelItem& item) {
        return item.path().empty() || places.IsSameOrInside(item.path(), setup.Target);
    });
    if (allInside) {
        return "Nothing to back up - every selection is the target or lies inside it";
    }
    return {};
}

} // namespace tessaron
