#pragma once
// ReadAhead: a second thread that does a run's read-only work before the run needs it
// (listing the next folders, reading the next small files), so that the run's own thread
// spends its time creating and writing the copies.
//
// The run's thread posts jobs and later takes each of them; a job runs exactly once, on
// whichever thread gets to it first. Everything a user sees (log lines, counters, the
// view, every change on the target) stays on the run's thread, in the walk's order: a
// job only reads, and keeps what it found (or the error it met) for the run's thread to
// use as if it had made the calls itself.
//
// Jobs are owned by the caller and must stay where they are from Post until Take or
// Withdraw. Urgent jobs (the files of the folder being copied) run before the others.
// Not for use by more than one posting thread.

#include "platform/IFileAccess.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace tessaron {

class ReadAhead {
public:
    class Job {
    public:
        virtual ~Job() = default;
        // The read-only work, on either thread. Must not throw.
        virtual void Run(IFileAccess& fa) = 0;

    private:
        friend class ReadAhead;
        enum class State { Idle, Pending, Running, Done };
        State m_state = State::Idle;
        bool m_urgent = false;
    };

    // The thread starts at once and reaches the file system only through fa.
    explicit ReadAhead(IFileAccess& fa);
    // Drops the jobs not begun and waits for the one running.
    ~ReadAhead();
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    void Post(Job& job, bool urgent);
    // Returns once job has run. A job the thread has not begun runs here; while the thread
    // runs it, this thread runs the latest other job not begun, or waits, calling waiting
    // every kWaitSlice so that the caller's window stays alive.
    void Take(Job& job, const std::function<void()>& waiting);
    // Takes back a job that will not be taken: dropped when not begun, else waited for.
    void Withdraw(Job& job);

    static constexpr std::chrono::milliseconds kWaitSlice{50};

private:
    void Loop();
    void RunHere(Job& job, std::unique_lock<std::mutex>& lock);
    bool Unqueue(Job& job);

    IFileAccess& m_fa;
    std::mutex m_mutex;
    std::condition_variable m_work;
    std::condition_variable m_done;
    std::deque<Job*> m_urgent;
    std::deque<Job*> m_later;
    bool m_stop = false;
    bool m_idle = false; // the thread sleeps until a job comes
    int m_waiters = 0;   // threads waiting for a job to be done
    std::thread m_thread;
};

} // namespace tessaron
