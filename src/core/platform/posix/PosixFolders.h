#pragma once
// Folder work shared by the POSIX platform classes: opening paths of any length, reading
// and examining the entries of an open folder, removing trees. Internal to the platform
// layer.

#include "platform/clsFSItem.h"

#include <functional>
#include <string>
#include <vector>

namespace tessaron::posix {

// Opens path with flags (O_CLOEXEC is added). Links on the way are followed; the last
// component's link only when followLast (else O_NOFOLLOW). A path longer than the system's
// limit is opened one component at a time from "/" or the working folder. -1 with the
// errno value in code on failure.
int OpenPath(const std::string& path, int flags, bool followLast, int& code);

// The entry names of the folder open as fd (which stays open), other than "." and "..",
// sorted by byte order; false (code set) when they cannot be read.
bool ListNamesAt(int fd, std::vector<std::string>& names, int& code);

// The status of the entry name of the folder open as dirfd, a link not followed (name ""
// : the folder itself), with its creation time where the system keeps one and the mount
// that holds it. False (errno set) when it cannot be examined.
bool StatEntry(int dirfd, const std::string& name, FileInfo& info, time_t& created);

// One listing record for the entry name of the folder open as dirfd, examined without
// following a link. False only when the entry vanished (no such file); an entry that
// cannot be examined is kept with its name and item.Error.
bool FillItem(int dirfd, const std::string& name, clsFSItem& item);

// True when files created in the folder open as fd get a default ACL, which replaces the
// umask (and when that cannot be told): then the first file's mode says nothing about the
// next one's.
bool HasDefaultAcl(int fd);

// path made absolute (from the working folder) with "." , ".." and repeated separators
// handled as text; "" for an empty path or when the working folder cannot be read.
std::string AbsolutePath(const std::string& path);
// The place path names as the system resolves it: absolute, its existing part with every
// link, "." and ".." resolved, the missing rest handled as text. "" as AbsolutePath.
std::string ResolvePath(const std::string& path);

} // namespace tessaron::posix
