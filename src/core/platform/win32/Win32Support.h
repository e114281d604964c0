#pragma once
// Helpers shared by the Windows implementations of the platform, mail and console code.
// The program keeps every text in UTF-8; these turn it into UTF-16 at each Windows call
// and back. Internal: nothing outside the win32/ folders includes this.

#include "platform/DateTime.h"
#include "platform/clsFSItem.h"

#include <ctime>
#include <string>
#include <string_view>
#include <windows.h>

// windows.h names some functions by macros that would rename the platform classes'
// members of the same names (clsFileSystem::CreateDirectory would become
// CreateDirectoryW here and stay CreateDirectory elsewhere). The wide functions are
// called by their full names instead.
#undef CreateDirectory
#undef GetFileAttributes
#undef SetFileAttributes
#undef GetDriveType
#undef Yield

namespace tessaron::win32 {

// "The create operation stopped after reaching a symbolic link": a link was refused
// rather than followed. (Not every SDK's headers name it.)
constexpr DWORD kErrorStoppedOnSymlink = 681;

// UTF-8 to UTF-16 and back. Bytes that are not UTF-8 become U+FFFD, never a failure.
std::wstring Widen(std::string_view utf8);
std::string Narrow(std::wstring_view utf16);

// The form of a path that the file functions take: absolute, "\" separators, "." and
// ".." resolved, with the "\\?\" (or "\\?\UNC\") prefix that lifts the 260-character
// limit. A device or already prefixed path ("\\.\E:", "\\?\...") is kept as it is; an
// empty path stays empty (so that the call fails as for a missing file).
std::wstring LongPath(const std::string& path);

// The system's text for an error code (FormatMessage, without a trailing line break);
// "" when the system has none.
std::string ErrorText(DWORD code);
// "source - Error (code) text", the error text of every platform class.
std::string ErrorLine(const std::string& source, DWORD code);

// File times (100 ns steps since 1601, UTC) and the POSIX-style moments of FileInfo.
timespec ToTimespec(const FILETIME& ft);
FILETIME ToFileTime(const timespec& ts);
// A FILETIME as the calendar fields of a date-time, to the second, without any zone
// change; the empty date for a zero or invalid time.
DateTime DateOfFileTime(const FILETIME& ft);
// The calendar fields of a date-time as a SYSTEMTIME (no zone change, no check).
SYSTEMTIME SystemTimeOf(const DateTime& date);
// The calendar fields of a date-time as a FILETIME, without any zone change; false for
// the empty date or impossible fields.
bool FileTimeOfDate(const DateTime& date, FILETIME& ft);

// The attribute data of path (not following a final link); false with the error code in
// GetLastError when it cannot be read.
bool AttributeData(const std::wstring& longPath, WIN32_FILE_ATTRIBUTE_DATA& data);
// True for a reparse point that stands for another place (a symbolic link or a junction),
// which is handled as a link; other reparse points (cloud or deduplicated files) hold
// their own data.
bool IsLinkTag(DWORD reparseTag);
// The reparse tag of path, 0 when it has none or it cannot be read.
DWORD ReparseTag(const std::wstring& longPath);

// What an entry with these attributes (and reparse tag) is.
FileKind KindOf(DWORD attributes, DWORD reparseTag);
// A FileInfo from the fields that WIN32_FIND_DATAW and WIN32_FILE_ATTRIBUTE_DATA share.
// Windows has one permission of its own, read-only: it shows as the lack of write bits
// (0444 against 0666; folders add 0111), as on POSIX.
void FillInfo(DWORD attributes, DWORD reparseTag, const FILETIME& written, const FILETIME& accessed,
              DWORD sizeHigh, DWORD sizeLow, FileInfo& out);
// One examination of path, not following a final link. A missing path (or a missing
// folder on its way) is not a failure: true with out.Exists false. False with code set
// when it cannot be examined.
bool ExamineEntry(const std::string& path, FileInfo& out, DWORD& code);
// "Not found" as the system says it for a missing file or a missing folder on its way.
bool IsNotFound(DWORD code);

// A handle that closes itself.
class Handle {
public:
    Handle() = default;
    explicit Handle(HANDLE h) : m_h(h) {}
    ~Handle() { Reset(); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    Handle(Handle&& other) noexcept : m_h(other.Release()) {}
    Handle& operator=(Handle&& other) noexcept {
        if (this != &other) {
            Reset(other.Release());
        }
        return *this;
    }

    HANDLE Get() const { return m_h; }
    bool Valid() const { return m_h != INVALID_HANDLE_VALUE && m_h != nullptr; }
    HANDLE Release() {
        HANDLE h = m_h;
        m_h = INVALID_HANDLE_VALUE;
        return h;
    }
    void Reset(HANDLE h = INVALID_HANDLE_VALUE) {
        if (Valid()) {
            ::CloseHandle(m_h);
        }
        m_h = h;
    }

private:
    HANDLE m_h = INVALID_HANDLE_VALUE;
};

} // namespace tessaron::win32
