// clsFolder on Windows: a folder handle (FILE_FLAG_BACKUP_SEMANTICS) that lists the
// folder, and its entries reached through the folder's full path in its "\\?\" form, so
// that paths of any length work. The handle does not share deletion: while it is open the
// folder can be neither removed nor renamed, so every entry named through its path stays
// inside the folder that was checked.
#include "platform/clsFolder.h"

#include "platform/clsPath.h"
#include "platform/win32/Win32Support.h"

#include <algorithm>

namespace tessaron {

using win32::LongPath;

namespace {

constexpr DWORD kShareInPlace = FILE_SHARE_READ | FILE_SHARE_WRITE;
constexpr DWORD kListAccess = FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES | SYNCHRONIZE;
constexpr DWORD kKeptAttributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                  FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE;

HANDLE AsHandle(NativeHandle h) {
    return reinterpret_cast<HANDLE>(h);
}

// A single entry name: no separator, not "." or "..".
bool ValidName(const std::string& name) {
    return !name.empty() && name.find_first_of("\\/") == std::string::npos && name != "." &&
           name != "..";
}

// Opens the folder path (long form). A folder whose names this user may not read is
// still opened (its entries can be named); listing it then fails with the reason. A link
// at the end is refused unless followLast. 0 or the error code.
DWORD OpenFolderHandle(const std::wstring& path, bool followLast, win32::Handle& out,
                       bool& searchOnly) {
    const DWORD flags =
        FILE_FLAG_BACKUP_SEMANTICS | (followLast ? 0 : FILE_FLAG_OPEN_REPARSE_POINT);
    auto open = [&](DWORD access) {
        return win32::Handle(::CreateFileW(path.c_str(), access, kShareInPlace, nullptr,
                                           OPEN_EXISTING, flags, nullptr));
    };
    out = path.empty() ? win32::Handle() : open(kListAccess);
    searchOnly = !out.Valid() && ::GetLastError() == ERROR_ACCESS_DENIED;
    if (searchOnly) {
        out = open(FILE_READ_ATTRIBUTES | SYNCHRONIZE);
    }
    if (!out.Valid()) {
        return path.empty() ? ERROR_PATH_NOT_FOUND : ::GetLastError();
    }
    win32::EntryData entry;
    if (!win32::EntryOfHandle(out.Get(), entry)) {
        return ::GetLastError();
    }
    const FileKind kind = win32::KindOf(entry.Attributes, entry.ReparseTag);
    if (kind == FileKind::Directory) {
        return 0;
    }
    out.Reset();
    return kind == FileKind::Symlink ? win32::kErrorStoppedOnSymlink : ERROR_DIRECTORY;
}

FILETIME FileTimeOf(const LARGE_INTEGER& value) {
    FILETIME ft{};
    ft.dwLowDateTime = value.LowPart;
    ft.dwHighDateTime = static_cast<DWORD>(value.HighPart);
    return ft;
}

// One record of a directory information block. The reparse tag of a reparse point is
// given in the place of the size of its extended attributes.
clsFSItem ItemOf(const FILE_ID_BOTH_DIR_INFO& e, unsigned long long volume) {
    win32::EntryData entry;
    entry.Attributes = e.FileAttributes;
    entry.ReparseTag = (e.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 ? e.EaSize : 0;
    entry.Created = FileTimeOf(e.CreationTime);
    entry.Accessed = FileTimeOf(e.LastAccessTime);
    entry.Written = FileTimeOf(e.LastWriteTime);
    entry.Size = static_cast<unsigned long long>(e.EndOfFile.QuadPart);
    entry.Volume = volume;
    entry.File = static_cast<unsigned long long>(e.FileId.QuadPart);
    entry.HasId = true;
    clsFSItem item;
    win32::FillItem(win32::Narrow({e.FileName, e.FileNameLength / sizeof(wchar_t)}), entry, item);
    return item;
}

// The long path of the entry name of folder.
std::wstring EntryPath(const clsFolder& folder, const std::string& name) {
    return LongPath(clsPath::Join(folder.Path(), name, PathStyle::Windows));
}

// A handle to the open folder that may change its attributes and times: the folder's
// path opened again, and checked to be the same folder as the open handle.
bool OpenForChanges(clsFolder& folder, win32::Handle& out) {
    win32::EntryData own;
    win32::EntryData again;
    if (!folder.IsOpen()) {
        folder.LastErrorCode = ERROR_INVALID_HANDLE;
        return false;
    }
    out = win32::OpenEntry(LongPath(folder.Path()), FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES,
                           true);
    if (!win32::EntryOfHandle(AsHandle(folder.Handle()), own) || !out.Valid() ||
        !win32::EntryOfHandle(out.Get(), again)) {
        folder.LastErrorCode = static_cast<int>(::GetLastError());
        out.Reset();
        return false;
    }
    if (again.Volume != own.Volume || again.File != own.File) {
        folder.LastErrorCode = ERROR_FILE_NOT_FOUND; // its path names another folder now
        out.Reset();
        return false;
    }
    return true;
}

} // namespace

void clsFolder::Close() {
    if (m_fd != -1) {
        ::CloseHandle(AsHandle(m_fd));
        m_fd = -1;
    }
    m_path.clear();
    m_searchOnly = false;
}

bool clsFolder::Fail() {
    LastErrorCode = static_cast<int>(::GetLastError());
    return false;
}

bool clsFolder::Adopt(NativeHandle fd, const std::string& path) {
    m_path = path;
    m_checked = true; // nothing to learn: new files get the same attributes everywhere
    m_modePredictable = false;
    m_fd = fd;
    return fd != -1;
}

bool clsFolder::Open(const std::string& path, bool followLast) {
    Close();
    win32::Handle h;
    const DWORD code = OpenFolderHandle(LongPath(path), followLast, h, m_searchOnly);
    if (code != 0) {
        LastErrorCode = static_cast<int>(code);
        m_searchOnly = false;
    }
    return Adopt(code == 0 ? reinterpret_cast<NativeHandle>(h.Release()) : -1, path);
}

// The folders take the permissions of the folder above: mode has no meaning here.
bool clsFolder::Create(const std::string& path, unsigned) {
    Close();
    const DWORD code = path.empty() ? ERROR_PATH_NOT_FOUND : win32::MakeFolders(LongPath(path));
    if (code != 0) {
        LastErrorCode = static_cast<int>(code);
        m_path = path;
        return false;
    }
    return Open(path, true);
}

bool clsFolder::OpenAt(const clsFolder& parent, const std::string& name) {
    Close();
    const std::string path = clsPath::Join(parent.m_path, name, PathStyle::Windows);
    if (!ValidName(name)) {
        LastErrorCode = ERROR_INVALID_NAME;
        return Adopt(-1, path);
    }
    win32::Handle h;
    const DWORD code = OpenFolderHandle(LongPath(path), false, h, m_searchOnly);
    if (code != 0) {
        LastErrorCode = static_cast<int>(code);
        m_searchOnly = false;
    }
    return Adopt(code == 0 ? reinterpret_cast<NativeHandle>(h.Release()) : -1, path);
}

// The folder above, opened by the child's path: while the child's handle is open, no
// folder on its way can be renamed, so that path still leads there (the caller checks).
bool clsFolder::OpenParent(const clsFolder& child) {
    Close();
    std::string path = child.m_path;
    while (path.size() > 1 && (path.back() == '\\' || path.back() == '/')) {
        path.pop_back();
    }
    const std::size_t slash = path.find_last_of("\\/");
    if (slash == std::string::npos || path.size() <= 3) {
        LastErrorCode = ERROR_PATH_NOT_FOUND; // a drive's root has nothing above it
        return Adopt(-1, path);
    }
    return Open(path.substr(0, slash == 2 && path[1] == ':' ? 3 : slash), true);
}

// A drive's root, or a volume mounted onto a folder: the system names it as the root of
// the volume that holds it.
bool clsFolder::IsMountRoot() {
    const std::wstring path = LongPath(m_path);
    std::vector<wchar_t> root(path.size() + 2);
    if (!::GetVolumePathNameW(path.c_str(), root.data(), static_cast<DWORD>(root.size()))) {
        return Fail();
    }
    std::wstring volume = root.data();
    std::wstring own = path;
    for (std::wstring* p : {&volume, &own}) {
        while (!p->empty() && p->back() == L'\\') {
            p->pop_back();
        }
    }
    return ::CompareStringOrdinal(volume.c_str(), -1, own.c_str(), -1, TRUE) == CSTR_EQUAL;
}

bool clsFolder::List(std::vector<clsFSItem>& items) {
    items.clear();
    win32::EntryData own;
    if (m_fd == -1 || m_searchOnly) {
        LastErrorCode = m_fd == -1 ? ERROR_INVALID_HANDLE : ERROR_ACCESS_DENIED;
        return false;
    }
    if (!win32::EntryOfHandle(AsHandle(m_fd), own)) {
        return Fail();
    }
    std::vector<LONGLONG> block(64 * 1024 / sizeof(LONGLONG)); // aligned for the records
    const DWORD size = static_cast<DWORD>(block.size() * sizeof(LONGLONG));
    auto kind = FileIdBothDirectoryRestartInfo;
    while (::GetFileInformationByHandleEx(AsHandle(m_fd), kind, block.data(), size)) {
        kind = FileIdBothDirectoryInfo;
        const auto* base = reinterpret_cast<const unsigned char*>(block.data());
        for (std::size_t at = 0;;) {
            const auto& e = *reinterpret_cast<const FILE_ID_BOTH_DIR_INFO*>(base + at);
            const std::wstring_view name(e.FileName, e.FileNameLength / sizeof(wchar_t));
            if (name != L"." && name != L"..") {
                items.push_back(ItemOf(e, own.Volume));
            }
            if (e.NextEntryOffset == 0) {
                break;
            }
            at += e.NextEntryOffset;
        }
    }
    const DWORD code = ::GetLastError();
    if (code != ERROR_NO_MORE_FILES && code != ERROR_FILE_NOT_FOUND) {
        items.clear();
        LastErrorCode = static_cast<int>(code);
        return false;
    }
    std::sort(items.begin(), items.end(),
              [](const clsFSItem& a, const clsFSItem& b) { return a.Path < b.Path; });
    return true;
}

bool clsFolder::GetInfo(const std::string& name, FileInfo& out) {
    out = FileInfo{};
    if (!ValidName(name)) {
        LastErrorCode = ERROR_INVALID_NAME;
        return false;
    }
    DWORD code = 0;
    if (!win32::ExamineEntry(clsPath::Join(m_path, name, PathStyle::Windows), out, code)) {
        LastErrorCode = static_cast<int>(code);
        return false;
    }
    return true;
}

bool clsFolder::GetOwnInfo(FileInfo& out) {
    out = FileInfo{};
    win32::EntryData entry;
    if (m_fd == -1) {
        LastErrorCode = ERROR_INVALID_HANDLE;
        return false;
    }
    if (!win32::EntryOfHandle(AsHandle(m_fd), entry)) {
        return Fail();
    }
    win32::FillInfo(entry, out);
    return true;
}

// --- Changes inside the folder --------------------------------------------------------------

bool clsFolder::CreateFolderAt(const std::string& name) {
    if (!ValidName(name)) {
        LastErrorCode = ERROR_INVALID_NAME;
        return false;
    }
    return ::CreateDirectoryW(EntryPath(*this, name).c_str(), nullptr) || Fail();
}

// A folder is refused; a link or junction to one is removed alone.
bool clsFolder::RemoveAt(const std::string& name) {
    FileInfo info;
    if (!GetInfo(name, info)) {
        return false;
    }
    if (info.Kind == FileKind::Directory) {
        LastErrorCode = ERROR_ACCESS_DENIED; // as DeleteFileW says of a folder
        return false;
    }
    const DWORD code = win32::RemovePath(EntryPath(*this, name), nullptr);
    LastErrorCode = code != 0 ? static_cast<int>(code) : LastErrorCode;
    return code == 0;
}

bool clsFolder::RemoveFolderAt(const std::string& name) {
    if (!ValidName(name)) {
        LastErrorCode = ERROR_INVALID_NAME;
        return false;
    }
    const std::wstring path = EntryPath(*this, name);
    DWORD attributes = 0;
    if (win32::AttributesOf(path, attributes) == 0 && (attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        ::SetFileAttributesW(path.c_str(), attributes & ~FILE_ATTRIBUTE_READONLY);
    }
    return ::RemoveDirectoryW(path.c_str()) || Fail();
}

// A file or link at to is replaced in one step (MoveFileExW with
// MOVEFILE_REPLACE_EXISTING). Windows refuses to replace a read-only, hidden or system
// file: those attributes are cleared for the move and put back if it still fails.
bool clsFolder::RenameAt(const std::string& from, const std::string& to) {
    if (!ValidName(from) || !ValidName(to)) {
        LastErrorCode = ERROR_INVALID_NAME;
        return false;
    }
    const std::wstring source = EntryPath(*this, from);
    const std::wstring dest = EntryPath(*this, to);
    DWORD old = 0;
    const bool exists = win32::AttributesOf(dest, old) == 0;
    if (exists && (old & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        LastErrorCode = ERROR_ACCESS_DENIED; // a folder is never replaced
        return false;
    }
    constexpr DWORD kBlocking =
        FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    const bool cleared = exists && (old & kBlocking) != 0 &&
                         ::SetFileAttributesW(dest.c_str(), FILE_ATTRIBUTE_NORMAL);
    if (::MoveFileExW(source.c_str(), dest.c_str(), MOVEFILE_REPLACE_EXISTING)) {
        return true;
    }
    Fail();
    if (cleared) {
        ::SetFileAttributesW(dest.c_str(), old & kKeptAttributes);
    }
    return false;
}

bool clsFolder::ReadLinkAt(const std::string& name, std::string& text) {
    text.clear();
    if (!ValidName(name)) {
        LastErrorCode = ERROR_INVALID_NAME;
        return false;
    }
    win32::Handle link = win32::OpenEntry(EntryPath(*this, name), FILE_READ_ATTRIBUTES, false);
    DWORD code = 0;
    if (!link.Valid()) {
        return Fail();
    }
    if (!win32::ReadLinkText(link.Get(), text, code)) {
        LastErrorCode = static_cast<int>(code);
        return false;
    }
    return true;
}

// A link to a folder must say so when it is made; a relative text counts from this folder.
bool clsFolder::CreateLinkAt(const std::string& name, const std::string& text) {
    if (!ValidName(name)) {
        LastErrorCode = ERROR_INVALID_NAME;
        return false;
    }
    std::string target = text;
    std::replace(target.begin(), target.end(), '/', '\\');
    const std::string place = clsPath::IsAbsolute(target, PathStyle::Windows)
                                  ? target
                                  : clsPath::Join(m_path, target, PathStyle::Windows);
    FileInfo info;
    DWORD code = 0;
    DWORD flags = SYMBOLIC_LINK_FLAG_ALLOW_UNPRIVILEGED_CREATE;
    if (win32::ExamineEntry(place, info, code, true) && info.Kind == FileKind::Directory) {
        flags |= SYMBOLIC_LINK_FLAG_DIRECTORY;
    }
    return ::CreateSymbolicLinkW(EntryPath(*this, name).c_str(), win32::Widen(target).c_str(),
                                 flags) ||
           Fail();
}

bool clsFolder::SetTimesAt(const std::string& name, const timespec& atime, const timespec& mtime) {
    if (!ValidName(name)) {
        LastErrorCode = ERROR_INVALID_NAME;
        return false;
    }
    win32::Handle entry = win32::OpenEntry(EntryPath(*this, name), FILE_WRITE_ATTRIBUTES, false);
    return (entry.Valid() && win32::SetTimesOf(entry.Get(), atime, mtime, {})) || Fail();
}

bool clsFolder::SetOwnerAt(const std::string& name, unsigned, unsigned) {
    // Copies belong to the user who runs the backup, as files that user makes do.
    if (!ValidName(name)) {
        LastErrorCode = ERROR_INVALID_NAME;
        return false;
    }
    return true;
}

// --- The folder's own metadata ---------------------------------------------------------------

bool clsFolder::SetMode(unsigned mode) {
    win32::Handle h;
    const DWORD readOnly = (mode & 0222) == 0 ? FILE_ATTRIBUTE_READONLY : 0;
    return OpenForChanges(*this, h) &&
           (win32::SetAttributeBits(h.Get(), readOnly, FILE_ATTRIBUTE_READONLY) || Fail());
}

bool clsFolder::SetOwner(unsigned, unsigned) {
    // Copies belong to the user who runs the backup, as folders that user makes do.
    if (m_fd == -1) {
        LastErrorCode = ERROR_INVALID_HANDLE;
        return false;
    }
    return true;
}

bool clsFolder::SetTimes(const timespec& atime, const timespec& mtime, const timespec& created) {
    win32::Handle h;
    return OpenForChanges(*this, h) &&
           (win32::SetTimesOf(h.Get(), atime, mtime, created) || Fail());
}

bool clsFolder::SetAttributes(int attributes) {
    win32::Handle h;
    return OpenForChanges(*this, h) &&
           (win32::SetAttributeBits(h.Get(), static_cast<DWORD>(attributes), kKeptAttributes) ||
            Fail());
}

bool clsFolder::AllowChanges() {
    // A read-only folder does not keep its owner from making entries in it on Windows.
    if (m_fd == -1) {
        LastErrorCode = ERROR_INVALID_HANDLE;
        return false;
    }
    return true;
}

// Files were put on their medium as they were closed. The volume's own records are
// flushed where the system lets this user open the volume (administrators); for any
// other user the system offers no flush of them, and that is no failure.
bool clsFolder::Sync() {
    if (m_fd == -1) {
        LastErrorCode = ERROR_INVALID_HANDLE;
        return false;
    }
    wchar_t root[MAX_PATH + 1] = {};
    wchar_t volume[MAX_PATH + 1] = {};
    if (!::GetVolumePathNameW(LongPath(m_path).c_str(), root, MAX_PATH + 1) ||
        !::GetVolumeNameForVolumeMountPointW(root, volume, MAX_PATH + 1)) {
        return true; // a network share: its server keeps the data
    }
    std::wstring device = volume;
    if (device.ends_with(L'\\')) {
        device.pop_back();
    }
    win32::Handle h(::CreateFileW(device.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                  nullptr, OPEN_EXISTING, 0, nullptr));
    if (!h.Valid() || ::FlushFileBuffers(h.Get())) {
        return true;
    }
    const DWORD code = ::GetLastError();
    if (code == ERROR_ACCESS_DENIED || code == ERROR_INVALID_FUNCTION ||
        code == ERROR_NOT_SUPPORTED) {
        return true;
    }
    LastErrorCode = static_cast<int>(code);
    return false;
}

} // namespace tessaron
