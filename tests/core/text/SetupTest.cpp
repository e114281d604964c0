#include "SelectionScripts.h"
#include "TestNames.h"
#include "setfile/clsSetup.h"

#include <gtest/gtest.h>

#include <tuple>

namespace tessaron {
namespace {

using test::Entries;
using test::EntriesOf;

struct StringFieldCase {
    const char* name;
    std::string text;
    std::string target;
    std::string backupType;
    std::string emailTo;
};

class SetupParseStringsTest : public ::testing::TestWithParam<StringFieldCase> {};

TEST_P(SetupParseStringsTest, ReadsTheFields) {
    const StringFieldCase& c = GetParam();
    clsSetup s(PathStyle::Windows);
    s.Target = s.BackupType = s.EmailTo = "old";
    EXPECT_TRUE(s.Parse(c.text));
    EXPECT_EQ(std::tie(s.Target, s.BackupType, s.EmailTo),
              std::tie(c.target, c.backupType, c.emailTo));
}

INSTANTIATE_TEST_SUITE_P(
    Setup, SetupParseStringsTest,
    ::testing::Values(
        StringFieldCase{"LowerKeyNoBlanks", "target=C:\\Backup", "C:\\Backup", "old", "old"},
        StringFieldCase{"OnlyOpeningQuote", "Target = \"C:\\x y", "C:\\x y", "old", "old"},
        StringFieldCase{"OnlyClosingQuote", "Target = C:\\x\"", "C:\\x", "old", "old"},
        StringFieldCase{"InnerQuotesKept", "Target = \"\"a\"\"", "\"a\"", "old", "old"},
        StringFieldCase{"SpacesTrimmedTabKept", "  BackupType  =  \tFULL  ", "old", "\tFULL",
                        "old"},
        StringFieldCase{"LaterKeyWins", "EMailTo = a\r\nemailto = b\r\n", "old", "old", "b"},
        StringFieldCase{"ValueHoldsFurtherEquals", "EMailTo = a=b", "old", "old", "a=b"},
        StringFieldCase{"ContinuationJoinsWithSpace", "EMailTo = a\r\n\tb\r\n c", "old", "old",
                        "a b c"},
        StringFieldCase{"UnknownKeysAndPlainLinesIgnored", "Colour = red\r\nno equals\r\n\r\n",
                        "old", "old", "old"},
        StringFieldCase{"EmptyKey", " = x", "old", "old", "old"}),
    tessaron::test::ParamName());

TEST(SetupParse, BooleanWordsAndNumbersOrTypeMismatch) {
    const std::vector<const char*> readTrue = {"True",
                                               "-1",
                                               "+2",
                                               "1.5",
                                               ".5",
                                               "7.",
                                               "\t2",
                                               "98765432109876543210987654321098765",
                                               "0.00000000000000000000000000001"};
    const std::vector<const char*> readFalse = {"fALSE", "0", "0.0", "000000000000000000000000000"};
    const std::vector<const char*> mismatch = {"",    "yes", "Truth", "True x", "1.2.3",
                                               "1e3", ".",   "-",     "1,5",    "0x1"};
    for (const auto* values : {&readTrue, &readFalse, &mismatch}) {
        for (const char* value : *values) {
            for (const bool before : {false, true}) {
                clsSetup s(PathStyle::Windows);
                s.Verify = before;
                const bool converts = values != &mismatch;
                EXPECT_EQ(s.Parse("Verify = " + std::string(value) + "\r\n"), converts) << value;
                // A failed conversion leaves the field as it was.
                EXPECT_EQ(s.Verify, converts ? values == &readTrue : before) << value;
                EXPECT_EQ(s.LastError, converts ? "" : "Type mismatch") << value;
            }
        }
    }
}

// Files saved on any system read alike: CR LF, LF and CR end lines, a byte order mark
// is not part of the first key, continuation lines work with every line end.
struct LineEnd {
    const char* name;
    const char* end;
};

class SetupLineEndsTest : public ::testing::TestWithParam<LineEnd> {};

TEST_P(SetupLineEndsTest, ReadLikeCrLf) {
    std::string text = "\xEF\xBB\xBFTarget = \"E:\\B\"\r\nBackupType = FULL\r\n"
                       "Verify = True\r\nSelections = \"C:\\A\"\r\n\t\"D:\\M\"\r\n";
    for (size_t at = text.find("\r\n"); at != std::string::npos; at = text.find("\r\n", at)) {
        text.replace(at, 2, GetParam().end);
        at += std::string_view(GetParam().end).size();
    }
    clsSetup s(PathStyle::Windows);
    EXPECT_TRUE(s.Parse(text));
    EXPECT_EQ(std::tie(s.Target, s.BackupType), std::make_tuple("E:\\B", "FULL"));
    EXPECT_TRUE(s.Verify);
    EXPECT_EQ(EntriesOf(s.Sel), (Entries{{"C:\\A", {}}, {"D:\\M", {}}}));
}

INSTANTIATE_TEST_SUITE_P(Setup, SetupLineEndsTest,
                         ::testing::Values(LineEnd{"CRLF", "\r\n"}, LineEnd{"LF", "\n"},
                                           LineEnd{"CR", "\r"}),
                         test::ParamName());

} // namespace
} // namespace tessaron
