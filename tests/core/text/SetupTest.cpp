#include "setfile/clsSetup.h"
#include "text/TextTestUtil.h"

#include <gtest/gtest.h>

namespace tessaron {
namespace {

using testutil::Apply;
using testutil::Entries;
using testutil::EntriesOf;

TEST(SetupFormat, NewRecordGivesTheTenLines) {
    clsSetup s(PathStyle::Windows);
    EXPECT_EQ(s.Format(), "Target = \"\"\r\nBackupType = \r\nCleanTarget = False\r\n"
                          "SaveLog = False\r\nStopOnError = False\r\nVerify = False\r\n"
                          "EjectMedia = False\r\nEMail = False\r\nEMailTo = \r\nSelections = ");
}

TEST(SetupFormat, FilledRecordWritesEveryStoredField) {
    clsSetup s(PathStyle::Windows);
    s.Target = "E:\\Backup";
    s.BackupType = "INCREMENTAL";
    s.CleanTarget = s.Verify = s.Email = true;
    s.EmailTo = "ann@example.org";
    s.LogPath = "C:\\Logs"; // never stored
    s.Quiet = true;
    Apply(s.Sel, {"+C:\\Data", "-C:\\Data\\Tmp", "+D:\\Mail"});
    EXPECT_EQ(s.Format(), "Target = \"E:\\Backup\"\r\nBackupType = INCREMENTAL\r\n"
                          "CleanTarget = True\r\nSaveLog = False\r\nStopOnError = False\r\n"
                          "Verify = True\r\nEjectMedia = False\r\nEMail = True\r\n"
                          "EMailTo = ann@example.org\r\n"
                          "Selections = \"C:\\Data\" Except (\"C:\\Data\\Tmp\")\r\n"
                          "\t\"D:\\Mail\"\r\n");
}

TEST(SetupClear, LeavesTheCarriedOverFields) {
    clsSetup s(PathStyle::Windows);
    s.Target = "E:\\";
    s.BackupType = "FULL";
    s.CleanTarget = s.SaveLog = s.StopOnError = s.Verify = s.EjectMedia = s.Email = true;
    s.Quiet = true;
    s.LogPath = "L";
    s.EmailTo = "x@y";
    s.BlockSize = 4096;
    s.Sel.AddSelection("C:\\A");
    s.Clear();
    EXPECT_EQ(s.Target, "");
    EXPECT_EQ(s.BackupType, "");
    EXPECT_FALSE(s.SaveLog || s.StopOnError || s.Verify || s.EjectMedia);
    EXPECT_EQ(s.Sel.Count(), 0);
    EXPECT_TRUE(s.CleanTarget && s.Email && s.Quiet);
    EXPECT_EQ(s.EmailTo, "x@y");
    EXPECT_EQ(s.LogPath, "L");
    EXPECT_EQ(s.BlockSize, 4096);
}

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
    s.Target = "old";
    s.BackupType = "old";
    s.EmailTo = "old";
    EXPECT_TRUE(s.Parse(c.text));
    EXPECT_EQ(s.Target, c.target);
    EXPECT_EQ(s.BackupType, c.backupType);
    EXPECT_EQ(s.EmailTo, c.emailTo);
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
        StringFieldCase{"BareLineFeedIsOneLine", "BackupType = FULL\nEMailTo = x", "old",
                        "FULL\nEMailTo = x", "old"},
        StringFieldCase{"UnknownKeysAndPlainLinesIgnored", "Colour = red\r\nno equals\r\n\r\n",
                        "old", "old", "old"},
        StringFieldCase{"EmptyKey", " = x", "old", "old", "old"}),
    [](const auto& tc) { return std::string(tc.param.name); });

struct BoolCase {
    std::string value;
    bool converts;
    bool expected;
};

class SetupBoolTest : public ::testing::TestWithParam<BoolCase> {};

TEST_P(SetupBoolTest, ConvertsOrFailsWithTypeMismatch) {
    const BoolCase& c = GetParam();
    clsSetup s(PathStyle::Windows);
    s.Verify = !c.expected;
    EXPECT_EQ(s.Parse("Verify = " + c.value + "\r\n"), c.converts);
    if (c.converts) {
        EXPECT_EQ(s.Verify, c.expected);
        EXPECT_EQ(s.LastError, "");
    } else {
        EXPECT_EQ(s.Verify, !c.expected) << "a failed conversion must not change the field";
        EXPECT_EQ(s.LastError, "Type mismatch");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Setup, SetupBoolTest,
    ::testing::Values(
        BoolCase{"True", true, true}, BoolCase{"fALSE", true, false}, BoolCase{"0", true, false},
        BoolCase{"1", true, true}, BoolCase{"-1", true, true}, BoolCase{"+2", true, true},
        BoolCase{"1.5", true, true}, BoolCase{"0.0", true, false}, BoolCase{".5", true, true},
        BoolCase{"7.", true, true}, BoolCase{"\t2", true, true},
        BoolCase{"000000000000000000000000000", true, false},
        BoolCase{"98765432109876543210987654321098765", true, true},
        BoolCase{"0.00000000000000000000000000001", true, true}, BoolCase{"", false, true},
        BoolCase{"yes", false, true}, BoolCase{"Truth", false, true},
        BoolCase{"True x", false, true}, BoolCase{"1.2.3", false, true},
        BoolCase{"1e3", false, true}, BoolCase{".", false, true}, BoolCase{"-", false, true},
        BoolCase{"1,5", false, true}, BoolCase{"0x1", false, true}));

TEST(SetupParse, TypeMismatchStopsAtThatLine) {
    clsSetup s(PathStyle::Windows);
    s.BackupType = "FULL";
    EXPECT_FALSE(s.Parse("Target = \"E:\\\"\r\nSaveLog = True\r\nVerify = maybe\r\n"
                         "BackupType = INCREMENTAL\r\nEjectMedia = True\r\n"));
    EXPECT_EQ(s.LastError, "Type mismatch");
    EXPECT_EQ(s.Target, "E:\\");
    EXPECT_TRUE(s.SaveLog);
    EXPECT_EQ(s.BackupType, "FULL");
    EXPECT_FALSE(s.EjectMedia);
    EXPECT_TRUE(s.Parse("Verify = 1"));
    EXPECT_EQ(s.LastError, "");
}

TEST(SetupParse, SelectionLinesAppend) {
    clsSetup s(PathStyle::Windows);
    s.Sel.AddSelection("X:\\");
    EXPECT_TRUE(s.Parse("Selections = \"C:\\A\" Except (\"C:\\A\\B\")\r\n\t\"D:\\M\"\r\n"
                        "Selections = \"E:\\N\"\r\nSelections = \r\n"));
    // The empty last line adds one entry with an empty path.
    EXPECT_EQ(
        EntriesOf(s.Sel),
        (Entries{{"X:\\", {}}, {"C:\\A", {"C:\\A\\B"}}, {"D:\\M", {}}, {"E:\\N", {}}, {"", {}}}));
}

} // namespace
} // namespace tessaron
