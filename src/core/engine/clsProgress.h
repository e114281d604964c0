#pragma once
// clsProgress: the counters and the clock of one backup run. The engine reads and writes
// the fields directly; a new record is made for every run.

#include <chrono>
#include <cstdint>
#include <string>

namespace tessaron {

class clsProgress {
public:
    std::string CurrentFile;        // path of the file being copied or verified
    std::int64_t CurrentSize = 0;   // its size in bytes (0 until known)
    std::int64_t CurrentDone = 0;   // bytes of it processed so far
    std::int32_t TotalFiles = 0;    // files counted in the size phase
    std::int64_t TotalBytes = 0;    // bytes counted in the size phase
    std::int32_t FilesDone = 0;     // files copied (or skipped as up to date) or verified
    std::int64_t BytesDone = 0;     // bytes copied, skipped as up to date, or verified
    std::int64_t BytesSkipped = 0;  // sizes of files whose copy or verify failed
    double BytesPerSecond = 0;      // current rate, rounded to four decimals
    std::int32_t ElapsedTime = 0;   // milliseconds since Start
    std::int32_t RemainingTime = 0; // estimated milliseconds left

    clsProgress() { Start(); }

    // Takes the current moment as the start of the clock.
    void Start();
    // ElapsedTime = milliseconds since Start. The clock is monotonic, so a change of the
    // wall clock (daylight saving, a time sync) during a run does not distort the rate.
    void UpdateElapsedTime();

    // h:mm:ss of ElapsedTime / RemainingTime (see FormatTime).
    std::string FormatElapsedTime() const { return FormatTime(ElapsedTime); }
    std::string FormatRemainingTime() const { return FormatTime(RemainingTime); }

    // h + ":" + mm + ":" + ss: whole hours (not padded, may pass 23), whole minutes of the
    // rest, and the remaining seconds rounded half to even, so that 59.5 s or more of a
    // minute reads "60" (119600 gives 0:01:60). Negative values format as 0.
    static std::string FormatTime(std::int64_t ms);

    // A ratio done / total as a progress bar value: rounded to four decimals, times 100,
    // rounded half to even and kept between 0 and 100. -1 when total is not above 0 (the
    // bar is then left as it is).
    static int BarValue(std::int64_t done, std::int64_t total);

private:
    std::chrono::steady_clock::time_point m_start;
};

} // namespace tessaron
