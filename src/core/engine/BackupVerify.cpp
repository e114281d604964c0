// Verification: each copy read back beside its source and compared block by block.
#include "engine/BackupEngine.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace tessaron {

void BackupEngine::VerifyFile(const std::string& source, const std::string& target, bool& ok) {
    ok = false;
    const clsFSItem* listed = m_listed;
    m_listed = nullptr;
    StartFile(source);
    EnsureBuffers();
    FileInfo info;
    if (listed != nullptr) {
        info = listed->Info;
    } else {
        m_fs.GetInfo(source, info);
    }
    if (info.Kind == FileKind::Symlink) {
        ok = VerifyLink(source, target);
        return;
    }
    clsBinaryFile src;
    if (!OpenForVerify(src, m_srcDir, source, info.Size)) {
        LogFileError("Unable to open", source, src.LastErrorCode);
        return;
    }
    clsBinaryFile dst;
    if (!OpenForVerify(dst, m_dstDir, target, info.Size)) {
        LogFileError("Unable to open", target, dst.LastErrorCode);
        return;
    }
    clsProgress& p = *m_progress;
    p.CurrentSize = info.Size;
    AddLogLine("Verifying " + source + " (" + std::to_string(info.Size) + " Bytes)...", false);
    const bool same = CompareBlocks(src, dst, source, target, info.Size);
    dst.CloseFile();
    // Also after a mismatch, so the file's error line reads "...Mismatch" + "Done".
    AppendLogLine("Done", false);
    src.CloseFile();
    if (!same) {
        p.BytesDone -= p.CurrentDone;
        p.BytesSkipped += p.CurrentSize;
        return;
    }
    ok = true;
}

// Opens path for reading by name inside its folder (kept open for the next file there).
// Large files are announced as read from start to end.
bool BackupEngine::OpenForVerify(clsBinaryFile& file, clsFolder& folder, const std::string& path,
                                 long long size) {
    const size_t slash = path.rfind('/');
    if (!UseFolder(folder, path, slash)) {
        file.LastErrorCode = folder.LastErrorCode;
        return false;
    }
    if (!file.OpenFileAt(folder, path.substr(slash + 1))) {
        return false;
    }
    if (size >= (1 << 20)) {
        file.AdviseSequential();
    }
    return true;
}

// Only the source's length drives the loop: a copy that is longer but equal over the
// source's length passes; a shorter one fails at its short block.
bool BackupEngine::CompareBlocks(clsBinaryFile& src, clsBinaryFile& dst, const std::string& source,
                                 const std::string& target, std::int64_t size) {
    clsProgress& p = *m_progress;
    const auto block = static_cast<long long>(m_blockSize);
    // Reading no more than the examined size saves a probe for the end at every file.
    for (;;) {
        const long long left = size - p.CurrentDone;
        const long long want =
            left > 0 ? RoundEnd(p.CurrentDone, block, size) - p.CurrentDone : block;
        const long long a = src.ReadBlock(m_bufA.data(), static_cast<std::size_t>(want));
        if (a < 0) {
            LogFileError("Read Error on", source, src.LastErrorCode);
            return false;
        }
        p.CurrentDone += a;
        p.BytesDone += a;
        if (a == 0) {
            return true;
        }
        const long long b = dst.ReadBlock(m_bufB.data(), static_cast<std::size_t>(a));
        if (b < 0) {
            LogFileError("Read Error on", target, dst.LastErrorCode);
            return false;
        }
        if (a != b || std::memcmp(m_bufA.data(), m_bufB.data(), static_cast<std::size_t>(a)) != 0) {
            AddLogLine("Verify Error - File Mismatch", true);
            return false;
        }
        YieldPoint();
        if (m_cancelled || (a < want) || (left > 0 && p.CurrentDone >= size)) {
            return true;
        }
    }
}

bool BackupEngine::VerifyLink(const std::string& source, const std::string& target) {
    std::string srcText;
    if (!m_fs.ReadLink(source, srcText)) {
        LogFsError("Unable to open", source, m_fs.LastError);
        return false;
    }
    AddLogLine("Verifying " + source + " (0 Bytes)...", false);
    FileInfo info;
    m_fs.GetInfo(target, info);
    std::string dstText;
    bool same = true;
    if (!info.Exists) {
        LogFileError("Unable to open", target, ENOENT);
        same = false;
    } else if (info.Kind != FileKind::Symlink || !m_fs.ReadLink(target, dstText) ||
               dstText != srcText) {
        AddLogLine("Verify Error - File Mismatch", true);
        same = false;
    }
    AppendLogLine("Done", false);
    if (!same) {
        m_progress->BytesSkipped += m_progress->CurrentSize;
    }
    return same;
}

} // namespace tessaron
