// Generated inputs with fixed seeds: the tokenizer, the selections text and the backup set
// file must take any bytes without crashing, hanging or reading out of bounds (run under
// AddressSanitizer and UBSan in CI), and a record must survive its own file text.

#include "setfile/clsParser.h"
#include "setfile/clsSetup.h"
#include "text/TextTestUtil.h"

#include <gtest/gtest.h>

#include <random>

namespace tessaron {
namespace {

using testutil::EntriesOf;
using testutil::PathGen;

class Bytes {
public:
    explicit Bytes(uint32_t seed) : m_rng(seed) {}

    size_t Below(size_t n) { return n == 0 ? 0 : m_rng() % n; }
    // Mostly characters that mean something to the tokenizer, sometimes any byte.
    char Char() {
        static const char kSpecial[] = " \t\r\n\"'()=,ab\0\xff";
        return Below(4) == 0 ? static_cast<char>(m_rng()) : kSpecial[Below(sizeof kSpecial)];
    }
    std::string Text(size_t maxLen) {
        std::string s(Below(maxLen + 1), ' ');
        for (char& c : s) {
            c = Char();
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

// Every token character comes from its own character of the text (a doubled quote gives
// one), and GetRest is always a tail of the text.
void CheckParserInvariants(clsParser& p) {
    const int32_t count = p.TokenCount();
    ASSERT_GE(count, 1);
    size_t total = 0;
    for (int32_t i = 1; i <= count; ++i) {
        total += p.token(i).size();
    }
    ASSERT_LE(total, p.text().size());
    const std::string rest = p.GetRest();
    ASSERT_TRUE(p.text().ends_with(rest));
}

void RandomParserStep(clsParser& p, Bytes& in) {
    switch (in.Below(12)) {
    case 0:
        p.text(in.Text(40));
        break;
    case 1:
        p.Delim(in.Text(3));
        break;
    case 2:
        p.quote(in.Text(2));
        break;
    case 3:
        p.ListDelims(in.Text(3));
        break;
    case 4:
        p.Operators(in.Text(2));
        break;
    case 5:
        p.TrimWhiteSpace(in.Below(2) == 0);
        break;
    case 6:
        p.token(static_cast<int32_t>(in.Below(12)) - 3);
        break;
    case 7:
        p.NextToken();
        break;
    case 8:
        p.PrevToken();
        break;
    case 9:
        in.Below(2) ? p.FirstToken() : p.LastToken();
        break;
    case 10:
        p.EOT() ? p.GetRest() : p.NextToken();
        break;
    default:
        p.BOT() ? p.GetRest() : p.PrevToken();
        break;
    }
}

TEST(Robustness, ParserTakesAnyTextAndClasses) {
    Bytes in(11);
    for (int round = 0; round < 3000; ++round) {
        clsParser p;
        p.text(in.Text(60));
        p.Delim(in.Text(3));
        p.quote(in.Text(2));
        p.ListDelims(in.Text(3));
        p.Operators(in.Text(2));
        p.TrimWhiteSpace(in.Below(2) == 0);
        for (int step = 0; step < 15; ++step) {
            RandomParserStep(p, in);
        }
        ASSERT_NO_FATAL_FAILURE(CheckParserInvariants(p)) << round;
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
        clsSelections again(style);
        again.Parse(sel.Format());
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
        clsSetup again(PathStyle::Windows);
        ASSERT_TRUE(again.Parse(s.Format())); // what it writes it can read
    }
}

// Values that the file keeps exactly: no line break, no blank at either end.
std::string StoredValue(Bytes& in) {
    std::string v = in.Text(12);
    std::erase_if(v, [](char c) { return c == '\r' || c == '\n'; });
    while (!v.empty() && v.front() == ' ') {
        v.erase(v.begin());
    }
    while (!v.empty() && v.back() == ' ') {
        v.pop_back();
    }
    return v;
}

TEST(Robustness, FormatThenClearAndParseRestoresRecords) {
    Bytes in(14);
    for (int round = 0; round < 300; ++round) {
        const PathStyle style = round % 2 ? PathStyle::Windows : PathStyle::Posix;
        clsSetup s(style);
        s.Target = in.Text(12); // quoted: blanks and quotes at either end survive
        std::erase_if(s.Target, [](char c) { return c == '\n'; });
        s.BackupType = StoredValue(in);
        s.EmailTo = StoredValue(in);
        s.CleanTarget = in.Below(2);
        s.SaveLog = in.Below(2);
        s.StopOnError = in.Below(2);
        s.Verify = in.Below(2);
        s.EjectMedia = in.Below(2);
        s.Email = in.Below(2);
        PathGen paths(style, static_cast<uint32_t>(round));
        for (size_t i = in.Below(12); i > 0; --i) {
            const std::string p = paths.Path();
            in.Below(3) ? s.Sel.AddSelection(p) : s.Sel.RemoveSelection(p);
        }
        if (s.Sel.Count() == 0) {
            // An empty selections text reads back as one entry with an empty path.
            s.Sel.AddSelection(paths.Path());
        }
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
