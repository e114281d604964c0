#pragma once
// CopyQueue: the copy phase's window of files handed to writers, reported in walk order.
// The run's thread walks, decides (the incremental rule, where the copy goes) and hands a
// small file to the writers; it reports each file (its lines, counters, progress events)
// only when every file before it has been reported, so a run with writers logs, counts and
// ends exactly as a run with one thread does.
//
// The window is bounded (kMaxFiles files and kMaxBytes of read-ahead content); when full,
// the run's thread waits for the oldest file. Anything the walk does besides handing over
// a file (a folder entered or finished, a line of its own, a file copied on the run's
// thread) comes after Settle, which reports every file in the window first.
//
// A stop leaves nothing of what came after: when a file fails under stop-on-error, or the
// run is cancelled, the files after it that writers had started are removed again (each
// was created by this run, under its own name where nothing was, or under a new name
// where a copy was, which is only put in place when its file is reported).

#include "engine/Writers.h"

#include <memory>

namespace tessaron {

class Copier;
struct RunState;

class CopyQueue {
public:
    CopyQueue(RunState& run, Copier& copier);
    ~CopyQueue();

    // Starts writers threads for the copy phase (none when fewer than 2: every file is then
    // copied on the run's thread, as before there were writers).
    void Start(int writers);
    // Reports what is left and ends the threads. False when a failure was reported.
    bool Stop();

    // Whether the writers take s: a regular file of at most one block (and 1 MiB) in a
    // walked folder, whose copy's folder has had its first copy made, and whose copy's
    // name is known (old: what it holds). False: the run's thread copies s itself, after
    // Settle.
    bool Takes(const Source& s, const Dest& d, FileInfo& old) const;
    // Hands s over (or, in an INCREMENTAL run, notes it up to date) after reporting the
    // files that have ended. False when a failure was reported since the last call.
    bool Add(const Source& s, const Dest& d, const FileInfo& old);
    // Reports every file in the window. False when a failure was reported since the last
    // call.
    bool Settle();
    // The run stopped at a reported failure (stop-on-error) or was cancelled while
    // reporting: nothing more is taken.
    bool Stopped() const { return m_stopped; }

private:
    enum class Wait { None, Oldest, All };

    bool LookUp(const Dest& d, FileInfo& old) const;
    bool UpToDateCopy(const Source& s, const FileInfo& old) const;
    std::unique_ptr<WriteJob> MakeJob(const Source& s, const Dest& d, const FileInfo& old);
    void ReportDone(Wait wait);
    void Report(WriteJob& job);
    bool ReportCopy(WriteJob& job);
    bool PutInPlace(WriteJob& job);
    void Discard();
    bool TakeFailed();

    RunState& m_run;
    Copier& m_copier;
    std::unique_ptr<WriterPool> m_pool;
    std::deque<std::unique_ptr<WriteJob>> m_window;
    long long m_smallUpTo = 0; // the largest file writers take
    long long m_bytes = 0;
    bool m_failed = false;
    bool m_stopped = false;
};

} // namespace tessaron
