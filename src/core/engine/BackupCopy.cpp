// One file's copy: the incremental rule, destination folders, the block loop, metadata.
#include "engine/BackupEngine.h"
#include "setfile/clsSetup.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

namespace tessaron {

struct BackupEngine::FileCopy {
    std::string source;
    std::string dest;
    std::string writePath; // dest, or a temporary name beside it when dest exists
    FileInfo src;
    FileInfo dst;
    clsBinaryFile in;
    clsBinaryFile out;
    bool created = false;
};

namespace {

constexpr long long kPageSize = 4096;
constexpr long long kCopyUnit = 64 * 1024;
// Files from this size on are announced to the kernel as read from start to end; for
// smaller ones the call costs more than the read-ahead gains.
constexpr long long kAdviseSize = 1 << 20;

// Name of the temporary copy beside dest ("/t/a/.b.txt.tessaron-part" for "/t/a/b.txt").
std::string PartName(const std::string& dest) {
    const size_t slash = dest.rfind('/');
    const size_t cut = slash == std::string::npos ? 0 : slash + 1;
    return dest.substr(0, cut) + "." + dest.substr(cut) + ".tessaron-part";
}

// Codes that can only come from the writing side of a kernel copy.
bool IsWriteSideCode(int code) {
    return code == ENOSPC || code == EDQUOT || code == EFBIG || code == EROFS;
}

} // namespace

void BackupEngine::StartFile(const std::string& path) {
    clsProgress& p = *m_progress;
    p.CurrentFile = path;
    p.CurrentSize = 0;
    p.CurrentDone = 0;
    m_view.SetText(ViewText::CurrentFile, path);
    m_view.SetBar(ViewBar::Current, 0);
}

void BackupEngine::LogFileError(const std::string& what, const std::string& path, int code) {
    AddLogLine(what + " - " + path + ", Error: (" + std::to_string(code) + ") " +
                   clsBinaryFile::GetErrorMessage(code),
               true);
}

// A clsFileSystem failure ("clsFileSystem.Rename() - Error (21) Is a directory") in the
// file error form of the log; kept whole when it has no code.
void BackupEngine::LogFsError(const std::string& what, const std::string& path,
                              const std::string& error) {
    const std::string marker = " - Error (";
    const size_t at = error.find(marker);
    const size_t close = at == std::string::npos ? at : error.find(") ", at);
    if (close == std::string::npos) {
        AddLogLine(what + " - " + path + " " + error, true);
        return;
    }
    const size_t start = at + marker.size();
    AddLogLine(what + " - " + path + ", Error: (" + error.substr(start, close - start) + ") " +
                   error.substr(close + 2),
               true);
}

void BackupEngine::CopyFile(const std::string& source, const std::string& target, bool& ok) {
    ok = false;
    const clsFSItem* listed = m_listed;
    m_listed = nullptr;
    StartFile(source);
    EnsureBuffers();
    FileCopy c;
    c.source = source;
    c.dest = target;
    // The walk's listing examined the source a moment ago; a single-file selection has
    // no listing.
    if (listed != nullptr) {
        c.src = listed->Info;
    } else {
        m_fs.GetInfo(source, c.src);
    }
    const bool isLink = c.src.Kind == FileKind::Symlink;
    const bool incremental = m_setup != nullptr && m_setup->BackupType == "INCREMENTAL";
    if (incremental) {
        LookUpDestination(c);
        if (c.dst.Exists && IsUpToDate(source, target, c.src, c.dst)) {
            SkipFile(source, isLink ? 0 : c.src.Size);
            ok = true;
            return;
        }
    }
    if (!PrepareDirectory(target)) {
        return;
    }
    // In a folder this run has just made, the copy is new: the exclusive create below
    // finds out otherwise, so the destination need not be examined first.
    if (!incremental && (isLink || !m_lastDirFresh)) {
        LookUpDestination(c);
    }
    ok = isLink ? CopyLink(source, target, c.dst) : CopyContent(c);
}

// The incremental rule: the copy is up to date when size and modification time (to the
// second) match; nothing else is compared, not even which of the two is newer. A link
// is up to date when the copy is a link with the same text.
bool BackupEngine::IsUpToDate(const std::string& source, const std::string& target,
                              const FileInfo& src, const FileInfo& dst) {
    if (src.Kind == FileKind::Symlink) {
        std::string srcText, dstText;
        return dst.Kind == FileKind::Symlink && m_fs.ReadLink(source, srcText) &&
               m_fs.ReadLink(target, dstText) && srcText == dstText;
    }
    return src.Kind == FileKind::File && dst.Kind == FileKind::File && src.Size == dst.Size &&
           src.MTime.tv_sec == dst.MTime.tv_sec;
}

// Makes folder the open folder of path's directory part (the text before the slash at
// index slash), opening it only when the walk has moved to another folder. False when
// it cannot be opened (the code in folder.LastErrorCode).
bool BackupEngine::UseFolder(clsFolder& folder, const std::string& path, size_t slash) {
    if (slash == std::string::npos) {
        folder.LastErrorCode = ENOENT;
        return false;
    }
    const std::string_view dir =
        slash == 0 ? std::string_view("/") : std::string_view(path).substr(0, slash);
    if (folder.Path() != dir) {
        folder.Open(std::string(dir));
    }
    return folder.IsOpen();
}

// The destination's status, asked by name inside its folder while the walk stays there;
// by full path when that folder cannot be opened (a missing one gives "does not exist").
void BackupEngine::LookUpDestination(FileCopy& c) {
    const size_t slash = c.dest.rfind('/');
    if (UseFolder(m_dstDir, c.dest, slash) && m_dstDir.GetInfo(c.dest.substr(slash + 1), c.dst)) {
        return;
    }
    m_fs.GetInfo(c.dest, c.dst);
}

void BackupEngine::SkipFile(const std::string& source, std::int64_t size) {
    AddLogLine("File Skipped - " + source + " (" + std::to_string(size) +
                   " Bytes) - File Appears to be Up-to-Date on Target.",
               false);
    m_progress->BytesDone += size;
}

// Makes sure the folder of dest exists below the target as real directories (never a
// link that could lead the copy elsewhere), creating what is missing.
bool BackupEngine::PrepareDirectory(const std::string& dest) {
    const size_t slash = dest.rfind('/');
    if (slash == std::string::npos || slash == 0) {
        m_lastDirFresh = false;
        return true;
    }
    const std::string dir = dest.substr(0, slash);
    if (dir == m_lastDir) {
        return true;
    }
    bool created = false;
    const bool ok = MakeDirectories(dir, created);
    if (created) {
        m_dstDir.Close(); // it may have been asked for while it was missing
    }
    if (!ok) {
        m_lastDir.clear();
        m_lastDirFresh = false;
        return false;
    }
    m_lastDir = dir;
    m_lastDirFresh = created;
    return true;
}

bool BackupEngine::MakeDirectories(const std::string& dir, bool& createdLast) {
    createdLast = false;
    // Components shared with the folder checked last were real directories then.
    size_t pos = 1;
    const size_t common =
        std::mismatch(dir.begin(), dir.end(), m_lastDir.begin(), m_lastDir.end()).first -
        dir.begin();
    if (common == m_lastDir.size() && (common == dir.size() || dir[common] == '/')) {
        pos = common + 1;
    } else if (const size_t cut = dir.rfind('/', common); cut != std::string::npos && cut > 0) {
        pos = cut + 1;
    }
    bool creating = false;
    while (pos <= dir.size()) {
        size_t next = dir.find('/', pos);
        next = next == std::string::npos ? dir.size() : next;
        const std::string sub = dir.substr(0, next);
        FileInfo info;
        m_fs.GetInfo(sub, info);
        // Links are accepted only as part of the target path itself (/mnt/link/Backup).
        const bool isDir = info.Kind == FileKind::Directory ||
                           (info.Kind == FileKind::Symlink && sub.size() <= m_outputDir.size());
        if (!isDir) {
            if (!creating) {
                creating = true;
                AddLogLine("Creating " + dir + "/...", false);
            }
            if (!m_fs.CreateDirectory(sub)) {
                AddLogLine("Unable to create target directory - " + sub + " " + m_fs.LastError,
                           true);
                return false;
            }
        }
        createdLast = !isDir;
        pos = next + 1;
    }
    if (creating) {
        AppendLogLine("Done", false);
    }
    return true;
}

bool BackupEngine::CopyLink(const std::string& source, const std::string& dest,
                            const FileInfo& destInfo) {
    std::string text;
    if (!m_fs.ReadLink(source, text)) {
        LogFsError("Unable to open", source, m_fs.LastError);
        return false;
    }
    AddLogLine("Copying " + source + " (0 Bytes)...", false);
    FileInfo src;
    m_fs.GetInfo(source, src);
    // An existing copy is replaced only once the new link is in place.
    const std::string linkPath = destInfo.Exists ? PartName(dest) : dest;
    if (destInfo.Exists) {
        m_fs.Delete(linkPath);
    }
    if (!m_fs.CreateLink(text, linkPath)) {
        LogFsError("Unable to create", dest, m_fs.LastError);
        return false;
    }
    if (destInfo.Exists && !m_fs.Replace(linkPath, dest)) {
        LogFsError("Unable to create", dest, m_fs.LastError);
        m_fs.Delete(linkPath);
        return false;
    }
    m_fs.SetOwner(dest, src.Uid, src.Gid);
    m_fs.SetTimes(dest, src.ATime, src.MTime);
    AppendLogLine("Done", false);
    return true;
}

bool BackupEngine::CopyContent(FileCopy& c) {
    const size_t slash = c.source.rfind('/');
    if (!UseFolder(m_srcDir, c.source, slash)) {
        LogFileError("Unable to open", c.source, m_srcDir.LastErrorCode);
        return false;
    }
    if (!c.in.OpenFileAt(m_srcDir, c.source.substr(slash + 1))) {
        LogFileError("Unable to open", c.source, c.in.LastErrorCode);
        return false;
    }
    if (c.src.Size >= kAdviseSize) {
        c.in.AdviseSequential();
    }
    m_progress->CurrentSize = c.src.Size;
    AddLogLine("Copying " + c.source + " (" + std::to_string(c.src.Size) + " Bytes)...", false);
    if (!OpenDestination(c)) {
        LogFileError("Unable to create", c.dest, c.out.LastErrorCode);
        FailCopy(c);
        return false;
    }
    c.created = true;
    if (!CopyBlocks(c)) {
        FailCopy(c);
        return false;
    }
    return FinishCopy(c);
}

// Creates the file the copy is written to: the destination itself when it does not
// exist, else a temporary name beside it. Creation is exclusive, so a link planted at
// either name is never written through; a destination that turns out to exist after
// all switches to the temporary name. The new file starts with the source's permission
// bits, so that usually nothing is left to change when it is complete.
bool BackupEngine::OpenDestination(FileCopy& c) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        c.writePath = c.dst.Exists ? PartName(c.dest) : c.dest;
        if (c.dst.Exists) {
            m_fs.Delete(c.writePath); // a leftover of an interrupted run
        }
        const size_t slash = c.writePath.rfind('/');
        if (!UseFolder(m_dstDir, c.writePath, slash)) {
            c.out.LastErrorCode = m_dstDir.LastErrorCode;
            return false;
        }
        if (c.out.CreateFileAt(m_dstDir, c.writePath.substr(slash + 1), c.src.Mode)) {
            return true;
        }
        if (c.dst.Exists || c.out.LastErrorCode != EEXIST) {
            return false;
        }
        m_fs.GetInfo(c.dest, c.dst);
        if (!c.dst.Exists) {
            return false;
        }
    }
    return false;
}

// The end of the round that copies the next block. Blocks end at multiples of the block
// size; each round ends at its block's end rounded down to a whole alignment unit, and the
// rest is carried into the next round, so the number of rounds, and so of yields, stays
// one per block. The unit is 64 KiB for blocks of that size or more, else a page: the
// kernel's copy works through a 64 KiB pipe, and rounds that are not whole multiples of
// it cost a third more system time than aligned ones. Blocks under a page are not rounded.
long long BackupEngine::RoundEnd(long long done, long long block, long long size) {
    if (block < kPageSize) {
        return std::min(done + block, size);
    }
    const long long unit = RoundUnit(block);
    long long boundary = (done / block + 1) * block;
    if (boundary / unit * unit <= done) {
        boundary += block; // done is the rounded end of the block ending at boundary
    }
    return boundary >= size ? size : boundary / unit * unit;
}

long long BackupEngine::RoundUnit(long long block) {
    return block >= kCopyUnit ? kCopyUnit : kPageSize;
}

// Moves the file in blocks of the run's block size up to the size it had when it was
// examined (asking for no more than that saves a probe for the end at every file); a
// file that shrank ends early, one that grew is copied as it was examined.
bool BackupEngine::CopyBlocks(FileCopy& c) {
    clsProgress& p = *m_progress;
    while (p.CurrentDone < c.src.Size) {
        const long long want = RoundEnd(p.CurrentDone, m_blockSize, c.src.Size) - p.CurrentDone;
        c.in.LastErrorCode = 0;
        c.out.LastErrorCode = 0;
        const long long n = c.in.CopyBlockTo(c.out, want, m_bufA.data(), m_bufA.size());
        if (n < 0) {
            const int readCode = c.in.LastErrorCode;
            const int writeCode = c.out.LastErrorCode;
            if (writeCode != 0 && (readCode == 0 || IsWriteSideCode(writeCode))) {
                LogFileError("Error During Write", c.dest, writeCode);
            } else {
                LogFileError("Error During Read", c.source, readCode);
            }
            return false;
        }
        p.CurrentDone += n;
        p.BytesDone += n;
        YieldPoint();
        // A cancelled copy ends here as if complete; the caller stops the run.
        if (n < want || m_cancelled) {
            break;
        }
    }
    return true;
}

bool BackupEngine::FinishCopy(FileCopy& c) {
    const bool partialReplacement = m_cancelled && c.writePath != c.dest;
    if (partialReplacement) {
        // Never put a cut-short copy in place of a complete older one.
        c.out.CloseFile();
        m_fs.Delete(c.writePath);
        c.in.CloseFile();
        return true;
    }
    // Owner before mode: changing the owner clears set-user-ID bits.
    c.out.SetOwner(c.src.Uid, c.src.Gid);
    c.out.SetMode(c.src.Mode);
    c.out.SetTimes(c.src.ATime, c.src.MTime);
    c.out.CloseFile();
    if (c.writePath != c.dest && !m_fs.Replace(c.writePath, c.dest)) {
        LogFsError("Unable to create", c.dest, m_fs.LastError);
        FailCopy(c);
        return false;
    }
    c.in.CloseFile();
    AppendLogLine("Done", false);
    return true;
}

void BackupEngine::FailCopy(FileCopy& c) {
    c.out.CloseFile();
    c.in.CloseFile();
    if (c.created) {
        m_fs.Delete(c.writePath);
    }
    clsProgress& p = *m_progress;
    p.BytesDone -= p.CurrentDone;
    p.BytesSkipped += p.CurrentSize;
}

} // namespace tessaron
