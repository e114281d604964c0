#include "platform/win32/Win32Support.h"

namespace tessaron::win32 {

namespace {

// 100 ns steps between 1601-01-01 and 1970-01-01.
constexpr long long kEpochDifference = 116444736000000000LL;
constexpr long long kTicksPerSecond = 10000000LL;

bool StartsWith(std::wstring_view text, std::wstring_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

} // namespace

std::wstring Widen(std::string_view utf8) {
    if (utf8.empty()) {
        return {};
    }
    const int size = static_cast<int>(utf8.size());
    const int n = ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, nullptr, 0);
    std::wstring out(static_cast<std::size_t>(n > 0 ? n : 0), L'\0');
    if (n > 0) {
        ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, out.data(), n);
    }
    return out;
}

std::string Narrow(std::wstring_view utf16) {
    if (utf16.empty()) {
        return {};
    }
    const int size = static_cast<int>(utf16.size());
    const int n =
        ::WideCharToMultiByte(CP_UTF8, 0, utf16.data(), size, nullptr, 0, nullptr, nullptr);
    std::string out(static_cast<std::size_t>(n > 0 ? n : 0), '\0');
    if (n > 0) {
        ::WideCharToMultiByte(CP_UTF8, 0, utf16.data(), size, out.data(), n, nullptr, nullptr);
    }
    return out;
}

std::wstring LongPath(const std::string& path) {
    std::wstring wide = Widen(path);
    if (wide.empty() || StartsWith(wide, L"\\\\?\\") || StartsWith(wide, L"\\\\.\\")) {
        return wide;
    }
    DWORD n = ::GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
    std::wstring full(n, L'\0');
    n = n == 0 ? 0 : ::GetFullPathNameW(wide.c_str(), n, full.data(), nullptr);
    if (n == 0 || n >= full.size()) {
        return wide; // the call then fails with the system's own reason
    }
    full.resize(n);
    if (StartsWith(full, L"\\\\")) {
        return L"\\\\?\\UNC\\" + full.substr(2);
    }
    return L"\\\\?\\" + full;
}

std::string ErrorText(DWORD code) {
    wchar_t* buffer = nullptr;
    const DWORD flags =
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    const DWORD n =
        ::FormatMessageW(flags, nullptr, code, 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
    std::wstring text(buffer != nullptr ? buffer : L"", n);
    ::LocalFree(buffer);
    while (!text.empty() && (text.back() == L'\n' || text.back() == L'\r' || text.back() == L' ')) {
        text.pop_back();
    }
    return Narrow(text);
}

std::string ErrorLine(const std::string& source, DWORD code) {
    return source + " - Error (" + std::to_string(code) + ") " + ErrorText(code);
}

timespec ToTimespec(const FILETIME& ft) {
    const long long ticks =
        static_cast<long long>((static_cast<unsigned long long>(ft.dwHighDateTime) << 32) |
                               ft.dwLowDateTime) -
        kEpochDifference;
    long long seconds = ticks / kTicksPerSecond;
    long long rest = ticks % kTicksPerSecond;
    if (rest < 0) {
        rest += kTicksPerSecond;
        --seconds;
    }
    timespec ts{};
    ts.tv_sec = static_cast<time_t>(seconds);
    ts.tv_nsec = static_cast<long>(rest * 100);
    return ts;
}

FILETIME ToFileTime(const timespec& ts) {
    const long long ticks =
        static_cast<long long>(ts.tv_sec) * kTicksPerSecond + ts.tv_nsec / 100 + kEpochDifference;
    const auto value = static_cast<unsigned long long>(ticks < 0 ? 0 : ticks);
    FILETIME ft{};
    ft.dwLowDateTime = static_cast<DWORD>(value & 0xFFFFFFFFu);
    ft.dwHighDateTime = static_cast<DWORD>(value >> 32);
    return ft;
}

DateTime DateOfFileTime(const FILETIME& ft) {
    SYSTEMTIME st{};
    if ((ft.dwLowDateTime == 0 && ft.dwHighDateTime == 0) || !::FileTimeToSystemTime(&ft, &st)) {
        return {};
    }
    return {st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond};
}

SYSTEMTIME SystemTimeOf(const DateTime& date) {
    SYSTEMTIME st{};
    st.wYear = static_cast<WORD>(date.Year);
    st.wMonth = static_cast<WORD>(date.Month);
    st.wDay = static_cast<WORD>(date.Day);
    st.wHour = static_cast<WORD>(date.Hour);
    st.wMinute = static_cast<WORD>(date.Minute);
    st.wSecond = static_cast<WORD>(date.Second);
    return st;
}

bool FileTimeOfDate(const DateTime& date, FILETIME& ft) {
    if (date.IsEmpty()) {
        return false;
    }
    const SYSTEMTIME st = SystemTimeOf(date);
    return ::SystemTimeToFileTime(&st, &ft) != 0;
}

bool AttributeData(const std::wstring& longPath, WIN32_FILE_ATTRIBUTE_DATA& data) {
    return ::GetFileAttributesExW(longPath.c_str(), GetFileExInfoStandard, &data) != 0;
}

bool IsLinkTag(DWORD reparseTag) {
    return reparseTag == IO_REPARSE_TAG_SYMLINK || reparseTag == IO_REPARSE_TAG_MOUNT_POINT;
}

DWORD ReparseTag(const std::wstring& longPath) {
    WIN32_FIND_DATAW data{};
    const HANDLE find = ::FindFirstFileW(longPath.c_str(), &data);
    if (find == INVALID_HANDLE_VALUE) {
        return 0;
    }
    ::FindClose(find);
    return (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 ? data.dwReserved0 : 0;
}

FileKind KindOf(DWORD attributes, DWORD reparseTag) {
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && IsLinkTag(reparseTag)) {
        return FileKind::Symlink;
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return FileKind::Directory;
    }
    return (attributes & FILE_ATTRIBUTE_DEVICE) != 0 ? FileKind::Device : FileKind::File;
}

void FillInfo(DWORD attributes, DWORD reparseTag, const FILETIME& written, const FILETIME& accessed,
              DWORD sizeHigh, DWORD sizeLow, FileInfo& out) {
    out = FileInfo{};
    out.Exists = true;
    out.Kind = KindOf(attributes, reparseTag);
    if (out.Kind == FileKind::File) {
        out.Size =
            static_cast<long long>((static_cast<unsigned long long>(sizeHigh) << 32) | sizeLow);
    }
    out.MTime = ToTimespec(written);
    out.ATime = ToTimespec(accessed);
    out.Mode = (attributes & FILE_ATTRIBUTE_READONLY) != 0 ? 0444 : 0666;
    if (out.Kind == FileKind::Directory) {
        out.Mode |= 0111;
    }
}

bool IsNotFound(DWORD code) {
    return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND ||
           code == ERROR_INVALID_DRIVE || code == ERROR_BAD_NETPATH || code == ERROR_BAD_NET_NAME ||
           code == ERROR_DIRECTORY;
}

bool ExamineEntry(const std::string& path, FileInfo& out, DWORD& code) {
    out = FileInfo{};
    const std::wstring wide = LongPath(path);
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (wide.empty() || !AttributeData(wide, data)) {
        code = wide.empty() ? ERROR_FILE_NOT_FOUND : ::GetLastError();
        return IsNotFound(code);
    }
    const DWORD tag =
        (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 ? ReparseTag(wide) : 0;
    FillInfo(data.dwFileAttributes, tag, data.ftLastWriteTime, data.ftLastAccessTime,
             data.nFileSizeHigh, data.nFileSizeLow, out);
    return true;
}

} // namespace tessaron::win32
