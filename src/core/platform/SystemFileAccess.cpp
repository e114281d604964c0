// The real file access: each member hands its work to the platform classes.
#include "platform/SystemFileAccess.h"

namespace tessaron {

namespace {

// Flushes go to the device's cache; a few at once keep a USB stick's queue full without
// many threads, and a bound of open handles keeps the run's memory small.
constexpr std::size_t kFlushThreads = 4;
constexpr std::size_t kWaitingCopies = 64;

} // namespace

SystemFileAccess::SystemFileAccess() {
    if (clsBinaryFile::FlushesEachFile()) {
        m_closing = std::make_unique<ClosingQueue>(
            [](clsBinaryFile& file) { return file.FlushWritten(); }, kFlushThreads, kWaitingCopies);
    }
}

SystemFileAccess::SystemFileAccess(ClosingQueue::Flush flush)
    : m_closing(std::make_unique<ClosingQueue>(std::move(flush), kFlushThreads, kWaitingCopies)) {}

bool SystemFileAccess::OpenFolder(clsFolder& folder, const std::string& path) {
    return folder.Open(path, true);
}

bool SystemFileAccess::CreateFolder(clsFolder& folder, const std::string& path, unsigned mode) {
    return folder.Create(path, mode);
}

bool SystemFileAccess::OpenFile(clsBinaryFile& file, const std::string& path) {
    return file.OpenFile(path, FileAccess::Read, FileShare::Read, FileOpen::OpenExisting);
}

bool SystemFileAccess::GetPathInfo(const std::string& path, FileInfo& out, SysError& error) {
    if (m_fs.GetInfo(path, out, true)) {
        return true;
    }
    error = m_fs.LastErrorInfo;
    return false;
}

bool SystemFileAccess::Exists(const std::string& path) {
    return m_fs.Exists(path);
}

bool SystemFileAccess::CopyFile(const std::string& from, const std::string& to, SysError& error) {
    const bool ok = m_fs.Copy(from, to, false);
    error = ok ? SysError() : m_fs.LastErrorInfo;
    return ok;
}

bool SystemFileAccess::OpenFolderAt(clsFolder& folder, const clsFolder& parent,
                                    const std::string& name) {
    return folder.OpenAt(parent, name);
}

bool SystemFileAccess::OpenParent(clsFolder& folder, const clsFolder& child) {
    return folder.OpenParent(child);
}

bool SystemFileAccess::List(clsFolder& folder, std::vector<clsFSItem>& items) {
    return folder.List(items);
}

bool SystemFileAccess::GetInfoAt(clsFolder& folder, const std::string& name, FileInfo& out) {
    return folder.GetInfo(name, out);
}

bool SystemFileAccess::GetFolderInfo(clsFolder& folder, FileInfo& out) {
    return folder.GetOwnInfo(out);
}

bool SystemFileAccess::CreateFolderAt(clsFolder& folder, const std::string& name) {
    return folder.CreateFolderAt(name);
}

bool SystemFileAccess::RemoveAt(clsFolder& folder, const std::string& name) {
    return folder.RemoveAt(name);
}

bool SystemFileAccess::Empty(clsFolder& folder, const RemovalReport& report) {
    return folder.Empty(report);
}

bool SystemFileAccess::RemoveTreeAt(clsFolder& folder, const std::string& name,
                                    const RemovalReport& report) {
    return folder.RemoveTreeAt(name, report);
}

bool SystemFileAccess::RenameAt(clsFolder& folder, const std::string& from, const std::string& to) {
    return folder.RenameAt(from, to);
}

bool SystemFileAccess::ReadLinkAt(clsFolder& folder, const std::string& name, std::string& text) {
    return folder.ReadLinkAt(name, text);
}

bool SystemFileAccess::CreateLinkAt(clsFolder& folder, const std::string& name,
                                    const std::string& text) {
    return folder.CreateLinkAt(name, text);
}

bool SystemFileAccess::SetLinkMetaAt(clsFolder& folder, const std::string& name,
                                     const FileInfo& like) {
    return folder.SetOwnerAt(name, like.Uid, like.Gid) &&
           folder.SetTimesAt(name, like.ATime, like.MTime);
}

bool SystemFileAccess::SetFolderMeta(clsFolder& folder, const FileInfo& like) {
    FileInfo now;
    if (!folder.GetOwnInfo(now)) {
        return false;
    }
    // Owner before mode: a change of owner clears the set-user and set-group bits.
    if ((now.Uid != like.Uid || now.Gid != like.Gid) && !folder.SetOwner(like.Uid, like.Gid)) {
        return false;
    }
    if (now.Mode != like.Mode && !folder.SetMode(like.Mode)) {
        return false;
    }
    if (now.Attributes != like.Attributes && !folder.SetAttributes(like.Attributes)) {
        return false;
    }
    auto same = [](const timespec& a, const timespec& b) {
        return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
    };
    const bool sameTimes = same(now.MTime, like.MTime) && same(now.Created, like.Created);
    return sameTimes || folder.SetTimes(like.ATime, like.MTime, like.Created);
}

bool SystemFileAccess::AllowChanges(clsFolder& folder) {
    return folder.AllowChanges();
}

bool SystemFileAccess::Sync(clsFolder& folder) {
    return folder.Sync();
}

bool SystemFileAccess::OpenFileAt(clsBinaryFile& file, const clsFolder& folder,
                                  const std::string& name) {
    return file.OpenFileAt(folder, name);
}

bool SystemFileAccess::CreateFileAt(clsBinaryFile& file, clsFolder& folder, const std::string& name,
                                    const FileInfo& like) {
    return file.CreateFileAt(folder, name, like.Mode, like.Uid, like.Gid, like.Sparse);
}

long long SystemFileAccess::Read(clsBinaryFile& file, void* buffer, std::size_t count) {
    return file.ReadBlock(buffer, count);
}

long long SystemFileAccess::Write(clsBinaryFile& file, const void* data, std::size_t count) {
    return file.WriteBlock(data, count) ? static_cast<long long>(count) : -1;
}

long long SystemFileAccess::CopyBlock(clsBinaryFile& from, clsBinaryFile& to, long long count,
                                      void* buffer, std::size_t bufferSize) {
    return from.CopyBlockTo(to, count, buffer, bufferSize);
}

bool SystemFileAccess::NextData(clsBinaryFile& file, long long from, long long& start,
                                long long& end) {
    return file.NextData(from, start, end);
}

bool SystemFileAccess::Seek(clsBinaryFile& file, long long position) {
    return file.SeekFile(position);
}

bool SystemFileAccess::Truncate(clsBinaryFile& file, long long size) {
    return file.TruncateFile(size);
}

bool SystemFileAccess::SetFileMeta(clsBinaryFile& file, const FileInfo& like) {
    // Owner before mode: a change of owner clears the set-user and set-group bits.
    return file.SetOwner(like.Uid, like.Gid) && file.SetMode(like.Mode) &&
           file.SetAttributes(like.Attributes) &&
           file.SetTimes(like.ATime, like.MTime, like.Created);
}

bool SystemFileAccess::Close(clsBinaryFile& file) {
    if (!m_closing || !file.IsOpen() || !file.Written()) {
        return file.CloseFile();
    }
    std::string path = file.CreatedPath();
    m_closing->Push(file, std::move(path));
    return true;
}

bool SystemFileAccess::WaitForClosedCopies(std::vector<ClosedCopyFailure>& failed) {
    return !m_closing || m_closing->Drain(failed);
}

void SystemFileAccess::AdviseSequential(clsBinaryFile& file) {
    file.AdviseSequential();
}

void SystemFileAccess::DropCache(clsBinaryFile& file) {
    file.DropCache();
}

bool SystemFileAccess::CreateLog(clsBinaryFile& file, const std::string& path) {
    return file.OpenFile(path, FileAccess::Write, FileShare::Read, FileOpen::CreateNew,
                         FileAttr::Normal);
}

bool SystemFileAccess::WriteAt(clsBinaryFile& file, const void* data, std::size_t count,
                               long long offset) {
    return file.WriteBlockAt(data, count, offset);
}

} // namespace tessaron
