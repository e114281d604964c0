#include "mail/TimeZone.h"

#include <array>
#include <cstdlib>
#include <limits>
#include <utility>

namespace tessaron {

namespace {

constexpr std::time_t kDay = 24 * 60 * 60;
constexpr int kSearchDays = 366;

std::string Trim(const std::string& s) {
    const auto first = s.find_first_not_of(' ');
    if (first == std::string::npos)
        return "";
    return s.substr(first, s.find_last_not_of(' ') - first + 1);
}

// The local state of a moment: daylight flag, offset in seconds and zone name.
struct LocalState {
    bool Valid = false;
    bool Dst = false;
    long GmtOff = 0;
    std::string Name;
};

LocalState StateAt(std::time_t t) {
    LocalState s;
    std::tm tm{};
    if (localtime_r(&t, &tm) == nullptr)
        return s;
    s.Valid = true;
    s.Dst = tm.tm_isdst > 0;
    s.GmtOff = tm.tm_gmtoff;
    s.Name = Trim(tm.tm_zone != nullptr ? tm.tm_zone : "");
    return s;
}

DateTime FromUtcFields(std::time_t t) {
    std::tm tm{};
    if (gmtime_r(&t, &tm) == nullptr)
        return {};
    return {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec};
}

// First second after `from` (exclusive) at which the daylight flag differs from that
// at `from`; `to` is known to differ.
std::time_t FirstChange(std::time_t from, std::time_t to, bool dstAtFrom) {
    while (to - from > 1) {
        const std::time_t mid = from + (to - from) / 2;
        if (StateAt(mid).Dst == dstAtFrom)
            from = mid;
        else
            to = mid;
    }
    return to;
}

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

void TimeZone::Load(std::time_t now) {
    tzset();
    const LocalState cur = StateAt(now);
    if (!cur.Valid)
        return; // "GMT", offset 0, no begins dates
    zone_ = cur.Name;
    offset_ = static_cast<int>(cur.GmtOff / 60);
    // Until a change is found the zone has one period, reported as both.
    standardName_ = daylightName_ = cur.Name;
    standardOffset_ = daylightOffset_ = offset_;
    FindBegins(now);
}

void TimeZone::FindBegins(std::time_t now) {
    LocalState before = StateAt(now);
    std::time_t t = now;
    bool haveStandard = false;
    bool haveDaylight = false;
    for (int day = 0; day < kSearchDays && !(haveStandard && haveDaylight); ++day) {
        if (t > std::numeric_limits<std::time_t>::max() - kDay)
            break;
        const LocalState next = StateAt(t + kDay);
        if (next.Valid && next.Dst != before.Dst) {
            const std::time_t change = FirstChange(t, t + kDay, before.Dst);
            const LocalState after = StateAt(change);
            // The begins time reads on the clock of the period that ends, as a
            // wall clock shows it just before the change.
            const DateTime begins = FromUtcFields(change + before.GmtOff);
            const int minutes = static_cast<int>(after.GmtOff / 60);
            if (after.Dst && !haveDaylight) {
                haveDaylight = true;
                daylightBegins_ = begins;
                daylightName_ = after.Name;
                daylightOffset_ = minutes;
            } else if (!after.Dst && !haveStandard) {
                haveStandard = true;
                standardBegins_ = begins;
                standardName_ = after.Name;
                standardOffset_ = minutes;
            }
            before = after;
            t = change;
            continue;
        }
        t += kDay;
    }
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
    std::tm tm = localDate.ToTm();
    // The fields are handled as a plain calendar value; timegm does the carrying.
    const std::time_t naive = timegm(&tm);
    const long shift = sign * (Digits2(zone, 1) * 3600L + Digits2(zone, 3) * 60L);
    return FromUtcFields(naive + shift);
}

std::string TimeZone::ConvertTimeZoneAbbr(const std::string& abbr) const {
    for (const AbbrRow& row : kAbbr) {
        if (abbr == row.Abbr)
            return row.Zone;
    }
    return "";
}

} // namespace tessaron
