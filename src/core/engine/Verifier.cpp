// Verification: each copy read back from the medium beside its source and compared block
// by block.
#include "engine/Verifier.h"

#include "engine/Copier.h"

#include <cstring>

namespace tessaron {

namespace {

constexpr long long kAdviseSize = 1 << 20;

} // namespace

bool Verifier::VerifyFile(const Source& s, const Dest& d) {
    m_run.StartFile(s.path);
    if (s.info.Kind == FileKind::Symlink) {
        return VerifyLink(s, d);
    }
    clsBinaryFile src;
    clsBinaryFile dst;
    if (!OpenBoth(s, d, src, dst)) {
        return false;
    }
    const std::int64_t size = s.info.Size;
    clsProgress& p = m_run.progress;
    p.CurrentSize = size;
    m_run.log.AddLogLine("Verifying " + s.path + " (" + std::to_string(size) + " Bytes)...", false);
    const bool same = CompareBlocks(src, dst, s.path, d.path, size);
    m_run.fa->Close(dst);
    // Also after a mismatch, so the file's error line reads "...Mismatch" + "Done".
    m_run.log.AppendLogLine("Done", false);
    m_run.fa->Close(src);
    if (!same) {
        p.BytesDone -= p.CurrentDone;
        p.BytesSkipped += p.CurrentSize;
    }
    return same;
}

// Opens the source and its copy for reading. The copies were put on the medium before
// this phase: what memory still holds of this one is dropped, so the comparison reads
// what the medium returns.
bool Verifier::OpenBoth(const Source& s, const Dest& d, clsBinaryFile& src, clsBinaryFile& dst) {
    if (!OpenSource(*m_run.fa, s, src)) {
        m_run.log.LogError("Unable to open", s.path, src.Error());
        return false;
    }
    SysError error;
    if (!OpenCopy(d, dst, error)) {
        m_run.log.LogError("Unable to open", d.path, error);
        m_run.fa->Close(src);
        return false;
    }
    m_run.fa->DropCache(dst);
    if (s.info.Size >= kAdviseSize) {
        m_run.fa->AdviseSequential(src);
        m_run.fa->AdviseSequential(dst);
    }
    return true;
}

bool Verifier::OpenCopy(const Dest& d, clsBinaryFile& file, SysError& error) {
    if (!d.folder.folder.IsOpen()) {
        error = d.folder.error ? d.folder.error : SysError::NotFound();
        return false;
    }
    if (!m_run.fa->OpenFileAt(file, d.folder.folder, d.name)) {
        error = file.Error();
        return false;
    }
    return true;
}

// Reads until count bytes or the end of the file: a short read is not the end.
long long Verifier::ReadFull(clsBinaryFile& file, unsigned char* buffer, long long count) {
    long long done = 0;
    while (done < count) {
        const long long n =
            m_run.fa->Read(file, buffer + done, static_cast<std::size_t>(count - done));
        if (n < 0) {
            return -1;
        }
        if (n == 0) {
            break;
        }
        done += n;
    }
    return done;
}

// Only the source's length drives the loop: a copy that is longer but equal over the
// source's length passes; a shorter one fails at its short block.
bool Verifier::CompareBlocks(clsBinaryFile& src, clsBinaryFile& dst, const std::string& source,
                             const std::string& target, std::int64_t size) {
    clsProgress& p = m_run.progress;
    const auto block = static_cast<long long>(m_run.blockSize);
    // Reading no more than the examined size saves a probe for the end at every file.
    for (;;) {
        const long long left = size - p.CurrentDone;
        const long long want =
            left > 0 ? RoundEnd(p.CurrentDone, block, size) - p.CurrentDone : block;
        const long long a = ReadFull(src, m_run.bufA.data(), want);
        if (a < 0) {
            m_run.log.LogError("Read Error on", source, src.Error());
            return false;
        }
        p.CurrentDone += a;
        p.BytesDone += a;
        if (a == 0) {
            return true;
        }
        const long long b = ReadFull(dst, m_run.bufB.data(), a);
        if (b < 0) {
            m_run.log.LogError("Read Error on", target, dst.Error());
            return false;
        }
        if (a != b ||
            std::memcmp(m_run.bufA.data(), m_run.bufB.data(), static_cast<std::size_t>(a)) != 0) {
            m_run.log.AddLogLine("Verify Error - File Mismatch", true);
            return false;
        }
        m_run.Yield();
        if (m_run.cancelled || a < want || (left > 0 && p.CurrentDone >= size)) {
            return true;
        }
    }
}

bool Verifier::VerifyLink(const Source& s, const Dest& d) {
    std::string srcText;
    if (!ReadSourceLink(m_run, s, srcText)) {
        return false;
    }
    m_run.log.AddLogLine("Verifying " + s.path + " (0 Bytes)...", false);
    clsFolder& folder = d.folder.folder;
    FileInfo info;
    SysError error = d.folder.error;
    if (!error && folder.IsOpen() && !m_run.fa->GetInfoAt(folder, d.name, info)) {
        error = folder.Error();
    } else if (!error && !info.Exists) {
        error = SysError::NotFound();
    }
    std::string dstText;
    bool same = !error;
    if (error) {
        m_run.log.LogError("Unable to open", d.path, error);
    } else if (info.Kind != FileKind::Symlink || !m_run.fa->ReadLinkAt(folder, d.name, dstText) ||
               dstText != srcText) {
        m_run.log.AddLogLine("Verify Error - File Mismatch", true);
        same = false;
    }
    m_run.log.AppendLogLine("Done", false);
    if (!same) {
        m_run.progress.BytesSkipped += m_run.progress.CurrentSize;
    }
    return same;
}

} // namespace tessaron
