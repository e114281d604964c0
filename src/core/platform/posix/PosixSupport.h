#pragma once
// Small helpers shared by the POSIX implementations of the platform classes. Internal to
// the platform layer: nothing outside src/core/platform/posix includes this.

#include "platform/DateTime.h"
#include "platform/clsFSItem.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace tessaron::posix {

namespace detail {
// strerror_r comes in two flavours (GNU returns the text, XSI fills the buffer).
inline const char* PickErrorText(int result, const char* buf) {
    return result == 0 ? buf : "";
}
inline const char* PickErrorText(const char* result, const char*) {
    return result;
}
} // namespace detail

// The system's text for an errno value, without a trailing line break.
inline std::string ErrorText(int code) {
    char buf[256] = {};
    std::string text = detail::PickErrorText(strerror_r(code, buf, sizeof buf), buf);
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
        text.pop_back();
    }
    return text;
}

// "source - Error (code) text", the error text of every platform class.
inline std::string ErrorLine(const std::string& source, int code) {
    return source + " - Error (" + std::to_string(code) + ") " + ErrorText(code);
}

// Local date-time of a file time, to the second.
inline DateTime LocalDate(const struct timespec& ts) {
    return DateTime::FromTimeT(ts.tv_sec);
}

// A file time for a local date-time; an empty date gives UTIME_OMIT (leave unchanged).
inline struct timespec ToTimespec(const DateTime& value) {
    struct timespec ts {};
    if (value.IsEmpty()) {
        ts.tv_nsec = UTIME_OMIT;
    } else {
        ts.tv_sec = value.ToTimeT();
    }
    return ts;
}

// What a mode's file type bits make of an entry.
inline FileKind KindOf(mode_t mode) {
    if (S_ISREG(mode)) {
        return FileKind::File;
    }
    if (S_ISDIR(mode)) {
        return FileKind::Directory;
    }
    if (S_ISLNK(mode)) {
        return FileKind::Symlink;
    }
    if (S_ISFIFO(mode)) {
        return FileKind::Fifo;
    }
    return S_ISSOCK(mode) ? FileKind::Socket : FileKind::Device;
}

// A regular file whose allocated blocks hold less than its size has holes.
inline bool HasHoles(FileKind kind, long long size, long long blocks) {
    return kind == FileKind::File && blocks * 512 < size;
}

inline void InfoFromStat(const struct stat& st, FileInfo& out) {
    out.Exists = true;
    out.Kind = KindOf(st.st_mode);
    out.Size = static_cast<long long>(st.st_size);
    out.MTime = st.st_mtim;
    out.ATime = st.st_atim;
    out.Mode = st.st_mode & 07777;
    out.Uid = st.st_uid;
    out.Gid = st.st_gid;
    out.Id = {static_cast<unsigned long long>(st.st_dev),
              static_cast<unsigned long long>(st.st_ino), true};
    out.Sparse = HasHoles(out.Kind, out.Size, static_cast<long long>(st.st_blocks));
}

// The process's identity and umask, asked once: nothing in the program changes them, and
// a copy of many small files would otherwise ask for them at every file.
inline uid_t EffectiveUid() {
    static const uid_t uid = ::geteuid();
    return uid;
}

inline gid_t EffectiveGid() {
    static const gid_t gid = ::getegid();
    return gid;
}

inline mode_t ProcessUmask() {
    static const mode_t mask = [] {
        const mode_t m = ::umask(022);
        ::umask(m);
        return m;
    }();
    return mask;
}

// Runs fn until it does not fail with EINTR.
template <class Fn> auto RetryEintr(Fn fn) {
    auto r = fn();
    while (r < 0 && errno == EINTR) {
        r = fn();
    }
    return r;
}

} // namespace tessaron::posix
