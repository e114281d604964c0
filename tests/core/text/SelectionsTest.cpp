#include "SelectionScripts.h"
#include "TestNames.h"
#include "selection/clsSelections.h"

#include <gtest/gtest.h>

namespace tessaron {
namespace {

using test::Apply;
using test::Entries;
using test::EntriesOf;

struct QueryCase {
    std::string path;
    bool selected;
    bool noExceptions;
    bool childSelected;
};

// C:\Data except C:\Data\Tmp, C:\Data\Tmp\Keep, D:\Mail.
class SelectionQueryTest : public ::testing::TestWithParam<QueryCase> {
protected:
    SelectionQueryTest() : sel(PathStyle::Windows) {
        Apply(sel, {"+C:\\Data", "-C:\\Data\\Tmp", "+C:\\Data\\Tmp\\Keep", "+D:\\Mail"});
    }
    clsSelections sel;
};

TEST_P(SelectionQueryTest, Answers) {
    const QueryCase& q = GetParam();
    EXPECT_EQ(sel.IsSelected(q.path), q.selected);
    EXPECT_EQ(sel.IsExcluded(q.path), !q.selected);
    EXPECT_EQ(sel.IsSelectedWithNoExceptions(q.path), q.noExceptions);
    EXPECT_EQ(sel.HasChildSelected(q.path), q.childSelected);
}

INSTANTIATE_TEST_SUITE_P(Selections, SelectionQueryTest,
                         ::testing::Values(QueryCase{"C:\\Data", true, false, true},
                                           QueryCase{"C:\\Data\\Tmp", false, false, true},
                                           // The last containing entry decides.
                                           QueryCase{"C:\\Data\\Tmp\\Keep\\z", true, true, false},
                                           QueryCase{"C:", false, false, true},
                                           QueryCase{"C:\\DataX", false, false, false},
                                           QueryCase{"c:\\data", false, false, false},
                                           QueryCase{"", false, false, false}),
                         test::ParamName(&QueryCase::path));

TEST(SelectionsFormat, WritesQuotedEntriesWithExceptionsAndTabs) {
    clsSelections sel(PathStyle::Windows);
    EXPECT_EQ(sel.Format(), "");
    Apply(sel, {"+C:\\Data", "-C:\\Data\\Tmp", "-C:\\Data\\Old", "+D:\\Mail"});
    EXPECT_EQ(sel.Format(), "\"C:\\Data\" Except (\"C:\\Data\\Tmp\" \"C:\\Data\\Old\")\r\n"
                            "\t\"D:\\Mail\"\r\n");
    EXPECT_EQ(sel.Item(2)->path(), "D:\\Mail"); // 1-based
    EXPECT_TRUE(sel.Item(0) == nullptr && sel.Item(3) == nullptr);
}

// A POSIX file name may hold a double quote; the set file must give it back unchanged.
TEST(SelectionsFormat, QuoteInsideAPathReadsBack) {
    clsSelections sel(PathStyle::Posix);
    Apply(sel, {"+/home/ann/say \"hi\"", "-/home/ann/say \"hi\"/\"x"});
    EXPECT_EQ(sel.Format(),
              "\"/home/ann/say \"\"hi\"\"\" Except (\"/home/ann/say \"\"hi\"\"/\"\"x\")\r\n");
    clsSelections back(PathStyle::Posix);
    back.Parse(sel.Format());
    EXPECT_EQ(EntriesOf(back), EntriesOf(sel));
}

struct ParseCase {
    const char* name;
    std::string text;
    Entries expected;
};

class SelectionParseTest : public ::testing::TestWithParam<ParseCase> {};

TEST_P(SelectionParseTest, AppendsTheEntries) {
    clsSelections sel(PathStyle::Windows);
    sel.AddSelection("X:\\Before");
    sel.Parse(GetParam().text);
    Entries expected{{"X:\\Before", {}}};
    expected.insert(expected.end(), GetParam().expected.begin(), GetParam().expected.end());
    EXPECT_EQ(EntriesOf(sel), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Selections, SelectionParseTest,
    ::testing::Values(
        ParseCase{"Empty", "", {{"", {}}}}, ParseCase{"Blank", "  ", {{"", {}}}},
        ParseCase{"Formatted",
                  "\"C:\\Data\" Except (\"C:\\Data\\Tmp\" \"C:\\Data\\Old\")\r\n\t\"D:\\Mail\"\r\n",
                  {{"C:\\Data", {"C:\\Data\\Tmp", "C:\\Data\\Old"}}, {"D:\\Mail", {}}}},
        ParseCase{"KeywordAnyCase", "\"a\" eXcEpT (\"b\")", {{"a", {"b"}}}},
        ParseCase{"UnclosedListLosesLast", "\"a\" Except (\"b\" \"c\"", {{"a", {"b"}}}},
        ParseCase{
            "KeywordWithoutListDropsNextToken", "\"a\" Except \"b\" \"c\"", {{"a", {}}, {"c", {}}}},
        ParseCase{"UnquotedWordsArePaths", "a b", {{"a", {}}, {"b", {}}}},
        ParseCase{"SpaceContinues", "\"a\"\r\n \"b\"", {{"a", {}}, {"b", {}}}},
        ParseCase{"UncontinuedLineIgnored", "\"a\"\r\n\t\"b\"\r\n\"c\"", {{"a", {}}, {"b", {}}}},
        // LF and CR end lines like CR LF.
        ParseCase{"LineFeedEndsLine", "\"a\"\n\"b\"", {{"a", {}}}},
        ParseCase{
            "LineFeedAndCrContinue", "\"a\"\n\t\"b\"\r \"c\"", {{"a", {}}, {"b", {}}, {"c", {}}}},
        ParseCase{"BlanksInsideQuotes", "\"C:\\My Files\\ x \"", {{"C:\\My Files\\ x ", {}}}}),
    tessaron::test::ParamName());

} // namespace
} // namespace tessaron
