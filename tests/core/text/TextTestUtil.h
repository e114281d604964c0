#pragma once
// Helpers shared by the text-model tests: entries as plain values, operation scripts.

#include "selection/clsSelections.h"

#include <string>
#include <utility>
#include <vector>

namespace tessaron::testutil {

using Entry = std::pair<std::string, std::vector<std::string>>;
using Entries = std::vector<Entry>;

inline Entries EntriesOf(const clsSelections& sel) {
    Entries out;
    for (const clsSelItem& item : sel) {
        out.emplace_back(item.path(), item.Except());
    }
    return out;
}

// A script of "+path" (AddSelection) and "-path" (RemoveSelection) steps.
inline void Apply(clsSelections& sel, const std::vector<std::string>& ops) {
    for (const std::string& op : ops) {
        if (op[0] == '+') {
            sel.AddSelection(op.substr(1));
        } else {
            sel.RemoveSelection(op.substr(1));
        }
    }
}

} // namespace tessaron::testutil
