#include "MailTestSupport.h"
#include "mail/TimeZone.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>

namespace tessaron {
namespace {

// "zone offset text; standard name offset; daylight name offset text; standard begins;
// daylight begins" in one line, so a table row reads as the zone's whole state.
std::string Describe(const TimeZone& z) {
    const auto begins = [](const DateTime& d) { return d.IsEmpty() ? "-" : d.FormatIso(); };
    return z.Zone() + " " + std::to_string(z.Offset()) + " " + z.FormatTimeZone() + "; " +
           z.StandardName() + " " + std::to_string(z.StandardOffset()) + "; " + z.DayLightName() +
           " " + std::to_string(z.DayLightOffset()) + " " + z.DayLightTimeZone() + "; " +
           begins(z.StandardTimeBegins()) + "; " + begins(z.DayLightTimeBegins());
}

TEST(TimeZone, PeriodsAndTheirNextBeginning) {
    const std::string us = "EST5EDT,M3.2.0,M11.1.0";
    const std::tuple<std::string, std::time_t, std::string> cases[]{
        {us, test::Utc(2026, 1, 15, 12, 0, 0),
         "EST -300 -0500; EST -300; EDT -240 -0400; 2026-11-01 02:00:00; 2026-03-08 02:00:00"},
        // Daylight saving already began this year: its next beginning is next year's.
        {us, test::Utc(2026, 7, 1, 12, 0, 0),
         "EDT -240 -0400; EST -300; EDT -240 -0400; 2026-11-01 02:00:00; 2027-03-14 02:00:00"},
        {"AEST-10AEDT,M10.1.0,M4.1.0/3", test::Utc(2026, 1, 15, 0, 0, 0),
         "AEDT 660 +1100; AEST 600; AEDT 660 +1100; 2026-04-05 03:00:00; 2026-10-04 02:00:00"},
        {"IST-5:30", test::Utc(2026, 6, 1, 0, 0, 0), "IST 330 +0530; IST 330; IST 330 +0530; -; -"},
        {"NST3:30NDT,M3.2.0,M11.1.0", test::Utc(2026, 1, 10, 0, 0, 0),
         "NST -210 -0330; NST -210; NDT -150 -0230; 2026-11-01 02:00:00; 2026-03-08 02:00:00"},
        // Every zone text takes the sign of the offset in force, even for a daylight
        // period on the other side of UTC.
        {"XST1XDT-1,M3.5.0,M10.5.0", test::Utc(2026, 1, 10, 0, 0, 0),
         "XST -60 -0100; XST -60; XDT 60 -0100; 2026-10-25 02:00:00; 2026-03-29 02:00:00"},
        // A moment the C library cannot place is GMT with no periods.
        {us, std::numeric_limits<std::time_t>::max(), "GMT 0 +0000;  0;  0 +0000; -; -"},
    };
    for (const auto& [tz, now, expected] : cases) {
        test::EnvOverride zone("TZ", tz);
        EXPECT_EQ(Describe(TimeZone(now)), expected) << tz;
    }
}

TEST(TimeZone, ZoneTextChecksAndConversions) {
    const TimeZone zone(0);
    // Only the hours are range-checked: "+2399" passes, "+2400" does not.
    for (const std::string valid : {"+0100", "-2359", "+2399"})
        EXPECT_TRUE(zone.IsValidTimeZone(valid)) << valid;
    for (const std::string bad : {"+2400", "0100", "*0100", "+01a0", "+01000", "", "+ 100"})
        EXPECT_FALSE(zone.IsValidTimeZone(bad)) << bad;

    // Exact, case-sensitive matches only.
    const std::pair<std::string, std::string> abbrs[]{
        {"Z", "+0000"},   {"BST", "+0100"}, {"JSA", "+0900"}, {"M", "+1200"}, {"NST", "-0330"},
        {"EDT", "-0400"}, {"Y", "-1200"},   {"est", ""},      {"J", ""},      {"ESTX", ""}};
    for (const auto& [abbr, text] : abbrs)
        EXPECT_EQ(zone.ConvertTimeZoneAbbr(abbr), text) << abbr;

    const DateTime noon{2026, 1, 1, 12, 0, 0};
    const std::tuple<DateTime, std::string, DateTime> moves[]{
        {noon, "-0500", {2026, 1, 1, 17, 0, 0}},
        {{2026, 1, 1, 2, 0, 0}, "+0530", {2025, 12, 31, 20, 30, 0}},
        {{2026, 2, 28, 23, 0, 0}, "-0230", {2026, 3, 1, 1, 30, 0}},
        {noon, "+2400", noon}, // an invalid zone text leaves the date as it is
        {noon, "EST", noon},
    };
    for (const auto& [local, text, utc] : moves)
        EXPECT_EQ(zone.UTCDate(local, text).FormatIso(), utc.FormatIso()) << text;
}

} // namespace
} // namespace tessaron
