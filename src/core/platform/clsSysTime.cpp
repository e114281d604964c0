#include "platform/clsSysTime.h"

#include <climits>

namespace tessaron {

clsSysTime::clsSysTime(Clock clock) : m_clock(clock) {
    GetTime();
}

clsSysTime::clsSysTime(const SystemTime& value, Clock clock) : m_clock(clock), m_time(value) {}

void clsSysTime::GetTime() {
    m_time = m_clock != nullptr ? m_clock() : LocalSystemTime();
}

DateTime clsSysTime::MakeDate() const {
    return {m_time.Year, m_time.Month, m_time.Day, m_time.Hour, m_time.Minute, m_time.Second};
}

int clsSysTime::ElapsedTime() const {
    return Elapsed(*this, clsSysTime(m_clock));
}

int clsSysTime::Elapsed(const clsSysTime& from, const clsSysTime& to) {
    long long seconds = from.MakeDate().SecondsUntil(to.MakeDate());
    long long ms = 0;
    if (to.MilliSeconds() >= from.MilliSeconds()) {
        ms = to.MilliSeconds() - from.MilliSeconds();
    } else {
        // Borrow a second for the milliseconds; a run that has not yet seen a whole
        // second has none to lend.
        if (seconds > 0) {
            --seconds;
        }
        ms = to.MilliSeconds() + 1000 - from.MilliSeconds();
    }
    long long total = seconds * 1000 + ms;
    if (total > INT_MAX) {
        return INT_MAX;
    }
    return total < INT_MIN ? INT_MIN : static_cast<int>(total);
}

} // namespace tessaron
