#pragma once
// SysError: the error of one failed system call, its code and the system's text together,
// so that a caller can both show it ("(13) Permission denied") and decide on it
// (IsAccessDenied) without ever taking a code back out of a message.
//
// The code is the system's own (errno on POSIX, GetLastError on Windows); the predicates
// and the named errors below map the system's codes, so code outside the platform layer
// never compares numbers. An empty record (no code) means "no error".

#include <string>

namespace tessaron {

class SysError {
public:
    SysError() = default;
    // The record of a system code, with the system's text for it; 0 gives the empty record.
    static SysError FromCode(int code);

    // The errors that callers and tests name (each the system's own code and text).
    static SysError NotFound();
    static SysError Exists();
    static SysError AccessDenied();
    static SysError NoSpace();
    static SysError QuotaExceeded();
    static SysError Io();
    static SysError NotDirectory();
    static SysError NameTooLong();
    static SysError BadHandle();
    // Another file system is mounted there (a removal leaves it as it is).
    static SysError OtherMount();

    explicit operator bool() const { return m_code != 0; }
    int Code() const { return m_code; }
    // The system's message for the code, without a trailing line break.
    const std::string& Text() const { return m_text; }
    // "source - Error (code) text": the LastError form of the platform classes
    // ("clsFileSystem.CreateDirectory() - Error (13) Permission denied").
    std::string Line(const std::string& source) const;

    bool IsNotFound() const;     // no such file or folder (also: a part of the path is missing)
    bool IsExists() const;       // something already has the name
    bool IsAccessDenied() const; // permission or ownership refused
    bool IsNoSpace() const;      // the medium is full, or the user's quota is used up
    bool IsNotDirectory() const; // a folder was expected
    bool IsLink() const;         // a link was met where links are refused
    bool IsOtherMount() const;   // another file system is mounted there
    // A failure that only the writing side of a copy can cause (full medium, quota, file
    // too large, read-only medium): a copy that fails so names its destination.
    bool IsWriteSide() const;

private:
    int m_code = 0;
    std::string m_text;
};

} // namespace tessaron
