#pragma once
// IFileAccess: every way the backup run reads and writes files and folders, as one
// interface (what it asks about places, drives and media is IPlaces). The
// real one (SystemFileAccess) hands each call to the platform classes; tests put a
// wrapper around it that injects failures by operation, path and call count, so that
// every error path of a run can be tried without root, full disks or broken media.
//
// One virtual call per system call: nothing here allocates per block.
//
// Threads: the run may call the members for entries of open folders and for open files
// from a second thread (see ReadAhead), never on the same object at the same time except
// a parent folder that both only read (the *At members take it as const). An
// implementation keeps whatever state it shares safe for that.
//
// Errors: a member that fails returns false (or -1) and leaves the failure where the
// member says: in the folder or file object it worked on (its LastErrorCode, as Error()
// gives it), or in an out-argument. Members of folder objects: the folder's own failures
// go into that folder; a failure about an entry inside a folder goes into the folder that
// holds the entry.

#include "platform/ClosingQueue.h"
#include "platform/SysError.h"
#include "platform/clsBinaryFile.h"
#include "platform/clsFSItem.h"
#include "platform/clsFolder.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace tessaron {

class IFileAccess {
public:
    virtual ~IFileAccess() = default;

    // --- Places named by a path: every link on the way and at the end is followed --------

    // Opens the folder path (clsFolder::Open with followLast).
    virtual bool OpenFolder(clsFolder& folder, const std::string& path) = 0;
    // Makes the folder path and what is missing above it with the permission bits mode,
    // then opens it (clsFolder::Create).
    virtual bool CreateFolder(clsFolder& folder, const std::string& path, unsigned mode) = 0;
    // Opens the file path for reading (a FIFO put there never blocks the open).
    virtual bool OpenFile(clsBinaryFile& file, const std::string& path) = 0;
    // The status of what path names. A path that does not exist (or a link that leads
    // nowhere) is not a failure: true with out.Exists false. False (error set) when it
    // cannot be examined.
    virtual bool GetPathInfo(const std::string& path, FileInfo& out, SysError& error) = 0;
    // Whether something (even a link that leads nowhere) has the name path.
    virtual bool Exists(const std::string& path) = 0;
    // Copies the file from to the new file to (clsFileSystem::Copy, never replacing).
    virtual bool CopyFile(const std::string& from, const std::string& to, SysError& error) = 0;

    // --- Entries of open folders: a link at the name is never followed --------------------

    virtual bool OpenFolderAt(clsFolder& folder, const clsFolder& parent,
                              const std::string& name) = 0;
    // Opens the folder that holds child (clsFolder::OpenParent).
    virtual bool OpenParent(clsFolder& folder, const clsFolder& child) = 0;
    virtual bool List(clsFolder& folder, std::vector<clsFSItem>& items) = 0;
    virtual bool GetInfoAt(clsFolder& folder, const std::string& name, FileInfo& out) = 0;
    // The open folder's own status.
    virtual bool GetFolderInfo(clsFolder& folder, FileInfo& out) = 0;
    virtual bool CreateFolderAt(clsFolder& folder, const std::string& name) = 0;
    // Removes a file or link (clsFolder::RemoveAt).
    virtual bool RemoveAt(clsFolder& folder, const std::string& name) = 0;
    // Removes everything inside the folder, or the entry name with everything in it,
    // never leaving the folder's file system (clsFolder::Empty, RemoveTreeAt).
    virtual bool Empty(clsFolder& folder, const RemovalReport& report) = 0;
    virtual bool RemoveTreeAt(clsFolder& folder, const std::string& name,
                              const RemovalReport& report) = 0;
    virtual bool RenameAt(clsFolder& folder, const std::string& from, const std::string& to) = 0;
    virtual bool ReadLinkAt(clsFolder& folder, const std::string& name, std::string& text) = 0;
    virtual bool CreateLinkAt(clsFolder& folder, const std::string& name,
                              const std::string& text) = 0;
    // Gives the link name the owner (root only) and times of like.
    virtual bool SetLinkMetaAt(clsFolder& folder, const std::string& name,
                               const FileInfo& like) = 0;
    // Gives the open folder the owner (root only), permission bits, attributes (Windows)
    // and times of like, changing only what differs.
    virtual bool SetFolderMeta(clsFolder& folder, const FileInfo& like) = 0;
    virtual bool AllowChanges(clsFolder& folder) = 0;
    // Puts everything written to the folder's file system on its medium (clsFolder::Sync).
    virtual bool Sync(clsFolder& folder) = 0;

    // --- Open files -------------------------------------------------------------------------

    // Opens the file name of folder for reading (clsBinaryFile::OpenFileAt).
    virtual bool OpenFileAt(clsBinaryFile& file, const clsFolder& folder,
                            const std::string& name) = 0;
    // Creates the file name of folder exclusively for writing, to become a copy of like
    // (clsBinaryFile::CreateFileAt with like's permission bits, owner, group and whether
    // it has holes).
    virtual bool CreateFileAt(clsBinaryFile& file, clsFolder& folder, const std::string& name,
                              const FileInfo& like) = 0;
    // Reads up to count bytes; the count read (0 at the end of the file) or -1.
    virtual long long Read(clsBinaryFile& file, void* buffer, std::size_t count) = 0;
    // Writes up to count bytes (count > 0) at the file's position; the count written (at
    // least 1) or -1.
    virtual long long Write(clsBinaryFile& file, const void* data, std::size_t count) = 0;
    // Moves up to count bytes from from's position to to's position
    // (clsBinaryFile::CopyBlockTo); the count moved (0 at the end of from) or -1.
    virtual long long CopyBlock(clsBinaryFile& from, clsBinaryFile& to, long long count,
                                void* buffer, std::size_t bufferSize) = 0;
    virtual bool NextData(clsBinaryFile& file, long long from, long long& start,
                          long long& end) = 0;
    virtual bool Seek(clsBinaryFile& file, long long position) = 0;
    // The file ends at size (holes fill what lies past the data written).
    virtual bool Truncate(clsBinaryFile& file, long long size) = 0;
    // Gives the open file the owner (root only), permission bits, attributes (Windows) and
    // times of like (its creation time too where the system sets one).
    virtual bool SetFileMeta(clsBinaryFile& file, const FileInfo& like) = 0;
    // Closes the file. A copy made by CreateFileAt may still be on its way to the medium
    // when this returns (Windows puts each one there on a helper thread); its failure
    // then shows in WaitForClosedCopies, not here.
    virtual bool Close(clsBinaryFile& file) = 0;
    // Waits until every copy closed through Close is on its medium and closed, and adds
    // those that could not be put there to failed (path and why, in the order they were
    // closed), each once. True when none failed. Where nothing is left to wait for
    // (POSIX, where the whole file system is flushed through Sync) it returns true at once.
    virtual bool WaitForClosedCopies(std::vector<ClosedCopyFailure>& failed) = 0;
    virtual void AdviseSequential(clsBinaryFile& file) = 0;
    virtual void DropCache(clsBinaryFile& file) = 0;

    // --- The run's log file -----------------------------------------------------------------

    // Creates the log file new for writing, shared for reading: a name that exists (even
    // as a link) is a failure (SysError::IsExists), so nothing is written through a link
    // and no two runs share a file.
    virtual bool CreateLog(clsBinaryFile& file, const std::string& path) = 0;
    // Writes all count bytes at offset.
    virtual bool WriteAt(clsBinaryFile& file, const void* data, std::size_t count,
                         long long offset) = 0;
};

} // namespace tessaron
