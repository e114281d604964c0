// The writer threads and the one thing they do: write a small file's copy.
#include "engine/Writers.h"

#include <chrono>

namespace tessaron {

namespace {

// Jobs queued before an idle writer is woken.
constexpr std::size_t kWakeBatch = 8;

bool Fail(WriteJob& job, const char* what, const std::string& path, const SysError& error) {
    job.failure = {what, path, error, true};
    return false;
}

// Creates the copy exclusively: at its name, or under a new one when the name is taken
// (the run's thread looks at what is there before it puts the copy in its place).
bool Create(IFileAccess& fa, WriteJob& job, clsBinaryFile& out, std::mt19937_64& random) {
    for (int attempt = 0; attempt < kTempNameAttempts; ++attempt) {
        const std::string name = job.old.Exists ? TempCopyName(random()) : job.name;
        if (fa.CreateFileAt(out, job.dest->folder, name, job.info)) {
            job.written = name;
            return true;
        }
        const SysError error = out.Error();
        if (!error.IsExists()) {
            return Fail(job, "Unable to create", job.copyPath, error);
        }
        job.old.Exists = true;
    }
    return Fail(job, "Unable to create", job.copyPath, out.Error());
}

// Which side failed: a code only writing can cause names the copy, else the source.
bool FailMove(WriteJob& job, const clsBinaryFile& in, const clsBinaryFile& out) {
    const SysError read = in.Error();
    const SysError write = out.Error();
    if (write && (!read || write.IsWriteSide())) {
        return Fail(job, "Error During Write", job.copyPath, write);
    }
    return Fail(job, "Error During Read", job.path, read);
}

// The content: what was read ahead, or the file up to the size it was examined with (one
// that shrank ends early).
bool Move(IFileAccess& fa, WriteJob& job, clsBinaryFile& in, clsBinaryFile& out,
          std::vector<unsigned char>& buffer) {
    long long& pos = job.copied;
    const long long end =
        job.readAhead ? static_cast<long long>(job.content.size()) : job.info.Size;
    while (pos < end) {
        in.LastErrorCode = 0;
        out.LastErrorCode = 0;
        const auto left = static_cast<std::size_t>(end - pos);
        const long long n = job.readAhead
                                ? fa.Write(out, job.content.data() + pos, left)
                                : fa.CopyBlock(in, out, end - pos, buffer.data(), buffer.size());
        if (n < 0 || (n == 0 && job.readAhead)) {
            return FailMove(job, in, out);
        }
        if (n == 0) {
            return true;
        }
        pos += n;
    }
    return true;
}

} // namespace

std::string TempCopyName(std::uint64_t random) {
    static const char kHex[] = "0123456789abcdef";
    std::string name = ".tessaron-";
    for (int i = 0; i < 16; ++i, random >>= 4) {
        name += kHex[random & 15];
    }
    return name + ".tmp";
}

void WriteCopy(IFileAccess& fa, WriteJob& job, std::vector<unsigned char>& buffer,
               std::mt19937_64& random) {
    clsBinaryFile in;
    clsBinaryFile out;
    if (!job.readAhead && !fa.OpenFileAt(in, *job.source, job.name)) {
        job.failure = {"Unable to open", job.path, in.Error(), false};
        return;
    }
    const bool ok = Create(fa, job, out, random) && Move(fa, job, in, out, buffer);
    if (ok && !fa.SetFileMeta(out, job.info)) {
        Fail(job, "Unable to set attributes", job.copyPath, out.Error());
    } else if (ok && !fa.Close(out)) {
        // A failed close can be the first report of a full medium or a lost connection.
        Fail(job, "Error During Write", job.copyPath, out.Error());
    }
    fa.Close(out);
    fa.Close(in);
}

WriterPool::WriterPool(IFileAccess& fa, int threads, std::size_t blockSize)
    : m_fa(fa), m_blockSize(blockSize) {
    const auto seed = static_cast<unsigned>(
        std::chrono::steady_clock::now().time_since_epoch().count() ^ std::random_device{}());
    for (int i = 0; i < threads; ++i) {
        m_threads.emplace_back([this, seed, i] { Work(seed + static_cast<unsigned>(i)); });
    }
}

WriterPool::~WriterPool() {
    {
        const std::lock_guard<std::mutex> hold(m_lock);
        m_stop = true;
    }
    m_work.notify_all();
    for (std::thread& t : m_threads) {
        t.join();
    }
}

// An idle writer is woken once a few jobs wait (or when the run's thread waits for one),
// and the run's thread only when it waits: on a small file a wake-up per job would cost
// as much as the copy.
void WriterPool::Submit(WriteJob& job) {
    bool wake = false;
    {
        const std::lock_guard<std::mutex> hold(m_lock);
        m_queue.push_back(&job);
        wake = m_idle > 0 && m_queue.size() >= kWakeBatch;
    }
    if (wake) {
        m_work.notify_one();
    }
}

void WriterPool::Wait(WriteJob& job) {
    std::unique_lock<std::mutex> hold(m_lock);
    if (!job.ended && m_idle > 0 && !m_queue.empty()) {
        m_work.notify_all();
    }
    ++m_waiting;
    m_ended.wait(hold, [&job] { return job.ended.load(); });
    --m_waiting;
}

void WriterPool::Abandon() {
    {
        const std::lock_guard<std::mutex> hold(m_lock);
        for (WriteJob* job : m_queue) {
            job->abandoned = true;
            job->ended = true;
        }
        m_queue.clear();
    }
    m_ended.notify_all();
}

void WriterPool::Work(unsigned seed) {
    std::mt19937_64 random(seed);
    std::vector<unsigned char> buffer(m_blockSize);
    std::unique_lock<std::mutex> hold(m_lock);
    for (;;) {
        ++m_idle;
        m_work.wait(hold, [this] { return m_stop || !m_queue.empty(); });
        --m_idle;
        if (m_queue.empty()) {
            return;
        }
        WriteJob& job = *m_queue.front();
        m_queue.pop_front();
        hold.unlock();
        WriteCopy(m_fa, job, buffer, random);
        hold.lock();
        job.ended = true;
        if (m_waiting > 0) {
            m_ended.notify_all();
        }
    }
}

} // namespace tessaron
