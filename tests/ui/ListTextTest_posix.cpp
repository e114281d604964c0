// The list's texts (sizes, dates, sort keys) and where a remembered window comes back.
#include "TestNames.h"

#include "ui/ListText.h"
#include "ui/WindowPlacement.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <ctime>

namespace tessaron::ui {
namespace {

struct SizeCase {
    const char* name;
    double bytes;
    bool showZero;
    const char* text;
};

class SizeText : public ::testing::TestWithParam<SizeCase> {};

TEST_P(SizeText, Formats) {
    EXPECT_EQ(FormatSize(GetParam().bytes, GetParam().showZero), GetParam().text);
}

// The thresholds are "more than": exactly 1000 bytes is still "1K", exactly 100,000,000
// bytes still counts in K.
INSTANTIATE_TEST_SUITE_P(ListText, SizeText,
                         ::testing::Values(SizeCase{"ZeroShown", 0, true, "0K"},
                                           SizeCase{"ZeroHidden", 0, false, "-"},
                                           SizeCase{"NegativeHidden", -5, false, "-"},
                                           SizeCase{"OneByte", 1, false, "1K"},
                                           SizeCase{"Exactly1000", 1000, true, "1K"},
                                           SizeCase{"HalfRoundsUp", 2500, true, "3K"},
                                           SizeCase{"JustBelowK", 999499, true, "999K"},
                                           SizeCase{"Exactly100MStaysK", 100e6, true, "100,000K"},
                                           SizeCase{"Above100MInM", 150e6, true, "150M"},
                                           SizeCase{"Exactly100GStaysM", 100e9, true, "100,000M"},
                                           SizeCase{"Above100GInG", 2.5e12, true, "2,500G"}),
                         test::ParamName());

struct DateCase {
    const char* name;
    std::time_t utc;
    const char* text;
};

// Dates are shown in local time; the cases are written for UTC.
class DateText : public ::testing::TestWithParam<DateCase> {
protected:
    static void SetUpTestSuite() {
        setenv("TZ", "UTC", 1);
        tzset();
    }
};

TEST_P(DateText, Formats) {
    EXPECT_EQ(FormatListDate(GetParam().utc), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(ListText, DateText,
                         ::testing::Values(DateCase{"Evening", 1709845500, "3/7/2024 9:05 PM"},
                                           DateCase{"Midnight", 1735084859, "12/25/2024 12:00 AM"},
                                           DateCase{"Noon", 1704110400, "1/1/2024 12:00 PM"},
                                           DateCase{"Morning", 1256981400, "10/31/2009 9:30 AM"},
                                           DateCase{"NoTime", 0, ""}),
                         test::ParamName());

TEST(ListText, UpperKeyFoldsLettersOfAnyScript) {
    setlocale(LC_CTYPE, "C.UTF-8");
    EXPECT_EQ(UpperKey("abc\xc3\xa9"), UpperKey("ABC\xc3\x89")) << "e acute";
    EXPECT_EQ(UpperKey("\xd0\xb4"), UpperKey("\xd0\x94")) << "Cyrillic de";
    EXPECT_EQ(UpperKey("a\x80"), (std::u32string{U'A', 0x80})) << "a byte that is no UTF-8";
    setlocale(LC_CTYPE, "C");
}

struct ClampCase {
    const char* name;
    Rect wanted, expected;
};

class ClampToScreen : public ::testing::TestWithParam<ClampCase> {};

TEST_P(ClampToScreen, KeepsTheWindowReachable) {
    const std::vector<Rect> screens = {{0, 0, 1920, 1080}, {1920, 0, 1280, 1024}};
    EXPECT_EQ(ClampToScreens(GetParam().wanted, screens), GetParam().expected);
}

const ClampCase kClampCases[] = {
    {"FitsAlready", {100, 100, 800, 600}, {100, 100, 800, 600}},
    {"OnTheSecondScreen", {2000, 50, 800, 600}, {2000, 50, 800, 600}},
    {"ScreenGone", {5000, 2000, 800, 600}, {1120, 480, 800, 600}},
    {"HangingOffTheRight", {3000, 100, 800, 600}, {2400, 100, 800, 600}},
    {"AboveTheTop", {100, -300, 800, 600}, {100, 0, 800, 600}},
    {"LargerThanTheScreen", {-50, 0, 4000, 3000}, {0, 0, 1920, 1080}}};

INSTANTIATE_TEST_SUITE_P(Placement, ClampToScreen, ::testing::ValuesIn(kClampCases),
                         test::ParamName());

} // namespace
} // namespace tessaron::ui
