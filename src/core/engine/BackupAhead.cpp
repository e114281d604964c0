// The walk's read-ahead: which folders and files are posted to the second thread, and how
// the walk takes what it found. The walk posts, in its own order, the next few selected
// sub-folders of a folder and the selected small files up to the next sub-folder (the
// folder's files are needed first, the sub-folder's only after them), and takes each job
// when it reaches the entry; a job it never reaches (a cancelled or stopped walk, a file
// an INCREMENTAL run skips) is withdrawn.
#include "engine/BackupParts.h"
#include "setfile/clsSetup.h"

#include <algorithm>
#include <cstdlib>

namespace tessaron {

namespace {

constexpr std::size_t kFoldersPerLevel = 4;
constexpr int kMaxFolders = 8;
constexpr int kMaxFiles = 256;
constexpr long long kMaxBytes = 8LL << 20;
constexpr long long kMaxFileSize = 1LL << 20;

} // namespace

bool BackupEngine::OverlapByDefault() {
    static const bool on = [] {
        const char* value = std::getenv("TESSARON_OVERLAP");
        return value == nullptr || std::string(value) != "0";
    }();
    return on;
}

void BackupEngine::FolderAhead::Run(IFileAccess& fa) {
    opened = fa.OpenFolderAt(*src, parent, name);
    if (!opened) {
        return;
    }
    listed = fa.List(*src, items);
    if (copyParent == nullptr || !fa.OpenFolderAt(copy, *copyParent, name)) {
        return;
    }
    FileInfo own;
    copyListed = fa.GetFolderInfo(copy, own) && fa.List(copy, copyItems);
    copyId = own.Id;
    copy.Close();
}

void BackupEngine::FileAhead::Run(IFileAccess& fa) {
    clsBinaryFile file;
    if (!fa.OpenFileAt(file, folder, name)) {
        openError = file.Error();
        return;
    }
    while (got < size) {
        const long long n = fa.Read(file, data.get() + got, static_cast<std::size_t>(size - got));
        if (n < 0) {
            readError = file.Error();
            break;
        }
        if (n == 0) {
            break;
        }
        got += n;
    }
    fa.Close(file); // only read: a failed close loses nothing
}

BackupEngine::LevelAhead::~LevelAhead() {
    engine.WithdrawAll(*this);
}

void BackupEngine::StartAhead() {
    if (m_overlap && !m_ahead) {
        m_ahead = std::make_unique<ReadAhead>(*m_fa);
    }
}

// Starts (or asks again for) a flush of the target's file system beside the copying.
void BackupEngine::FlushEarly(std::chrono::steady_clock::time_point now) {
    m_lastFlush = now;
    if (!m_flush) {
        auto folder = std::make_unique<clsFolder>();
        if (!m_target || !m_target->folder.IsOpen() ||
            !m_fa->OpenFolderAt(*folder, m_target->folder, ".")) {
            return;
        }
        m_flush = std::make_unique<EarlyFlush>(*m_fa, std::move(folder));
    }
    m_flush->Poke();
}

void BackupEngine::StopAhead() {
    m_ahead.reset();
    m_aheadFolders = m_aheadFiles = 0;
    m_aheadBytes = 0;
}

// IsSelected for the entry at index of the level, asked once per entry, and never below
// a folder that selects everything below it. The level is the walk's deepest: its path
// is m_walkPath.
bool BackupEngine::SelectedAt(Level& level, std::size_t index) {
    if (level.uniform) {
        return true;
    }
    std::vector<signed char>& known = level.ahead.selected;
    if (known.size() != level.items.size()) {
        known.assign(level.items.size(), -1);
    }
    if (known[index] < 0) {
        const std::size_t end = m_walkPath.size();
        AppendName(m_walkPath, level.items[index].Path);
        known[index] = m_setup->Sel.IsSelected(m_walkPath) ? 1 : 0;
        m_walkPath.resize(end);
    }
    return known[index] == 1;
}

// Posts the work ahead of entry at of the level.
void BackupEngine::PostAhead(Level& level, std::size_t at) {
    if (!m_ahead || m_phase == Phase::Verify) {
        return;
    }
    PostFolders(level);
    if (m_phase == Phase::Copy) {
        PostFiles(level, at);
    }
}

void BackupEngine::PostFolders(Level& level) {
    LevelAhead& ahead = level.ahead;
    const bool incremental =
        BackupKindOf(m_setup->BackupType) == BackupKind::Incremental && m_phase == Phase::Copy;
    const CopyFolder& dst = *level.dst;
    const clsFolder* copyParent =
        incremental && !dst.fresh && dst.folder.IsOpen() ? &dst.folder : nullptr;
    for (; ahead.nextFolder < level.items.size() && ahead.folders.size() < kFoldersPerLevel &&
           m_aheadFolders < kMaxFolders;
         ++ahead.nextFolder) {
        const std::size_t i = ahead.nextFolder;
        const clsFSItem& item = level.items[i];
        if (item.Error || item.Kind != FileKind::Directory || !SelectedAt(level, i) ||
            (m_outputId.Valid && item.Info.Id == m_outputId) ||
            (m_logFolderId.Valid && item.Info.Id == m_logFolderId)) {
            continue;
        }
        ahead.folders.emplace_back(std::piecewise_construct, std::forward_as_tuple(i),
                                   std::forward_as_tuple(*level.src, item.Path, copyParent));
        m_ahead->Post(ahead.folders.back().second, false);
        ++m_aheadFolders;
    }
}

// The selected small files from entry at up to the next selected sub-folder, while the
// bounds allow; the first one that does not fit waits for room.
void BackupEngine::PostFiles(Level& level, std::size_t at) {
    LevelAhead& ahead = level.ahead;
    ahead.nextFile = std::max(ahead.nextFile, at);
    for (; ahead.nextFile < level.items.size(); ++ahead.nextFile) {
        const std::size_t i = ahead.nextFile;
        const clsFSItem& item = level.items[i];
        if (!item.Error && item.Kind == FileKind::Directory && SelectedAt(level, i)) {
            return;
        }
        if (!WantsContent(level, item) || !SelectedAt(level, i)) {
            continue;
        }
        const long long size = item.Info.Size;
        if (m_aheadFiles >= kMaxFiles || m_aheadBytes + size > kMaxBytes) {
            return;
        }
        ahead.files.emplace_back(std::piecewise_construct, std::forward_as_tuple(i),
                                 std::forward_as_tuple(*level.src, item.Path, size));
        m_ahead->Post(ahead.files.back().second, true);
        ++m_aheadFiles;
        m_aheadBytes += size;
    }
}

// A regular file that is copied in one block, and (INCREMENTAL) whose copy is known to be
// out of date.
bool BackupEngine::WantsContent(const Level& level, const clsFSItem& item) const {
    const long long limit = std::min<long long>(m_blockSize, kMaxFileSize);
    if (item.Error || item.Kind != FileKind::File || item.Info.Sparse || item.Info.Size > limit ||
        !level.dst->folder.IsOpen()) {
        return false;
    }
    if (BackupKindOf(m_setup->BackupType) != BackupKind::Incremental || level.dst->fresh) {
        return true;
    }
    FileInfo copy;
    return level.dst->listed != nullptr && FindListed(*level.dst->listed, item.Path, copy) &&
           !UpToDate(item.Info, copy);
}

// The sub-folder at index as its read-ahead opened and listed it. False when there is no
// job for it (the walk opens it itself).
bool BackupEngine::TakeFolder(Level& level, std::size_t index, Level& sub) {
    auto& folders = level.ahead.folders;
    if (folders.empty() || folders.front().first != index) {
        return false;
    }
    FolderAhead& job = folders.front().second;
    m_ahead->Take(job, [this] { YieldPoint(); });
    sub.aheadSrc = std::move(job.src);
    sub.src = sub.aheadSrc.get();
    sub.listing = job.listed ? Level::Listing::Ahead : Level::Listing::AheadFailed;
    sub.items = std::move(job.items);
    if (job.copyListed) {
        sub.copyItems = std::move(job.copyItems);
        sub.copyListed = true;
        sub.copyId = job.copyId;
    }
    return true;
}

BackupEngine::FileAhead* BackupEngine::FileJob(Level& level, std::size_t index) {
    auto& files = level.ahead.files;
    return !files.empty() && files.front().first == index ? &files.front().second : nullptr;
}

// Ends the jobs of the entry at index, taken or not.
void BackupEngine::ReleaseAhead(Level& level, std::size_t index) {
    LevelAhead& ahead = level.ahead;
    if (!ahead.folders.empty() && ahead.folders.front().first == index) {
        m_ahead->Withdraw(ahead.folders.front().second);
        ahead.folders.pop_front();
        --m_aheadFolders;
    }
    if (!ahead.files.empty() && ahead.files.front().first == index) {
        m_ahead->Withdraw(ahead.files.front().second);
        m_aheadBytes -= ahead.files.front().second.size;
        ahead.files.pop_front();
        --m_aheadFiles;
    }
}

void BackupEngine::WithdrawAll(LevelAhead& ahead) {
    if (!m_ahead) {
        return; // the thread is gone, and with it every claim on the jobs
    }
    for (auto& [index, job] : ahead.folders) {
        m_ahead->Withdraw(job);
        --m_aheadFolders;
    }
    for (auto& [index, job] : ahead.files) {
        m_ahead->Withdraw(job);
        m_aheadBytes -= job.size;
        --m_aheadFiles;
    }
    ahead.folders.clear();
    ahead.files.clear();
}

void BackupEngine::TakeFile(FileAhead& job) {
    m_ahead->Take(job, [this] { YieldPoint(); });
}

// The one round of a file read ahead: what was read is written, as one block, and counted
// as the block copy counts it; a read that failed is said as the copy would say it.
bool BackupEngine::WriteAhead(FileCopy& c, const FileAhead& job) {
    if (job.readError) {
        LogError("Error During Read", c.s.path, job.readError);
        return false;
    }
    while (c.pos < job.got) {
        c.out.LastErrorCode = 0;
        const long long n =
            m_fa->Write(c.out, job.data.get() + c.pos, static_cast<std::size_t>(job.got - c.pos));
        if (n <= 0) {
            LogCopyError(c);
            return false;
        }
        c.pos += n;
    }
    clsProgress& p = *m_progress;
    p.CurrentDone += c.pos;
    p.BytesDone += c.pos;
    if (job.got < job.size) {
        c.ended = true; // the file shrank: the round ended at its end, without a yield
        return true;
    }
    if (job.size > 0) {
        YieldPoint();
    }
    return true;
}

bool BackupEngine::FindListed(const std::vector<clsFSItem>& items, const std::string& name,
                              FileInfo& out) {
    const auto it =
        std::lower_bound(items.begin(), items.end(), name,
                         [](const clsFSItem& item, const std::string& n) { return item.Path < n; });
    if (it == items.end() || it->Path != name) {
        out = FileInfo{};
        return true;
    }
    if (it->Error) {
        return false; // examined on its own, so that its own failure is said
    }
    out = it->Info;
    return true;
}

// The incremental rule for files: same size, same modification time to the second.
bool BackupEngine::UpToDate(const FileInfo& source, const FileInfo& copy) {
    return source.Kind == FileKind::File && copy.Kind == FileKind::File &&
           source.Size == copy.Size && source.MTime.tv_sec == copy.MTime.tv_sec;
}

} // namespace tessaron
