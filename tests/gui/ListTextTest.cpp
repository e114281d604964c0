#include "ListText.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace tessaron::gui {
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
                         [](const auto& tc) { return std::string(tc.param.name); });

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
                         [](const auto& tc) { return std::string(tc.param.name); });

} // namespace
} // namespace tessaron::gui
