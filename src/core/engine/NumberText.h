#pragma once
// Numbers as the run log and the progress labels show them.

#include <cstdint>
#include <string>

namespace tessaron {

// The thousands separator and grouping of the user's locale, read once per process.
// A locale without grouping (C, POSIX) gives "," and groups of three.
struct DigitGrouping {
    std::string Separator = ",";
    std::string Groups = "\3"; // as std::numpunct::grouping gives it
};
const DigitGrouping& UserDigitGrouping();

// n with digit grouping and no decimals: 1234567 gives "1,234,567" (with the user's
// separator). A value given as a double is rounded half to even first.
std::string FormatGrouped(std::int64_t n, const DigitGrouping& g = UserDigitGrouping());
std::string FormatGrouped(double n, const DigitGrouping& g = UserDigitGrouping());

} // namespace tessaron
