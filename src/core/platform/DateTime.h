#pragma once
// DateTime: a local date and time to the second, the date value of the whole core
// (file times in listings and the incremental rule, log lines, clocks).
// The all-zero value is the "empty date": it stands for "no date" (a missing file's time)
// and sorts before every real date.

#include <compare>
#include <ctime>
#include <string>

namespace tessaron {

struct DateTime {
    int Year = 0;
    int Month = 0; // 1-12
    int Day = 0;   // 1-31
    int Hour = 0;
    int Minute = 0;
    int Second = 0;

    bool IsEmpty() const { return *this == DateTime{}; }
    auto operator<=>(const DateTime&) const = default;

    // The current local date and time.
    static DateTime Now();
    // The local date and time of a moment; the empty date for t == 0.
    static DateTime FromTimeT(std::time_t t);
    // The UTC date and time of a moment; the empty date for t == 0.
    static DateTime FromTimeTUtc(std::time_t t);
    // The moment of this local date and time (mktime rules: an hour that a daylight
    // change skips is moved on); 0 for the empty date.
    std::time_t ToTimeT() const;
    // The moment of these fields read as UTC; fields out of range carry over (a 32nd day
    // is the next month's 1st), as timegm does. 0 for the empty date.
    std::time_t ToTimeTUtc() const;
    // The fields as a calendar record (tm_isdst = -1: let the C library decide).
    std::tm ToTm() const;
    // Whole seconds from this to other (negative when other is earlier).
    long long SecondsUntil(const DateTime& other) const;

    // The date and time in the user's locale as the program has set it (UseUserLocale):
    // "%x %X", e.g. "05.11.2026 09:07:03" in a German locale; with the C or POSIX locale
    // (or none set) "YYYY-MM-DD HH:MM:SS". The empty date formats as "".
    std::string Format() const;
    // Always "YYYY-MM-DD HH:MM:SS", for tests and machine-read text.
    std::string FormatIso() const;
    // "YYYY-MM-DD" as used in log file names.
    std::string FormatDate() const;
};

} // namespace tessaron
