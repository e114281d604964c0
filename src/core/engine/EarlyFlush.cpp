// The early flush thread.
#include "engine/EarlyFlush.h"

namespace tessaron {

EarlyFlush::EarlyFlush(IFileAccess& fa, std::unique_ptr<clsFolder> folder)
    : m_fa(fa), m_folder(std::move(folder)), m_thread([this] { Loop(); }) {}

EarlyFlush::~EarlyFlush() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

void EarlyFlush::Poke() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_wanted = true;
    }
    m_wake.notify_one();
}

void EarlyFlush::Loop() {
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_stop || m_wanted; });
        if (m_stop) {
            return;
        }
        m_wanted = false;
        lock.unlock();
        m_fa.Sync(*m_folder); // a failure here is met again, and said, by the run's own flush
        lock.lock();
    }
}

} // namespace tessaron
