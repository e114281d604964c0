#pragma once
// Numbers as the run log and the progress labels show them.

#include <cstdint>
#include <string>

namespace tessaron {

// A thousands separator and grouping. A locale without grouping (C, POSIX) or one the
// system does not know gives "," and groups of three.
struct DigitGrouping {
    std::string Separator = ",";
    std::string Groups = "\3"; // as std::numpunct::grouping gives it
};
// The grouping of a named locale ("de_DE.UTF-8" gives "." and groups of three).
DigitGrouping DigitGroupingOf(const std::string& localeName);
// The grouping of the user's locale (UserNumericLocale), read again only when that
// changes.
const DigitGrouping& UserDigitGrouping();

// n with digit grouping and no decimals: 1234567 gives "1,234,567" (with the user's
// separator). A value given as a double is rounded half to even first.
std::string FormatGrouped(std::int64_t n, const DigitGrouping& g = UserDigitGrouping());
std::string FormatGrouped(double n, const DigitGrouping& g = UserDigitGrouping());

} // namespace tessaron
