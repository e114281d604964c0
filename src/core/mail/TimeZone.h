#pragma once
// TimeZone: the computer's time-zone settings, read once when the object is made, and
// the zone texts of mail "Date:" headers ("+0100", "-0500", "+0530").
// On POSIX the zone comes from the C library's zone data (TZ, /etc/localtime): the
// offset and name in force at the chosen moment, and the next standard and daylight
// periods found by searching the following year for changes of the daylight flag.
// A zone without daylight saving leaves both begins dates empty and reports its
// standard name and offset for the daylight period too.
// All offsets are minutes east of UTC. No member throws.

#include "platform/DateTime.h"

#include <ctime>
#include <string>

namespace tessaron {

class TimeZone {
public:
    // The zone in force now.
    TimeZone();
    // The zone in force at a given moment (tests fix the moment). When the C library
    // cannot say, the zone is "GMT" with offset 0.
    explicit TimeZone(std::time_t now);

    // Name and offset of the period in force.
    const std::string& Zone() const { return zone_; }
    int Offset() const { return offset_; }
    // Offset() as zone text: sign, two digits of hours, two of minutes.
    std::string FormatTimeZone() const;

    const std::string& StandardName() const { return standardName_; }
    int StandardOffset() const { return standardOffset_; }
    // StandardOffset() as zone text; the sign is always that of Offset().
    std::string StandardTimeZone() const;
    const std::string& DayLightName() const { return daylightName_; }
    int DayLightOffset() const { return daylightOffset_; }
    // DayLightOffset() as zone text; the sign is always that of Offset().
    std::string DayLightTimeZone() const;

    // Local time (on the clock of the period that ends) at which the next standard or
    // daylight period begins; the empty date when none begins within a year.
    const DateTime& StandardTimeBegins() const { return standardBegins_; }
    const DateTime& DayLightTimeBegins() const { return daylightBegins_; }

    // True for "+hhmm" or "-hhmm" with hh below 24; the minutes are checked only for
    // being digits ("+2399" is valid, "+2400" is not).
    bool IsValidTimeZone(const std::string& zone) const;
    // localDate moved to UTC by a zone text ("+0100" gives one hour earlier); returned
    // unchanged when the zone text is not valid.
    DateTime UTCDate(const DateTime& localDate, const std::string& zone) const;
    // Zone text of a mail-header zone abbreviation ("EST" gives "-0500"; exact,
    // case-sensitive match), or "" when unknown.
    std::string ConvertTimeZoneAbbr(const std::string& abbr) const;

private:
    void Load(std::time_t now);
    void FindBegins(std::time_t now);
    std::string ZoneText(int minutes) const;

    std::string zone_ = "GMT";
    int offset_ = 0;
    std::string standardName_;
    int standardOffset_ = 0;
    std::string daylightName_;
    int daylightOffset_ = 0;
    DateTime standardBegins_;
    DateTime daylightBegins_;
};

} // namespace tessaron
