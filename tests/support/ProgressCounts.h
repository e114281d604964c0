#pragma once
// A run's counters written in one line for the tests of what the views show of them.

#include "engine/clsProgress.h"

#include <cstdint>
#include <string>
#include <tuple>

namespace tessaron::test {

// (files, bytes, files done, bytes done, bytes failed, done of the file, its size, ms, rate,
// ms left, the file)
struct Counters {
    std::int32_t totalFiles = 0;
    std::int64_t totalBytes = 0;
    std::int32_t filesDone = 0;
    std::int64_t bytesDone = 0, skipped = 0, currentDone = 0, currentSize = 0;
    std::int32_t elapsed = 0;
    double rate = 0;
    std::int32_t remaining = 0;
    std::string file{};

    clsProgress Progress() const {
        clsProgress p;
        std::tie(p.TotalFiles, p.TotalBytes, p.FilesDone, p.BytesDone, p.BytesSkipped,
                 p.CurrentDone, p.CurrentSize, p.ElapsedTime, p.BytesPerSecond, p.RemainingTime,
                 p.CurrentFile) =
            std::tie(totalFiles, totalBytes, filesDone, bytesDone, skipped, currentDone,
                     currentSize, elapsed, rate, remaining, file);
        return p;
    }
};

} // namespace tessaron::test
