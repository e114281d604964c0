#pragma once
// A file access for tests: the system's own, except that where a Fault says so a call
// fails (by operation, path and call count, or once a read or write reaches an offset),
// moves fewer bytes than asked, or first runs a step of the test (a file that vanishes,
// grows or shrinks between listing and copy). Paths are matched by their end. Calls may
// come from the run's read-ahead thread too: each call that looks at the faults holds one
// lock, so faults, steps and observers see one call at a time.

#include "platform/SystemFileAccess.h"
#include "platform/clsPath.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tessaron::test {

enum class Op {
    List,
    Examine, // an entry of a listing
    OpenFolderAt,
    CreateFolderAt,
    RenameAt,
    SetFolderMeta,
    Sync,
    OpenFileAt,
    Read,
    Write,
    SetFileMeta,
    Close,
    OpenLog,
    WriteLog
};

struct Fault {
    Fault(Op o, std::string p, SysError e = {}) : op(o), path(std::move(p)), error(std::move(e)) {}
    Op op;
    std::string path;        // the end of the path the call is about ("" for any)
    SysError error;          // empty: no failure (a Short move, or only `before`)
    int nth = 1;             // the nth matching call is hit; 0: every one
    long long offset = -1;   // Read, Write: hit once the file's offset reaches this
    bool shortMoves = false; // Read, Write: move at most 1000 bytes per call
    std::function<void(const std::string& path)> before; // runs before the hit call
    std::chrono::milliseconds slow{0}; // the hit call waits this long (not List or Close),
                                       // other threads' calls going on meanwhile
    int seen = 0;
};

class FaultyFileAccess : public SystemFileAccess {
    using Base = SystemFileAccess;

public:
    std::vector<Fault> faults;
    // Called before every call that faults can hit, with its operation and path.
    std::function<void(Op, const std::string&)> onCall;

    bool OpenFile(clsBinaryFile& f, const std::string& p) override {
        Track(f, p);
        return Base::OpenFile(f, p);
    }
    bool OpenFolderAt(clsFolder& f, const clsFolder& parent, const std::string& n) override {
        return Hit(Op::OpenFolderAt, At(parent, n), f.LastErrorCode,
                   [&] { return Base::OpenFolderAt(f, parent, n); });
    }
    bool List(clsFolder& f, std::vector<clsFSItem>& items) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        if (!Pass(Op::List, f.Path(), f.LastErrorCode) || !Base::List(f, items)) {
            return false;
        }
        for (clsFSItem& item : items) {
            int code = 0;
            if (!Pass(Op::Examine, At(f, item.Path), code)) {
                item.Error = SysError::FromCode(code);
                item.Kind = item.Info.Kind = FileKind::None;
            }
        }
        return true;
    }
    bool CreateFolderAt(clsFolder& f, const std::string& n) override {
        return Hit(Op::CreateFolderAt, At(f, n), f.LastErrorCode,
                   [&] { return Base::CreateFolderAt(f, n); });
    }
    bool RenameAt(clsFolder& f, const std::string& a, const std::string& b) override {
        return Hit(Op::RenameAt, At(f, b), f.LastErrorCode,
                   [&] { return Base::RenameAt(f, a, b); });
    }
    bool SetFolderMeta(clsFolder& f, const FileInfo& like) override {
        return Hit(Op::SetFolderMeta, f.Path(), f.LastErrorCode,
                   [&] { return Base::SetFolderMeta(f, like); });
    }
    bool Sync(clsFolder& f) override {
        return Hit(Op::Sync, f.Path(), f.LastErrorCode, [&] { return Base::Sync(f); });
    }
    bool OpenFileAt(clsBinaryFile& f, const clsFolder& dir, const std::string& n) override {
        return Hit(Op::OpenFileAt, Track(f, At(dir, n)), f.LastErrorCode,
                   [&] { return Base::OpenFileAt(f, dir, n); });
    }
    bool CreateFileAt(clsBinaryFile& f, clsFolder& dir, const std::string& n,
                      const FileInfo& like) override {
        Track(f, At(dir, n));
        return Base::CreateFileAt(f, dir, n, like);
    }
    long long Read(clsBinaryFile& f, void* buf, std::size_t count) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        Observe(Op::Read, paths[&f]);
        const long long n = Allowed(Op::Read, f, static_cast<long long>(count));
        return n <= 0 ? n : Moved(f, Base::Read(f, buf, static_cast<std::size_t>(n)));
    }
    long long Write(clsBinaryFile& f, const void* data, std::size_t count) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        Observe(Op::Write, paths[&f]);
        const long long n = Allowed(Op::Write, f, static_cast<long long>(count));
        return n <= 0 ? n : Moved(f, Base::Write(f, data, static_cast<std::size_t>(n)));
    }
    long long CopyBlock(clsBinaryFile& from, clsBinaryFile& to, long long count, void* buf,
                        std::size_t size) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        long long n = Allowed(Op::Read, from, count);
        n = n <= 0 ? n : Allowed(Op::Write, to, n);
        if (n <= 0) {
            return n;
        }
        const long long moved = Base::CopyBlock(from, to, n, buf, size);
        Moved(from, moved);
        return Moved(to, moved);
    }
    bool Seek(clsBinaryFile& f, long long pos) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        offsets[&f] = pos;
        return Base::Seek(f, pos);
    }
    bool SetFileMeta(clsBinaryFile& f, const FileInfo& like) override {
        return Hit(Op::SetFileMeta, PathOf(f), f.LastErrorCode,
                   [&] { return Base::SetFileMeta(f, like); });
    }
    bool Close(clsBinaryFile& f) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        if (!f.IsOpen()) {
            return Base::Close(f);
        }
        int code = 0;
        const bool pass = Pass(Op::Close, paths[&f], code);
        const bool closed = Base::Close(f);
        f.LastErrorCode = pass ? f.LastErrorCode : code;
        return pass && closed;
    }
    bool CreateLog(clsBinaryFile& f, const std::string& p) override {
        return Hit(Op::OpenLog, Track(f, p), f.LastErrorCode,
                   [&] { return Base::CreateLog(f, p); });
    }
    bool WriteAt(clsBinaryFile& f, const void* d, std::size_t n, long long at) override {
        return Hit(Op::WriteLog, PathOf(f), f.LastErrorCode,
                   [&] { return Base::WriteAt(f, d, n, at); });
    }

private:
    static std::string At(const clsFolder& f, const std::string& name) {
        return clsPath::Join(f.Path(), name, NativePathStyle());
    }
    static bool Matches(const Fault& f, Op op, const std::string& path) {
        return f.op == op && path.size() >= f.path.size() &&
               path.compare(path.size() - f.path.size(), f.path.size(), f.path) == 0;
    }
    // Remembers the path of a file being opened, its offset at the start; returns the path.
    std::string Track(clsBinaryFile& f, const std::string& path) {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        offsets[&f] = 0;
        return paths[&f] = path;
    }
    std::string PathOf(clsBinaryFile& f) {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return paths[&f];
    }
    void Observe(Op op, const std::string& path) {
        if (onCall) {
            onCall(op, path);
        }
    }
    // The call, unless a fault hits it first (false, code set).
    template <class Call> bool Hit(Op op, const std::string& path, int& code, Call&& call) {
        std::unique_lock<std::recursive_mutex> hold(lock);
        std::chrono::milliseconds slow{0};
        const bool pass = Pass(op, path, code, &slow);
        if (slow.count() > 0) {
            hold.unlock();
            std::this_thread::sleep_for(slow);
            hold.lock();
        }
        return pass && call();
    }
    // False (code set) when a fault hits this call; runs the `before` steps that are due.
    bool Pass(Op op, const std::string& path, int& code,
              std::chrono::milliseconds* slow = nullptr) {
        Observe(op, path);
        for (Fault& f : faults) {
            if (!Matches(f, op, path) || f.offset >= 0 || f.shortMoves) {
                continue;
            }
            ++f.seen;
            if (f.nth != 0 && f.seen != f.nth) {
                continue;
            }
            if (f.before) {
                f.before(path);
            }
            if (slow != nullptr) {
                *slow += f.slow;
            }
            if (f.error) {
                code = f.error.Code();
                return false;
            }
        }
        return true;
    }
    // How many of count bytes may move now: fewer when a short-move fault applies or an
    // offset fault lies ahead, -1 (code set) when one is reached.
    long long Allowed(Op op, clsBinaryFile& file, long long count) {
        const long long at = offsets[&file];
        for (Fault& f : faults) {
            if (!Matches(f, op, paths[&file])) {
                continue;
            }
            if (f.shortMoves) {
                count = std::min(count, 1000LL);
            } else if (f.offset >= 0 && at >= f.offset) {
                file.LastErrorCode = f.error.Code();
                return -1;
            } else if (f.offset >= 0) {
                count = std::min(count, f.offset - at);
            }
        }
        return count;
    }
    long long Moved(clsBinaryFile& file, long long n) {
        if (n > 0) {
            offsets[&file] += n;
        }
        return n;
    }

    std::recursive_mutex lock;
    std::map<const clsBinaryFile*, std::string> paths;
    std::map<const clsBinaryFile*, long long> offsets;
};

} // namespace tessaron::test
