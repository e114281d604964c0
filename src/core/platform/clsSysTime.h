#pragma once
// clsSysTime: a snapshot of the local date and time with milliseconds, and the
// milliseconds elapsed from a snapshot to now. The run clock of the progress record.
// The source of "now" is injectable so that the elapsed-time arithmetic can be tested
// without waiting.

#include "platform/DateTime.h"

namespace tessaron {

// One reading of the local clock.
struct SystemTime {
    int Year = 0;
    int Month = 0;     // 1-12
    int DayOfWeek = 0; // 0 = Sunday
    int Day = 0;
    int Hour = 0;
    int Minute = 0;
    int Second = 0;
    int Milliseconds = 0;
};

// Reads the local clock; the default source of clsSysTime.
SystemTime LocalSystemTime();

class clsSysTime {
public:
    using Clock = SystemTime (*)();

    // Takes a snapshot at once (GetTime).
    explicit clsSysTime(Clock clock = &LocalSystemTime);
    // A fixed snapshot; ElapsedTime still reads "now" from clock.
    clsSysTime(const SystemTime& value, Clock clock = &LocalSystemTime);

    int Year() const { return m_time.Year; }
    int Month() const { return m_time.Month; }
    int Day() const { return m_time.Day; }
    int WeekDay() const { return m_time.DayOfWeek + 1; } // Sunday = 1 ... Saturday = 7
    int Hour() const { return m_time.Hour; }
    int Minute() const { return m_time.Minute; }
    int Second() const { return m_time.Second; }
    int MilliSeconds() const { return m_time.Milliseconds; }

    // Refills the snapshot from the clock.
    void GetTime();
    // The snapshot as a date-time to the second.
    DateTime MakeDate() const;
    // Milliseconds from this snapshot to a new one taken now.
    int ElapsedTime() const;
    // Milliseconds from `from` to `to`: whole seconds between the two dates, then the
    // millisecond difference, borrowing a second when to's milliseconds are fewer (the
    // borrow is skipped when the whole seconds are not above 0). Not guarded against a
    // clock set back.
    static int Elapsed(const clsSysTime& from, const clsSysTime& to);

private:
    Clock m_clock;
    SystemTime m_time;
};

} // namespace tessaron
