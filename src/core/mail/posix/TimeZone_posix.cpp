// TimeZone on POSIX: the C library's zone data.
#include "mail/TimeZone.h"

#include "platform/Trim.h"

#include <limits>

namespace tessaron {

namespace {

constexpr std::time_t kDay = 24 * 60 * 60;
constexpr int kSearchDays = 366;

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
    s.Name = TrimSpaces(tm.tm_zone != nullptr ? tm.tm_zone : "");
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

} // namespace

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

} // namespace tessaron
