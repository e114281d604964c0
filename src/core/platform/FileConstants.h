#pragma once
// The numeric values of the open parameters and attribute bits that the platform classes
// take and give. They keep the Windows values so that callers (and backup set logic
// written against them) are the same on every system; the POSIX implementation maps
// them onto open(2) flags and permission bits.

#include <cstdint>

namespace tessaron {

// An open file or folder of the system: a descriptor on POSIX, a HANDLE (held as an
// integer) on Windows. -1 means none on both (it is INVALID_HANDLE_VALUE there).
#ifdef _WIN32
using NativeHandle = std::intptr_t;
#else
using NativeHandle = int;
#endif

// Desired access of clsBinaryFile::OpenFile.
namespace FileAccess {
constexpr std::int64_t Read = 0x80000000;
constexpr std::int64_t Write = 0x40000000;
constexpr std::int64_t ReadWrite = Read | Write;
} // namespace FileAccess

// Share mode of clsBinaryFile::OpenFile. POSIX has no mandatory sharing: the value is
// kept and reported but does not restrict other openers.
namespace FileShare {
constexpr std::int64_t None = 0;
constexpr std::int64_t Read = 1;
constexpr std::int64_t Write = 2;
constexpr std::int64_t Delete = 4;
} // namespace FileShare

// Creation disposition of clsBinaryFile::OpenFile.
namespace FileOpen {
constexpr std::int64_t CreateNew = 1;        // fails when the file exists
constexpr std::int64_t CreateAlways = 2;     // creates or truncates
constexpr std::int64_t OpenExisting = 3;     // fails when the file is missing
constexpr std::int64_t OpenAlways = 4;       // opens or creates, never truncates
constexpr std::int64_t TruncateExisting = 5; // fails when missing, else truncates
} // namespace FileOpen

// Attribute bits of clsFileSystem::GetFileAttributes/SetFileAttributes and of the
// creation attributes of clsBinaryFile::OpenFile.
namespace FileAttr {
constexpr int ReadOnly = 1;
constexpr int Hidden = 2;
constexpr int System = 4;
constexpr int Directory = 16;
constexpr int Archive = 32;
constexpr int Normal = 128;
} // namespace FileAttr

// What a directory entry is. Links are never followed, so a link is its own kind.
enum class FileKind { None, File, Directory, Symlink, Fifo, Socket, Device };

} // namespace tessaron
