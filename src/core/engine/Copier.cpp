// One file's copy: the incremental rule, the block loop (holes kept), metadata, and
// putting the copy in place without ever destroying an older good one.
#include "engine/Copier.h"

#include "engine/CopyFolders.h"
#include "engine/Writers.h"

#include "setfile/clsSetup.h"

#include <chrono>

#include <algorithm>

namespace tessaron {

namespace {

// Files from this size on are announced to the system as read from start to end; for
// smaller ones the call costs more than the read-ahead gains.
constexpr long long kAdviseSize = 1 << 20;

} // namespace

// One copy in progress.
struct Copier::FileCopy {
    FileCopy(const Source& source, const Dest& dest, const FileInfo& before)
        : s(source), d(dest), old(before) {}
    const Source& s;
    const Dest& d;
    FileInfo old; // what the copy's name held before
    clsBinaryFile in;
    clsBinaryFile out;
    std::string written;  // the name the copy is written under (d.name, or a new one)
    bool created = false; // out was created by this run (and is removed on failure)
    long long pos = 0;    // the offset reached in both files
    bool ended = false;   // the source ended before its examined size
};

bool OpenSource(IFileAccess& fa, const Source& s, clsBinaryFile& file) {
    return s.folder != nullptr ? fa.OpenFileAt(file, *s.folder, s.name) : fa.OpenFile(file, s.path);
}

bool ReadSourceLink(RunState& run, const Source& s, std::string& text) {
    if (s.folder != nullptr && run.fa->ReadLinkAt(*s.folder, s.name, text)) {
        return true;
    }
    run.log.LogError("Unable to open", s.path,
                     s.folder ? s.folder->Error() : SysError::BadHandle());
    return false;
}

Copier::Copier(RunState& run)
    : m_run(run), m_random(std::random_device{}() ^
                           static_cast<std::uint64_t>(
                               std::chrono::steady_clock::now().time_since_epoch().count())) {}

bool Copier::CopyFile(const Source& s, const Dest& d) {
    m_run.StartFile(s.path);
    const bool incremental = m_run.Incremental();
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

bool Copier::LookUpCopy(const Dest& d, FileInfo& dst) {
    if (!d.folder.folder.IsOpen()) {
        m_run.log.LogError("Unable to open", d.path, d.folder.error);
        return false;
    }
    if (d.folder.listed != nullptr && FindListed(*d.folder.listed, d.name, dst)) {
        return true;
    }
    if (!m_run.fa->GetInfoAt(d.folder.folder, d.name, dst)) {
        m_run.log.LogError("Unable to open", d.path, d.folder.folder.Error());
        return false;
    }
    return true;
}

// The incremental rule: the copy is up to date when size and modification time (to the
// second) match; nothing else is compared, not even which of the two is newer. A link
// is up to date when the copy is a link with the same text.
bool Copier::IsUpToDate(const Source& s, const Dest& d, const FileInfo& dst) {
    if (s.info.Kind == FileKind::Symlink) {
        std::string srcText, dstText;
        return dst.Kind == FileKind::Symlink && s.folder != nullptr &&
               m_run.fa->ReadLinkAt(*s.folder, s.name, srcText) &&
               m_run.fa->ReadLinkAt(d.folder.folder, d.name, dstText) && srcText == dstText;
    }
    return UpToDate(s.info, dst);
}

void Copier::SkipFile(const std::string& source, std::int64_t size) {
    m_run.log.AddLogLine("File Skipped - " + source + " (" + std::to_string(size) +
                             " Bytes) - File Appears to be Up-to-Date on Target.",
                         false);
    m_run.progress.BytesDone += size;
}

// Makes the entry for a copy with make(name): at the copy's own name when nothing is
// there, else (a replacement) under a new name. Creation is exclusive, so nothing that
// is there is ever written through or over; old is what the copy's name holds.
template <class Make>
bool Copier::CreateExclusive(const Dest& d, FileInfo& old, std::string& written, const Make& make) {
    SysError error;
    for (int attempt = 0; attempt < kTempNameAttempts; ++attempt) {
        written = old.Exists ? TempCopyName(m_random()) : d.name;
        if (make(written, error)) {
            return true;
        }
        if (!error.IsExists()) {
            return false;
        }
        if (!old.Exists && !m_run.fa->GetInfoAt(d.folder.folder, d.name, old)) {
            return false;
        }
    }
    return false;
}

bool Copier::CopyLink(const Source& s, const Dest& d, const FileInfo& dst) {
    clsFolder& folder = d.folder.folder;
    std::string text;
    if (!ReadSourceLink(m_run, s, text)) {
        return false;
    }
    m_run.log.AddLogLine("Copying " + s.path + " (0 Bytes)...", false);
    FileInfo old = dst;
    std::string written;
    const bool made = CreateExclusive(d, old, written, [&](const std::string& name, SysError& e) {
        const bool ok = m_run.fa->CreateLinkAt(folder, name, text);
        e = folder.Error();
        return ok;
    });
    if (!made) {
        m_run.log.LogError("Unable to create", d.path, folder.Error());
        return false;
    }
    if (!m_run.fa->SetLinkMetaAt(folder, written, s.info)) {
        m_run.log.LogError("Unable to set attributes", d.path, folder.Error());
        m_run.fa->RemoveAt(folder, written);
        return false;
    }
    if (written != d.name && !PutInPlace(d, written, old)) {
        m_run.fa->RemoveAt(folder, written);
        return false;
    }
    m_run.log.AppendLogLine("Done", false);
    return true;
}

bool Copier::CopyContent(const Source& s, const Dest& d, const FileInfo& dst) {
    FileCopy c(s, d, dst);
    if (s.content != nullptr) {
        if (s.content->openError) {
            m_run.log.LogError("Unable to open", s.path, s.content->openError);
            return false;
        }
    } else if (!OpenSource(*m_run.fa, s, c.in)) {
        m_run.log.LogError("Unable to open", s.path, c.in.Error());
        return false;
    }
    if (s.info.Size >= kAdviseSize) {
        m_run.fa->AdviseSequential(c.in);
    }
    m_run.progress.CurrentSize = s.info.Size;
    m_run.log.AddLogLine("Copying " + s.path + " (" + std::to_string(s.info.Size) + " Bytes)...",
                         false);
    clsFolder& folder = d.folder.folder;
    const bool made =
        CreateExclusive(d, c.old, c.written, [&](const std::string& name, SysError& e) {
            const bool ok = m_run.fa->CreateFileAt(c.out, folder, name, s.info);
            e = c.out.Error();
            return ok;
        });
    if (!made) {
        m_run.log.LogError("Unable to create", d.path,
                           c.out.LastErrorCode ? c.out.Error() : folder.Error());
        FailCopy(c);
        return false;
    }
    c.created = true;
    const bool copied = s.content != nullptr ? WriteContent(c, *s.content)
                        : s.info.Sparse      ? CopySparse(c)
                                             : CopyRange(c, s.info.Size);
    if (!copied) {
        FailCopy(c);
        return false;
    }
    return FinishCopy(c);
}

// Moves the file from c.pos up to end in rounds of the run's block size, one yield per
// round. The file is copied up to the size it had when it was examined (asking for no
// more saves a probe for the end at every file): a file that shrank ends early, one that
// grew is copied as it was examined. A short move is not the end; only nothing is.
bool Copier::CopyRange(FileCopy& c, long long end) {
    clsProgress& p = m_run.progress;
    while (c.pos < end) {
        const long long roundEnd = std::min(RoundEnd(c.pos, m_run.blockSize, c.s.info.Size), end);
        while (c.pos < roundEnd) {
            c.in.LastErrorCode = 0;
            c.out.LastErrorCode = 0;
            const long long n = m_run.fa->CopyBlock(c.in, c.out, roundEnd - c.pos,
                                                    m_run.bufA.data(), m_run.bufA.size());
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
        m_run.Yield();
        if (m_run.cancelled) {
            return true; // a cancelled copy ends here as if complete; the caller stops the run
        }
    }
    return true;
}

// The one round of a file read ahead: what was read is written, as one block, and counted
// as the block copy counts it; a read that failed is said as the copy would say it.
bool Copier::WriteContent(FileCopy& c, const FileContent& content) {
    if (content.readError) {
        m_run.log.LogError("Error During Read", c.s.path, content.readError);
        return false;
    }
    while (c.pos < content.got) {
        c.out.LastErrorCode = 0;
        const long long n = m_run.fa->Write(c.out, content.data + c.pos,
                                            static_cast<std::size_t>(content.got - c.pos));
        if (n <= 0) {
            LogCopyError(c);
            return false;
        }
        c.pos += n;
    }
    clsProgress& p = m_run.progress;
    p.CurrentDone += c.pos;
    p.BytesDone += c.pos;
    if (content.got < content.size) {
        c.ended = true; // the file shrank: the round ended at its end, without a yield
        return true;
    }
    if (content.size > 0) {
        m_run.Yield();
    }
    return true;
}

// A file with holes: only its stretches of data are copied, each at its own place, and
// the copy is given the file's length at the end; the holes count as copied.
bool Copier::CopySparse(FileCopy& c) {
    clsProgress& p = m_run.progress;
    const long long size = c.s.info.Size;
    while (c.pos < size && !c.ended && !m_run.cancelled) {
        long long start = 0;
        long long end = 0;
        if (!m_run.fa->NextData(c.in, c.pos, start, end)) {
            m_run.log.LogError("Error During Read", c.s.path, c.in.Error());
            return false;
        }
        start = std::clamp(start, c.pos, size);
        p.CurrentDone += start - c.pos;
        p.BytesDone += start - c.pos;
        c.pos = start;
        if (c.pos >= size) {
            break;
        }
        if (!m_run.fa->Seek(c.in, start) || !m_run.fa->Seek(c.out, start)) {
            LogCopyError(c);
            return false;
        }
        if (!CopyRange(c, std::min(end, size))) {
            return false;
        }
    }
    if (!m_run.fa->Truncate(c.out, c.pos)) {
        m_run.log.LogError("Error During Write", c.d.path, c.out.Error());
        return false;
    }
    return true;
}

// Which side failed: a code only writing can cause names the copy, else the source.
void Copier::LogCopyError(FileCopy& c) {
    const SysError read = c.in.Error();
    const SysError write = c.out.Error();
    if (write && (!read || write.IsWriteSide())) {
        m_run.log.LogError("Error During Write", c.d.path, write);
    } else {
        m_run.log.LogError("Error During Read", c.s.path, read);
    }
}

bool Copier::FinishCopy(FileCopy& c) {
    clsFolder& folder = c.d.folder.folder;
    const bool replacing = c.written != c.d.name;
    if (m_run.cancelled && replacing) {
        // Never put a cut-short copy in place of a complete older one.
        m_run.fa->Close(c.out);
        m_run.fa->RemoveAt(folder, c.written);
        m_run.fa->Close(c.in);
        return true;
    }
    if (!m_run.fa->SetFileMeta(c.out, c.s.info)) {
        m_run.log.LogError("Unable to set attributes", c.d.path, c.out.Error());
        FailCopy(c);
        return false;
    }
    // A failed close can be the first report of a full medium or a lost connection.
    if (!m_run.fa->Close(c.out)) {
        m_run.log.LogError("Error During Write", c.d.path, c.out.Error());
        FailCopy(c);
        return false;
    }
    if (replacing && !PutInPlace(c.d, c.written, c.old)) {
        FailCopy(c);
        return false;
    }
    m_run.fa->Close(c.in);
    m_run.log.AppendLogLine("Done", false);
    return true;
}

// Puts the complete copy written under a new name in place of the old copy: a folder
// there (the source was one before) is removed first, never leaving the target's file
// system (a mount point inside it stays, and the copy is not put in place); a file or
// link is replaced in one step.
bool Copier::PutInPlace(const Dest& d, const std::string& written, const FileInfo& old) {
    clsFolder& folder = d.folder.folder;
    if (old.Kind == FileKind::Directory) {
        RemovalReport report;
        report.left = [&](const std::string& path, const SysError& why) {
            m_run.LogLeftInPlace("Unable to remove the old copy",
                                 ShownPath(CopyFolders::CopyPath(d.folder.path, path)), why);
            return true;
        };
        report.yield = [this] { m_run.Yield(); };
        if (!m_run.fa->RemoveTreeAt(folder, d.name, report)) {
            return false;
        }
        m_run.log.AddLogLine("Old copy removed - " + d.path + " (the source is no longer a folder)",
                             false);
    }
    if (!m_run.fa->RenameAt(folder, written, d.name)) {
        m_run.log.LogError("Unable to create", d.path, folder.Error());
        return false;
    }
    return true;
}

// Removes what this run created for the failed copy (nothing else) and takes its bytes
// back out of the counters.
void Copier::FailCopy(FileCopy& c) {
    m_run.fa->Close(c.out);
    m_run.fa->Close(c.in);
    if (c.created) {
        m_run.fa->RemoveAt(c.d.folder.folder, c.written);
    }
    clsProgress& p = m_run.progress;
    p.BytesDone -= p.CurrentDone;
    p.BytesSkipped += p.CurrentSize;
}

} // namespace tessaron
