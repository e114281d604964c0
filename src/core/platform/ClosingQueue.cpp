// ClosingQueue: a bounded queue of written files and the threads that flush and close them.
#include "platform/ClosingQueue.h"

#include <algorithm>

namespace tessaron {

ClosingQueue::ClosingQueue(Flush flush, std::size_t threads, std::size_t bound)
    : m_flush(std::move(flush)), m_bound(std::max<std::size_t>(bound, 1)) {
    for (std::size_t i = 0; i < std::max<std::size_t>(threads, 1); ++i) {
        m_threads.emplace_back([this] { Loop(); });
    }
}

ClosingQueue::~ClosingQueue() {
    {
        const std::lock_guard<std::mutex> hold(m_mutex);
        m_stop = true;
    }
    m_changed.notify_all();
    for (std::thread& t : m_threads) {
        t.join();
    }
}

void ClosingQueue::Push(clsBinaryFile& file, std::string path) {
    Item item{std::make_unique<clsBinaryFile>(), std::move(path), 0};
    item.file->TakeOver(file);
    std::unique_lock<std::mutex> hold(m_mutex);
    m_changed.wait(hold, [this] { return m_waiting.size() < m_bound; });
    item.order = m_next++;
    m_waiting.push_back(std::move(item));
    hold.unlock();
    m_changed.notify_all();
}

bool ClosingQueue::Drain(std::vector<ClosedCopyFailure>& failed) {
    std::unique_lock<std::mutex> hold(m_mutex);
    m_changed.wait(hold, [this] { return m_waiting.empty() && m_busy == 0; });
    std::sort(m_failed.begin(), m_failed.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    for (auto& f : m_failed) {
        failed.push_back(std::move(f.second));
    }
    const bool none = m_failed.empty();
    m_failed.clear();
    return none;
}

// Files still waiting when the queue ends are finished too: none is left open.
void ClosingQueue::Loop() {
    std::unique_lock<std::mutex> hold(m_mutex);
    for (;;) {
        m_changed.wait(hold, [this] { return m_stop || !m_waiting.empty(); });
        if (m_waiting.empty()) {
            return;
        }
        Item item = std::move(m_waiting.front());
        m_waiting.pop_front();
        ++m_busy;
        hold.unlock();
        m_changed.notify_all(); // room for Push
        const bool flushed = m_flush(*item.file);
        const int flushCode = item.file->LastErrorCode;
        const bool closed = item.file->CloseFile();
        const int code = flushed ? item.file->LastErrorCode : flushCode;
        hold.lock();
        if (!flushed || !closed) {
            m_failed.push_back({item.order, {item.path, SysError::FromCode(code)}});
        }
        --m_busy;
        m_changed.notify_all(); // Drain may be waiting
    }
}

} // namespace tessaron
