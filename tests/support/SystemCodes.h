#pragma once
// The system's error codes for the failures that the shared tests provoke, so that one
// table of cases runs on every system. Texts of system errors are never compared: they
// differ between systems (and between Windows and Wine).

#include <cerrno>

namespace tessaron::test {

#ifdef _WIN32
// The Windows codes by number: windows.h defines macros (Yield) that clash with the
// platform classes' members.
inline constexpr int kNotFound = 2;         // ERROR_FILE_NOT_FOUND
inline constexpr int kExists = 80;          // ERROR_FILE_EXISTS
inline constexpr int kBadHandle = 6;        // ERROR_INVALID_HANDLE
inline constexpr int kInvalidArgument = 87; // ERROR_INVALID_PARAMETER
inline constexpr bool kHasKernelCopy = false;
#else
inline constexpr int kNotFound = ENOENT;
inline constexpr int kExists = EEXIST;
inline constexpr int kBadHandle = EBADF;
inline constexpr int kInvalidArgument = EINVAL;
inline constexpr bool kHasKernelCopy = true;
#endif

} // namespace tessaron::test
