#pragma once
// ClosingQueue: written copies that still have to reach their medium, put there and
// closed by helper threads, so that the thread that wrote them goes on with the next file
// instead of waiting for the device's cache once per file. The queue holds at most a
// bounded number of files: Push waits while it is full, so memory and open handles stay
// small however far the writer runs ahead.

#include "platform/SysError.h"
#include "platform/clsBinaryFile.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tessaron {

// A copy that could not be put on its medium (or closed): its path and why.
struct ClosedCopyFailure {
    std::string path;
    SysError error;
};

class ClosingQueue {
public:
    // Puts one file on its medium; false with the file's LastErrorCode set on failure.
    // Runs on a helper thread, several files at once.
    using Flush = std::function<bool(clsBinaryFile&)>;

    ClosingQueue(Flush flush, std::size_t threads, std::size_t bound);
    // Finishes every file handed over (their failures are then lost: call Drain first).
    ~ClosingQueue();
    ClosingQueue(const ClosingQueue&) = delete;
    ClosingQueue& operator=(const ClosingQueue&) = delete;

    // Takes over the open file (file is closed afterwards), named path in failures.
    void Push(clsBinaryFile& file, std::string path);
    // Waits until every file handed over is flushed and closed, and moves the failures
    // since the last Drain into failed, in the order the files were handed over.
    // True when there were none.
    bool Drain(std::vector<ClosedCopyFailure>& failed);

private:
    struct Item {
        std::unique_ptr<clsBinaryFile> file;
        std::string path;
        std::size_t order = 0;
    };
    void Loop();

    Flush m_flush;
    std::size_t m_bound;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Item> m_waiting;
    std::size_t m_busy = 0;
    std::size_t m_next = 0;
    std::vector<std::pair<std::size_t, ClosedCopyFailure>> m_failed;
    bool m_stop = false;
    std::vector<std::thread> m_threads;
};

} // namespace tessaron
