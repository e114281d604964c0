// The parser's cursor. (Its tokens are checked through what reads them: the set file, the
// selections and the command line.)
#include "setfile/clsParser.h"

#include "TestNames.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tessaron {
namespace {

// One cursor step "op=want": N next, P prev, F first, L last, R rest, E/B EOT/BOT as 1/0,
// Tn token(n).
std::string Step(clsParser& p, const std::string& op) {
    const char c = op[0];
    return c == 'N'   ? p.NextToken()
           : c == 'P' ? p.PrevToken()
           : c == 'F' ? p.FirstToken()
           : c == 'L' ? p.LastToken()
           : c == 'R' ? p.GetRest()
           : c == 'E' ? std::to_string(p.EOT())
           : c == 'B' ? std::to_string(p.BOT())
                      : p.token(std::stoi(op.substr(1)));
}

struct CursorCase {
    const char* name;
    std::string text;
    std::vector<std::string> steps;
};

class ParserCursorTest : public ::testing::TestWithParam<CursorCase> {};

TEST_P(ParserCursorTest, Steps) {
    clsParser p;
    p.text(GetParam().text);
    for (const std::string& step : GetParam().steps) {
        const size_t eq = step.find('=');
        ASSERT_EQ(Step(p, step.substr(0, eq)), step.substr(eq + 1)) << step;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Parser, ParserCursorTest,
    ::testing::Values(
        // The cursor stops at TokenCount + 1 going on and at 0 going back.
        CursorCase("StopsOneOutside", "a b",
                   {"B=1", "E=0", "N=a", "B=1", "N=b", "E=1", "B=0", "N=", "N=", "P=b", "P=a",
                    "P=", "P=", "N=a", "L=b", "F=a"}),
        // token(n) moves the cursor even out of range.
        CursorCase("TokenMovesOutOfRange", "a b c",
                   {"T7=", "E=1", "P=", "T-3=", "B=1", "N=", "R=", "T2=b", "N=c"}),
        CursorCase("RestAfterCurrentToken", "/LOAD x y", {"R=", "N=/LOAD", "R=x y"}),
        // The second blank was not consumed by "a"; a list delimiter swallows its blanks.
        CursorCase("RestKeepsUnconsumedDelim", "a  b", {"N=a", "R= b"}),
        CursorCase("RestAfterListDelim", "(  a", {"N=(", "R=a", "L=a", "R="})),
    tessaron::test::ParamName());

} // namespace
} // namespace tessaron
