// clsBinaryFile on Windows: one file handle, its blocks, position, holes, and reading
// from the medium. Times and attributes are in clsBinaryFileMeta_win32.cpp.
// LastErrorCode holds the system's error code (GetLastError).
#include "platform/clsBinaryFile.h"

#include "platform/clsFolder.h"
#include "platform/win32/Win32Support.h"

#include <algorithm>
#include <cstring>
#include <winioctl.h>

namespace tessaron {

namespace {

constexpr long long kMaxSpecialBlock = 16 << 20;
// ReadFile and WriteFile take 32-bit counts: larger blocks go in rounds of this.
constexpr std::size_t kMaxRound = 1u << 30;
// Unbuffered reads start, end and land on multiples of the sector size; 4 KiB covers
// the sectors of disks in use. They go through an aligned buffer of this many bytes.
constexpr long long kSectorUnit = 4096;
constexpr std::size_t kUnbufferedRound = 1u << 20;

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

// A file that was written is put on its medium before it is closed: Windows has no flush
// of a whole volume for an ordinary user, so this is the one moment to do it.
bool clsBinaryFile::CloseFile() {
    m_knownMode = m_knownUid = m_knownGid = -1;
    const bool written = m_written;
    m_written = m_unbuffered = false;
    m_position = 0;
    m_createdPath.clear();
    if (m_fd == -1) {
        return true;
    }
    const bool flushed = !written || ::FlushFileBuffers(AsHandle(m_fd));
    const DWORD flushCode = flushed ? 0 : ::GetLastError();
    const bool closed = ::CloseHandle(AsHandle(m_fd)) != 0;
    m_fd = -1;
    if (!flushed) {
        return Fail(static_cast<int>(flushCode));
    }
    return closed || Fail();
}

bool clsBinaryFile::FlushWritten() {
    if (m_fd == -1 || !m_written) {
        return true;
    }
    if (!::FlushFileBuffers(AsHandle(m_fd))) {
        return Fail();
    }
    m_written = false;
    return true;
}

bool clsBinaryFile::FlushesEachFile() {
    return true;
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
                                 long long, bool sparse) {
    CloseFile();
    Access = FileAccess::Write;
    OpenMode = FileOpen::CreateNew;
    std::wstring path;
    if (!EntryPath(folder, name, path)) {
        return Fail(ERROR_INVALID_NAME);
    }
    // The read-only attribute, if any, is set by SetMode after the content is written.
    // Deleting is shared so that a copy whose handle is still being flushed can already
    // be renamed into place (or removed).
    HANDLE h = ::CreateFileW(path.c_str(), GENERIC_WRITE | FILE_READ_ATTRIBUTES, FILE_SHARE_DELETE,
                             nullptr, CREATE_NEW,
                             FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (h == INVALID_HANDLE_VALUE) {
        return Fail();
    }
    m_fd = reinterpret_cast<NativeHandle>(h);
    m_written = true; // even an empty copy is put on the medium when closed
    m_createdPath = folder.Path();
    if (!m_createdPath.ends_with('\\')) {
        m_createdPath += '\\';
    }
    m_createdPath += name;
    DWORD volumeFlags = 0;
    DWORD bytes = 0;
    // Where the volume keeps no holes the copy is a plain one: the gaps are written out.
    if (sparse &&
        ::GetVolumeInformationByHandleW(h, nullptr, 0, nullptr, nullptr, &volumeFlags, nullptr,
                                        0) &&
        (volumeFlags & FILE_SUPPORTS_SPARSE_FILES) != 0) {
        ::DeviceIoControl(h, FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &bytes, nullptr);
    }
    return true;
}

void clsBinaryFile::AdviseSequential() {
    // Files opened for copying already carry FILE_FLAG_SEQUENTIAL_SCAN.
}

// The copy is opened again without the system's cache: every read then comes from the
// medium. When that cannot be done the buffered handle stays.
void clsBinaryFile::DropCache() {
    if (m_fd == -1 || m_unbuffered) {
        return;
    }
    const long long position = FilePointer();
    HANDLE direct = ::ReOpenFile(AsHandle(m_fd), GENERIC_READ, FILE_SHARE_READ,
                                 FILE_FLAG_NO_BUFFERING | FILE_FLAG_SEQUENTIAL_SCAN);
    if (direct == INVALID_HANDLE_VALUE || position < 0) {
        return;
    }
    ::CloseHandle(AsHandle(m_fd));
    m_fd = reinterpret_cast<NativeHandle>(direct);
    m_unbuffered = true;
    m_position = position;
}

// Reads whole sectors from the sector at or before the position into the aligned buffer
// and hands out the bytes asked for. A read that reaches the end of the file returns
// fewer bytes; past the end it returns none.
long long clsBinaryFile::UnbufferedRead(unsigned char* out, std::size_t count) {
    if (m_sectorBuffer.empty()) {
        m_sectorBuffer.resize(kUnbufferedRound + kSectorUnit);
    }
    const auto address = reinterpret_cast<std::uintptr_t>(m_sectorBuffer.data());
    unsigned char* aligned =
        m_sectorBuffer.data() + (kSectorUnit - address % kSectorUnit) % kSectorUnit;
    std::size_t done = 0;
    while (done < count) {
        const long long start = m_position / kSectorUnit * kSectorUnit;
        const auto skip = static_cast<std::size_t>(m_position - start);
        const std::size_t want = std::min<std::size_t>(
            (skip + count - done + kSectorUnit - 1) / kSectorUnit * kSectorUnit, kUnbufferedRound);
        OVERLAPPED at{};
        at.Offset = static_cast<DWORD>(start & 0xFFFFFFFF);
        at.OffsetHigh = static_cast<DWORD>(static_cast<unsigned long long>(start) >> 32);
        DWORD got = 0;
        if (!::ReadFile(AsHandle(m_fd), aligned, static_cast<DWORD>(want), &got, &at) &&
            ::GetLastError() != ERROR_HANDLE_EOF) {
            Fail();
            return -1;
        }
        if (got <= skip) {
            break;
        }
        const std::size_t take = std::min<std::size_t>(got - skip, count - done);
        std::memcpy(out + done, aligned + skip, take);
        done += take;
        m_position += static_cast<long long>(take);
        if (got < want) {
            break;
        }
    }
    return static_cast<long long>(done);
}

// The stretches of data that the file system reports for a sparse file; one that cannot
// tell reports the whole rest as data.
bool clsBinaryFile::NextData(long long from, long long& start, long long& end) {
    const long long size = FileSize();
    if (size < 0) {
        return false;
    }
    start = end = size;
    if (from >= size) {
        return true;
    }
    FILE_ALLOCATED_RANGE_BUFFER query{};
    query.FileOffset.QuadPart = from;
    query.Length.QuadPart = size - from;
    FILE_ALLOCATED_RANGE_BUFFER ranges[16] = {};
    DWORD bytes = 0;
    const bool answered = ::DeviceIoControl(AsHandle(m_fd), FSCTL_QUERY_ALLOCATED_RANGES, &query,
                                            sizeof query, ranges, sizeof ranges, &bytes, nullptr) ||
                          ::GetLastError() == ERROR_MORE_DATA;
    if (!answered) {
        start = from;
        return true;
    }
    if (bytes >= sizeof ranges[0]) {
        start = std::max(from, ranges[0].FileOffset.QuadPart);
        end = std::min(size, ranges[0].FileOffset.QuadPart + ranges[0].Length.QuadPart);
    }
    return true;
}

long long clsBinaryFile::ReadBlock(void* buf, std::size_t count) {
    if (m_fd == -1) {
        Fail(ERROR_INVALID_HANDLE);
        return -1;
    }
    if (m_unbuffered) {
        return UnbufferedRead(static_cast<unsigned char*>(buf), count);
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
    m_written = true;
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
    if (m_unbuffered) {
        m_position = position;
        return true;
    }
    LARGE_INTEGER to{};
    to.QuadPart = position;
    return ::SetFilePointerEx(AsHandle(m_fd), to, nullptr, FILE_BEGIN) || Fail();
}

bool clsBinaryFile::TruncateFile(long long position) {
    m_written = m_written || m_fd != -1;
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
    if (m_unbuffered) {
        return m_position;
    }
    if (!::SetFilePointerEx(AsHandle(m_fd), zero, &at, FILE_CURRENT)) {
        Fail();
        return -1;
    }
    return at.QuadPart;
}

} // namespace tessaron
