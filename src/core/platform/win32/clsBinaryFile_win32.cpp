// clsBinaryFile on Windows: one file handle, its blocks, position and times.
// LastErrorCode holds the system's error code (GetLastError).
#include "platform/clsBinaryFile.h"

#include "platform/clsFolder.h"
#include "platform/win32/Win32Support.h"

#include <algorithm>

namespace tessaron {

namespace {

constexpr long long kMaxSpecialBlock = 16 << 20;
// ReadFile and WriteFile take 32-bit counts: larger blocks go in rounds of this.
constexpr std::size_t kMaxRound = 1u << 30;

HANDLE AsHandle(NativeHandle h) {
    return reinterpret_cast<HANDLE>(h);
}

// The file name inside an open folder; false for a name that would leave the folder.
bool EntryPath(const clsFolder& folder, const std::string& name, std::wstring& path) {
    if (name.empty() || name.find_first_of("\\/") != std::string::npos || name == "." ||
        name == "..") {
        return false;
    }
    path = win32::LongPath(folder.Path() + "\\" + name);
    return true;
}

} // namespace

bool clsBinaryFile::Fail() {
    return Fail(static_cast<int>(::GetLastError()));
}

std::string clsBinaryFile::GetErrorMessage(int code) {
    return win32::ErrorText(static_cast<DWORD>(code));
}

bool clsBinaryFile::OpenFile(const std::string& name, std::int64_t access, std::int64_t sharing,
                             std::int64_t openMode, std::int64_t attributes) {
    CloseFile();
    Access = access != -1 ? access : Access;
    Sharing = sharing != -1 ? sharing : Sharing;
    OpenMode = openMode != -1 ? openMode : OpenMode;
    Attributes = attributes != -1 ? attributes : Attributes;
    HANDLE h = ::CreateFileW(win32::LongPath(name).c_str(), static_cast<DWORD>(Access),
                             static_cast<DWORD>(Sharing), nullptr, static_cast<DWORD>(OpenMode),
                             static_cast<DWORD>(Attributes), nullptr);
    if (h == INVALID_HANDLE_VALUE) {
        return Fail();
    }
    m_fd = reinterpret_cast<NativeHandle>(h);
    return true;
}

bool clsBinaryFile::CloseFile() {
    m_knownMode = m_knownUid = m_knownGid = -1;
    if (m_fd == -1) {
        return true;
    }
    const bool closed = ::CloseHandle(AsHandle(m_fd)) != 0;
    m_fd = -1;
    return closed || Fail();
}

bool clsBinaryFile::OpenFileAt(const clsFolder& folder, const std::string& name) {
    CloseFile();
    Access = FileAccess::Read;
    OpenMode = FileOpen::OpenExisting;
    std::wstring path;
    if (!EntryPath(folder, name, path)) {
        return Fail(ERROR_INVALID_NAME);
    }
    // Others may go on reading the file; one that is being written fails the open
    // (a sharing violation) rather than giving a torn copy.
    HANDLE h = ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                             FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (h == INVALID_HANDLE_VALUE) {
        return Fail();
    }
    BY_HANDLE_FILE_INFORMATION info{};
    if (::GetFileInformationByHandle(h, &info) &&
        (info.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
        ::CloseHandle(h);
        return Fail(win32::kErrorStoppedOnSymlink); // a link is refused, never followed
    }
    m_fd = reinterpret_cast<NativeHandle>(h);
    return true;
}

bool clsBinaryFile::CreateFileAt(clsFolder& folder, const std::string& name, unsigned, long long,
                                 long long) {
    CloseFile();
    Access = FileAccess::Write;
    OpenMode = FileOpen::CreateNew;
    std::wstring path;
    if (!EntryPath(folder, name, path)) {
        return Fail(ERROR_INVALID_NAME);
    }
    // The read-only attribute, if any, is set by SetMode after the content is written.
    HANDLE h =
        ::CreateFileW(path.c_str(), GENERIC_WRITE | FILE_READ_ATTRIBUTES, 0, nullptr, CREATE_NEW,
                      FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (h == INVALID_HANDLE_VALUE) {
        return Fail();
    }
    m_fd = reinterpret_cast<NativeHandle>(h);
    return true;
}

void clsBinaryFile::AdviseSequential() {
    // Files opened for copying already carry FILE_FLAG_SEQUENTIAL_SCAN.
}

long long clsBinaryFile::ReadBlock(void* buf, std::size_t count) {
    if (m_fd == -1) {
        Fail(ERROR_INVALID_HANDLE);
        return -1;
    }
    auto* out = static_cast<unsigned char*>(buf);
    std::size_t done = 0;
    while (done < count) {
        const auto want = static_cast<DWORD>(std::min(count - done, kMaxRound));
        DWORD got = 0;
        if (!::ReadFile(AsHandle(m_fd), out + done, want, &got, nullptr)) {
            const DWORD code = ::GetLastError();
            if (code == ERROR_HANDLE_EOF || code == ERROR_BROKEN_PIPE) {
                break;
            }
            Fail(static_cast<int>(code));
            return -1;
        }
        if (got == 0) {
            break;
        }
        done += got;
    }
    return static_cast<long long>(done);
}

// Writes all count bytes, at the file position (offset < 0) or at offset. A positioned
// write moves a synchronous handle's position, so the position is put back after it.
bool clsBinaryFile::WriteAll(const void* buf, std::size_t count, long long offset) {
    if (m_fd == -1) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    const long long before = offset < 0 ? -1 : FilePointer();
    const auto* in = static_cast<const unsigned char*>(buf);
    std::size_t done = 0;
    while (done < count) {
        const auto want = static_cast<DWORD>(std::min(count - done, kMaxRound));
        OVERLAPPED at{};
        const auto position = static_cast<unsigned long long>(offset) + done;
        at.Offset = static_cast<DWORD>(position & 0xFFFFFFFFu);
        at.OffsetHigh = static_cast<DWORD>(position >> 32);
        DWORD put = 0;
        if (!::WriteFile(AsHandle(m_fd), in + done, want, &put, offset < 0 ? nullptr : &at)) {
            return Fail();
        }
        if (put == 0) {
            return Fail(ERROR_WRITE_FAULT);
        }
        done += put;
    }
    return before < 0 || SeekFile(before);
}

bool clsBinaryFile::ReadFile(std::vector<unsigned char>& buf, long long count) {
    buf.clear();
    if (m_fd == -1) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    if (count < 1) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    // A count from outside may be absurd: never allocate more than a disk file still
    // holds (a pipe or device gets a bounded block).
    const long long size = ::GetFileType(AsHandle(m_fd)) == FILE_TYPE_DISK ? FileSize() : -1;
    const long long pos = size < 0 ? -1 : FilePointer();
    count = pos >= 0 ? std::min(count, std::max(size - pos, 0LL) + 1)
                     : std::min(count, kMaxSpecialBlock);
    try {
        buf.resize(static_cast<std::size_t>(count));
    } catch (const std::exception&) {
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    }
    const long long n = ReadBlock(buf.data(), buf.size());
    buf.resize(n < 0 ? 0 : static_cast<std::size_t>(n));
    return n >= 0;
}

long long clsBinaryFile::CopyBlockTo(clsBinaryFile& dest, long long count, void* buffer,
                                     std::size_t bufferSize) {
    if (m_fd == -1 || dest.m_fd == -1) {
        Fail(ERROR_INVALID_HANDLE);
        dest.Fail(ERROR_INVALID_HANDLE);
        return -1;
    }
    m_kernelCopy = false;
    return BufferCopy(dest, count, buffer, bufferSize);
}

bool clsBinaryFile::SeekFile(long long position) {
    if (m_fd == -1) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    if (position < 0) {
        return Fail(ERROR_NEGATIVE_SEEK);
    }
    LARGE_INTEGER to{};
    to.QuadPart = position;
    return ::SetFilePointerEx(AsHandle(m_fd), to, nullptr, FILE_BEGIN) || Fail();
}

bool clsBinaryFile::TruncateFile(long long position) {
    return SeekFile(position) && (::SetEndOfFile(AsHandle(m_fd)) || Fail());
}

long long clsBinaryFile::FileSize() {
    LARGE_INTEGER size{};
    if (m_fd == -1) {
        Fail(ERROR_INVALID_HANDLE);
        return -1;
    }
    if (!::GetFileSizeEx(AsHandle(m_fd), &size)) {
        Fail();
        return -1;
    }
    return size.QuadPart;
}

long long clsBinaryFile::FilePointer() {
    LARGE_INTEGER zero{};
    LARGE_INTEGER at{};
    if (m_fd == -1) {
        Fail(ERROR_INVALID_HANDLE);
        return -1;
    }
    if (!::SetFilePointerEx(AsHandle(m_fd), zero, &at, FILE_CURRENT)) {
        Fail();
        return -1;
    }
    return at.QuadPart;
}

bool clsBinaryFile::SetMode(unsigned mode) {
    if (m_fd == -1) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    FILE_BASIC_INFO basic{};
    if (!::GetFileInformationByHandleEx(AsHandle(m_fd), FileBasicInfo, &basic, sizeof basic)) {
        return Fail();
    }
    // Read-only, the one permission Windows has, when no write bit is set.
    const DWORD before = basic.FileAttributes;
    basic.FileAttributes = (mode & 0222) == 0
                               ? before | FILE_ATTRIBUTE_READONLY
                               : before & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY);
    if (basic.FileAttributes == before) {
        return true;
    }
    // Times of 0 leave them unchanged.
    basic.CreationTime.QuadPart = basic.LastAccessTime.QuadPart = 0;
    basic.LastWriteTime.QuadPart = basic.ChangeTime.QuadPart = 0;
    return ::SetFileInformationByHandle(AsHandle(m_fd), FileBasicInfo, &basic, sizeof basic) ||
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

bool clsBinaryFile::SetTimes(const timespec& atime, const timespec& mtime) {
    if (m_fd == -1) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    const FILETIME accessed = win32::ToFileTime(atime);
    const FILETIME written = win32::ToFileTime(mtime);
    return ::SetFileTime(AsHandle(m_fd), nullptr, &accessed, &written) || Fail();
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
