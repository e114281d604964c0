// Generated selection sets checked against a plain reference model that splits every path
// with clsPath::Parts on every call and follows the editing and query rules step by step.
// A stale component cache in the set shows up as a difference from the model.

#include "platform/clsPath.h"
#include "selection/clsSelections.h"
#include "text/TextTestUtil.h"

#include <gtest/gtest.h>

#include <random>

namespace tessaron {
namespace {

using testutil::Entries;
using testutil::EntriesOf;

class ReferenceSet {
public:
    explicit ReferenceSet(PathStyle style) : m_style(style) {}
    Entries entries;

    bool Contains(const std::string& a, const std::string& b) const {
        const auto pa = clsPath(a, m_style).Parts();
        const auto pb = clsPath(b, m_style).Parts();
        if (pa.empty() || pa[0].empty() || pb.size() < pa.size()) {
            return false;
        }
        return std::equal(pa.begin(), pa.end(), pb.begin());
    }
    bool Covers(const std::vector<std::string>& excepts, const std::string& p) const {
        for (const auto& e : excepts) {
            if (e == p || Contains(e, p)) {
                return true;
            }
        }
        return false;
    }

    void Add(const std::string& p) {
        for (const auto& e : entries) {
            if (e.first == p) {
                return;
            }
        }
        for (size_t i = 0; i < entries.size();) {
            if (Contains(p, entries[i].first)) {
                entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(i));
            } else {
                ++i;
            }
        }
        for (auto& e : entries) {
            if (Contains(e.first, p)) {
                std::erase(e.second, p);
                if (!Covers(e.second, p)) {
                    return;
                }
            }
        }
        entries.push_back({p, {}});
    }

    void Remove(const std::string& p) {
        std::erase_if(entries, [&](const auto& e) { return e.first == p; });
        std::erase_if(entries, [&](const auto& e) { return Contains(p, e.first); });
        for (auto& e : entries) {
            if (Contains(e.first, p)) {
                if (!Covers(e.second, p)) {
                    e.second.push_back(p);
                }
                return;
            }
        }
    }

    bool IsSelected(const std::string& p) const {
        for (const auto& e : entries) {
            if (e.first == p) {
                return true;
            }
        }
        bool result = false;
        for (const auto& e : entries) {
            if (Contains(e.first, p)) {
                result = !Covers(e.second, p);
            }
        }
        return result;
    }

    bool IsSelectedWithNoExceptions(const std::string& p) const {
        for (const auto& e : entries) {
            if (e.first == p) {
                return e.second.empty();
            }
        }
        bool result = false;
        for (const auto& e : entries) {
            if (Contains(e.first, p)) {
                result = true;
                for (const auto& x : e.second) {
                    if (x == p || Contains(x, p) || Contains(p, x)) {
                        result = false;
                    }
                }
            }
        }
        return result;
    }

    bool HasChildSelected(const std::string& p) const {
        for (const auto& e : entries) {
            if (Contains(p, e.first)) {
                return true;
            }
        }
        return false;
    }

private:
    PathStyle m_style;
};

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

void ExpectSameAnswers(const clsSelections& sel, const ReferenceSet& ref, PathGen& gen) {
    for (int q = 0; q < 10; ++q) {
        const std::string p = gen.Path();
        ASSERT_EQ(sel.IsSelected(p), ref.IsSelected(p)) << p;
        ASSERT_EQ(sel.IsSelectedWithNoExceptions(p), ref.IsSelectedWithNoExceptions(p)) << p;
        ASSERT_EQ(sel.HasChildSelected(p), ref.HasChildSelected(p)) << p;
    }
}

class SelectionModelTest : public ::testing::TestWithParam<PathStyle> {};

TEST_P(SelectionModelTest, EditsAndQueriesMatchTheReference) {
    for (uint32_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        PathGen gen(GetParam(), seed);
        clsSelections sel(GetParam());
        ReferenceSet ref(GetParam());
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
        const clsSelections copy(sel);
        sel.Clear();
        ASSERT_NO_FATAL_FAILURE(ExpectSameAnswers(copy, ref, gen));
    }
}

TEST_P(SelectionModelTest, FormatThenParseRestoresEditedSets) {
    for (uint32_t seed = 1; seed <= 200; ++seed) {
        PathGen gen(GetParam(), seed);
        clsSelections sel(GetParam());
        const int steps = gen.Pick(25);
        for (int i = 0; i < steps; ++i) {
            const std::string p = gen.Path();
            gen.Pick(3) == 0 ? sel.RemoveSelection(p) : sel.AddSelection(p);
        }
        const Entries before = EntriesOf(sel);
        const std::string text = sel.Format();
        sel.Clear();
        sel.Parse(text);
        ASSERT_EQ(EntriesOf(sel), before) << "seed " << seed << ": " << text;
    }
}

INSTANTIATE_TEST_SUITE_P(Styles, SelectionModelTest,
                         ::testing::Values(PathStyle::Windows, PathStyle::Posix),
                         [](const auto& tc) {
                             return tc.param == PathStyle::Windows ? "Windows" : "Posix";
                         });

// Entries that AddSelection would never build (overlapping, unrelated exceptions, any
// bytes but quotes and line breaks), written by hand with either continuation character.
TEST(SelectionTextRoundTrip, ParseReadsRawEntriesAndFormatWritesThemBack) {
    std::mt19937 rng(7);
    auto rawPath = [&rng] {
        static const char* const kRoots[] = {"C:\\", "/", "\\\\s\\", "D:"};
        std::string p = kRoots[rng() % std::size(kRoots)];
        const size_t len = rng() % 12;
        while (p.size() < len + 4) {
            const char c = static_cast<char>(rng() % 256);
            if (c != '"' && c != '\r' && c != '\n') {
                p += c;
            }
        }
        return p;
    };
    for (int round = 0; round < 300; ++round) {
        Entries entries(rng() % 5);
        std::string text;
        std::string formatted;
        for (size_t i = 0; i < entries.size(); ++i) {
            entries[i].first = rawPath();
            entries[i].second.resize(rng() % 3);
            std::string line = "\"" + entries[i].first + "\"";
            for (size_t x = 0; x < entries[i].second.size(); ++x) {
                entries[i].second[x] = rawPath();
                line += (x == 0 ? " Except (\"" : " \"") + entries[i].second[x] + "\"";
            }
            line += entries[i].second.empty() ? "\r\n" : ")\r\n";
            text += (i == 0 ? "" : (rng() % 2 ? "\t" : " ")) + line;
            formatted += (i == 0 ? "" : "\t") + line;
        }
        clsSelections sel(round % 2 ? PathStyle::Windows : PathStyle::Posix);
        sel.Parse(text);
        ASSERT_EQ(EntriesOf(sel), entries) << text;
        ASSERT_EQ(sel.Format(), formatted);
        sel.Clear();
        sel.Parse(formatted);
        ASSERT_EQ(EntriesOf(sel), entries);
    }
}

} // namespace
} // namespace tessaron
