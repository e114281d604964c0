#pragma once
// Loading a backup set file for the command line, and the short summary of a set that
// "/LOAD file" prints.

#include <iosfwd>
#include <string>

namespace tessaron {

class clsSetup;

// Loads a backup set file into setup with the core's LoadSetupFile (the record ends as
// the window would hold it; a file that cannot be loaded leaves setup untouched). On
// failure the message
//   Unable to load setup file - <file name>: <reason>
// is written to messages (one line) and false is returned.
bool LoadSetup(const std::string& fileName, clsSetup& setup, std::ostream& messages);

// A few lines that describe the set: target, type, options and the selections with their
// exceptions.
std::string SetupSummary(const clsSetup& setup);

} // namespace tessaron
