// SysError on POSIX: errno values and strerror texts.
#include "platform/SysError.h"

#include "platform/posix/PosixSupport.h"

#include <cerrno>

namespace tessaron {

SysError SysError::FromCode(int code) {
    SysError e;
    if (code != 0) {
        e.m_code = code;
        e.m_text = posix::ErrorText(code);
    }
    return e;
}

SysError SysError::NotFound() {
    return FromCode(ENOENT);
}
SysError SysError::Exists() {
    return FromCode(EEXIST);
}
SysError SysError::AccessDenied() {
    return FromCode(EACCES);
}
SysError SysError::NoSpace() {
    return FromCode(ENOSPC);
}
SysError SysError::QuotaExceeded() {
    return FromCode(EDQUOT);
}
SysError SysError::Io() {
    return FromCode(EIO);
}
SysError SysError::NotDirectory() {
    return FromCode(ENOTDIR);
}
SysError SysError::NameTooLong() {
    return FromCode(ENAMETOOLONG);
}
SysError SysError::BadHandle() {
    return FromCode(EBADF);
}
SysError SysError::OtherMount() {
    return FromCode(EXDEV);
}

std::string SysError::Line(const std::string& source) const {
    return source + " - Error (" + std::to_string(m_code) + ") " + m_text;
}

bool SysError::IsNotFound() const {
    return m_code == ENOENT;
}
bool SysError::IsExists() const {
    return m_code == EEXIST;
}
bool SysError::IsAccessDenied() const {
    return m_code == EACCES || m_code == EPERM;
}
bool SysError::IsNoSpace() const {
    return m_code == ENOSPC || m_code == EDQUOT;
}
bool SysError::IsNotDirectory() const {
    return m_code == ENOTDIR;
}
bool SysError::IsLink() const {
    return m_code == ELOOP;
}
bool SysError::IsOtherMount() const {
    return m_code == EXDEV;
}
bool SysError::IsWriteSide() const {
    return m_code == ENOSPC || m_code == EDQUOT || m_code == EFBIG || m_code == EROFS;
}

} // namespace tessaron
