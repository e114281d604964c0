// Generated selection sets checked against a plain reference model that splits every path
// with clsPath::Parts on every call and follows the editing and query rules step by step.
// A stale component cache in the set shows up as a difference from the model. Each set
// must also read back from its own text.

#include "SelectionScripts.h"
#include "TestNames.h"
#include "platform/clsPath.h"
#include "selection/clsSelections.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tessaron {
namespace {

using test::Entries;
using test::EntriesOf;
using test::Entry;
using test::PathGen;

// The rules written out plainly, splitting every path on every comparison.
struct ReferenceSet {
    PathStyle style;
    Entries entries;

    bool Contains(const std::string& a, const std::string& b) const {
        const auto pa = clsPath(a, style).Parts();
        const auto pb = clsPath(b, style).Parts();
        return !pa.empty() && !pa[0].empty() && pb.size() >= pa.size() &&
               std::equal(pa.begin(), pa.end(), pb.begin());
    }
    bool Covers(const std::vector<std::string>& excepts, const std::string& p) const {
        return std::ranges::any_of(excepts, [&](auto& e) { return e == p || Contains(e, p); });
    }
    const Entry* Equal(const std::string& p) const {
        auto it = std::ranges::find_if(entries, [&](auto& e) { return e.first == p; });
        return it == entries.end() ? nullptr : &*it;
    }
    void Add(const std::string& p) {
        if (Equal(p)) {
            return;
        }
        std::erase_if(entries, [&](auto& e) { return Contains(p, e.first); });
        for (auto& e : entries) {
            if (Contains(e.first, p) && (std::erase(e.second, p), !Covers(e.second, p))) {
                return;
            }
        }
        entries.push_back({p, {}});
    }
    void Remove(const std::string& p) {
        std::erase_if(entries, [&](auto& e) { return e.first == p || Contains(p, e.first); });
        for (auto& e : entries) {
            if (Contains(e.first, p)) {
                if (!Covers(e.second, p)) {
                    e.second.push_back(p);
                }
                return;
            }
        }
    }
    // The last entry that contains p decides; `below` also counts exceptions below p.
    bool Decide(const std::string& p, bool below) const {
        bool result = false;
        for (auto& e : entries) {
            if (Contains(e.first, p)) {
                result = !Covers(e.second, p) &&
                         !(below &&
                           std::ranges::any_of(e.second, [&](auto& x) { return Contains(p, x); }));
            }
        }
        return result;
    }
    bool IsSelected(const std::string& p) const { return Equal(p) || Decide(p, false); }
    bool NoExceptions(const std::string& p) const {
        const Entry* e = Equal(p);
        return e ? e->second.empty() : Decide(p, true);
    }
    bool HasChild(const std::string& p) const {
        return std::ranges::any_of(entries, [&](auto& e) { return Contains(p, e.first); });
    }
};

void ExpectSameAnswers(const clsSelections& sel, const ReferenceSet& ref, PathGen& gen) {
    for (int q = 0; q < 10; ++q) {
        const std::string p = gen.Path();
        ASSERT_EQ(sel.IsSelected(p), ref.IsSelected(p)) << p;
        ASSERT_EQ(sel.IsSelectedWithNoExceptions(p), ref.NoExceptions(p)) << p;
        ASSERT_EQ(sel.HasChildSelected(p), ref.HasChild(p)) << p;
        // A folder that selects everything below it: the names the tree uses below it are.
        for (const char* below : {"A", "v.", "a\x01B", "Except\x01v."}) {
            std::string path = clsPath::Join(p, below, ref.style);
            std::replace(path.begin(), path.end(), '\x01', PathSeparator(ref.style));
            ASSERT_TRUE(!sel.SelectsAllBelow(p) || ref.IsSelected(path)) << p << " " << path;
        }
    }
}

struct Style {
    const char* name;
    PathStyle style;
};

class SelectionModelTest : public ::testing::TestWithParam<Style> {};

TEST_P(SelectionModelTest, EditsAndQueriesMatchTheReference) {
    const PathStyle style = GetParam().style;
    for (uint32_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        PathGen gen(style, seed);
        clsSelections sel(style);
        ReferenceSet ref{style, {}};
        for (int step = 0; step < 25; ++step) {
            const std::string p = gen.Path();
            if (gen.Pick(3) == 0) {
                sel.RemoveSelection(p);
                ref.Remove(p);
            } else {
                sel.AddSelection(p);
                ref.Add(p);
            }
            ASSERT_EQ(EntriesOf(sel), ref.entries) << "after " << p;
            ASSERT_NO_FATAL_FAILURE(ExpectSameAnswers(sel, ref, gen));
        }
        if (sel.Count() > 0) { // an empty text would read back as one empty entry
            clsSelections back(style);
            back.Parse(sel.Format());
            ASSERT_EQ(EntriesOf(back), ref.entries) << sel.Format();
        }
        const clsSelections copy(sel);
        sel.Clear();
        ASSERT_NO_FATAL_FAILURE(ExpectSameAnswers(copy, ref, gen));
    }
}

INSTANTIATE_TEST_SUITE_P(Styles, SelectionModelTest,
                         ::testing::Values(Style{"Windows", PathStyle::Windows},
                                           Style{"Posix", PathStyle::Posix}),
                         test::ParamName());

} // namespace
} // namespace tessaron
