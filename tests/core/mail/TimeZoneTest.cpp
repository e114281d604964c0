#include "mail/TimeZone.h"
#include "MailTestSupport.h"

#include <gtest/gtest.h>

#include <limits>

namespace tessaron {
namespace {

struct ZoneCase {
    std::string Name;
    const char* Tz;
    std::time_t Now;
    std::string Zone;
    int Offset;
    std::string Text;
    std::string StandardName;
    int StandardOffset;
    std::string DayLightName;
    int DayLightOffset;
    std::string DayLightText;
    DateTime StandardBegins;
    DateTime DayLightBegins;
};

class TimeZoneAt : public ::testing::TestWithParam<ZoneCase> {};

TEST_P(TimeZoneAt, ReportsThePeriodsAndTheirNextBeginning) {
    const ZoneCase& c = GetParam();
    test::EnvOverride tz("TZ", c.Tz);
    const TimeZone zone(c.Now);
    EXPECT_EQ(zone.Zone(), c.Zone);
    EXPECT_EQ(zone.Offset(), c.Offset);
    EXPECT_EQ(zone.FormatTimeZone(), c.Text);
    EXPECT_EQ(zone.StandardName(), c.StandardName);
    EXPECT_EQ(zone.StandardOffset(), c.StandardOffset);
    EXPECT_EQ(zone.DayLightName(), c.DayLightName);
    EXPECT_EQ(zone.DayLightOffset(), c.DayLightOffset);
    EXPECT_EQ(zone.DayLightTimeZone(), c.DayLightText);
    EXPECT_EQ(zone.StandardTimeBegins().FormatIso(), c.StandardBegins.FormatIso());
    EXPECT_EQ(zone.DayLightTimeBegins().FormatIso(), c.DayLightBegins.FormatIso());
}

constexpr const char* kUs = "EST5EDT,M3.2.0,M11.1.0";

INSTANTIATE_TEST_SUITE_P(
    Zones, TimeZoneAt,
    ::testing::Values(
        ZoneCase{"UsWinter", kUs, test::Utc(2026, 1, 15, 12, 0, 0), "EST", -300, "-0500", "EST",
                 -300, "EDT", -240, "-0400", DateTime{2026, 11, 1, 2, 0, 0},
                 DateTime{2026, 3, 8, 2, 0, 0}},
        // Daylight saving already began this year: its next beginning is next year's.
        ZoneCase{"UsSummer", kUs, test::Utc(2026, 7, 1, 12, 0, 0), "EDT", -240, "-0400", "EST",
                 -300, "EDT", -240, "-0400", DateTime{2026, 11, 1, 2, 0, 0},
                 DateTime{2027, 3, 14, 2, 0, 0}},
        ZoneCase{"SouthernSummer", "AEST-10AEDT,M10.1.0,M4.1.0/3", test::Utc(2026, 1, 15, 0, 0, 0),
                 "AEDT", 660, "+1100", "AEST", 600, "AEDT", 660, "+1100",
                 DateTime{2026, 4, 5, 3, 0, 0}, DateTime{2026, 10, 4, 2, 0, 0}},
        ZoneCase{"HalfHourEastNoDaylight", "IST-5:30", test::Utc(2026, 6, 1, 0, 0, 0), "IST", 330,
                 "+0530", "IST", 330, "IST", 330, "+0530", DateTime{}, DateTime{}},
        ZoneCase{"HalfHourWest", "NST3:30NDT,M3.2.0,M11.1.0", test::Utc(2026, 1, 10, 0, 0, 0),
                 "NST", -210, "-0330", "NST", -210, "NDT", -150, "-0230",
                 DateTime{2026, 11, 1, 2, 0, 0}, DateTime{2026, 3, 8, 2, 0, 0}},
        // The sign of every zone text is that of the offset in force, even for a
        // daylight period on the other side of UTC.
        ZoneCase{"CrossesUtc", "XST1XDT-1,M3.5.0,M10.5.0", test::Utc(2026, 1, 10, 0, 0, 0), "XST",
                 -60, "-0100", "XST", -60, "XDT", 60, "-0100", DateTime{2026, 10, 25, 2, 0, 0},
                 DateTime{2026, 3, 29, 2, 0, 0}},
        ZoneCase{"Utc", "UTC0", test::Utc(2026, 1, 1, 0, 0, 0), "UTC", 0, "+0000", "UTC", 0, "UTC",
                 0, "+0000", DateTime{}, DateTime{}}),
    [](const auto& param) { return param.param.Name; });

TEST(TimeZone, MomentTheCLibraryCannotPlaceIsGmt) {
    test::EnvOverride tz("TZ", kUs);
    const TimeZone zone(std::numeric_limits<std::time_t>::max());
    EXPECT_EQ(zone.Zone(), "GMT");
    EXPECT_EQ(zone.Offset(), 0);
    EXPECT_EQ(zone.FormatTimeZone(), "+0000");
    EXPECT_TRUE(zone.StandardTimeBegins().IsEmpty());
}

TEST(TimeZone, IsValidTimeZoneChecksOnlyTheHoursRange) {
    const std::vector<std::pair<std::string, bool>> cases{
        {"+0100", true},   {"-0500", true}, {"+2399", true},  {"+0199", true},
        {"+2400", false},  {"0100", false}, {"*0100", false}, {"+01a0", false},
        {"+01000", false}, {"", false},     {"+ 100", false}, {"-2359", true}};
    const TimeZone zone(0);
    for (const auto& [text, valid] : cases)
        EXPECT_EQ(zone.IsValidTimeZone(text), valid) << text;
}

TEST(TimeZone, UTCDateMovesByTheZoneText) {
    struct Case {
        DateTime Local;
        std::string Zone;
        DateTime Utc;
    };
    const DateTime noon{2026, 1, 1, 12, 0, 0};
    const std::vector<Case> cases{
        {noon, "+0100", {2026, 1, 1, 11, 0, 0}},
        {noon, "-0500", {2026, 1, 1, 17, 0, 0}},
        {{2026, 1, 1, 2, 0, 0}, "+0530", {2025, 12, 31, 20, 30, 0}},
        {{2026, 2, 28, 23, 0, 0}, "-0230", {2026, 3, 1, 1, 30, 0}},
        {noon, "+2400", noon},
        {noon, "EST", noon},
    };
    const TimeZone zone(0);
    for (const Case& c : cases)
        EXPECT_EQ(zone.UTCDate(c.Local, c.Zone).FormatIso(), c.Utc.FormatIso()) << c.Zone;
}

TEST(TimeZone, ConvertTimeZoneAbbrTakesTheFirstExactMatch) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {"Z", "+0000"},   {"GMT", "+0000"}, {"BST", "+0100"}, {"JSA", "+0900"},
        {"M", "+1200"},   {"NDT", "-0230"}, {"NST", "-0330"}, {"EST", "-0500"},
        {"EDT", "-0400"}, {"PST", "-0800"}, {"NUT", "-1100"}, {"Y", "-1200"},
        {"est", ""},      {"J", ""},        {"", ""},         {"ESTX", ""}};
    const TimeZone zone(0);
    for (const auto& [abbr, text] : cases)
        EXPECT_EQ(zone.ConvertTimeZoneAbbr(abbr), text) << abbr;
}

} // namespace
} // namespace tessaron
