// The run's shared state: its yield, its progress display and its block arithmetic.
#include "engine/RunState.h"

#include "setfile/clsSetup.h"

#include <algorithm>
#include <cmath>

namespace tessaron {

namespace {

constexpr auto kRefreshInterval = std::chrono::milliseconds(500);
constexpr long long kPageSize = 4096;
constexpr long long kCopyUnit = 64 * 1024;

} // namespace

bool RunState::Incremental() const {
    return setup != nullptr && BackupKindOf(setup->BackupType) == BackupKind::Incremental;
}

bool RunState::StopOnError() const {
    return setup != nullptr && setup->StopOnError;
}

void RunState::Yield() {
    const auto now = std::chrono::steady_clock::now();
    if (timerOn && now - lastRefresh >= kRefreshInterval) {
        UpdateProgress();
    }
    if (tick) {
        tick(now);
    }
    view.Yield();
}

// The remaining time is measured only while there is a rate.
void RunState::UpdateProgress() {
    lastRefresh = std::chrono::steady_clock::now();
    clsProgress& p = progress;
    p.UpdateElapsedTime();
    if (p.ElapsedTime > 0) {
        const double rate = static_cast<double>(p.BytesDone) / p.ElapsedTime * 1000.0;
        p.BytesPerSecond = std::nearbyint(rate * 10000.0) / 10000.0;
        const std::int64_t remaining = p.TotalBytes - (p.BytesDone + p.BytesSkipped);
        if (p.BytesPerSecond > 0) {
            const double ms = static_cast<double>(remaining) / p.BytesPerSecond * 1000.0;
            p.RemainingTime = static_cast<std::int32_t>(std::clamp(ms, 0.0, 2147483647.0));
        }
    }
    view.Progress(p);
}

void RunState::StartFile(const std::string& path) {
    progress.CurrentFile = path;
    progress.CurrentSize = 0;
    progress.CurrentDone = 0;
    view.FileStarted(path);
}

void RunState::LogLeftInPlace(const std::string& what, const std::string& path,
                              const SysError& why) {
    if (why.IsOtherMount()) {
        log.AddLogLine("Mount point left as it is - " + path);
    } else {
        log.LogError(what, path, why);
    }
}

void RunState::EnsureBuffers() {
    // A round that ends on an alignment boundary may carry up to one unit less one byte
    // from the block before (see RoundEnd).
    const auto size = static_cast<size_t>(blockSize + RoundUnit(blockSize));
    if (bufA.size() != size) {
        bufA.assign(size, 0);
        bufB.assign(size, 0);
    }
}

long long RoundUnit(long long block) {
    return block >= kCopyUnit ? kCopyUnit : kPageSize;
}

// Blocks end at multiples of the block size; each round ends at its block's end rounded
// down to a whole alignment unit, and the rest is carried into the next round, so the
// number of rounds, and so of yields, stays one per block. The unit is 64 KiB for blocks
// of that size or more, else a page: the kernel's copy works through a 64 KiB pipe, and
// rounds that are not whole multiples of it cost a third more system time than aligned
// ones. Blocks under a page are not rounded.
long long RoundEnd(long long done, long long block, long long size) {
    if (block < kPageSize) {
        return std::min(done + block, size);
    }
    const long long unit = RoundUnit(block);
    long long boundary = (done / block + 1) * block;
    if (boundary / unit * unit <= done) {
        boundary += block; // done is the rounded end of the block ending at boundary
    }
    return boundary >= size ? size : boundary / unit * unit;
}

} // namespace tessaron
