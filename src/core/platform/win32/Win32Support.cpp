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

std::string EnvironmentText(const wchar_t* name) {
    const DWORD n = ::GetEnvironmentVariableW(name, nullptr, 0);
    std::wstring value(n, L'\0');
    if (n == 0 || ::GetEnvironmentVariableW(name, value.data(), n) != n - 1) {
        return {};
    }
    value.resize(n - 1);
    return Narrow(value);
}

std::wstring FinalPath(HANDLE h) {
    std::wstring path(MAX_PATH, L'\0');
    for (int attempt = 0; attempt < 2; ++attempt) {
        const DWORD n = ::GetFinalPathNameByHandleW(h, path.data(), static_cast<DWORD>(path.size()),
                                                    FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
        if (n == 0) {
            return {};
        }
        if (n < path.size()) {
            path.resize(n);
            return path;
        }
        path.resize(n + 1);
    }
    return {};
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

bool IsLinkTag(DWORD reparseTag) {
    return reparseTag == IO_REPARSE_TAG_SYMLINK || reparseTag == IO_REPARSE_TAG_MOUNT_POINT;
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

} // namespace tessaron::win32
