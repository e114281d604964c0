#include "engine/NumberText.h"
#include "engine/clsProgress.h"

#include <gtest/gtest.h>

namespace tessaron {
namespace {

struct TimeCase {
    std::int64_t ms;
    const char* text;
};

class FormatTimeTest : public ::testing::TestWithParam<TimeCase> {};

TEST_P(FormatTimeTest, FormatsHoursMinutesRoundedSeconds) {
    EXPECT_EQ(clsProgress::FormatTime(GetParam().ms), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Table, FormatTimeTest,
                         ::testing::Values(TimeCase{3600000, "1:00:00"}, TimeCase{61000, "0:01:01"},
                                           TimeCase{119600, "0:01:60"}, TimeCase{0, "0:00:00"},
                                           TimeCase{500, "0:00:00"},  // half to even
                                           TimeCase{1500, "0:00:02"}, // half to even
                                           TimeCase{90000000, "25:00:00"},
                                           TimeCase{-5, "0:00:00"}));

TEST(ProgressRecord, ElapsedAndRemainingUseTheirOwnField) {
    clsProgress p;
    p.ElapsedTime = 61000;
    p.RemainingTime = 3600000;
    EXPECT_EQ(p.FormatElapsedTime(), "0:01:01");
    EXPECT_EQ(p.FormatRemainingTime(), "1:00:00");
}

struct BarCase {
    std::int64_t done, total;
    int value;
};

class BarValueTest : public ::testing::TestWithParam<BarCase> {};

TEST_P(BarValueTest, RoundsAndClamps) {
    EXPECT_EQ(clsProgress::BarValue(GetParam().done, GetParam().total), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Table, BarValueTest,
                         ::testing::Values(BarCase{0, 0, -1}, BarCase{5, -1, -1},
                                           BarCase{0, 100, 0}, BarCase{42, 100, 42},
                                           BarCase{1, 3, 33}, BarCase{2, 3, 67},
                                           BarCase{150, 100, 100}, // failed files counted twice
                                           BarCase{-3, 100, 0}));

struct GroupCase {
    std::int64_t n;
    const char* text;
};

class GroupedTest : public ::testing::TestWithParam<GroupCase> {};

TEST_P(GroupedTest, CommaGroupsOfThree) {
    EXPECT_EQ(FormatGrouped(GetParam().n, DigitGrouping{}), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Table, GroupedTest,
                         ::testing::Values(GroupCase{0, "0"}, GroupCase{999, "999"},
                                           GroupCase{1000, "1,000"},
                                           GroupCase{1234567, "1,234,567"},
                                           GroupCase{-1234, "-1,234"},
                                           GroupCase{INT64_MIN, "-9,223,372,036,854,775,808"}));

TEST(Grouped, FollowsOtherSeparatorsAndGroupings) {
    EXPECT_EQ(FormatGrouped(std::int64_t{1234567}, DigitGrouping{".", "\3"}), "1.234.567");
    // Indian grouping: three, then twos.
    EXPECT_EQ(FormatGrouped(std::int64_t{123456789}, DigitGrouping{",", "\3\2"}), "12,34,56,789");
    EXPECT_EQ(FormatGrouped(2.5, DigitGrouping{}), "2");
    EXPECT_EQ(FormatGrouped(1234.5001, DigitGrouping{}), "1,235");
}

} // namespace
} // namespace tessaron
