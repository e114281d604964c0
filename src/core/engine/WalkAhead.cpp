// The walk's read-ahead: which folders and files are posted to the second thread, and how
// the walk takes what it found.
#include "engine/WalkLevels.h"
#include "setfile/clsSetup.h"

#include <algorithm>

namespace tessaron {

namespace {

constexpr std::size_t kFoldersPerLevel = 4;
constexpr int kMaxFolders = 8;
constexpr int kMaxFiles = 256;
constexpr long long kMaxBytes = 8LL << 20;
constexpr long long kMaxFileSize = 1LL << 20;

} // namespace

void FolderAhead::Run(IFileAccess& fa) {
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

void FileAhead::Run(IFileAccess& fa) {
    clsBinaryFile file;
    if (!fa.OpenFileAt(file, folder, name)) {
        content.openError = file.Error();
        return;
    }
    FileContent& c = content;
    while (c.got < c.size) {
        const long long n =
            fa.Read(file, data.get() + c.got, static_cast<std::size_t>(c.size - c.got));
        if (n < 0) {
            c.readError = file.Error();
            break;
        }
        if (n == 0) {
            break;
        }
        c.got += n;
    }
    fa.Close(file); // only read: a failed close loses nothing
}

void WalkAhead::Start(bool on) {
    if (on && !m_thread) {
        m_thread = std::make_unique<ReadAhead>(*m_run.fa);
    }
}

void WalkAhead::Stop() {
    m_thread.reset();
    m_folders = m_files = 0;
    m_bytes = 0;
}

bool SelectedAt(Level& level, std::size_t index, std::string& path, const clsSelections& sel) {
    if (level.uniform) {
        return true;
    }
    std::vector<signed char>& known = level.selected;
    if (known.size() != level.items.size()) {
        known.assign(level.items.size(), -1);
    }
    if (known[index] < 0) {
        const std::size_t end = path.size();
        AppendName(path, level.items[index].Path);
        known[index] = sel.IsSelected(path) ? 1 : 0;
        path.resize(end);
    }
    return known[index] == 1;
}

void WalkAhead::Post(Level& level, std::size_t at, Work work, std::string& walkPath) {
    if (!m_thread || work == Work::None) {
        return;
    }
    PostFolders(level, work == Work::FoldersAndFiles && m_run.Incremental(), walkPath);
    if (work == Work::FoldersAndFiles) {
        PostFiles(level, at, walkPath);
    }
}

bool WalkAhead::LeftOut(const FileIdentity& id) const {
    return (m_run.outputId.Valid && id == m_run.outputId) ||
           (m_run.log.FolderId().Valid && id == m_run.log.FolderId());
}

// With listCopies (an INCREMENTAL copy), the folders of the sub-folders' copies are
// listed too, so that each copy is looked up in a listing instead of examined on its own.
void WalkAhead::PostFolders(Level& level, bool listCopies, std::string& walkPath) {
    LevelAhead& ahead = level.ahead;
    const CopyFolder& dst = *level.dst;
    const clsFolder* copyParent =
        listCopies && !dst.fresh && dst.folder.IsOpen() ? &dst.folder : nullptr;
    for (; ahead.nextFolder < level.items.size() && ahead.folders.size() < kFoldersPerLevel &&
           m_folders < kMaxFolders;
         ++ahead.nextFolder) {
        const std::size_t i = ahead.nextFolder;
        const clsFSItem& item = level.items[i];
        if (item.Error || item.Kind != FileKind::Directory || LeftOut(item.Info.Id) ||
            !SelectedAt(level, i, walkPath, m_run.setup->Sel)) {
            continue;
        }
        ahead.folders.emplace_back(std::piecewise_construct, std::forward_as_tuple(i),
                                   std::forward_as_tuple(*level.src, item.Path, copyParent));
        m_thread->Post(ahead.folders.back().second, false);
        ++m_folders;
    }
}

// The selected small files from entry at up to the next selected sub-folder, while the
// bounds allow; the first one that does not fit waits for room.
void WalkAhead::PostFiles(Level& level, std::size_t at, std::string& walkPath) {
    LevelAhead& ahead = level.ahead;
    ahead.nextFile = std::max(ahead.nextFile, at);
    for (; ahead.nextFile < level.items.size(); ++ahead.nextFile) {
        const std::size_t i = ahead.nextFile;
        const clsFSItem& item = level.items[i];
        if (!item.Error && item.Kind == FileKind::Directory &&
            SelectedAt(level, i, walkPath, m_run.setup->Sel)) {
            return;
        }
        if (!WantsContent(level, item) || !SelectedAt(level, i, walkPath, m_run.setup->Sel)) {
            continue;
        }
        const long long size = item.Info.Size;
        if (m_files >= kMaxFiles || m_bytes + size > kMaxBytes) {
            return;
        }
        ahead.files.emplace_back(std::piecewise_construct, std::forward_as_tuple(i),
                                 std::forward_as_tuple(*level.src, item.Path, size));
        m_thread->Post(ahead.files.back().second, true);
        ++m_files;
        m_bytes += size;
    }
}

// A regular file that is copied in one block, and (INCREMENTAL) whose copy is known to be
// out of date.
bool WalkAhead::WantsContent(const Level& level, const clsFSItem& item) const {
    const long long limit = std::min<long long>(m_run.blockSize, kMaxFileSize);
    if (item.Error || item.Kind != FileKind::File || item.Info.Sparse || item.Info.Size > limit ||
        !level.dst->folder.IsOpen()) {
        return false;
    }
    if (!m_run.Incremental() || level.dst->fresh) {
        return true;
    }
    FileInfo copy;
    return level.dst->listed != nullptr && FindListed(*level.dst->listed, item.Path, copy) &&
           !UpToDate(item.Info, copy);
}

// The sub-folder at index as its read-ahead opened and listed it. False when there is no
// job for it (the walk opens it itself).
bool WalkAhead::TakeFolder(Level& level, std::size_t index, Level& sub) {
    auto& folders = level.ahead.folders;
    if (folders.empty() || folders.front().first != index) {
        return false;
    }
    FolderAhead& job = folders.front().second;
    m_thread->Take(job, [this] { m_run.Yield(); });
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

const FileContent* WalkAhead::TakeFile(Level& level, std::size_t index) {
    auto& files = level.ahead.files;
    if (files.empty() || files.front().first != index) {
        return nullptr;
    }
    FileAhead& job = files.front().second;
    m_thread->Take(job, [this] { m_run.Yield(); });
    return &job.content;
}

// Ends the jobs of the entry at index, taken or not.
void WalkAhead::Release(Level& level, std::size_t index) {
    LevelAhead& ahead = level.ahead;
    if (!ahead.folders.empty() && ahead.folders.front().first == index) {
        m_thread->Withdraw(ahead.folders.front().second);
        ahead.folders.pop_front();
        --m_folders;
    }
    if (!ahead.files.empty() && ahead.files.front().first == index) {
        m_thread->Withdraw(ahead.files.front().second);
        m_bytes -= ahead.files.front().second.content.size;
        ahead.files.pop_front();
        --m_files;
    }
}

void WalkAhead::WithdrawAll(LevelAhead& ahead) {
    if (!m_thread) {
        return; // the thread is gone, and with it every claim on the jobs
    }
    for (auto& [index, job] : ahead.folders) {
        m_thread->Withdraw(job);
        --m_folders;
    }
    for (auto& [index, job] : ahead.files) {
        m_thread->Withdraw(job);
        m_bytes -= job.content.size;
        --m_files;
    }
    ahead.folders.clear();
    ahead.files.clear();
}

bool FindListed(const std::vector<clsFSItem>& items, const std::string& name, FileInfo& out) {
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

bool UpToDate(const FileInfo& source, const FileInfo& copy) {
    return source.Kind == FileKind::File && copy.Kind == FileKind::File &&
           source.Size == copy.Size && source.MTime.tv_sec == copy.MTime.tv_sec;
}

} // namespace tessaron
