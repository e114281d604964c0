#pragma once
// The tick mark of a tree node or list item, derived from the selection set every time it
// is shown and never stored: the set is the only truth, so ticking a drive with a million
// files below it costs one change of the set, not a walk of the disk.

#include "selection/clsSelections.h"

#include <Qt>

#include <string_view>

namespace tessaron::gui {

// Checked: selected with no exception at, above or below it. Partly checked: selected
// with exceptions, or something below it is selected. Unchecked otherwise.
inline Qt::CheckState MarkOf(const clsSelections& sel, std::string_view key) {
    if (sel.IsSelectedWithNoExceptions(key)) {
        return Qt::Checked;
    }
    if (sel.IsSelected(key) || sel.HasChildSelected(key)) {
        return Qt::PartiallyChecked;
    }
    return Qt::Unchecked;
}

} // namespace tessaron::gui
