// The parts of TimeZone that do not depend on the operating system: zone texts and the
// conversions by them.
#include "mail/TimeZone.h"

#include <array>
#include <cstdlib>

namespace tessaron {

namespace {

struct AbbrRow {
    const char* Abbr;
    const char* Zone;
};

// Mail-header zone abbreviations, first match wins (so "BST" is +0100).
constexpr std::array<AbbrRow, 50> kAbbr{{
    {"Z", "+0000"},   {"UT", "+0000"},  {"UTC", "+0000"}, {"GMT", "+0000"}, {"A", "+0100"},
    {"MET", "+0100"}, {"BST", "+0100"}, {"B", "+0200"},   {"EET", "+0200"}, {"C", "+0300"},
    {"D", "+0400"},   {"E", "+0500"},   {"F", "+0600"},   {"G", "+0700"},   {"H", "+0800"},
    {"I", "+0900"},   {"JSA", "+0900"}, {"K", "+1000"},   {"L", "+1100"},   {"M", "+1200"},
    {"N", "-0100"},   {"O", "-0200"},   {"NDT", "-0230"}, {"P", "-0300"},   {"ADT", "-0300"},
    {"NST", "-0330"}, {"Q", "-0400"},   {"AST", "-0400"}, {"EDT", "-0400"}, {"R", "-0500"},
    {"EST", "-0500"}, {"CDT", "-0500"}, {"S", "-0600"},   {"CST", "-0600"}, {"MDT", "-0600"},
    {"T", "-0700"},   {"MST", "-0700"}, {"PDT", "-0700"}, {"U", "-0800"},   {"PST", "-0800"},
    {"YDT", "-0800"}, {"V", "-0900"},   {"YST", "-0900"}, {"W", "-1000"},   {"HST", "-1000"},
    {"X", "-1100"},   {"NUT", "-1100"}, {"BST", "-1100"}, {"SST", "-1100"}, {"Y", "-1200"},
}};

int Digits2(const std::string& s, std::size_t pos) {
    return (s[pos] - '0') * 10 + (s[pos + 1] - '0');
}

} // namespace

TimeZone::TimeZone() : TimeZone(std::time(nullptr)) {}

TimeZone::TimeZone(std::time_t now) {
    Load(now);
}

std::string TimeZone::ZoneText(int minutes) const {
    const int hours = std::abs(minutes / 60);
    const int mins = std::abs(minutes % 60);
    std::string text(1, offset_ >= 0 ? '+' : '-');
    text += static_cast<char>('0' + hours / 10 % 10);
    text += static_cast<char>('0' + hours % 10);
    text += static_cast<char>('0' + mins / 10);
    text += static_cast<char>('0' + mins % 10);
    return text;
}

std::string TimeZone::FormatTimeZone() const {
    return ZoneText(offset_);
}

std::string TimeZone::StandardTimeZone() const {
    return ZoneText(standardOffset_);
}

std::string TimeZone::DayLightTimeZone() const {
    return ZoneText(daylightOffset_);
}

bool TimeZone::IsValidTimeZone(const std::string& zone) const {
    if (zone.size() != 5 || (zone[0] != '+' && zone[0] != '-'))
        return false;
    for (std::size_t i = 1; i < 5; ++i) {
        if (zone[i] < '0' || zone[i] > '9')
            return false;
    }
    // Only the hours are range-checked; the minutes need only be digits.
    const int hours = Digits2(zone, 1);
    return hours < 24 && hours < 60;
}

DateTime TimeZone::UTCDate(const DateTime& localDate, const std::string& zone) const {
    if (!IsValidTimeZone(zone) || localDate.IsEmpty())
        return localDate;
    const int sign = zone[0] == '+' ? -1 : 1;
    // The fields are handled as a plain calendar value, the carrying done by the UTC
    // conversion.
    const std::time_t naive = localDate.ToTimeTUtc();
    const long shift = sign * (Digits2(zone, 1) * 3600L + Digits2(zone, 3) * 60L);
    return DateTime::FromTimeTUtc(naive + shift);
}

std::string TimeZone::ConvertTimeZoneAbbr(const std::string& abbr) const {
    for (const AbbrRow& row : kAbbr) {
        if (abbr == row.Abbr)
            return row.Zone;
    }
    return "";
}

} // namespace tessaron
