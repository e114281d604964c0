#pragma once
// A file access for tests: hands every call to the system's own and, where a Fault says
// so, fails it instead (by operation, path and call count, or once a read or write reaches
// an offset), moves fewer bytes than asked, or first runs a step of the test (a file that
// vanishes, grows or shrinks between listing and copy). Paths are matched by their end.
// Calls may come from the run's read-ahead thread too: each call holds one lock while it
// looks at the faults, so faults, steps and observers see one call at a time.

#include "platform/SystemFileAccess.h"
#include "platform/clsPath.h"

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace tessaron::test {

enum class Op {
    OpenFolder,
    CreateFolder,
    OpenFile,
    PathInfo,
    OpenFolderAt,
    List,
    Examine,
    GetInfoAt,
    CreateFolderAt,
    RemoveAt,
    RenameAt,
    CreateLinkAt,
    SetLinkMeta,
    SetFolderMeta,
    Sync,
    OpenFileAt,
    CreateFileAt,
    Read,
    Write,
    SetFileMeta,
    Close,
    OpenLog,
    WriteLog,
    DriveRoot, // whether the target is a whole drive (the quiet clearing asks)
    Clean,     // the clearing of the target
    OpenParent
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
    int seen = 0;
};

class FaultyFileAccess : public IFileAccess {
public:
    std::vector<Fault> faults;
    // Called before every call with its operation and path (observers, not faults).
    std::function<void(Op, const std::string&)> onCall;

    bool OpenFolder(clsFolder& f, const std::string& p) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return Pass(Op::OpenFolder, p, f.LastErrorCode) && real.OpenFolder(f, p);
    }
    bool CreateFolder(clsFolder& f, const std::string& p, unsigned mode) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return Pass(Op::CreateFolder, p, f.LastErrorCode) && real.CreateFolder(f, p, mode);
    }
    bool OpenFile(clsBinaryFile& f, const std::string& p) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        paths[&f] = p;
        offsets[&f] = 0;
        return Pass(Op::OpenFile, p, f.LastErrorCode) && real.OpenFile(f, p);
    }
    bool GetPathInfo(const std::string& p, FileInfo& out, SysError& e) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        int code = 0;
        if (!Pass(Op::PathInfo, p, code)) {
            e = SysError::FromCode(code);
            return false;
        }
        return real.GetPathInfo(p, out, e);
    }
    bool IsSameOrInside(const std::string& a, const std::string& b) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return real.IsSameOrInside(a, b);
    }
    bool IsSameOrInside(const std::string& a, const FileIdentity& b) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return real.IsSameOrInside(a, b);
    }
    std::vector<std::string> ProtectedFolders() override { return real.ProtectedFolders(); }
    std::string GetDriveType(const std::string& p) override { return real.GetDriveType(p); }
    double GetDriveFreeSpace(const std::string& p) override { return real.GetDriveFreeSpace(p); }
    bool Exists(const std::string& p) override { return real.Exists(p); }
    std::string ProgramLogDir() override { return real.ProgramLogDir(); }
    bool CopyFile(const std::string& a, const std::string& b, SysError& e) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return real.CopyFile(a, b, e);
    }
    bool EjectMedia(const std::string& p) override { return real.EjectMedia(p); }

    bool OpenFolderAt(clsFolder& f, const clsFolder& parent, const std::string& n) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return Pass(Op::OpenFolderAt, At(parent, n), f.LastErrorCode) &&
               real.OpenFolderAt(f, parent, n);
    }
    bool OpenParent(clsFolder& f, const clsFolder& child) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return Pass(Op::OpenParent, child.Path(), f.LastErrorCode) && real.OpenParent(f, child);
    }
    bool IsMountRoot(clsFolder& f) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return Pass(Op::DriveRoot, f.Path(), f.LastErrorCode) && real.IsMountRoot(f);
    }
    bool List(clsFolder& f, std::vector<clsFSItem>& items) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        if (!Pass(Op::List, f.Path(), f.LastErrorCode) || !real.List(f, items)) {
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
    bool GetInfoAt(clsFolder& f, const std::string& n, FileInfo& out) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return Pass(Op::GetInfoAt, At(f, n), f.LastErrorCode) && real.GetInfoAt(f, n, out);
    }
    bool GetFolderInfo(clsFolder& f, FileInfo& out) override { return real.GetFolderInfo(f, out); }
    bool CreateFolderAt(clsFolder& f, const std::string& n) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return Pass(Op::CreateFolderAt, At(f, n), f.LastErrorCode) && real.CreateFolderAt(f, n);
    }
    bool RemoveAt(clsFolder& f, const std::string& n) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return Pass(Op::RemoveAt, At(f, n), f.LastErrorCode) && real.RemoveAt(f, n);
    }
    bool Empty(clsFolder& f, const RemovalReport& report) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return Pass(Op::Clean, f.Path(), f.LastErrorCode) && real.Empty(f, report);
    }
    bool RemoveTreeAt(clsFolder& f, const std::string& n, const RemovalReport& report) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return Pass(Op::RemoveAt, At(f, n), f.LastErrorCode) && real.RemoveTreeAt(f, n, report);
    }
    bool RenameAt(clsFolder& f, const std::string& a, const std::string& b) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return Pass(Op::RenameAt, At(f, b), f.LastErrorCode) && real.RenameAt(f, a, b);
    }
    bool ReadLinkAt(clsFolder& f, const std::string& n, std::string& text) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return real.ReadLinkAt(f, n, text);
    }
    bool CreateLinkAt(clsFolder& f, const std::string& n, const std::string& text) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return Pass(Op::CreateLinkAt, At(f, n), f.LastErrorCode) && real.CreateLinkAt(f, n, text);
    }
    bool SetLinkMetaAt(clsFolder& f, const std::string& n, const FileInfo& like) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return Pass(Op::SetLinkMeta, At(f, n), f.LastErrorCode) && real.SetLinkMetaAt(f, n, like);
    }
    bool SetFolderMeta(clsFolder& f, const FileInfo& like) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return Pass(Op::SetFolderMeta, f.Path(), f.LastErrorCode) && real.SetFolderMeta(f, like);
    }
    bool AllowChanges(clsFolder& f) override { return real.AllowChanges(f); }
    bool Sync(clsFolder& f) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return Pass(Op::Sync, f.Path(), f.LastErrorCode) && real.Sync(f);
    }

    bool OpenFileAt(clsBinaryFile& f, const clsFolder& dir, const std::string& n) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        paths[&f] = At(dir, n);
        offsets[&f] = 0;
        return Pass(Op::OpenFileAt, paths[&f], f.LastErrorCode) && real.OpenFileAt(f, dir, n);
    }
    bool CreateFileAt(clsBinaryFile& f, clsFolder& dir, const std::string& n,
                      const FileInfo& like) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        paths[&f] = At(dir, n);
        offsets[&f] = 0;
        return Pass(Op::CreateFileAt, paths[&f], f.LastErrorCode) &&
               real.CreateFileAt(f, dir, n, like);
    }
    long long Read(clsBinaryFile& f, void* buf, std::size_t count) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        if (onCall) {
            onCall(Op::Read, paths[&f]);
        }
        const long long n = Allowed(Op::Read, f, static_cast<long long>(count));
        return n <= 0 ? n : Moved(f, real.Read(f, buf, static_cast<std::size_t>(n)));
    }
    long long CopyBlock(clsBinaryFile& from, clsBinaryFile& to, long long count, void* buf,
                        std::size_t size) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        long long n = Allowed(Op::Read, from, count);
        n = n <= 0 ? n : Allowed(Op::Write, to, n);
        if (n <= 0) {
            return n;
        }
        const long long moved = real.CopyBlock(from, to, n, buf, size);
        Moved(from, moved);
        return Moved(to, moved);
    }
    bool NextData(clsBinaryFile& f, long long from, long long& a, long long& b) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return real.NextData(f, from, a, b);
    }
    bool Seek(clsBinaryFile& f, long long pos) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        offsets[&f] = pos;
        return real.Seek(f, pos);
    }
    bool Truncate(clsBinaryFile& f, long long size) override { return real.Truncate(f, size); }
    bool SetFileMeta(clsBinaryFile& f, const FileInfo& like) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return Pass(Op::SetFileMeta, paths[&f], f.LastErrorCode) && real.SetFileMeta(f, like);
    }
    bool Close(clsBinaryFile& f) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        if (!f.IsOpen()) {
            return real.Close(f);
        }
        int code = 0;
        const bool pass = Pass(Op::Close, paths[&f], code);
        const bool closed = real.Close(f);
        f.LastErrorCode = pass ? f.LastErrorCode : code;
        return pass && closed;
    }
    bool WaitForClosedCopies(std::vector<ClosedCopyFailure>& failed) override {
        return real.WaitForClosedCopies(failed);
    }
    long long Write(clsBinaryFile& f, const void* data, std::size_t count) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        if (onCall) {
            onCall(Op::Write, paths[&f]);
        }
        const long long n = Allowed(Op::Write, f, static_cast<long long>(count));
        return n <= 0 ? n : Moved(f, real.Write(f, data, static_cast<std::size_t>(n)));
    }
    void AdviseSequential(clsBinaryFile& f) override { real.AdviseSequential(f); }
    void DropCache(clsBinaryFile& f) override { real.DropCache(f); }
    bool OpenLog(clsBinaryFile& f, const std::string& p) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        paths[&f] = p;
        return Pass(Op::OpenLog, p, f.LastErrorCode) && real.OpenLog(f, p);
    }
    bool CreateLog(clsBinaryFile& f, const std::string& p) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        paths[&f] = p;
        return Pass(Op::OpenLog, p, f.LastErrorCode) && real.CreateLog(f, p);
    }
    bool WriteAt(clsBinaryFile& f, const void* d, std::size_t n, long long at) override {
        const std::lock_guard<std::recursive_mutex> hold(lock);
        return Pass(Op::WriteLog, paths[&f], f.LastErrorCode) && real.WriteAt(f, d, n, at);
    }

private:
    static std::string At(const clsFolder& f, const std::string& name) {
        return clsPath::Join(f.Path(), name, NativePathStyle());
    }
    static bool Matches(const Fault& f, Op op, const std::string& path) {
        return f.op == op && path.size() >= f.path.size() &&
               path.compare(path.size() - f.path.size(), f.path.size(), f.path) == 0;
    }
    // False (code set) when a fault hits this call; runs the `before` steps that are due.
    bool Pass(Op op, const std::string& path, int& code) {
        if (onCall) {
            onCall(op, path);
        }
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

    SystemFileAccess real;
    std::recursive_mutex lock;
    std::map<const clsBinaryFile*, std::string> paths;
    std::map<const clsBinaryFile*, long long> offsets;
};

} // namespace tessaron::test
