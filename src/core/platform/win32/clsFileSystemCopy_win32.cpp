// clsFileSystem on Windows: copying a file and carrying metadata to a copy.
#include "platform/clsFileSystem.h"

#include "platform/clsPath.h"
#include "platform/win32/Win32Support.h"

#include <algorithm>

namespace tessaron {

using win32::LongPath;

namespace {

// Puts the file path (long form) on its medium; a read-only file is opened up for it
// for a moment (a flush needs a handle that may write).
bool FlushFile(const std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    const bool readOnly =
        attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (readOnly) {
        ::SetFileAttributesW(path.c_str(),
                             attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    }
    win32::Handle file(::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                     OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    const bool flushed = file.Valid() && ::FlushFileBuffers(file.Get());
    const DWORD code = ::GetLastError();
    file.Reset();
    if (readOnly) {
        ::SetFileAttributesW(path.c_str(), attributes);
    }
    ::SetLastError(code);
    return flushed;
}

} // namespace

// The copy is put on its medium before the call returns, as every file this program
// writes is (there is no flush of a whole volume for an ordinary user).
bool clsFileSystem::Copy(const std::string& path1, const std::string& path2, bool DeleteExisting) {
    const std::wstring to = LongPath(path2);
    if (::CopyFileW(LongPath(path1).c_str(), to.c_str(), !DeleteExisting) && FlushFile(to)) {
        return true;
    }
    // A failed system call leaves only the system's text, as callers show it as it is.
    const DWORD code = ::GetLastError();
    LastErrorInfo = SysError::FromCode(static_cast<int>(code));
    LastError = GetErrorMessage(static_cast<int>(code));
    return false;
}

bool clsFileSystem::SetTimes(const std::string& path, const timespec& atime,
                             const timespec& mtime) {
    win32::Handle entry = win32::OpenEntry(LongPath(path), FILE_WRITE_ATTRIBUTES, false);
    return (entry.Valid() && win32::SetTimesOf(entry.Get(), atime, mtime, {})) ||
           Fail("SetTimes", static_cast<int>(::GetLastError()));
}

bool clsFileSystem::SetMode(const std::string& path, unsigned mode) {
    // The one permission Windows has: read-only when no write bit is set.
    const std::wstring wide = LongPath(path);
    const DWORD attributes = ::GetFileAttributesW(wide.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return Fail("SetMode", static_cast<int>(::GetLastError()));
    }
    DWORD wanted = (mode & 0222) == 0 ? attributes | FILE_ATTRIBUTE_READONLY
                                      : attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY);
    if (wanted == attributes) {
        return true;
    }
    return ::SetFileAttributesW(wide.c_str(), wanted) ||
           Fail("SetMode", static_cast<int>(::GetLastError()));
}

bool clsFileSystem::SetOwner(const std::string&, unsigned, unsigned) {
    // Copies belong to the user who runs the backup, as files that user makes do.
    return true;
}

} // namespace tessaron
