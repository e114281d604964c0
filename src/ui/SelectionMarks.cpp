#include "ui/SelectionMarks.h"

#include <vector>

namespace tessaron::ui {

Mark MarkOf(const clsSelections& sel, std::string_view key) {
    if (sel.IsSelectedWithNoExceptions(key)) {
        return Mark::Checked;
    }
    if (sel.IsSelected(key) || sel.HasChildSelected(key)) {
        return Mark::Partly;
    }
    return Mark::Unchecked;
}

void Tick(clsSelections& sel, const std::string& key, bool checked) {
    if (!checked) {
        sel.RemoveSelection(key);
        return;
    }
    if (sel.IsSelected(key) && !sel.IsSelectedWithNoExceptions(key)) {
        // Selecting an excepted path again drops that exception and every entry below it.
        const auto parts = clsPath::SplitParts(key, sel.Style());
        std::vector<std::string> inside;
        for (const clsSelItem& item : sel) {
            for (const std::string& except : item.Except()) {
                if (PartsContain(parts, clsPath::SplitParts(except, sel.Style()))) {
                    inside.push_back(except);
                }
            }
        }
        for (const std::string& except : inside) {
            sel.AddSelection(except);
        }
    }
    sel.AddSelection(key);
}

} // namespace tessaron::ui
