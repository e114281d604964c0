// One file's copy: the incremental rule, the block loop (holes kept), metadata, and
// putting the copy in place without ever destroying an older good one.
#include "engine/BackupParts.h"
#include "setfile/clsSetup.h"

#include <algorithm>

namespace tessaron {

namespace {

constexpr long long kPageSize = 4096;
constexpr long long kCopyUnit = 64 * 1024;
// Files from this size on are announced to the system as read from start to end; for
// smaller ones the call costs more than the read-ahead gains.
constexpr long long kAdviseSize = 1 << 20;
// New names tried for a replacement before giving up (each is random: one is enough
// unless something else uses the same scheme).
constexpr int kNameAttempts = 16;

} // namespace

void BackupEngine::CopyFile(const std::string& source, const std::string& target, bool& ok) {
    ok = false;
    EnsureBuffers();
    FileInfo info;
    SysError error;
    if (!m_fa->GetPathInfo(source, info, error)) {
        StartFile(source);
        LogError("Unable to open", source, error);
        return;
    }
    CopyFolder folder;
    std::string name;
    if (FolderOfCopy(target, true, folder, name)) {
        ok = CopyEntry(Source{nullptr, name, source, info}, Dest{folder, name, target});
    }
}

bool BackupEngine::CopyEntry(const Source& s, const Dest& d) {
    StartFile(s.path);
    const bool incremental =
        m_setup != nullptr && BackupKindOf(m_setup->BackupType) == BackupKind::Incremental;
    FileInfo dst;
    // A FULL run learns that a copy exists when creating it exclusively fails, and in a
    // folder made by this run every copy is new: no need to look first.
    if (incremental && !d.folder.fresh && !LookUpCopy(d, dst)) {
        return false;
    }
    if (incremental && dst.Exists && IsUpToDate(s, d, dst)) {
        SkipFile(s.path, s.info.Kind == FileKind::File ? s.info.Size : 0);
        return true;
    }
    return s.info.Kind == FileKind::Symlink ? CopyLink(s, d, dst) : CopyContent(s, d, dst);
}

bool BackupEngine::LookUpCopy(const Dest& d, FileInfo& dst) {
    if (!d.folder.folder.IsOpen()) {
        LogError("Unable to open", d.path, d.folder.error);
        return false;
    }
    if (d.folder.listed != nullptr && FindListed(*d.folder.listed, d.name, dst)) {
        return true;
    }
    if (!m_fa->GetInfoAt(d.folder.folder, d.name, dst)) {
        LogError("Unable to open", d.path, d.folder.folder.Error());
        return false;
    }
    return true;
}

// The incremental rule: the copy is up to date when size and modification time (to the
// second) match; nothing else is compared, not even which of the two is newer. A link
// is up to date when the copy is a link with the same text.
bool BackupEngine::IsUpToDate(const Source& s, const Dest& d, const FileInfo& dst) {
    if (s.info.Kind == FileKind::Symlink) {
        std::string srcText, dstText;
        return dst.Kind == FileKind::Symlink && s.folder != nullptr &&
               m_fa->ReadLinkAt(*s.folder, s.name, srcText) &&
               m_fa->ReadLinkAt(d.folder.folder, d.name, dstText) && srcText == dstText;
    }
    return UpToDate(s.info, dst);
}

bool BackupEngine::OpenSource(const Source& s, clsBinaryFile& file) {
    return s.folder != nullptr ? m_fa->OpenFileAt(file, *s.folder, s.name)
                               : m_fa->OpenFile(file, s.path);
}

void BackupEngine::SkipFile(const std::string& source, std::int64_t size) {
    AddLogLine("File Skipped - " + source + " (" + std::to_string(size) +
                   " Bytes) - File Appears to be Up-to-Date on Target.",
               false);
    m_progress->BytesDone += size;
}

std::string BackupEngine::TempName() {
    static const char kHex[] = "0123456789abcdef";
    std::string name = ".tessaron-";
    for (std::uint64_t r = m_random(), i = 0; i < 16; ++i, r >>= 4) {
        name += kHex[r & 15];
    }
    return name + ".tmp";
}

// Makes the entry for a copy with make(name): at the copy's own name when nothing is
// there, else (a replacement) under a new name. Creation is exclusive, so nothing that
// is there is ever written through or over; old is what the copy's name holds.
template <class Make>
bool BackupEngine::CreateExclusive(const Dest& d, FileInfo& old, std::string& written,
                                   const Make& make) {
    SysError error;
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        written = old.Exists ? TempName() : d.name;
        if (make(written, error)) {
            return true;
        }
        if (!error.IsExists()) {
            return false;
        }
        if (!old.Exists && !m_fa->GetInfoAt(d.folder.folder, d.name, old)) {
            return false;
        }
    }
    return false;
}

bool BackupEngine::CopyLink(const Source& s, const Dest& d, const FileInfo& dst) {
    clsFolder& folder = d.folder.folder;
    std::string text;
    if (s.folder == nullptr || !m_fa->ReadLinkAt(*s.folder, s.name, text)) {
        LogError("Unable to open", s.path, s.folder ? s.folder->Error() : SysError::BadHandle());
        return false;
    }
    AddLogLine("Copying " + s.path + " (0 Bytes)...", false);
    FileInfo old = dst;
    std::string written;
    const bool made = CreateExclusive(d, old, written, [&](const std::string& name, SysError& e) {
        const bool ok = m_fa->CreateLinkAt(folder, name, text);
        e = folder.Error();
        return ok;
    });
    if (!made) {
        LogError("Unable to create", d.path, folder.Error());
        return false;
    }
    if (!m_fa->SetLinkMetaAt(folder, written, s.info)) {
        LogError("Unable to set attributes", d.path, folder.Error());
        m_fa->RemoveAt(folder, written);
        return false;
    }
    if (written != d.name && !PutInPlace(d, written, old)) {
        m_fa->RemoveAt(folder, written);
        return false;
    }
    AppendLogLine("Done", false);
    return true;
}

bool BackupEngine::CopyContent(const Source& s, const Dest& d, const FileInfo& dst) {
    FileCopy c(s, d, dst);
    if (s.ahead != nullptr) {
        TakeFile(*s.ahead);
        if (s.ahead->openError) {
            LogError("Unable to open", s.path, s.ahead->openError);
            return false;
        }
    } else if (!OpenSource(s, c.in)) {
        LogError("Unable to open", s.path, c.in.Error());
        return false;
    }
    if (s.info.Size >= kAdviseSize) {
        m_fa->AdviseSequential(c.in);
    }
    m_progress->CurrentSize = s.info.Size;
    AddLogLine("Copying " + s.path + " (" + std::to_string(s.info.Size) + " Bytes)...", false);
    clsFolder& folder = d.folder.folder;
    const bool made =
        CreateExclusive(d, c.old, c.written, [&](const std::string& name, SysError& e) {
            const bool ok = m_fa->CreateFileAt(c.out, folder, name, s.info);
            e = c.out.Error();
            return ok;
        });
    if (!made) {
        LogError("Unable to create", d.path, c.out.LastErrorCode ? c.out.Error() : folder.Error());
        FailCopy(c);
        return false;
    }
    c.created = true;
    const bool copied = s.ahead != nullptr ? WriteAhead(c, *s.ahead)
                        : s.info.Sparse    ? CopySparse(c)
                                           : CopyRange(c, s.info.Size);
    if (!copied) {
        FailCopy(c);
        return false;
    }
    return FinishCopy(c);
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

// Moves the file from c.pos up to end in rounds of the run's block size, one yield per
// round. The file is copied up to the size it had when it was examined (asking for no
// more saves a probe for the end at every file): a file that shrank ends early, one that
// grew is copied as it was examined. A short move is not the end; only nothing is.
bool BackupEngine::CopyRange(FileCopy& c, long long end) {
    clsProgress& p = *m_progress;
    while (c.pos < end) {
        const long long roundEnd = std::min(RoundEnd(c.pos, m_blockSize, c.s.info.Size), end);
        while (c.pos < roundEnd) {
            c.in.LastErrorCode = 0;
            c.out.LastErrorCode = 0;
            const long long n =
                m_fa->CopyBlock(c.in, c.out, roundEnd - c.pos, m_bufA.data(), m_bufA.size());
            if (n < 0) {
                LogCopyError(c);
                return false;
            }
            if (n == 0) {
                c.ended = true;
                return true;
            }
            c.pos += n;
            p.CurrentDone += n;
            p.BytesDone += n;
        }
        YieldPoint();
        if (m_cancelled) {
            return true; // a cancelled copy ends here as if complete; the caller stops the run
        }
    }
    return true;
}

// A file with holes: only its stretches of data are copied, each at its own place, and
// the copy is given the file's length at the end; the holes count as copied.
bool BackupEngine::CopySparse(FileCopy& c) {
    clsProgress& p = *m_progress;
    const long long size = c.s.info.Size;
    while (c.pos < size && !c.ended && !m_cancelled) {
        long long start = 0;
        long long end = 0;
        if (!m_fa->NextData(c.in, c.pos, start, end)) {
            LogError("Error During Read", c.s.path, c.in.Error());
            return false;
        }
        start = std::clamp(start, c.pos, size);
        p.CurrentDone += start - c.pos;
        p.BytesDone += start - c.pos;
        c.pos = start;
        if (c.pos >= size) {
            break;
        }
        if (!m_fa->Seek(c.in, start) || !m_fa->Seek(c.out, start)) {
            LogCopyError(c);
            return false;
        }
        if (!CopyRange(c, std::min(end, size))) {
            return false;
        }
    }
    if (!m_fa->Truncate(c.out, c.pos)) {
        LogError("Error During Write", c.d.path, c.out.Error());
        return false;
    }
    return true;
}

// Which side failed: a code only writing can cause names the copy, else the source.
void BackupEngine::LogCopyError(FileCopy& c) {
    const SysError read = c.in.Error();
    const SysError write = c.out.Error();
    if (write && (!read || write.IsWriteSide())) {
        LogError("Error During Write", c.d.path, write);
    } else {
        LogError("Error During Read", c.s.path, read);
    }
}

bool BackupEngine::FinishCopy(FileCopy& c) {
    clsFolder& folder = c.d.folder.folder;
    const bool replacing = c.written != c.d.name;
    if (m_cancelled && replacing) {
        // Never put a cut-short copy in place of a complete older one.
        m_fa->Close(c.out);
        m_fa->RemoveAt(folder, c.written);
        m_fa->Close(c.in);
        return true;
    }
    if (!m_fa->SetFileMeta(c.out, c.s.info)) {
        LogError("Unable to set attributes", c.d.path, c.out.Error());
        FailCopy(c);
        return false;
    }
    // A failed close can be the first report of a full medium or a lost connection.
    if (!m_fa->Close(c.out)) {
        LogError("Error During Write", c.d.path, c.out.Error());
        FailCopy(c);
        return false;
    }
    if (replacing && !PutInPlace(c.d, c.written, c.old)) {
        FailCopy(c);
        return false;
    }
    m_fa->Close(c.in);
    AppendLogLine("Done", false);
    return true;
}

// Puts the complete copy written under a new name in place of the old copy: a folder
// there (the source was one before) is removed first, never leaving the target's file
// system (a mount point inside it stays, and the copy is not put in place); a file or
// link is replaced in one step.
bool BackupEngine::PutInPlace(const Dest& d, const std::string& written, const FileInfo& old) {
    clsFolder& folder = d.folder.folder;
    if (old.Kind == FileKind::Directory) {
        RemovalReport report;
        report.left = [&](const std::string& path, const SysError& why) {
            LogLeftInPlace("Unable to remove the old copy",
                           ShownPath(CopyPath(d.folder.path, path)), why);
            return true;
        };
        report.yield = [this] { YieldPoint(); };
        if (!m_fa->RemoveTreeAt(folder, d.name, report)) {
            return false;
        }
        AddLogLine("Old copy removed - " + d.path + " (the source is no longer a folder)", false);
    }
    if (!m_fa->RenameAt(folder, written, d.name)) {
        LogError("Unable to create", d.path, folder.Error());
        return false;
    }
    return true;
}

// Removes what this run created for the failed copy (nothing else) and takes its bytes
// back out of the counters.
void BackupEngine::FailCopy(FileCopy& c) {
    m_fa->Close(c.out);
    m_fa->Close(c.in);
    if (c.created) {
        m_fa->RemoveAt(c.d.folder.folder, c.written);
    }
    clsProgress& p = *m_progress;
    p.BytesDone -= p.CurrentDone;
    p.BytesSkipped += p.CurrentSize;
}

} // namespace tessaron
