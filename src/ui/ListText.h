#pragma once
// The texts of the file list's size and date columns.

#include <ctime>
#include <string>
#include <string_view>

namespace tessaron::ui {

// A size in decimal units, rounded to a whole number (halves away from zero) with the
// user's digit grouping: above 100,000,000,000 bytes in "G", above 100,000,000 in "M",
// above 1000 in "K"; 1 to 1000 bytes give "1K"; 0 (or less) gives "0K" when showZero,
// else "-". So 1000 bytes is "1K" and 100,000,000 bytes is "100,000K".
std::string FormatSize(double bytes, bool showZero);

// The system's words of a platform error text: "clsFileSystem.GetDirectory() - Error (13)
// Permission denied" gives "Permission denied"; a text of another form is given whole.
std::string ErrorReason(const std::string& lastError);

// The path of the entry name inside folder: folder, the system's separator unless folder
// ends with one, then name.
std::string ChildPath(const std::string& folder, const std::string& name);

// The name of a drive in the tree and the list: its path, then " (" label ")" only when
// it has a label (for a network drive, the share it comes from).
std::string DriveText(const std::string& path, const std::string& label);

// A modification time in local time as "m/d/yyyy h:mm AM/PM" (month, day and hour
// without leading zeros, 12-hour clock): "3/7/2024 9:05 PM". "" for 0 (no time known).
std::string FormatListDate(std::time_t t);

// The sort key of a name without regard to letter case: its characters in upper case (as
// the user's locale has them), one per Unicode code point. Bytes that are no UTF-8 count
// as the code point of the byte.
std::u32string UpperKey(std::string_view utf8);

} // namespace tessaron::ui
