#pragma once
// Reading a small text file whole (a backup set, a settings file) safely: only a regular
// file is read, so that a FIFO, a device or a folder put in its place can neither block
// the program nor feed it without end.

#include <cstddef>
#include <string>

namespace tessaron {

// Reads the whole of path into text. False, with the reason in the system's words ("No
// such file or directory", "Is a directory", "Permission denied") or "Not a regular
// file" or "File is larger than N MiB", when path is missing, unreadable, not a regular
// file (a link to one is followed) or larger than maxBytes. The open never waits for a
// writer or a device. text is left as it was on failure.
bool ReadSmallFile(const std::string& path, std::size_t maxBytes, std::string& text,
                   std::string& reason);

} // namespace tessaron
