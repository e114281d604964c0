// clsFileSystem on Windows: queries, changes and listings. Drives, ejecting and the
// program's folders are in clsFileSystemDrives_win32.cpp, copying in
// clsFileSystemCopy_win32.cpp.
#include "platform/clsFileSystem.h"

#include "platform/win32/Win32Support.h"

#include <algorithm>
#include <functional>

namespace tessaron {

using win32::LongPath;

namespace {

constexpr DWORD kAttributeBits = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                 FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_DIRECTORY |
                                 FILE_ATTRIBUTE_ARCHIVE;

struct Entry {
    std::string Name;
    WIN32_FIND_DATAW Data;
};

// The entries of the folder (in its long form), other than "." and "..", sorted by name
// (byte order of UTF-8, as on POSIX); 0 or the error code.
DWORD ReadEntries(const std::wstring& folder, std::vector<Entry>& entries) {
    entries.clear();
    WIN32_FIND_DATAW data{};
    const std::wstring pattern = folder + (folder.ends_with(L'\\') ? L"*" : L"\\*");
    HANDLE find = ::FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &data, FindExSearchNameMatch,
                                     nullptr, FIND_FIRST_EX_LARGE_FETCH);
    if (find == INVALID_HANDLE_VALUE) {
        const DWORD code = ::GetLastError();
        return code == ERROR_FILE_NOT_FOUND ? 0 : code; // an empty drive root
    }
    do {
        const std::wstring_view name = data.cFileName;
        if (name != L"." && name != L"..") {
            entries.push_back({win32::Narrow(name), data});
        }
    } while (::FindNextFileW(find, &data));
    const DWORD code = ::GetLastError();
    ::FindClose(find);
    std::sort(entries.begin(), entries.end(),
              [](const Entry& a, const Entry& b) { return a.Name < b.Name; });
    return code == ERROR_NO_MORE_FILES ? 0 : code;
}

bool IsRealDirectory(DWORD attributes, DWORD tag) {
    return win32::KindOf(attributes, tag) == FileKind::Directory;
}

DWORD TagOf(const WIN32_FIND_DATAW& data) {
    return (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 ? data.dwReserved0 : 0;
}

DWORD CleanFolder(const std::wstring& folder, const std::function<void()>& yield);

// Deletes one entry: a folder with everything in it, a link as a link (never what it
// points to), a file whatever its attributes. 0 or the error code.
DWORD RemoveEntry(const std::wstring& path, DWORD attributes, DWORD tag,
                  const std::function<void()>& yield) {
    if (IsRealDirectory(attributes, tag)) {
        if (const DWORD code = CleanFolder(path, yield); code != 0) {
            return code;
        }
    }
    // Read-only, hidden and system entries cannot be deleted until that is cleared.
    if ((attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM)) !=
        0) {
        ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    }
    const bool folder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const BOOL done = folder ? ::RemoveDirectoryW(path.c_str()) : ::DeleteFileW(path.c_str());
    return done || win32::IsNotFound(::GetLastError()) ? 0 : ::GetLastError();
}

// Empties a folder; stops at the first entry that cannot be deleted. 0 or the error code.
DWORD CleanFolder(const std::wstring& folder, const std::function<void()>& yield) {
    std::vector<Entry> entries;
    if (const DWORD code = ReadEntries(folder, entries); code != 0) {
        return code;
    }
    for (const Entry& entry : entries) {
        const std::wstring path = folder + L"\\" + entry.Data.cFileName;
        const DWORD code = RemoveEntry(path, entry.Data.dwFileAttributes, TagOf(entry.Data), yield);
        if (yield) {
            yield();
        }
        if (code != 0) {
            return code;
        }
    }
    return 0;
}

// The attributes of path, INVALID_FILE_ATTRIBUTES when it cannot be read.
DWORD AttributesOf(const std::string& path) {
    return path.empty() ? INVALID_FILE_ATTRIBUTES : ::GetFileAttributesW(LongPath(path).c_str());
}

} // namespace

bool clsFileSystem::Fail(const char* member, int code) {
    LastError =
        win32::ErrorLine(std::string("clsFileSystem.") + member + "()", static_cast<DWORD>(code));
    return false;
}

void clsFileSystem::Yield() {
    if (DoEvents) {
        DoEvents();
    }
}

std::string clsFileSystem::GetErrorMessage(int code) {
    return win32::ErrorText(static_cast<DWORD>(code));
}

bool clsFileSystem::Exists(const std::string& path) {
    return AttributesOf(path) != INVALID_FILE_ATTRIBUTES;
}

long long clsFileSystem::GetFileSize(const std::string& path) {
    FileInfo info;
    DWORD code = 0;
    return win32::ExamineEntry(path, info, code) ? info.Size : 0;
}

DateTime clsFileSystem::GetFileTime(const std::string& path) {
    FileInfo info;
    DWORD code = 0;
    if (!win32::ExamineEntry(path, info, code) || !info.Exists) {
        return {};
    }
    return DateTime::FromTimeT(info.MTime.tv_sec);
}

int clsFileSystem::GetFileAttributes(const std::string& path) {
    const DWORD attributes = AttributesOf(path);
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        Fail("GetFileAttributes", path.empty() ? ERROR_FILE_NOT_FOUND : ::GetLastError());
        return 0;
    }
    return static_cast<int>(attributes & kAttributeBits);
}

bool clsFileSystem::SetFileAttributes(const std::string& path, int attr) {
    DWORD bits = static_cast<DWORD>(attr) & kAttributeBits & ~FILE_ATTRIBUTE_DIRECTORY;
    if (bits == 0) {
        bits = FILE_ATTRIBUTE_NORMAL;
    }
    return ::SetFileAttributesW(LongPath(path).c_str(), bits) ||
           Fail("SetFileAttributes", ::GetLastError());
}

bool clsFileSystem::IsDirectory(const std::string& path) {
    FileInfo info;
    DWORD code = 0;
    return win32::ExamineEntry(path, info, code) && info.Kind == FileKind::Directory;
}

bool clsFileSystem::IsReadOnly(const std::string& path) {
    const DWORD attributes = AttributesOf(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
}

bool clsFileSystem::GetInfo(const std::string& path, FileInfo& out, bool) {
    DWORD code = 0;
    return win32::ExamineEntry(path, out, code) || Fail("GetInfo", static_cast<int>(code));
}

bool clsFileSystem::Delete(const std::string& path, bool Wait) {
    const std::wstring wide = LongPath(path);
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (wide.empty() || !win32::AttributeData(wide, data)) {
        return Fail("Delete", wide.empty() ? ERROR_FILE_NOT_FOUND : ::GetLastError());
    }
    const DWORD tag =
        (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 ? win32::ReparseTag(wide) : 0;
    const DWORD code = RemoveEntry(wide, data.dwFileAttributes, tag, [this] { Yield(); });
    if (code != 0) {
        return Fail("Delete", static_cast<int>(code));
    }
    return !Wait || WaitUntilGone(path);
}

bool clsFileSystem::Clean(const std::string& path) {
    const DWORD attributes = AttributesOf(path);
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return Fail("Clean", path.empty() ? ERROR_PATH_NOT_FOUND : ::GetLastError());
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        return Fail("Clean", ERROR_DIRECTORY);
    }
    const DWORD code = CleanFolder(LongPath(path), [this] { Yield(); });
    return code == 0 || Fail("Clean", static_cast<int>(code));
}

bool clsFileSystem::Rename(const std::string& path1, const std::string& path2) {
    // Without MOVEFILE_REPLACE_EXISTING an existing destination is never replaced.
    return ::MoveFileExW(LongPath(path1).c_str(), LongPath(path2).c_str(), 0) ||
           Fail("Rename", ::GetLastError());
}

bool clsFileSystem::Replace(const std::string& path1, const std::string& path2) {
    if (IsDirectory(path2)) {
        return Fail("Replace", ERROR_ACCESS_DENIED);
    }
    return ::MoveFileExW(LongPath(path1).c_str(), LongPath(path2).c_str(),
                         MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) ||
           Fail("Replace", ::GetLastError());
}

bool clsFileSystem::CreateDirectory(const std::string& path) {
    if (path.empty()) {
        return Fail("CreateDirectory", ERROR_PATH_NOT_FOUND);
    }
    return ::CreateDirectoryW(LongPath(path).c_str(), nullptr) ||
           Fail("CreateDirectory", ::GetLastError());
}

bool clsFileSystem::CreateDirectories(const std::string& path) {
    if (path.empty()) {
        return Fail("CreateDirectories", ERROR_PATH_NOT_FOUND);
    }
    const std::wstring full = LongPath(path);
    // The folders that may have to be made start past the root, "\\?\C:\" or
    // "\\?\UNC\server\share\".
    std::size_t pos = 6;
    if (full.starts_with(L"\\\\?\\UNC\\")) {
        pos = full.find(L'\\', 8);
        pos = pos == std::wstring::npos ? pos : full.find(L'\\', pos + 1);
    }
    pos = pos == std::wstring::npos ? pos : full.find(L'\\', pos + 1);
    while (pos != std::wstring::npos) {
        const std::wstring prefix = full.substr(0, pos);
        if (!prefix.ends_with(L'\\') && !::CreateDirectoryW(prefix.c_str(), nullptr) &&
            ::GetLastError() != ERROR_ALREADY_EXISTS && ::GetLastError() != ERROR_ACCESS_DENIED) {
            return Fail("CreateDirectories", ::GetLastError());
        }
        pos = full.find(L'\\', pos + 1);
    }
    if (!full.ends_with(L'\\') && !::CreateDirectoryW(full.c_str(), nullptr) &&
        ::GetLastError() != ERROR_ALREADY_EXISTS) {
        return Fail("CreateDirectories", ::GetLastError());
    }
    return IsDirectory(path) || Fail("CreateDirectories", ERROR_DIRECTORY);
}

std::string clsFileSystem::GetTempDir() {
    wchar_t buf[MAX_PATH + 2];
    const DWORD n = ::GetTempPathW(static_cast<DWORD>(std::size(buf)), buf);
    std::string dir = n > 0 && n < std::size(buf) ? win32::Narrow({buf, n}) : "C:\\";
    if (dir.back() != '\\') {
        dir += '\\';
    }
    return dir;
}

bool clsFileSystem::ListFolderNames(const std::string& path, std::vector<std::string>& names,
                                    int& code) {
    std::vector<Entry> entries;
    code = static_cast<int>(ReadEntries(LongPath(path), entries));
    for (Entry& entry : entries) {
        names.push_back(std::move(entry.Name));
    }
    return code == 0;
}

int clsFileSystem::GetDirectory(const std::string& path) {
    Items.clear();
    const std::string dir = WithoutTrailingSeparator(path);
    FileInfo info;
    DWORD code = 0;
    if (dir.empty() || !win32::ExamineEntry(dir, info, code) || info.Kind != FileKind::Directory) {
        if (code != 0 && !win32::IsNotFound(code)) {
            Fail("GetDirectory", static_cast<int>(code));
        }
        return 0;
    }
    std::vector<Entry> entries;
    if (code = ReadEntries(LongPath(dir), entries); code != 0) {
        Fail("GetDirectory", static_cast<int>(code));
        return 0;
    }
    Items.reserve(entries.size());
    for (Entry& entry : entries) {
        const WIN32_FIND_DATAW& d = entry.Data;
        clsFSItem item;
        win32::FillInfo(d.dwFileAttributes, TagOf(d), d.ftLastWriteTime, d.ftLastAccessTime,
                        d.nFileSizeHigh, d.nFileSizeLow, item.Info);
        item.Path = std::move(entry.Name);
        item.Kind = item.Info.Kind;
        item.IsDirectory = item.Kind == FileKind::Directory;
        item.IsHidden = (d.dwFileAttributes & FILE_ATTRIBUTE_HIDDEN) != 0;
        item.IsSystem = (d.dwFileAttributes & FILE_ATTRIBUTE_SYSTEM) != 0;
        item.IsReadOnly = (d.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
        item.Size = static_cast<double>(item.Info.Size);
        item.Created = win32::DateOfFileTime(d.ftCreationTime);
        item.Modified = win32::DateOfFileTime(d.ftLastWriteTime);
        Items.push_back(std::move(item));
    }
    return static_cast<int>(Items.size());
}

} // namespace tessaron
