#pragma once
// Helpers shared by the Windows implementations of the platform, mail and console code.
// The program keeps every text in UTF-8; these turn it into UTF-16 at each Windows call
// and back. Internal: nothing outside the win32/ folders includes this.

#include "platform/DateTime.h"
#include "platform/clsFSItem.h"

#include <ctime>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>
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
// "The requested file operation failed because the storage quota was exceeded".
constexpr DWORD kErrorDiskQuotaExceeded = 1295;

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

// UTF-8 to UTF-16 and back. Bytes that are not UTF-8 become U+FFFD, never a failure.
std::wstring Widen(std::string_view utf8);
std::string Narrow(std::wstring_view utf16);

// The form of a path that the file functions take: absolute, "\" separators, "." and
// ".." resolved, with the "\\?\" (or "\\?\UNC\") prefix that lifts the 260-character
// limit. A device or already prefixed path ("\\.\E:", "\\?\...") is kept as it is; an
// empty path stays empty (so that the call fails as for a missing file).
std::wstring LongPath(const std::string& path);

// The value of an environment variable as UTF-8; "" when it is not set.
std::string EnvironmentText(const wchar_t* name);
// The path the system resolves the open file or folder h to, every link followed, in its
// long form ("\\?\C:\...", "\\?\UNC\srv\share\..."); "" when it cannot tell.
std::wstring FinalPath(HANDLE h);

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

// What one entry is, as a listing or an examination found it: the fields that find
// data, directory information and handle information share.
struct EntryData {
    DWORD Attributes = 0;
    DWORD ReparseTag = 0; // of a reparse point; 0 otherwise
    FILETIME Created{};
    FILETIME Accessed{};
    FILETIME Written{};
    unsigned long long Size = 0;
    unsigned long long Volume = 0; // volume serial number (with HasId)
    unsigned long long File = 0;   // file index on that volume (with HasId)
    bool HasId = false;
};

// True for a reparse point that stands for another place (a symbolic link or a junction),
// which is handled as a link; other reparse points (cloud or deduplicated files) hold
// their own data.
bool IsLinkTag(DWORD reparseTag);
// What an entry with these attributes (and reparse tag) is.
FileKind KindOf(DWORD attributes, DWORD reparseTag);
// The FileInfo of an entry. Windows has one permission of its own, read-only: it shows
// as the lack of write bits (0444 against 0666; folders add 0111), as on POSIX; the
// attributes read-only, hidden, system and archive are kept as they are.
void FillInfo(const EntryData& entry, FileInfo& out);
// A listing record of the entry name.
void FillItem(const std::string& name, const EntryData& entry, clsFSItem& item);

// Opens path itself with the access asked, every sharing allowed and
// FILE_FLAG_BACKUP_SEMANTICS (so folders open too); a link at its end is opened as the
// link unless followLast. An invalid handle (GetLastError set) on failure.
Handle OpenEntry(const std::wstring& longPath, DWORD access, bool followLast);
// The data of an open file or folder, identity included; false (GetLastError set) when
// it cannot be read.
bool EntryOfHandle(HANDLE h, EntryData& out);
// One examination of path, identity included; a final link is followed only with
// followLast. A missing path (or a missing folder on its way, or a link that leads
// nowhere) is not a failure: true with out.Exists false. False with code set when it
// cannot be examined. A file that cannot even be opened for its attributes is examined
// by name, without its identity.
bool ExamineEntry(const std::string& path, FileInfo& out, DWORD& code, bool followLast = false);
// "Not found" as the system says it for a missing file or a missing folder on its way.
bool IsNotFound(DWORD code);

// The entries of the folder (its long form), other than "." and "..", sorted by name
// (byte order of UTF-8, as on POSIX); 0 or the error code. An empty drive root (no
// entries at all) is not a failure.
DWORD ReadEntries(const std::wstring& folder, std::vector<std::pair<std::string, EntryData>>& out);
// The text of the link open as h (its print name, else its substitute name without the
// native "\??\" prefix); false (code set) when it is no link or cannot be read.
bool ReadLinkText(HANDLE h, std::string& text, DWORD& code);
// Deletes the entry path (long form) with these attributes: a folder with everything in
// it, a link as a link (never what it points to), a file whatever its attributes. yield
// (may be empty) runs after every entry of a folder. 0 (also when it is already gone) or
// the error code of the first entry that could not be deleted.
DWORD RemoveEntry(const std::wstring& path, DWORD attributes, DWORD reparseTag,
                  const std::function<void()>& yield);
// Empties a folder (long form), stopping at the first entry that cannot be deleted.
DWORD CleanFolder(const std::wstring& folder, const std::function<void()>& yield);
// RemoveEntry of whatever path (long form) names, looked at first; 0 or the error code.
DWORD RemovePath(const std::wstring& longPath, const std::function<void()>& yield);
// The attributes of the entry path (long form) names, a link not followed; 0 or the
// error code.
DWORD AttributesOf(const std::wstring& longPath, DWORD& attributes);
// Makes the folder (long form) and every missing folder above it; 0 or the error code.
DWORD MakeFolders(const std::wstring& full);
// Gives the open entry h the attribute bits of mask that bits has (the others stay);
// false (GetLastError set) when they cannot be read or set.
bool SetAttributeBits(HANDLE h, DWORD bits, DWORD mask);
// Sets the times of the open entry h; a zero created leaves the creation time as it is.
bool SetTimesOf(HANDLE h, const timespec& atime, const timespec& mtime, const timespec& created);
// The folder above a long path, "" for a root ("\\?\C:\", "\\?\UNC\srv\share").
std::wstring ParentOf(const std::wstring& longPath);

} // namespace tessaron::win32
