#pragma once
// The tick mark of a tree node or list item, derived from the selection set every time it
// is shown and never stored: the set is the only truth, so ticking a drive with a million
// files below it costs one change of the set, not a walk of the disk. And how a click on
// a mark changes the set.

#include "selection/clsSelections.h"

#include <string>
#include <string_view>

namespace tessaron::ui {

// The values are the state image indexes of the tree and list controls that draw them.
enum class Mark { None = 0, Unchecked = 1, Checked = 2, Partly = 3 };

// Checked: selected with no exception at, above or below it. Partly: selected with
// exceptions, or something below it is selected. Unchecked otherwise.
Mark MarkOf(const clsSelections& sel, std::string_view key);

// What a click on the mark of key asks for: a ticked mark becomes unticked, an unticked or
// partly ticked one ticked.
inline bool TicksOnClick(Mark current) {
    return current != Mark::Checked;
}

// Ticks (AddSelection) or unticks (RemoveSelection) key. Ticking something that is
// selected with exceptions at or below it also drops those exceptions (and the entries
// inside them), so that it ends fully ticked: the user ticked all of it. AddSelection
// alone keeps them, as every other caller of the set expects.
void Tick(clsSelections& sel, const std::string& key, bool checked);

} // namespace tessaron::ui
