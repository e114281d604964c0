// Examining, listing, reading links of, removing and making entries on Windows: the work
// that clsFileSystem and clsFolder share.
#include "platform/win32/Win32Support.h"

#include <algorithm>
#include <cstring>
#include <winioctl.h>

namespace tessaron::win32 {

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kKeptAttributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                  FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE;

// The reparse data of a symbolic link or junction (the layout winnt.h leaves to the
// driver kit): the link's text sits in PathBuffer at the print name's offset.
struct ReparseHead {
    DWORD Tag;
    WORD DataLength;
    WORD Reserved;
    WORD SubstituteOffset;
    WORD SubstituteLength;
    WORD PrintOffset;
    WORD PrintLength;
};

timespec TimeOrZero(const FILETIME& ft) {
    return ft.dwLowDateTime == 0 && ft.dwHighDateTime == 0 ? timespec{} : ToTimespec(ft);
}

EntryData EntryOfFindData(const WIN32_FIND_DATAW& d) {
    EntryData e;
    e.Attributes = d.dwFileAttributes;
    e.ReparseTag = (d.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 ? d.dwReserved0 : 0;
    e.Created = d.ftCreationTime;
    e.Accessed = d.ftLastAccessTime;
    e.Written = d.ftLastWriteTime;
    e.Size = (static_cast<unsigned long long>(d.nFileSizeHigh) << 32) | d.nFileSizeLow;
    return e;
}

// The one entry path names, by name (a link is not followed); 0 or the error code.
DWORD FindEntry(const std::wstring& longPath, EntryData& out) {
    WIN32_FIND_DATAW data{};
    const HANDLE find = ::FindFirstFileW(longPath.c_str(), &data);
    if (find == INVALID_HANDLE_VALUE) {
        return ::GetLastError();
    }
    ::FindClose(find);
    out = EntryOfFindData(data);
    return 0;
}

// The length of the root a long path starts with ("\\?\C:\", "\\?\UNC\srv\share\"); the
// whole length for a form without one.
std::size_t RootLength(const std::wstring& p) {
    if (p.starts_with(L"\\\\?\\UNC\\")) {
        const std::size_t server = p.find(L'\\', 8);
        const std::size_t share = server == std::wstring::npos ? server : p.find(L'\\', server + 1);
        return share == std::wstring::npos ? p.size() : share + 1;
    }
    if (p.starts_with(L"\\\\?\\") && p.size() >= 7 && p[5] == L':' && p[6] == L'\\') {
        return 7;
    }
    return p.size();
}

} // namespace

void FillInfo(const EntryData& entry, FileInfo& out) {
    out = FileInfo{};
    out.Exists = true;
    out.Kind = KindOf(entry.Attributes, entry.ReparseTag);
    if (out.Kind == FileKind::File) {
        out.Size = static_cast<long long>(entry.Size);
        out.Sparse = (entry.Attributes & FILE_ATTRIBUTE_SPARSE_FILE) != 0;
    }
    out.MTime = ToTimespec(entry.Written);
    out.ATime = ToTimespec(entry.Accessed);
    out.Created = TimeOrZero(entry.Created);
    out.Mode = (entry.Attributes & FILE_ATTRIBUTE_READONLY) != 0 ? 0444 : 0666;
    if (out.Kind == FileKind::Directory) {
        out.Mode |= 0111;
    }
    out.Attributes = static_cast<int>(entry.Attributes & kKeptAttributes);
    out.Id = {entry.Volume, entry.File, entry.HasId};
}

void FillItem(const std::string& name, const EntryData& entry, clsFSItem& item) {
    item = clsFSItem{};
    item.Path = name;
    FillInfo(entry, item.Info);
    item.Kind = item.Info.Kind;
    item.IsDirectory = item.Kind == FileKind::Directory;
    item.IsHidden = (entry.Attributes & FILE_ATTRIBUTE_HIDDEN) != 0;
    item.IsSystem = (entry.Attributes & FILE_ATTRIBUTE_SYSTEM) != 0;
    item.IsReadOnly = (entry.Attributes & FILE_ATTRIBUTE_READONLY) != 0;
    item.Size = static_cast<double>(item.Info.Size);
    item.Created = DateOfFileTime(entry.Created);
    item.Modified = DateOfFileTime(entry.Written);
}

Handle OpenEntry(const std::wstring& longPath, DWORD access, bool followLast) {
    if (longPath.empty()) {
        ::SetLastError(ERROR_FILE_NOT_FOUND);
        return Handle();
    }
    const DWORD flags =
        FILE_FLAG_BACKUP_SEMANTICS | (followLast ? 0 : FILE_FLAG_OPEN_REPARSE_POINT);
    return Handle(
        ::CreateFileW(longPath.c_str(), access, kShareAll, nullptr, OPEN_EXISTING, flags, nullptr));
}

bool EntryOfHandle(HANDLE h, EntryData& out) {
    BY_HANDLE_FILE_INFORMATION info{};
    if (!::GetFileInformationByHandle(h, &info)) {
        return false;
    }
    out = EntryData{};
    out.Attributes = info.dwFileAttributes;
    out.Created = info.ftCreationTime;
    out.Accessed = info.ftLastAccessTime;
    out.Written = info.ftLastWriteTime;
    out.Size = (static_cast<unsigned long long>(info.nFileSizeHigh) << 32) | info.nFileSizeLow;
    out.Volume = info.dwVolumeSerialNumber;
    out.File = (static_cast<unsigned long long>(info.nFileIndexHigh) << 32) | info.nFileIndexLow;
    out.HasId = true;
    FILE_ATTRIBUTE_TAG_INFO tag{};
    if ((info.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
        ::GetFileInformationByHandleEx(h, FileAttributeTagInfo, &tag, sizeof tag)) {
        out.ReparseTag = tag.ReparseTag;
    }
    return true;
}

bool IsNotFound(DWORD code) {
    return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND ||
           code == ERROR_INVALID_DRIVE || code == ERROR_BAD_NETPATH || code == ERROR_BAD_NET_NAME;
}

bool ExamineEntry(const std::string& path, FileInfo& out, DWORD& code, bool followLast) {
    out = FileInfo{};
    code = 0;
    const std::wstring wide = LongPath(path);
    Handle h = OpenEntry(wide, FILE_READ_ATTRIBUTES, followLast);
    EntryData entry;
    if (h.Valid() && EntryOfHandle(h.Get(), entry)) {
        FillInfo(entry, out);
        return true;
    }
    code = ::GetLastError();
    if (IsNotFound(code)) {
        return true;
    }
    // Some files cannot be opened even for their attributes (the page file, files of
    // the system): their listing entry still tells what they are.
    if (!followLast && !h.Valid() && FindEntry(wide, entry) == 0) {
        FillInfo(entry, out);
        code = 0;
        return true;
    }
    return false;
}

DWORD ReadEntries(const std::wstring& folder, std::vector<std::pair<std::string, EntryData>>& out) {
    out.clear();
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
            out.emplace_back(Narrow(name), EntryOfFindData(data));
        }
    } while (::FindNextFileW(find, &data));
    const DWORD code = ::GetLastError();
    ::FindClose(find);
    std::sort(out.begin(), out.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    return code == ERROR_NO_MORE_FILES ? 0 : code;
}

bool ReadLinkText(HANDLE h, std::string& text, DWORD& code) {
    text.clear();
    std::vector<unsigned char> buf(MAXIMUM_REPARSE_DATA_BUFFER_SIZE);
    DWORD size = 0;
    if (!::DeviceIoControl(h, FSCTL_GET_REPARSE_POINT, nullptr, 0, buf.data(),
                           static_cast<DWORD>(buf.size()), &size, nullptr)) {
        code = ::GetLastError();
        return false;
    }
    ReparseHead head{};
    if (size < sizeof head) {
        code = ERROR_NOT_A_REPARSE_POINT;
        return false;
    }
    std::memcpy(&head, buf.data(), sizeof head);
    // A symbolic link's path buffer comes after a 4-byte flags field.
    const std::size_t base = sizeof head + (head.Tag == IO_REPARSE_TAG_SYMLINK ? 4 : 0);
    auto part = [&](WORD offset, WORD length) -> std::wstring {
        if (base + offset + length > size) {
            return {};
        }
        std::wstring out(length / sizeof(wchar_t), L'\0');
        std::memcpy(out.data(), buf.data() + base + offset, out.size() * sizeof(wchar_t));
        return out;
    };
    std::wstring link = IsLinkTag(head.Tag) ? part(head.PrintOffset, head.PrintLength) : L"";
    if (link.empty() && IsLinkTag(head.Tag)) {
        link = part(head.SubstituteOffset, head.SubstituteLength);
        link = link.starts_with(L"\\??\\") ? link.substr(4) : link;
    }
    if (link.empty()) {
        code = ERROR_NOT_A_REPARSE_POINT;
        return false;
    }
    text = Narrow(link);
    return true;
}

DWORD RemoveEntry(const std::wstring& path, DWORD attributes, DWORD reparseTag,
                  const std::function<void()>& yield) {
    if (KindOf(attributes, reparseTag) == FileKind::Directory) {
        if (const DWORD code = CleanFolder(path, yield); code != 0) {
            return code;
        }
    }
    // Read-only, hidden and system entries cannot be deleted until that is cleared.
    if ((attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM)) !=
        0) {
        ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    }
    // A link to a folder is removed as a folder entry, which removes the link alone.
    const bool folder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const BOOL done = folder ? ::RemoveDirectoryW(path.c_str()) : ::DeleteFileW(path.c_str());
    return done || IsNotFound(::GetLastError()) ? 0 : ::GetLastError();
}

DWORD CleanFolder(const std::wstring& folder, const std::function<void()>& yield) {
    std::vector<std::pair<std::string, EntryData>> entries;
    if (const DWORD code = ReadEntries(folder, entries); code != 0) {
        return code;
    }
    const std::wstring base = folder.ends_with(L'\\') ? folder : folder + L'\\';
    for (const auto& [name, entry] : entries) {
        const DWORD code =
            RemoveEntry(base + Widen(name), entry.Attributes, entry.ReparseTag, yield);
        if (yield) {
            yield();
        }
        if (code != 0) {
            return code;
        }
    }
    return 0;
}

DWORD RemovePath(const std::wstring& longPath, const std::function<void()>& yield) {
    EntryData entry;
    if (const DWORD code = FindEntry(longPath, entry); code != 0) {
        return code;
    }
    return RemoveEntry(longPath, entry.Attributes, entry.ReparseTag, yield);
}

DWORD AttributesOf(const std::wstring& longPath, DWORD& attributes) {
    EntryData entry;
    const DWORD code = FindEntry(longPath, entry);
    attributes = code == 0 ? entry.Attributes : 0;
    return code;
}

DWORD MakeFolders(const std::wstring& full) {
    // Each folder from the one below the root on; one that exists already is fine (a
    // folder that cannot be looked at, such as a share's own folder, too: the next
    // level says why it cannot go on).
    const std::size_t root = RootLength(full);
    for (std::size_t pos = full.find(L'\\', root); pos != std::wstring::npos;
         pos = full.find(L'\\', pos + 1)) {
        const std::wstring prefix = full.substr(0, pos);
        if (prefix.size() > root && !::CreateDirectoryW(prefix.c_str(), nullptr) &&
            ::GetLastError() != ERROR_ALREADY_EXISTS && ::GetLastError() != ERROR_ACCESS_DENIED) {
            return ::GetLastError();
        }
    }
    if (full.size() > root && !full.ends_with(L'\\') &&
        !::CreateDirectoryW(full.c_str(), nullptr) && ::GetLastError() != ERROR_ALREADY_EXISTS) {
        return ::GetLastError();
    }
    return 0;
}

std::wstring ParentOf(const std::wstring& longPath) {
    const std::size_t root = RootLength(longPath);
    std::wstring p = longPath;
    while (p.size() > root && p.back() == L'\\') {
        p.pop_back();
    }
    if (p.size() <= root) {
        return {};
    }
    const std::size_t slash = p.find_last_of(L'\\');
    return slash + 1 <= root ? p.substr(0, root) : p.substr(0, slash);
}

bool SetAttributeBits(HANDLE h, DWORD bits, DWORD mask) {
    FILE_BASIC_INFO basic{};
    if (!::GetFileInformationByHandleEx(h, FileBasicInfo, &basic, sizeof basic)) {
        return false;
    }
    const DWORD before = basic.FileAttributes;
    DWORD wanted = (before & ~mask) | (bits & mask);
    if (wanted == before) {
        return true;
    }
    // Times of 0 leave them unchanged; attributes of 0 would too, so "none" is NORMAL.
    basic.CreationTime.QuadPart = basic.LastAccessTime.QuadPart = 0;
    basic.LastWriteTime.QuadPart = basic.ChangeTime.QuadPart = 0;
    basic.FileAttributes = wanted == 0 ? FILE_ATTRIBUTE_NORMAL : wanted;
    return ::SetFileInformationByHandle(h, FileBasicInfo, &basic, sizeof basic) != 0;
}

bool SetTimesOf(HANDLE h, const timespec& atime, const timespec& mtime, const timespec& created) {
    const FILETIME accessed = ToFileTime(atime);
    const FILETIME written = ToFileTime(mtime);
    const FILETIME made = ToFileTime(created);
    const bool withCreated = created.tv_sec != 0 || created.tv_nsec != 0;
    return ::SetFileTime(h, withCreated ? &made : nullptr, &accessed, &written) != 0;
}

} // namespace tessaron::win32
