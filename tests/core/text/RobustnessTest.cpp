// Generated inputs with fixed seeds: the tokenizer, the selections text and the backup set
// file must take any bytes without crashing, hanging or reading out of bounds (run under
// AddressSanitizer and UBSan in CI), and a record must survive its own file text.

#include "SelectionScripts.h"
#include "setfile/clsParser.h"
#include "setfile/clsSetup.h"

#include <gtest/gtest.h>

#include <functional>
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

TEST(Robustness, ParserTakesAnyTextAndClasses) {
    Bytes in(11);
    for (int round = 0; round < 3000; ++round) {
        clsParser p;
        // The first six set the text and every class; the rest walk the cursor.
        const std::function<void()> steps[] = {
            [&] { p.text(in.Text(60)); },
            [&] { p.Delim(in.Text(3)); },
            [&] { p.quote(in.Text(2)); },
            [&] { p.ListDelims(in.Text(3)); },
            [&] { p.Operators(in.Text(2)); },
            [&] { p.TrimWhiteSpace(in.Below(2) == 0); },
            [&] { p.token(static_cast<int32_t>(in.Below(12)) - 3); },
            [&] { p.NextToken(); },
            [&] { p.PrevToken(); },
            [&] { in.Below(2) ? p.FirstToken() : p.LastToken(); },
            [&] { p.EOT() ? p.GetRest() : p.NextToken(); },
            [&] { p.BOT() ? p.GetRest() : p.PrevToken(); },
        };
        for (int step = 0; step < 21; ++step) {
            steps[step < 6 ? step : in.Below(std::size(steps))]();
        }
        // Every token character comes from its own character of the text (a doubled quote
        // gives one), and GetRest is always a tail of the text.
        ASSERT_GE(p.TokenCount(), 1);
        size_t total = 0;
        for (int32_t i = 1; i <= p.TokenCount(); ++i) {
            total += p.token(i).size();
        }
        ASSERT_LE(total, p.text().size()) << round;
        ASSERT_TRUE(p.text().ends_with(p.GetRest())) << round;
    }
}

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

TEST(Robustness, SetupTakesAnyText) {
    const std::vector<std::string> pieces = {
        "Target", "BackupType", "Verify", "EMail", "Selections", "EMailTo", "=",  " = ",
        "True",   "false",      "0",      "1.5",   "\"",         "\r\n",    "\t", " Except ("};
    Bytes in(13);
    for (int round = 0; round < 2000; ++round) {
        clsSetup s(PathStyle::Windows);
        const bool ok = s.Parse(in.Pieces(pieces, 16));
        ASSERT_EQ(s.LastError, ok ? "" : "Type mismatch");
        ASSERT_TRUE(clsSetup(PathStyle::Windows).Parse(s.Format())); // it reads what it writes
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
