#pragma once
// Loading a backup set file for the command line, and the short summary of a set that
// "/LOAD file" prints.

#include <cstdint>
#include <iosfwd>
#include <string>

namespace tessaron {

class clsSetup;

// Backup set files are a few lines; anything larger is refused rather than read.
constexpr std::uintmax_t kMaxSetFileSize = 16u * 1024u * 1024u;

// Reads the whole file into text. False with the system's reason ("No such file or
// directory", "Is a directory", "Permission denied", ...) when it is missing, not a
// regular file, unreadable or larger than kMaxSetFileSize.
bool ReadSetFile(const std::string& fileName, std::string& text, std::string& reason);

// Loads a backup set file into setup: reads it, then Clear and Parse. A file that cannot
// be read leaves setup untouched. On failure the message
//   Unable to load setup file - <file name>: <reason>
// is written to messages (one line) and false is returned.
bool LoadSetup(const std::string& fileName, clsSetup& setup, std::ostream& messages);

// A few lines that describe the set: target, type, options and the selections with their
// exceptions.
std::string SetupSummary(const clsSetup& setup);

} // namespace tessaron
