#pragma once
// EarlyFlush: a thread that starts putting the copies on the medium while the run is still
// copying, so that the flush the run ends with (before it may say "Backup Complete") has
// little left to wait for. Its own flushes only start the work early: their results are
// not used, the run's own final flush decides and reports.

#include "platform/IFileAccess.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace tessaron {

class EarlyFlush {
public:
    // Flushes the file system of folder, which the object takes over; the thread reaches
    // it only through fa.
    EarlyFlush(IFileAccess& fa, std::unique_ptr<clsFolder> folder);
    // Waits for a flush under way.
    ~EarlyFlush();
    EarlyFlush(const EarlyFlush&) = delete;
    EarlyFlush& operator=(const EarlyFlush&) = delete;

    // Asks for a flush: at once when none is under way, else right after it.
    void Poke();

private:
    void Loop();

    IFileAccess& m_fa;
    std::unique_ptr<clsFolder> m_folder;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_wanted = false;
    bool m_stop = false;
    std::thread m_thread;
};

} // namespace tessaron
