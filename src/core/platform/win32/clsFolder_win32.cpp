#include "platform/clsFolder.h"

#include "platform/win32/Win32Support.h"

namespace tessaron {

namespace {

// The folder stays open (and so in place: it cannot be removed or renamed) while it is
// used, but others may still read, write and delete inside it.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

} // namespace

void clsFolder::Close() {
    if (m_fd != -1) {
        ::CloseHandle(reinterpret_cast<HANDLE>(m_fd));
        m_fd = -1;
    }
    m_path.clear();
}

bool clsFolder::Open(const std::string& path, bool followLast) {
    Close();
    m_path = path;
    m_checked = true; // nothing to learn: new files get the same attributes everywhere
    m_modePredictable = false;
    const DWORD flags =
        FILE_FLAG_BACKUP_SEMANTICS | (followLast ? 0 : FILE_FLAG_OPEN_REPARSE_POINT);
    HANDLE h = ::CreateFileW(win32::LongPath(path).c_str(), FILE_READ_ATTRIBUTES, kShareAll,
                             nullptr, OPEN_EXISTING, flags, nullptr);
    if (h == INVALID_HANDLE_VALUE) {
        LastErrorCode = static_cast<int>(::GetLastError());
        return false;
    }
    BY_HANDLE_FILE_INFORMATION info{};
    DWORD code = 0;
    if (!::GetFileInformationByHandle(h, &info)) {
        code = ::GetLastError();
    } else if ((info.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
        code = win32::kErrorStoppedOnSymlink; // a link, even to a folder, is not entered
    } else if ((info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        code = ERROR_DIRECTORY;
    }
    if (code != 0) {
        ::CloseHandle(h);
        LastErrorCode = static_cast<int>(code);
        return false;
    }
    m_fd = reinterpret_cast<NativeHandle>(h);
    return true;
}

bool clsFolder::GetInfo(const std::string& name, FileInfo& out) {
    out = FileInfo{};
    if (m_fd == -1) {
        LastErrorCode = ERROR_INVALID_HANDLE;
        return false;
    }
    if (name.find_first_of("\\/") != std::string::npos) {
        LastErrorCode = ERROR_INVALID_NAME;
        return false;
    }
    DWORD code = 0;
    if (!win32::ExamineEntry(m_path + "\\" + name, out, code)) {
        LastErrorCode = static_cast<int>(code);
        return false;
    }
    return true;
}

} // namespace tessaron
