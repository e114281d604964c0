#pragma once
// RunState: what the pieces of one run share: the set, the way to the file system, the
// counters, the log, the target and the run's own yield. Kept on the run's thread only,
// but for the cancel flag, which a Cancel button or a signal sets.

#include "engine/IBackupView.h"
#include "engine/RunLog.h"
#include "engine/WalkParts.h"
#include "engine/clsProgress.h"
#include "platform/IFileAccess.h"
#include "platform/IPlaces.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tessaron {

class clsSetup;

struct RunState {
    explicit RunState(IBackupView& v) : view(v), log(v) {}

    IBackupView& view;
    IFileAccess* fa = nullptr;
    IPlaces* places = nullptr;
    clsSetup* setup = nullptr;
    clsProgress progress;
    std::atomic<bool> cancelled{false};
    std::int32_t blockSize = 128000;
    std::vector<unsigned char> bufA, bufB; // one block each, for copy and verify
    RunLog log;

    // The target's folder (open from the check or the copy phase on) and the path it was
    // opened for; its identity and path as written, left out of every walk.
    std::unique_ptr<CopyFolder> target;
    std::string targetArg;
    FileIdentity outputId;
    std::string outputPath;
    bool clearFailed = false; // the clearing left something it should have removed
    // Files of the copy phase that failed (with a line each).
    std::int32_t filesFailed = 0;

    // The progress display refreshes at most every half second while the timer is on;
    // tick, when set, is called at every yield (the copy phase's early flush).
    bool timerOn = false;
    std::chrono::steady_clock::time_point lastRefresh;
    std::function<void(std::chrono::steady_clock::time_point)> tick;

    bool Incremental() const;
    bool StopOnError() const;
    // The view's turn between two steps of the work: a due refresh, the tick, the yield.
    void Yield();
    // Measures the clock and the rate into the counters and hands them to the view.
    void UpdateProgress();
    // The counters and the view learn the file now processed.
    void StartFile(const std::string& path);
    // An entry a removal left in place: a mount point ("left as it is"), or one that could
    // not be removed (what + path + the reason).
    void LogLeftInPlace(const std::string& what, const std::string& path, const SysError& why);
    // Makes the block buffers for the run's block size.
    void EnsureBuffers();
};

// The alignment of copy rounds' ends for a block size (at most the block size).
long long RoundUnit(long long block);
// The end of the round that copies (or verifies) the next block after done, in a file of
// size bytes.
long long RoundEnd(long long done, long long block, long long size);

} // namespace tessaron
