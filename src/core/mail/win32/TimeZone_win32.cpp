// TimeZone on Windows: the zone record of GetTimeZoneInformation. Its biases are minutes
// west of UTC (UTC = local time + bias); this class keeps minutes east, their negation.
#include "mail/TimeZone.h"

#include "platform/Trim.h"
#include "platform/win32/Win32Support.h"

namespace tessaron {

namespace {

// A zone name of the record: cut at its first NUL and trimmed of blanks.
std::string ZoneName(const WCHAR (&name)[32]) {
    std::wstring text(name, std::size(name));
    const std::size_t nul = text.find(L'\0');
    if (nul != std::wstring::npos) {
        text.resize(nul);
    }
    return TrimSpaces(win32::Narrow(text));
}

int DaysInMonth(int year, int month) {
    const DateTime first{year, month, 1, 0, 0, 0};
    const DateTime next{month == 12 ? year + 1 : year, month == 12 ? 1 : month + 1, 1, 0, 0, 0};
    return static_cast<int>((next.ToTimeTUtc() - first.ToTimeTUtc()) / 86400);
}

// The day of the month of the n-th given weekday (0 = Sunday); n = 5 is the last one.
int NthWeekday(int year, int month, int weekday, int n) {
    const DateTime first{year, month, 1, 0, 0, 0};
    // 1970-01-01 was a Thursday (weekday 4).
    const long long days = first.ToTimeTUtc() / 86400;
    const int firstWeekday = static_cast<int>(((days + 4) % 7 + 7) % 7);
    int day = 1 + (weekday - firstWeekday + 7) % 7 + 7 * (n - 1);
    while (day > DaysInMonth(year, month)) {
        day -= 7;
    }
    return day;
}

// When a period of the record next begins, from the present local date: a date fixed to
// one year as it stands; a yearly rule this year, or next year once this year's has
// passed; the empty date for a zone without that rule.
DateTime Begins(const SYSTEMTIME& rule, const DateTime& present) {
    if (rule.wMonth == 0) {
        return {};
    }
    if (rule.wYear != 0) {
        return {rule.wYear, rule.wMonth, rule.wDay, rule.wHour, rule.wMinute, rule.wSecond};
    }
    for (int year = present.Year; year <= present.Year + 1; ++year) {
        const DateTime at{
            year,       rule.wMonth,  NthWeekday(year, rule.wMonth, rule.wDayOfWeek, rule.wDay),
            rule.wHour, rule.wMinute, rule.wSecond};
        if (at >= present) {
            return at;
        }
    }
    return {};
}

} // namespace

void TimeZone::Load(std::time_t now) {
    TIME_ZONE_INFORMATION tzi{};
    const DWORD rc = ::GetTimeZoneInformation(&tzi);
    if (rc == TIME_ZONE_ID_INVALID) {
        return; // "GMT", offset 0, no begins dates
    }
    standardName_ = ZoneName(tzi.StandardName);
    daylightName_ = ZoneName(tzi.DaylightName);
    standardOffset_ = -static_cast<int>(tzi.Bias + tzi.StandardBias);
    daylightOffset_ = -static_cast<int>(tzi.Bias + tzi.DaylightBias);
    // "Unknown" is what a zone without daylight saving reports: its standard time is
    // always in force. Otherwise the period in force at the given moment is the one
    // whose offset the zone's rules give then.
    const int offsetNow = static_cast<int>((DateTime::FromTimeT(now).ToTimeTUtc() - now) / 60);
    const bool daylight = rc != TIME_ZONE_ID_UNKNOWN && tzi.DaylightDate.wMonth != 0 &&
                          daylightOffset_ != standardOffset_ && offsetNow == daylightOffset_;
    zone_ = daylight ? daylightName_ : standardName_;
    offset_ = daylight ? daylightOffset_ : standardOffset_;
    const DateTime present = DateTime::FromTimeT(now);
    standardBegins_ = Begins(tzi.StandardDate, present);
    daylightBegins_ = Begins(tzi.DaylightDate, present);
    if (daylightBegins_.IsEmpty() && standardBegins_.IsEmpty()) {
        // One period only: it is reported as both, as on every system.
        daylightName_ = standardName_;
        daylightOffset_ = standardOffset_;
    }
}

} // namespace tessaron
