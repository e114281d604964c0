#include "engine/NumberText.h"
#include "engine/clsProgress.h"

#include <gtest/gtest.h>

namespace tessaron {
namespace {

TEST(FormatTime, HoursMinutesSecondsRoundedHalfToEven) {
    const std::pair<std::int64_t, const char*> cases[] = {
        {3600000, "1:00:00"}, {61000, "0:01:01"}, {119600, "0:01:60"},    {0, "0:00:00"},
        {500, "0:00:00"},     {1500, "0:00:02"},  {90000000, "25:00:00"}, {-5, "0:00:00"}};
    for (const auto& [ms, text] : cases) {
        EXPECT_EQ(clsProgress::FormatTime(ms), text) << ms;
    }
}

TEST(BarValue, RoundsAndClamps) {
    const struct {
        std::int64_t done, total;
        int value;
    } cases[] = {{0, 0, -1}, {5, -1, -1}, {0, 100, 0},     {42, 100, 42},
                 {1, 3, 33}, {2, 3, 67},  {150, 100, 100}, {-3, 100, 0}};
    for (const auto& c : cases) {
        EXPECT_EQ(clsProgress::BarValue(c.done, c.total), c.value) << c.done << "/" << c.total;
    }
}

TEST(FormatGrouped, SeparatorsAndGroupings) {
    const DigitGrouping comma3{};
    const struct {
        std::int64_t n;
        DigitGrouping grouping;
        const char* text;
    } cases[] = {{0, comma3, "0"},
                 {999, comma3, "999"},
                 {1000, comma3, "1,000"},
                 {-1234, comma3, "-1,234"},
                 {INT64_MIN, comma3, "-9,223,372,036,854,775,808"},
                 {1234567, {".", "\3"}, "1.234.567"},
                 {123456789, {",", "\3\2"}, "12,34,56,789"}}; // Indian: three, then twos
    for (const auto& c : cases) {
        EXPECT_EQ(FormatGrouped(c.n, c.grouping), c.text) << c.n;
    }
    EXPECT_EQ(FormatGrouped(2.5, comma3), "2");
    EXPECT_EQ(FormatGrouped(1234.5001, comma3), "1,235");
}

} // namespace
} // namespace tessaron
