// SysError on Windows: GetLastError codes and the system's texts for them.
#include "platform/SysError.h"

#include "platform/win32/Win32Support.h"

namespace tessaron {

SysError SysError::FromCode(int code) {
    SysError e;
    if (code != 0) {
        e.m_code = code;
        e.m_text = win32::ErrorText(static_cast<DWORD>(code));
    }
    return e;
}

SysError SysError::NotFound() {
    return FromCode(ERROR_FILE_NOT_FOUND);
}
SysError SysError::Exists() {
    return FromCode(ERROR_FILE_EXISTS);
}
SysError SysError::AccessDenied() {
    return FromCode(ERROR_ACCESS_DENIED);
}
SysError SysError::NoSpace() {
    return FromCode(ERROR_DISK_FULL);
}
SysError SysError::QuotaExceeded() {
    return FromCode(static_cast<int>(win32::kErrorDiskQuotaExceeded));
}
SysError SysError::Io() {
    return FromCode(ERROR_IO_DEVICE);
}
SysError SysError::NotDirectory() {
    return FromCode(ERROR_DIRECTORY);
}
SysError SysError::NameTooLong() {
    return FromCode(ERROR_FILENAME_EXCED_RANGE);
}
SysError SysError::BadHandle() {
    return FromCode(ERROR_INVALID_HANDLE);
}
SysError SysError::OtherMount() {
    return FromCode(ERROR_NOT_SAME_DEVICE);
}

std::string SysError::Line(const std::string& source) const {
    return source + " - Error (" + std::to_string(m_code) + ") " + m_text;
}

bool SysError::IsNotFound() const {
    return m_code == ERROR_FILE_NOT_FOUND || m_code == ERROR_PATH_NOT_FOUND ||
           m_code == ERROR_INVALID_DRIVE || m_code == ERROR_BAD_NETPATH ||
           m_code == ERROR_BAD_NET_NAME;
}
bool SysError::IsExists() const {
    return m_code == ERROR_FILE_EXISTS || m_code == ERROR_ALREADY_EXISTS;
}
bool SysError::IsAccessDenied() const {
    return m_code == ERROR_ACCESS_DENIED || m_code == ERROR_PRIVILEGE_NOT_HELD;
}
bool SysError::IsNoSpace() const {
    return m_code == ERROR_DISK_FULL || m_code == ERROR_HANDLE_DISK_FULL ||
           m_code == static_cast<int>(win32::kErrorDiskQuotaExceeded);
}
bool SysError::IsNotDirectory() const {
    return m_code == ERROR_DIRECTORY;
}
bool SysError::IsLink() const {
    return m_code == static_cast<int>(win32::kErrorStoppedOnSymlink) ||
           m_code == ERROR_CANT_ACCESS_FILE;
}
bool SysError::IsOtherMount() const {
    return m_code == ERROR_NOT_SAME_DEVICE;
}
bool SysError::IsWriteSide() const {
    return IsNoSpace() || m_code == ERROR_FILE_TOO_LARGE || m_code == ERROR_WRITE_PROTECT;
}

} // namespace tessaron
