#pragma once
// SystemFileAccess: the real IFileAccess, each member handed to the platform classes
// (clsFolder, clsBinaryFile, clsFileSystem). Holds no state beyond one clsFileSystem for
// the members named by path, and, where the system needs each copy flushed on its own
// (Windows), the queue whose threads put closed copies on their medium.

#include "platform/IFileAccess.h"
#include "platform/clsFileSystem.h"

#include <memory>

namespace tessaron {

class SystemFileAccess : public IFileAccess {
public:
    SystemFileAccess();
    // Every copy closed through Close is put on its medium by flush on a helper thread
    // (on any system), for measuring and testing a slow medium.
    explicit SystemFileAccess(ClosingQueue::Flush flush);

    bool OpenFolder(clsFolder& folder, const std::string& path) override;
    bool CreateFolder(clsFolder& folder, const std::string& path, unsigned mode) override;
    bool OpenFile(clsBinaryFile& file, const std::string& path) override;
    bool GetPathInfo(const std::string& path, FileInfo& out, SysError& error) override;
    bool Exists(const std::string& path) override;
    bool CopyFile(const std::string& from, const std::string& to, SysError& error) override;

    bool OpenFolderAt(clsFolder& folder, const clsFolder& parent, const std::string& name) override;
    bool OpenParent(clsFolder& folder, const clsFolder& child) override;
    bool List(clsFolder& folder, std::vector<clsFSItem>& items) override;
    bool GetInfoAt(clsFolder& folder, const std::string& name, FileInfo& out) override;
    bool GetFolderInfo(clsFolder& folder, FileInfo& out) override;
    bool CreateFolderAt(clsFolder& folder, const std::string& name) override;
    bool RemoveAt(clsFolder& folder, const std::string& name) override;
    bool Empty(clsFolder& folder, const RemovalReport& report) override;
    bool RemoveTreeAt(clsFolder& folder, const std::string& name,
                      const RemovalReport& report) override;
    bool RenameAt(clsFolder& folder, const std::string& from, const std::string& to) override;
    bool ReadLinkAt(clsFolder& folder, const std::string& name, std::string& text) override;
    bool CreateLinkAt(clsFolder& folder, const std::string& name, const std::string& text) override;
    bool SetLinkMetaAt(clsFolder& folder, const std::string& name, const FileInfo& like) override;
    bool SetFolderMeta(clsFolder& folder, const FileInfo& like) override;
    bool AllowChanges(clsFolder& folder) override;
    bool Sync(clsFolder& folder) override;

    bool OpenFileAt(clsBinaryFile& file, const clsFolder& folder, const std::string& name) override;
    bool CreateFileAt(clsBinaryFile& file, clsFolder& folder, const std::string& name,
                      const FileInfo& like) override;
    long long Read(clsBinaryFile& file, void* buffer, std::size_t count) override;
    long long Write(clsBinaryFile& file, const void* data, std::size_t count) override;
    long long CopyBlock(clsBinaryFile& from, clsBinaryFile& to, long long count, void* buffer,
                        std::size_t bufferSize) override;
    bool NextData(clsBinaryFile& file, long long from, long long& start, long long& end) override;
    bool Seek(clsBinaryFile& file, long long position) override;
    bool Truncate(clsBinaryFile& file, long long size) override;
    bool SetFileMeta(clsBinaryFile& file, const FileInfo& like) override;
    bool Close(clsBinaryFile& file) override;
    bool WaitForClosedCopies(std::vector<ClosedCopyFailure>& failed) override;
    void AdviseSequential(clsBinaryFile& file) override;
    void DropCache(clsBinaryFile& file) override;

    bool CreateLog(clsBinaryFile& file, const std::string& path) override;
    bool WriteAt(clsBinaryFile& file, const void* data, std::size_t count,
                 long long offset) override;

private:
    clsFileSystem m_fs;
    std::unique_ptr<ClosingQueue> m_closing;
};

} // namespace tessaron
