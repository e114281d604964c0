// The parts of DateTime that do not depend on the operating system.
#include "platform/DateTime.h"

#include <cstdio>

namespace tessaron {

std::tm DateTime::ToTm() const {
    std::tm tm{};
    tm.tm_year = Year - 1900;
    tm.tm_mon = Month - 1;
    tm.tm_mday = Day;
    tm.tm_hour = Hour;
    tm.tm_min = Minute;
    tm.tm_sec = Second;
    tm.tm_isdst = -1;
    return tm;
}

namespace {

// Days from 1970-01-01 to a date of the proleptic Gregorian calendar (H. Hinnant's
// days_from_civil); month may be any number, it carries into the year.
long long DaysFromCivil(long long y, long long m, long long d) {
    y += (m - 1) / 12;
    m = (m - 1) % 12 + 1;
    if (m <= 0) {
        m += 12;
        --y;
    }
    y -= m <= 2 ? 1 : 0;
    const long long era = (y >= 0 ? y : y - 399) / 400;
    const long long yoe = y - era * 400;
    const long long doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5;
    const long long doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468 + (d - 1);
}

} // namespace

std::time_t DateTime::ToTimeTUtc() const {
    if (IsEmpty()) {
        return 0;
    }
    const long long days = DaysFromCivil(Year, Month, Day);
    return static_cast<std::time_t>(days * 86400LL + Hour * 3600LL + Minute * 60LL + Second);
}

long long DateTime::SecondsUntil(const DateTime& other) const {
    return static_cast<long long>(other.ToTimeT()) - static_cast<long long>(ToTimeT());
}

std::string DateTime::FormatIso() const {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d", Year, Month, Day, Hour, Minute,
                  Second);
    return buf;
}

std::string DateTime::FormatDate() const {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d", Year, Month, Day);
    return buf;
}

} // namespace tessaron
