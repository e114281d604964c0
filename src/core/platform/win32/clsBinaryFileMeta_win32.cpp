// clsBinaryFile on Windows: the times, attributes and read-only state of an open file.
#include "platform/clsBinaryFile.h"

#include "platform/win32/Win32Support.h"

namespace tessaron {

namespace {

constexpr DWORD kKeptAttributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                  FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE;

HANDLE AsHandle(NativeHandle h) {
    return reinterpret_cast<HANDLE>(h);
}

} // namespace

// Read-only, the one permission Windows has, when no write bit is set.
bool clsBinaryFile::SetMode(unsigned mode) {
    if (m_fd == -1) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    const DWORD readOnly = (mode & 0222) == 0 ? FILE_ATTRIBUTE_READONLY : 0;
    return win32::SetAttributeBits(AsHandle(m_fd), readOnly, FILE_ATTRIBUTE_READONLY) || Fail();
}

bool clsBinaryFile::SetAttributes(int attributes) {
    if (m_fd == -1) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    return win32::SetAttributeBits(AsHandle(m_fd), static_cast<DWORD>(attributes),
                                   kKeptAttributes) ||
           Fail();
}

bool clsBinaryFile::SetOwner(unsigned, unsigned) {
    // Copies belong to the user who runs the backup, as files that user makes do.
    return m_fd != -1 || Fail(ERROR_INVALID_HANDLE);
}

bool clsBinaryFile::GetTimes(timespec& atime, timespec& mtime) {
    FILETIME accessed{};
    FILETIME written{};
    if (m_fd == -1) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    if (!::GetFileTime(AsHandle(m_fd), nullptr, &accessed, &written)) {
        return Fail();
    }
    atime = win32::ToTimespec(accessed);
    mtime = win32::ToTimespec(written);
    return true;
}

bool clsBinaryFile::SetTimes(const timespec& atime, const timespec& mtime,
                             const timespec& created) {
    if (m_fd == -1) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    return win32::SetTimesOf(AsHandle(m_fd), atime, mtime, created) || Fail();
}

// File dates are local: the zone's present bias is applied (FileTimeToLocalFileTime), not
// the one in force at the stored moment, so a date read and written back in the same
// zone comes out unchanged.
bool clsBinaryFile::GetFileDates(DateTime& created, DateTime& accessed, DateTime& written) {
    created = accessed = written = DateTime{};
    FILETIME times[3] = {};
    if (m_fd == -1) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    if (!::GetFileTime(AsHandle(m_fd), &times[0], &times[1], &times[2])) {
        return Fail();
    }
    DateTime* dates[3] = {&created, &accessed, &written};
    for (int i = 0; i < 3; ++i) {
        FILETIME local{};
        if (::FileTimeToLocalFileTime(&times[i], &local)) {
            *dates[i] = win32::DateOfFileTime(local);
        }
    }
    return true;
}

bool clsBinaryFile::SetCreateTime(const DateTime& value) {
    return SetFileDates(value, DateTime{}, DateTime{});
}

bool clsBinaryFile::SetFileDates(const DateTime& created, const DateTime& accessed,
                                 const DateTime& written) {
    if (m_fd == -1) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    const DateTime* dates[3] = {&created, &accessed, &written};
    FILETIME times[3] = {};
    const FILETIME* given[3] = {};
    for (int i = 0; i < 3; ++i) {
        FILETIME local{};
        if (dates[i]->IsEmpty()) {
            continue; // an empty date leaves that time as it is
        }
        if (!win32::FileTimeOfDate(*dates[i], local) ||
            !::LocalFileTimeToFileTime(&local, &times[i])) {
            return Fail(ERROR_INVALID_PARAMETER);
        }
        given[i] = &times[i];
    }
    return ::SetFileTime(AsHandle(m_fd), given[0], given[1], given[2]) || Fail();
}

} // namespace tessaron
