// clsFileSystem on Windows: queries, changes and listings. Drives, ejecting and the
// program's folders are in clsFileSystemDrives_win32.cpp, copying in
// clsFileSystemCopy_win32.cpp.
#include "platform/clsFileSystem.h"

#include "platform/clsFolder.h"

#include "platform/win32/Win32Support.h"

#include <algorithm>
#include <functional>

namespace tessaron {

using win32::LongPath;

namespace {

constexpr DWORD kAttributeBits = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                 FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_DIRECTORY |
                                 FILE_ATTRIBUTE_ARCHIVE;

// The attributes of path, INVALID_FILE_ATTRIBUTES when it cannot be read.
DWORD AttributesOf(const std::string& path) {
    return path.empty() ? INVALID_FILE_ATTRIBUTES : ::GetFileAttributesW(LongPath(path).c_str());
}

} // namespace

bool clsFileSystem::Fail(const char* member, int code) {
    LastErrorInfo = SysError::FromCode(code);
    LastError = LastErrorInfo.Line(std::string("clsFileSystem.") + member + "()");
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

bool clsFileSystem::IsDirectory(const std::string& path) {
    FileInfo info;
    DWORD code = 0;
    return win32::ExamineEntry(path, info, code) && info.Kind == FileKind::Directory;
}

bool clsFileSystem::GetInfo(const std::string& path, FileInfo& out, bool followLinks) {
    DWORD code = 0;
    return win32::ExamineEntry(path, out, code, followLinks) ||
           Fail("GetInfo", static_cast<int>(code));
}

// A folder is emptied as Clean empties one (never leaving its volume), then removed.
bool clsFileSystem::Delete(const std::string& path, bool Wait) {
    const std::wstring wide = LongPath(path);
    FileInfo info;
    DWORD examined = 0;
    if (!wide.empty() && win32::ExamineEntry(path, info, examined) &&
        info.Kind == FileKind::Directory) {
        clsFolder folder;
        if (!folder.Open(path)) {
            return Fail("Delete", folder.LastErrorCode);
        }
        if (!EmptyOpenFolder(folder, "Delete")) {
            return false;
        }
    }
    const DWORD code =
        wide.empty() ? ERROR_FILE_NOT_FOUND : win32::RemovePath(wide, [this] { Yield(); });
    if (code != 0) {
        return Fail("Delete", static_cast<int>(code));
    }
    return !Wait || WaitUntilGone(path);
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
    if (const DWORD code = win32::MakeFolders(LongPath(path)); code != 0) {
        return Fail("CreateDirectories", static_cast<int>(code));
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
    std::vector<std::pair<std::string, win32::EntryData>> entries;
    if (code = win32::ReadEntries(LongPath(dir), entries); code != 0) {
        Fail("GetDirectory", static_cast<int>(code));
        return 0;
    }
    Items.resize(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        win32::FillItem(entries[i].first, entries[i].second, Items[i]);
    }
    return static_cast<int>(Items.size());
}

} // namespace tessaron
