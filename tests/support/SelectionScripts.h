#pragma once
// Helpers shared by the text-model tests: entries as plain values, operation scripts.

#include "selection/clsSelections.h"

#include <random>
#include <string>
#include <utility>
#include <vector>

namespace tessaron::test {

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
        op[0] == '+' ? sel.AddSelection(op.substr(1)) : sel.RemoveSelection(op.substr(1));
    }
}

// Paths in a small tree, so that generated paths often contain one another.
struct PathGen {
    PathGen(PathStyle st, uint32_t seed) : style(st), rng(seed) {}
    int Pick(size_t n) { return static_cast<int>(rng() % n); }
    std::string Path() {
        static const char* const kRoots[] = {"C:", "D:", "\\\\srv\\share"};
        static const char* const kParts[] = {"A",      "B",  "a",     "AB", "My Docs", "x (1)",
                                             "Except", "v.", " t\tz", ")",  "\xc3\xa9"};
        const std::string sep(1, PathSeparator(style));
        std::string p = style == PathStyle::Posix ? "" : kRoots[Pick(std::size(kRoots))];
        const int depth = Pick(4);
        for (int i = 0; i < depth; ++i) {
            p += sep + kParts[Pick(std::size(kParts))];
        }
        // "C:\", "/", or a trailing separator
        return depth == 0 || Pick(8) == 0 ? p + sep : p;
    }
    PathStyle style;
    std::mt19937 rng;
};

} // namespace tessaron::test
