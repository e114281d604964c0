#pragma once
// Loading a backup set file the one way the window and the command line share, so that a
// run without a window ends with exactly the record the window would hold.

#include <cstddef>
#include <string>

namespace tessaron {

class clsSetup;

// Backup set files are a few lines; anything larger is refused rather than read.
constexpr std::size_t kMaxSetFileSize = 16u * 1024u * 1024u;

// The record as the window's New command leaves it: Clear, and the option boxes that
// Clear leaves alone unticked and emptied (CleanTarget and Email off, EmailTo empty), as
// unticking them in the window writes into the record. LogPath, Quiet and BlockSize come
// from the command line and stay.
void ResetSetup(clsSetup& setup);

// The window's coupling of the options, applied to the record: an INCREMENTAL set never
// clears its target (choosing Incremental unticks and greys the clearing box).
void ApplyOptionRules(clsSetup& setup);

// Loads fileName into setup: reads it (a regular file of at most kMaxSetFileSize bytes),
// then resets the record (ResetSetup), parses the text and applies ApplyOptionRules.
// Every load starts from the reset record, so nothing carries over from an earlier set.
// False with the reason ("No such file or directory", "Not a regular file", "Type
// mismatch", a path that holds a NUL character...) when the file cannot be read or parsed;
// setup is then left as it was.
bool LoadSetupFile(const std::string& fileName, clsSetup& setup, std::string& reason);

} // namespace tessaron
