// clsFileSystem on Windows: copying a file and carrying metadata to a copy.
#include "platform/clsFileSystem.h"

#include "platform/win32/Win32Support.h"

#include <cstddef>
#include <cstring>
#include <vector>
#include <winioctl.h>

namespace tessaron {

using win32::LongPath;

namespace {

// The reparse data of a symbolic link or junction (the layout winnt.h leaves to the
// driver kit): the link's text sits in PathBuffer at the print name's offset.
struct ReparseData {
    DWORD Tag;
    WORD DataLength;
    WORD Reserved;
    WORD SubstituteOffset;
    WORD SubstituteLength;
    WORD PrintOffset;
    WORD PrintLength;
};

// Opens path itself (a link is not followed), for reading or changing its attributes.
win32::Handle OpenEntry(const std::string& path, DWORD access) {
    return win32::Handle(::CreateFileW(
        LongPath(path).c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT,
        nullptr));
}

// The text of a link from its reparse data: the print name, else the substitute name
// without the "\??\" prefix of the native form.
std::wstring LinkText(const std::vector<unsigned char>& buf, DWORD size) {
    if (size < sizeof(ReparseData)) {
        return {};
    }
    ReparseData head{};
    std::memcpy(&head, buf.data(), sizeof head);
    // A symbolic link's path buffer comes after a 4-byte flags field.
    const std::size_t base = sizeof head + (head.Tag == IO_REPARSE_TAG_SYMLINK ? 4 : 0);
    auto text = [&](WORD offset, WORD length) -> std::wstring {
        if (base + offset + length > size) {
            return {};
        }
        std::wstring out(length / sizeof(wchar_t), L'\0');
        std::memcpy(out.data(), buf.data() + base + offset, length);
        return out;
    };
    std::wstring print = text(head.PrintOffset, head.PrintLength);
    if (!print.empty()) {
        return print;
    }
    std::wstring sub = text(head.SubstituteOffset, head.SubstituteLength);
    return sub.starts_with(L"\\??\\") ? sub.substr(4) : sub;
}

} // namespace

bool clsFileSystem::Copy(const std::string& path1, const std::string& path2, bool DeleteExisting) {
    // A failed system call leaves only the system's text, as callers show it as it is.
    if (::CopyFileW(LongPath(path1).c_str(), LongPath(path2).c_str(), !DeleteExisting)) {
        return true;
    }
    LastError = GetErrorMessage(static_cast<int>(::GetLastError()));
    return false;
}

bool clsFileSystem::SetTimes(const std::string& path, const timespec& atime,
                             const timespec& mtime) {
    win32::Handle entry = OpenEntry(path, FILE_WRITE_ATTRIBUTES);
    const FILETIME accessed = win32::ToFileTime(atime);
    const FILETIME written = win32::ToFileTime(mtime);
    return (entry.Valid() && ::SetFileTime(entry.Get(), nullptr, &accessed, &written)) ||
           Fail("SetTimes", ::GetLastError());
}

bool clsFileSystem::SetMode(const std::string& path, unsigned mode) {
    // The one permission Windows has: read-only when no write bit is set.
    const std::wstring wide = LongPath(path);
    const DWORD attributes = ::GetFileAttributesW(wide.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return Fail("SetMode", ::GetLastError());
    }
    DWORD wanted = (mode & 0222) == 0 ? attributes | FILE_ATTRIBUTE_READONLY
                                      : attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY);
    if (wanted == attributes) {
        return true;
    }
    return ::SetFileAttributesW(wide.c_str(), wanted) || Fail("SetMode", ::GetLastError());
}

bool clsFileSystem::SetOwner(const std::string&, unsigned, unsigned) {
    // Copies belong to the user who runs the backup, as files that user makes do.
    return true;
}

bool clsFileSystem::ReadLink(const std::string& path, std::string& target) {
    target.clear();
    win32::Handle entry = OpenEntry(path, FILE_READ_ATTRIBUTES);
    if (!entry.Valid()) {
        return Fail("ReadLink", ::GetLastError());
    }
    std::vector<unsigned char> buf(MAXIMUM_REPARSE_DATA_BUFFER_SIZE);
    DWORD size = 0;
    if (!::DeviceIoControl(entry.Get(), FSCTL_GET_REPARSE_POINT, nullptr, 0, buf.data(),
                           static_cast<DWORD>(buf.size()), &size, nullptr)) {
        return Fail("ReadLink", ::GetLastError());
    }
    const std::wstring text = LinkText(buf, size);
    if (text.empty()) {
        return Fail("ReadLink", ERROR_NOT_A_REPARSE_POINT);
    }
    target = win32::Narrow(text);
    return true;
}

bool clsFileSystem::CreateLink(const std::string& target, const std::string& linkPath) {
    // A link to a folder must say so when it is made; a relative target counts from the
    // link's own folder.
    std::string resolved = target;
    const bool absolute = target.size() > 1 && (target[1] == ':' || target.starts_with("\\\\"));
    const std::size_t slash = linkPath.find_last_of("\\/");
    if (!absolute && slash != std::string::npos) {
        resolved = linkPath.substr(0, slash + 1) + target;
    }
    DWORD flags = SYMBOLIC_LINK_FLAG_ALLOW_UNPRIVILEGED_CREATE;
    if (IsDirectory(resolved)) {
        flags |= SYMBOLIC_LINK_FLAG_DIRECTORY;
    }
    std::wstring text = win32::Widen(target);
    for (wchar_t& c : text) {
        c = c == L'/' ? L'\\' : c;
    }
    return ::CreateSymbolicLinkW(LongPath(linkPath).c_str(), text.c_str(), flags) ||
           Fail("CreateLink", ::GetLastError());
}

} // namespace tessaron
