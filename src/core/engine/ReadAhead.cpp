// The read-ahead thread and its two queues.
#include "engine/ReadAhead.h"

#include <algorithm>

namespace tessaron {

ReadAhead::ReadAhead(IFileAccess& fa) : m_fa(fa), m_thread([this] { Loop(); }) {}

ReadAhead::~ReadAhead() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
        for (Job* job : m_urgent) {
            job->m_state = Job::State::Idle;
        }
        for (Job* job : m_later) {
            job->m_state = Job::State::Idle;
        }
        m_urgent.clear();
        m_later.clear();
    }
    m_work.notify_all();
    m_thread.join();
}

// Wake-ups only for a thread that sleeps: one per job would cost as much as a small job.
void ReadAhead::Post(Job& job, bool urgent) {
    bool wake = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        job.m_state = Job::State::Pending;
        job.m_urgent = urgent;
        (urgent ? m_urgent : m_later).push_back(&job);
        wake = m_idle;
    }
    if (wake) {
        m_work.notify_one();
    }
}

void ReadAhead::Loop() {
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_idle = true;
        m_work.wait(lock, [this] { return m_stop || !m_urgent.empty() || !m_later.empty(); });
        m_idle = false;
        if (m_stop) {
            return;
        }
        std::deque<Job*>& queue = m_urgent.empty() ? m_later : m_urgent;
        Job* job = queue.front();
        queue.pop_front();
        RunHere(*job, lock);
    }
}

// Runs a job taken off its queue with the lock held on entry and on return.
void ReadAhead::RunHere(Job& job, std::unique_lock<std::mutex>& lock) {
    job.m_state = Job::State::Running;
    lock.unlock();
    job.Run(m_fa);
    lock.lock();
    job.m_state = Job::State::Done;
    if (m_waiters > 0) {
        m_done.notify_all();
    }
}

bool ReadAhead::Unqueue(Job& job) {
    std::deque<Job*>& queue = job.m_urgent ? m_urgent : m_later;
    const auto it = std::find(queue.begin(), queue.end(), &job);
    if (it == queue.end()) {
        return false;
    }
    queue.erase(it);
    return true;
}

void ReadAhead::Take(Job& job, const std::function<void()>& waiting) {
    std::unique_lock<std::mutex> lock(m_mutex);
    auto lastCall = std::chrono::steady_clock::now();
    while (job.m_state != Job::State::Done && job.m_state != Job::State::Idle) {
        if (job.m_state == Job::State::Pending && Unqueue(job)) {
            RunHere(job, lock);
            break;
        }
        // The thread is on it: meanwhile do the work furthest ahead, which the thread
        // would reach last.
        if (!m_later.empty()) {
            Job* other = m_later.back();
            m_later.pop_back();
            RunHere(*other, lock);
        } else {
            ++m_waiters;
            m_done.wait_for(lock, kWaitSlice);
            --m_waiters;
        }
        if (waiting && std::chrono::steady_clock::now() - lastCall >= kWaitSlice) {
            lock.unlock();
            waiting();
            lock.lock();
            lastCall = std::chrono::steady_clock::now();
        }
    }
    if (job.m_state == Job::State::Idle) {
        // Never posted (or dropped): the caller gets it done here.
        job.m_state = Job::State::Running;
        lock.unlock();
        job.Run(m_fa);
        lock.lock();
    }
    job.m_state = Job::State::Done;
}

void ReadAhead::Withdraw(Job& job) {
    std::unique_lock<std::mutex> lock(m_mutex);
    if (job.m_state == Job::State::Pending && Unqueue(job)) {
        job.m_state = Job::State::Idle;
        return;
    }
    ++m_waiters;
    m_done.wait(lock, [&] { return job.m_state != Job::State::Running; });
    --m_waiters;
}

} // namespace tessaron
