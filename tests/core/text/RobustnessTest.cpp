// Generated inputs with fixed seeds: the selections text must take any bytes and answer
// every query consistently (run under AddressSanitizer and UBSan in CI), and a record must
// survive its own file text. The tokenizer and the set file reader meet arbitrary bytes in
// their fuzz targets (fuzz/).

#include "SelectionScripts.h"
#include "setfile/clsSetup.h"

#include <gtest/gtest.h>

#include <random>

namespace tessaron {
namespace {

using test::EntriesOf;
using test::PathGen;

class Bytes {
public:
    explicit Bytes(uint32_t seed) : m_rng(seed) {}

    size_t Below(size_t n) { return n == 0 ? 0 : m_rng() % n; }
    // Mostly characters that mean something to the tokenizer, sometimes any byte.
    std::string Text(size_t maxLen) {
        static const char kSpecial[] = " \t\r\n\"'()=,ab\0\xff";
        std::string s(Below(maxLen + 1), ' ');
        for (char& c : s) {
            c = Below(4) == 0 ? static_cast<char>(m_rng()) : kSpecial[Below(sizeof kSpecial)];
        }
        return s;
    }
    // Text assembled from pieces of the grammar, so that parses go deep.
    std::string Pieces(const std::vector<std::string>& pieces, size_t count) {
        std::string s;
        for (size_t i = Below(count + 1); i > 0; --i) {
            s += Below(5) == 0 ? Text(3) : pieces[Below(pieces.size())];
        }
        return s;
    }

private:
    std::mt19937 m_rng;
};

TEST(Robustness, SelectionsTakeAnyText) {
    const std::vector<std::string> pieces = {"\"C:\\a\"", "\"/x y\"", " Except (", ")",
                                             "(",         "\r\n",     "\r\n\t",    "\r\n ",
                                             " ",         "\"",       "except"};
    Bytes in(12);
    for (int round = 0; round < 2000; ++round) {
        const PathStyle style = round % 2 ? PathStyle::Windows : PathStyle::Posix;
        clsSelections sel(style);
        sel.Parse(in.Pieces(pieces, 12));
        for (int q = 0; q < 5; ++q) {
            const std::string p = in.Text(8);
            ASSERT_NE(sel.IsSelected(p), sel.IsExcluded(p));
            sel.IsSelectedWithNoExceptions(p);
            sel.HasChildSelected(p);
            in.Below(2) ? sel.AddSelection(p) : sel.RemoveSelection(p);
        }
        clsSelections(style).Parse(sel.Format());
    }
}

TEST(Robustness, FormatThenClearAndParseRestoresRecords) {
    Bytes in(14);
    // Unquoted values are kept exactly only without line breaks and blanks at either end.
    const auto storedValue = [&in] {
        std::string v = in.Text(12);
        std::erase_if(v, [](char c) { return c == '\r' || c == '\n'; });
        v.erase(0, v.find_first_not_of(' '));
        return v.erase(v.find_last_not_of(' ') + 1);
    };
    for (int round = 0; round < 300; ++round) {
        const PathStyle style = round % 2 ? PathStyle::Windows : PathStyle::Posix;
        clsSetup s(style);
        s.Target = in.Text(12); // quoted: blanks and quotes at either end survive
        std::erase_if(s.Target, [](char c) { return c == '\n' || c == '\r'; });
        s.BackupType = storedValue();
        s.EmailTo = storedValue();
        for (bool clsSetup::*flag :
             {&clsSetup::CleanTarget, &clsSetup::SaveLog, &clsSetup::StopOnError, &clsSetup::Verify,
              &clsSetup::EjectMedia, &clsSetup::Email}) {
            s.*flag = in.Below(2);
        }
        PathGen paths(style, static_cast<uint32_t>(round));
        for (size_t i = in.Below(12); i > 0; --i) {
            const std::string p = paths.Path();
            in.Below(3) ? s.Sel.AddSelection(p) : s.Sel.RemoveSelection(p);
        }
        if (s.Sel.Count() == 0) { // an empty text would read back as one empty entry
            s.Sel.AddSelection(paths.Path());
        }
        // Clear keeps CleanTarget, Email and EmailTo; the parse must overwrite them.
        clsSetup loaded(style);
        loaded.CleanTarget = !s.CleanTarget;
        loaded.Email = !s.Email;
        loaded.EmailTo = "stale";
        loaded.Sel.AddSelection("stale");
        loaded.Clear();
        ASSERT_TRUE(loaded.Parse(s.Format())) << s.Format();
        ASSERT_EQ(loaded.Format(), s.Format());
        ASSERT_EQ(EntriesOf(loaded.Sel), EntriesOf(s.Sel));
    }
}

} // namespace
} // namespace tessaron
