#pragma once
// Writers: threads that write the copies of small files, so that creating files (most of
// a small-file backup's time, nearly all of it in the kernel) runs on every core. A writer
// only writes: it never logs, counts, decides or removes anything. The run's thread hands
// it a WriteJob and reports the job's outcome itself, in walk order (see CopyQueue).
//
// A writer touches only its job's own file objects; the folders it creates in are shared
// with the run's thread but only read (their handle, and what the first file made there
// taught them), which is why a folder takes writers only after its first copy.

#include "engine/WalkParts.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

namespace tessaron {

// Why a written copy failed: the log line's words, its path and the reason. announced:
// the failure came after the "Copying" line (the source could be opened).
struct WriteFailure {
    const char* what = nullptr; // null: no failure
    std::string path;
    SysError error;
    bool announced = true;
};

// One small file to copy. The run's thread fills the first part and hands the job over;
// the writer fills the second; the run's thread reads it again once the job has ended.
struct WriteJob {
    clsFolder* source = nullptr; // the source's folder (read from there when not read ahead)
    CopyFolder* dest = nullptr;  // the copy's folder
    std::string name;            // the name of both
    std::string path;            // the source's path, for log lines
    std::string copyPath;        // the copy's path, for log lines
    FileInfo info;               // the source as the walk found it
    FileInfo old;                // what the copy's name holds (Exists false: nothing known)
    bool oldKnown = false;       // old was looked up (else a writer found the name taken)
    bool upToDate = false;       // an INCREMENTAL skip: nothing to write
    bool readAhead = false;      // content holds the file (as far as it was read)
    std::vector<unsigned char> content;

    std::string written; // the name the copy was created under; empty: nothing created
    long long copied = 0;
    WriteFailure failure;
    bool abandoned = false;         // ended without being started (the run stopped)
    std::atomic<bool> ended{false}; // set by the pool under its lock, once the rest is
};

// New names tried for a replacement before giving up (each is random: one is enough
// unless something else uses the same scheme).
constexpr int kTempNameAttempts = 16;

// The name a replacement copy is written under before it is put in place:
// ".tessaron-" + 16 hex digits of random + ".tmp".
std::string TempCopyName(std::uint64_t random);

// Writes job's copy through fa: created exclusively (under a new name when its name is
// taken), content, metadata, closed. buffer: the writer's block for a file not read ahead.
void WriteCopy(IFileAccess& fa, WriteJob& job, std::vector<unsigned char>& buffer,
               std::mt19937_64& random);

class WriterPool {
public:
    // Starts threads writers through fa, each with a block of blockSize bytes.
    WriterPool(IFileAccess& fa, int threads, std::size_t blockSize);
    ~WriterPool();
    WriterPool(const WriterPool&) = delete;
    WriterPool& operator=(const WriterPool&) = delete;

    // Queues job, which must stay where it is until it has ended.
    void Submit(WriteJob& job);
    // Waits until job has ended.
    void Wait(WriteJob& job);
    // Jobs not started yet end at once, abandoned; jobs started run to their end.
    void Abandon();

private:
    void Work(unsigned seed);

    IFileAccess& m_fa;
    std::size_t m_blockSize;
    std::mutex m_lock;
    std::condition_variable m_work;
    std::condition_variable m_ended;
    std::deque<WriteJob*> m_queue;
    bool m_stop = false;
    int m_idle = 0;    // writers waiting for work
    int m_waiting = 0; // the run's thread waiting for a job's end
    std::vector<std::thread> m_threads;
};

} // namespace tessaron
