#pragma once
// clsBinaryFile: one open file for unbuffered block reading and writing, positioning,
// truncation and file times. The backup engine copies and verifies files through it.
//
// Errors never escape: a failing member returns false, -1 or an empty value and keeps the
// system error code (errno; GetLastError on Windows) in LastErrorCode; GetErrorMessage
// turns a code into the system's text. Members on a closed object do nothing and report
// failure (EBADF). The object owns its descriptor (a handle on Windows): it is closed by
// CloseFile, a new OpenFile, or the object's end. Not copyable.

#include "platform/DateTime.h"
#include "platform/FileConstants.h"
#include "platform/SysError.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

namespace tessaron {

class clsFolder;

class clsBinaryFile {
public:
    clsBinaryFile() = default;
    ~clsBinaryFile();
    clsBinaryFile(const clsBinaryFile&) = delete;
    clsBinaryFile& operator=(const clsBinaryFile&) = delete;

    // The system error code of the last failed call; 0 until one fails.
    int LastErrorCode = 0;
    // The last failure as a record (code and the system's text).
    SysError Error() const { return SysError::FromCode(LastErrorCode); }

    // Open parameters (values of FileAccess, FileShare, FileOpen, FileAttr), kept between
    // opens. Access: Read opens O_RDONLY, Write O_WRONLY, both O_RDWR. Sharing is kept but
    // has no effect on POSIX. OpenMode: see FileOpen. Attributes: a new file gets mode
    // 0666 less the umask, without write bits when FileAttr::ReadOnly is set.
    std::int64_t Access = FileAccess::Read;
    std::int64_t Sharing = FileShare::None;
    std::int64_t OpenMode = FileOpen::OpenExisting;
    std::int64_t Attributes = FileAttr::Normal;

    // The open descriptor, -1 when closed.
    NativeHandle Handle() const { return m_fd; }
    bool IsOpen() const { return m_fd != -1; }

    // Opens name (O_CLOEXEC always; a link is followed as open(2) does, so callers check
    // with clsFileSystem::GetInfo first). Each parameter that is not -1 replaces the
    // stored one. An open file is closed first. A file opened for reading only is
    // announced to the kernel as read sequentially.
    bool OpenFile(const std::string& name, std::int64_t access = -1, std::int64_t sharing = -1,
                  std::int64_t openMode = -1, std::int64_t attributes = -1);
    // Closes the file. False when the system reports a failure on closing (for a file
    // that was written, that can be the first report of a full disk or a lost network
    // medium); the file is closed either way. On Windows, where an ordinary user cannot
    // flush a whole volume, a file that was written is first put on its medium
    // (FlushFileBuffers), and a failure of that is the failure of the close.
    bool CloseFile();
    // Puts what this object wrote on its medium now, where the system needs that per file
    // (Windows: FlushFileBuffers, after which CloseFile has nothing left to flush). POSIX:
    // nothing to do, the run flushes the whole file system at its end. False (error set)
    // when the medium refuses it.
    bool FlushWritten();
    // Whether the system needs each written file flushed on its own (Windows).
    static bool FlushesEachFile();
    // Whether the open file was made by CreateFileAt, and the path it was made at (the
    // folder's path and the name joined; empty otherwise).
    bool Written() const { return m_written; }
    const std::string& CreatedPath() const { return m_createdPath; }
    // Takes over other's open file and what is known of it; other is left closed without
    // a call to the system. This object is closed first.
    void TakeOver(clsBinaryFile& other);

    // Opens the entry name (no "/" in it) of an open folder for reading, for copying a
    // file that a listing found: a link is refused (ELOOP) rather than followed, and a
    // FIFO or device put there since the listing neither blocks the open nor later
    // reads (they fail with EAGAIN or end at once). No read-ahead advice is given; see
    // AdviseSequential.
    bool OpenFileAt(const clsFolder& folder, const std::string& name);
    // Creates the entry name of an open folder for writing, exclusively (EEXIST when
    // anything, even a dangling link, is there), with the permission bits mode & 0777
    // less the umask. When the file is to be given to owner uid and group gid (root
    // only) and the folder would give it others, it starts with its owner's bits alone,
    // so nobody else can read it before SetOwner and SetMode. SetOwner and SetMode then
    // skip what the new file already has. sparse: the file is to get holes; where the
    // system keeps holes only in files marked for them (Windows), it is so marked when
    // its volume supports that.
    bool CreateFileAt(clsFolder& folder, const std::string& name, unsigned mode, long long uid = -1,
                      long long gid = -1, bool sparse = false);
    // Tells the kernel the file will be read from start to end (worth it for large files
    // only: it costs a system call).
    void AdviseSequential();
    // Drops the file's pages from the system's memory, so that the next reads come from
    // the medium (pages not yet written out stay; sync the file system first). On Windows
    // the file is opened again for unbuffered reading (FILE_FLAG_NO_BUFFERING), and
    // ReadBlock reads it in whole sectors into an aligned buffer of its own.
    void DropCache();
    // The next stretch of data at or after from in a file with holes: true with
    // [start, end) when there is one, true with start = end = the file's size when only
    // a hole follows. A file system that cannot tell reports the whole rest as data.
    bool NextData(long long from, long long& start, long long& end);

    // Reads up to count bytes: buf holds exactly the bytes read (empty at end of file).
    // False (buf empty) on a read error, a closed file or count < 1.
    bool ReadFile(std::vector<unsigned char>& buf, long long count);
    // The same, the bytes as text (UTF-8 is kept as it is); "" on failure.
    std::string ReadFileText(long long count);
    // Everything from the current position to the end of the file; "" on failure.
    std::string GetFileContents();
    // Writes the whole array (retrying short writes).
    bool WriteFile(const std::vector<unsigned char>& buf);
    bool WriteFileText(std::string_view text);

    // Allocation-free block I/O for hot loops. ReadBlock returns the bytes read (0 at end
    // of file) or -1; it retries until count bytes or end of file. WriteBlock writes all
    // count bytes.
    long long ReadBlock(void* buf, std::size_t count);
    bool WriteBlock(const void* buf, std::size_t count);
    // Writes all count bytes at offset, leaving the current position where it was.
    bool WriteBlockAt(const void* buf, std::size_t count, long long offset);

    // Moves up to count bytes from this file's position to dest's position, advancing
    // both, and returns the bytes moved (less than count only at end of file) or -1 (the
    // code in this object's LastErrorCode when reading failed, in dest's when writing
    // failed, and in both). Uses copy_file_range where the kernel offers it; after
    // EXDEV, ENOSYS, EINVAL or EOPNOTSUPP it falls back for good (for this object) to
    // read/write through buffer (bufferSize bytes) or through an internal buffer when
    // none is given.
    long long CopyBlockTo(clsBinaryFile& dest, long long count, void* buffer = nullptr,
                          std::size_t bufferSize = 0);
    // False once CopyBlockTo has fallen back to read/write (or after DisableKernelCopy).
    bool UsesKernelCopy() const { return m_kernelCopy; }
    // Makes CopyBlockTo use read/write from now on (for file systems known to misbehave).
    void DisableKernelCopy() { m_kernelCopy = false; }

    // Positions from the start of the file; true on success.
    bool SeekFile(long long position);
    // The file ends at position, and the current position moves there.
    bool TruncateFile(long long position);
    // Size and current position in bytes; -1 on failure.
    long long FileSize();
    long long FilePointer();
    // True when the current position is at or past the size (also when closed).
    // (Named Eof because EOF is a macro of the C library.)
    bool Eof();

    // File times as local date-times to the second; the empty date when closed, on
    // failure, or (creation time) when the file system does not report one.
    DateTime CreateTime();
    DateTime LastAccessTime();
    DateTime LastWriteTime();
    bool GetFileDates(DateTime& created, DateTime& accessed, DateTime& written);
    // Set one time, or all three, from local date-times (whole seconds). Creation time
    // cannot be set on POSIX: SetCreateTime succeeds on an open file without changing it
    // and SetFileDates ignores created. An empty date leaves that time unchanged.
    bool SetCreateTime(const DateTime& value);
    bool SetLastAccessTime(const DateTime& value);
    bool SetLastWriteTime(const DateTime& value);
    bool SetFileDates(const DateTime& created, const DateTime& accessed, const DateTime& written);

    // Full-precision times for carrying metadata to a copy; created is the creation time
    // where the system sets one (Windows), and zero leaves it unchanged.
    bool GetTimes(timespec& atime, timespec& mtime);
    bool SetTimes(const timespec& atime, const timespec& mtime, const timespec& created = {});
    // The FileAttr bits ReadOnly, Hidden, System and Archive exactly as attributes has
    // them, where the system keeps them (Windows); elsewhere nothing to do (read-only is
    // the permission bits there: SetMode).
    bool SetAttributes(int attributes);
    // Permission bits (07777) of the open file (fchmod; skipped when a file made by
    // CreateFileAt already has them).
    bool SetMode(unsigned mode);
    // Owner and group (fchown) when running as root; as any other user it does nothing
    // and returns true. Skipped when a file made by CreateFileAt already has them.
    bool SetOwner(unsigned uid, unsigned gid);

    // The system's text for an error code, without a trailing line break.
    static std::string GetErrorMessage(int code);

private:
    bool WriteAll(const void* buf, std::size_t count, long long offset);
    bool Fail(int code);
    bool Fail();
    long long KernelCopy(clsBinaryFile& dest, long long count, bool& atEnd);
    long long BufferCopy(clsBinaryFile& dest, long long count, void* buffer,
                         std::size_t bufferSize);
    void LearnCreated(clsFolder& folder, unsigned created);
    NativeHandle m_fd = -1;
    bool m_kernelCopy = true;
    // What a file made by CreateFileAt has already (-1: unknown, set it).
    long long m_knownMode = -1;
    long long m_knownUid = -1;
    long long m_knownGid = -1;
    std::vector<unsigned char> m_copyBuffer;
    std::string m_createdPath;
    // Made by CreateFileAt (Windows: flushed when closed); opened for unbuffered
    // reading by DropCache, with the position kept here and the aligned buffer it reads
    // whole sectors into.
    bool m_written = false;
    bool m_unbuffered = false;
    long long m_position = 0;
    std::vector<unsigned char> m_sectorBuffer;
    long long UnbufferedRead(unsigned char* out, std::size_t count);
};

} // namespace tessaron
