// The copy phase's window of files in flight, reported in walk order on the run's thread.
#include "engine/CopyQueue.h"

#include "engine/Copier.h"
#include "engine/Phases.h"

#include <algorithm>
#include <utility>

namespace tessaron {

namespace {

// Files up to one block, and at most this size, go to the writers: a file the run's thread
// would copy in one round, so that the progress a view sees is the same. A larger file is
// streamed on the run's thread in rounds with progress between them: the disk, not file
// creation, is then the limit, and several large files written at once would only
// compete for it.
constexpr long long kLargeFile = 1 << 20;
// The window: files and bytes of read-ahead content in flight at most.
constexpr std::size_t kMaxFiles = 64;
constexpr long long kMaxBytes = 16 << 20;

} // namespace

CopyQueue::CopyQueue(RunState& run, Copier& copier) : m_run(run), m_copier(copier) {}

CopyQueue::~CopyQueue() {
    Stop();
}

void CopyQueue::Start(int writers) {
    m_failed = m_stopped = false;
    if (writers > 1) {
        m_smallUpTo = std::min<long long>(m_run.blockSize, kLargeFile);
        m_pool =
            std::make_unique<WriterPool>(*m_run.fa, writers, static_cast<std::size_t>(m_smallUpTo));
    }
}

bool CopyQueue::Stop() {
    const bool ok = Settle();
    m_pool.reset();
    return ok;
}

bool CopyQueue::Takes(const Source& s, const Dest& d, FileInfo& old) const {
    const FileContent* c = s.content;
    const clsFolder& folder = d.folder.folder;
    return m_pool && !m_stopped && s.folder != nullptr && s.info.Kind == FileKind::File &&
           !s.info.Sparse && s.info.Size <= m_smallUpTo &&
           (c == nullptr || (!c->openError && !c->readError)) && folder.IsOpen() &&
           folder.CheckedFirstFile() && LookUp(d, old) &&
           !(m_window.empty() && UpToDateCopy(s, old));
}

// A file found up to date while nothing is in flight is said at once by the run's thread,
// as without writers: an INCREMENTAL run with nothing changed pays nothing for them.
bool CopyQueue::UpToDateCopy(const Source& s, const FileInfo& old) const {
    return m_run.Incremental() && old.Exists && UpToDate(s.info, old);
}

// What the copy's name holds: nothing in a folder this run made; in an INCREMENTAL run,
// what the listing of the copy's folder found (a copy not listed is looked at on the run's
// thread, so that its own failure is said). A FULL run does not look: a writer finds a
// name taken when it creates the copy.
bool CopyQueue::LookUp(const Dest& d, FileInfo& old) const {
    old = FileInfo{};
    if (!m_run.Incremental() || d.folder.fresh) {
        return true;
    }
    return d.folder.listed != nullptr && FindListed(*d.folder.listed, d.name, old);
}

bool CopyQueue::Add(const Source& s, const Dest& d, const FileInfo& old) {
    ReportDone(Wait::None);
    const long long bytes = s.content != nullptr ? s.content->got : 0;
    while (!m_stopped && !m_window.empty() &&
           (m_window.size() >= kMaxFiles || m_bytes + bytes > kMaxBytes)) {
        ReportDone(Wait::Oldest);
    }
    if (m_stopped) {
        return !TakeFailed();
    }
    m_window.push_back(MakeJob(s, d, old));
    WriteJob& job = *m_window.back();
    m_bytes += static_cast<long long>(job.content.size());
    if (job.upToDate) {
        job.ended = true;
    } else {
        m_pool->Submit(job);
    }
    return !TakeFailed();
}

std::unique_ptr<WriteJob> CopyQueue::MakeJob(const Source& s, const Dest& d, const FileInfo& old) {
    auto job = std::make_unique<WriteJob>();
    job->source = s.folder;
    job->dest = &d.folder;
    job->name = d.name;
    job->path = s.path;
    job->copyPath = d.path;
    job->info = s.info;
    job->old = old;
    job->oldKnown = m_run.Incremental() || d.folder.fresh;
    job->upToDate = UpToDateCopy(s, old);
    if (s.content != nullptr && !job->upToDate) {
        job->readAhead = true;
        job->content.assign(s.content->data, s.content->data + s.content->got);
    }
    return job;
}

bool CopyQueue::Settle() {
    ReportDone(Wait::All);
    return !TakeFailed();
}

// Reports the oldest files of the window in order: those that have ended (waiting for the
// first, or for all, as asked). A stop discards the rest.
void CopyQueue::ReportDone(Wait wait) {
    while (!m_window.empty() && !m_stopped) {
        WriteJob& job = *m_window.front();
        if (!job.ended) {
            if (wait == Wait::None) {
                break;
            }
            m_pool->Wait(job);
        }
        if (m_run.cancelled) {
            m_stopped = true; // the file before was the last one the run reports
            break;
        }
        Report(job);
        m_bytes -= static_cast<long long>(job.content.size());
        m_window.pop_front();
        if (wait == Wait::Oldest) {
            wait = Wait::None;
        }
    }
    if (m_stopped) {
        Discard();
    }
}

// One file's lines, counters and progress, as the run's thread would have had them had
// it copied the file itself; then the turn the walk gives the view after every entry.
void CopyQueue::Report(WriteJob& job) {
    m_run.StartFile(job.path);
    bool ok = true;
    if (job.upToDate) {
        m_copier.SkipFile(job.path, job.info.Size);
    } else {
        ok = ReportCopy(job);
    }
    m_run.filesFailed += ok ? 0 : 1;
    CountProcessed(m_run, ok, "Unable to Copy File - ", job.path);
    if (!ok) {
        m_failed = true;
        if (m_run.StopOnError()) {
            m_stopped = true;
            return;
        }
    }
    m_run.Yield();
    m_stopped = m_stopped || m_run.cancelled;
}

bool CopyQueue::ReportCopy(WriteJob& job) {
    const WriteFailure& f = job.failure;
    if (f.what != nullptr && !f.announced) {
        m_run.log.LogError(f.what, f.path, f.error);
        return false;
    }
    clsProgress& p = m_run.progress;
    p.CurrentSize = job.info.Size;
    m_run.log.AddLogLine(
        "Copying " + job.path + " (" + std::to_string(job.info.Size) + " Bytes)...", false);
    bool ok = f.what == nullptr;
    if (!ok) {
        m_run.log.LogError(f.what, f.path, f.error);
    } else if (job.written != job.name) {
        ok = PutInPlace(job);
    }
    if (!ok) {
        if (!job.written.empty()) {
            m_run.fa->RemoveAt(job.dest->folder, job.written);
        }
        p.BytesSkipped += p.CurrentSize;
        return false;
    }
    p.CurrentDone += job.copied;
    p.BytesDone += job.copied;
    m_run.log.AppendLogLine("Done", false);
    return true;
}

// A copy written under a new name replaces what its name holds, looked at now when the
// writer found the name taken.
bool CopyQueue::PutInPlace(WriteJob& job) {
    clsFolder& folder = job.dest->folder;
    if (!job.oldKnown && !m_run.fa->GetInfoAt(folder, job.name, job.old)) {
        m_run.log.LogError("Unable to create", job.copyPath, folder.Error());
        return false;
    }
    return m_copier.PutInPlace(Dest{*job.dest, job.name, job.copyPath}, job.written, job.old);
}

// The files after a stop: none is reported, and what writers made for them is removed
// (each one this run's own creation).
void CopyQueue::Discard() {
    if (m_pool) {
        m_pool->Abandon();
    }
    for (const std::unique_ptr<WriteJob>& job : m_window) {
        if (!job->upToDate) {
            m_pool->Wait(*job);
        }
        if (!job->written.empty()) {
            m_run.fa->RemoveAt(job->dest->folder, job->written);
        }
    }
    m_window.clear();
    m_bytes = 0;
}

bool CopyQueue::TakeFailed() {
    return std::exchange(m_failed, false);
}

} // namespace tessaron
