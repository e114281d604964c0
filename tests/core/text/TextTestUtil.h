#pragma once
// Helpers shared by the text-model tests: entries as plain values, operation scripts.

#include "selection/clsSelections.h"

#include <random>
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

// Paths in a small tree, so that generated paths often contain one another.
class PathGen {
public:
    PathGen(PathStyle style, uint32_t seed) : m_style(style), m_rng(seed) {}

    std::string Path() {
        static const char* const kParts[] = {"A",      "B",  "a",     "AB", "My Docs", "x (1)",
                                             "Except", "v.", " t\tz", ")",  "\xc3\xa9"};
        const char sep = PathSeparator(m_style);
        std::string p = Root();
        const int depth = Pick(4);
        for (int i = 0; i < depth; ++i) {
            p += sep;
            p += kParts[Pick(std::size(kParts))];
        }
        if (depth == 0 || Pick(8) == 0) {
            p += sep; // "C:\", "/", or a trailing separator
        }
        return p;
    }
    int Pick(size_t n) { return static_cast<int>(m_rng() % n); }

private:
    std::string Root() {
        if (m_style == PathStyle::Posix) {
            return "";
        }
        static const char* const kRoots[] = {"C:", "D:", "\\\\srv\\share"};
        return kRoots[Pick(std::size(kRoots))];
    }
    PathStyle m_style;
    std::mt19937 m_rng;
};

} // namespace tessaron::testutil
