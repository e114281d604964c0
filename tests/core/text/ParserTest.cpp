#include "setfile/clsParser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tessaron {
namespace {

std::vector<std::string> AllTokens(clsParser& p) {
    std::vector<std::string> out;
    for (int32_t i = 1; i <= p.TokenCount(); ++i) {
        out.push_back(p.token(i));
    }
    return out;
}

struct TokenCase {
    TokenCase(const char* n, std::string t, std::vector<std::string> e, std::string d = " ",
              std::string ops = "", bool tr = true, std::string q = "\"")
        : name(n), text(std::move(t)), expected(std::move(e)), delim(std::move(d)),
          operators(std::move(ops)), trim(tr), quote(std::move(q)) {}
    const char* name;
    std::string text;
    std::vector<std::string> expected;
    std::string delim;
    std::string operators;
    bool trim;
    std::string quote;
};

class TokenizeTest : public ::testing::TestWithParam<TokenCase> {};

TEST_P(TokenizeTest, GivesTheTokens) {
    const TokenCase& c = GetParam();
    clsParser p;
    p.Delim(c.delim);
    p.Operators(c.operators);
    p.TrimWhiteSpace(c.trim);
    p.quote(c.quote);
    p.text(c.text);
    EXPECT_EQ(AllTokens(p), c.expected);
}

const TokenCase kTokenCases[] = {
    {"Empty", "", {""}},
    {"OneSpace", " ", {""}},
    {"LeadingBlanksDropped", "  a", {"a"}},
    {"TwoWords", "a b", {"a", "b"}},
    {"DoubleSpaceGivesEmpty", "a  b", {"a", "", "b"}},
    {"TwoTrailingSpaces", "a  ", {"a", ""}},
    {"QuotedBlank", "\"C:\\x y\" z", {"C:\\x y", "z"}},
    {"EmptyQuotedThenDelim", "\"\" x", {"", "", "x"}},
    {"DoubledQuote", "\"\"\"\"", {"\""}},
    {"DoubledQuoteInside", "\"a\"\"b\" c", {"a\"b", "c"}},
    {"QuoteInsideTokenIsOrdinary", "ab\"c", {"ab\"c"}},
    {"TextAfterClosingQuoteExtends", "\"a b\"c d", {"a bc", "d"}},
    {"UnclosedQuote", "\"a b", {"a b"}},
    {"ListDelims", "(a b)", {"(", "a", "b", ")"}},
    {"ListDelimsSpaced", "a ( b )", {"a", "(", "b", ")"}},
    {"ListDelimSwallowsDelims", "(   a", {"(", "a"}},
    {"ListDelimEndsToken", "a(b", {"a", "(", "b"}},
    {"TrimInsideToken", "a b,c", {"ab", "c"}, ","},
    {"NoTrimKeepsBlank", "a b,c", {"a b", "c"}, ",", "", false},
    {"TrimAroundCommaTokens", " a , b ", {"a", "b"}, ","},
    {"NoTrimTabKept", "a\tb", {"a\tb"}, " ", "", false},
    {"NoTrimLeadingDelim", " a", {"", "a"}, " ", "", false},
    {"LeadingTabDelims", "\t\ta", {"a"}, "\t"},
    {"InnerTabDelims", "a\t\tb", {"a", "", "b"}, "\t"},
    {"Operator", "a=b", {"a", "=", "b"}, " ", "="},
    {"OperatorThenDelim", "a = b", {"a", "=", "", "b"}, " ", "="},
    {"QuotedOperatorIsText", "\"=\"", {"="}, " ", "="},
    {"QuoteClassComesFirst", "x'a'", {"x'a'"}, "'", "", true, "'"},
    {"TwoQuoteChars", "'a\"b' c", {"a\"b", "c"}, " ", "", true, "'\""},
};

INSTANTIATE_TEST_SUITE_P(Parser, TokenizeTest, ::testing::ValuesIn(kTokenCases),
                         [](const auto& tc) { return std::string(tc.param.name); });

TEST(ParserCursor, WalksForwardAndBackWithinBounds) {
    clsParser p;
    p.text("a b");
    EXPECT_FALSE(p.EOT());
    EXPECT_TRUE(p.BOT());
    EXPECT_EQ(p.NextToken(), "a");
    EXPECT_TRUE(p.BOT());
    EXPECT_EQ(p.NextToken(), "b");
    EXPECT_TRUE(p.EOT());
    EXPECT_FALSE(p.BOT());
    EXPECT_EQ(p.NextToken(), "");
    EXPECT_EQ(p.NextToken(), ""); // the cursor stops at TokenCount + 1
    EXPECT_EQ(p.PrevToken(), "b");
    EXPECT_EQ(p.PrevToken(), "a");
    EXPECT_EQ(p.PrevToken(), "");
    EXPECT_EQ(p.PrevToken(), ""); // and at 0 going back
    EXPECT_EQ(p.NextToken(), "a");
    EXPECT_EQ(p.LastToken(), "b");
    EXPECT_EQ(p.FirstToken(), "a");
}

TEST(ParserCursor, TokenSetsTheCursorEvenOutOfRange) {
    clsParser p;
    p.text("a b c");
    EXPECT_EQ(p.token(7), "");
    EXPECT_TRUE(p.EOT());
    EXPECT_EQ(p.PrevToken(), ""); // cursor 6, still out of range
    EXPECT_EQ(p.token(-3), "");
    EXPECT_TRUE(p.BOT());
    EXPECT_EQ(p.NextToken(), ""); // cursor -2
    EXPECT_EQ(p.GetRest(), "");
    EXPECT_EQ(p.token(2), "b");
    EXPECT_EQ(p.NextToken(), "c");
}

TEST(ParserCursor, GetRestStartsWhereTheCurrentTokenStopped) {
    clsParser p;
    p.text("/LOAD x y");
    EXPECT_EQ(p.GetRest(), ""); // cursor 0: no current token
    p.NextToken();
    EXPECT_EQ(p.GetRest(), "x y");
    p.text("a  b");
    p.NextToken();
    EXPECT_EQ(p.GetRest(), " b"); // the second blank was not consumed by "a"
    p.text("(  a");
    p.NextToken();
    EXPECT_EQ(p.GetRest(), "a"); // a list delimiter swallows the blanks after it
    p.LastToken();
    EXPECT_EQ(p.GetRest(), "");
}

TEST(ParserLazy, ClassChangesApplyAtTheNextParse) {
    clsParser p;
    p.text("a,b c");
    p.Delim(","); // before the first read: applies
    EXPECT_EQ(AllTokens(p), (std::vector<std::string>{"a", "bc"}));
    p.Delim(" "); // after parsing: no effect until the text is written again
    EXPECT_EQ(p.TokenCount(), 2);
    p.LastToken();
    p.text(p.text()); // rewriting the text parses again and resets the cursor
    EXPECT_FALSE(p.EOT());
    EXPECT_EQ(AllTokens(p), (std::vector<std::string>{"a,b", "c"}));
    clsParser fresh; // a new parser's empty text gives one empty token
    EXPECT_EQ(fresh.TokenCount(), 1);
    EXPECT_FALSE(fresh.EOT()); // the cursor is before it
}

} // namespace
} // namespace tessaron
