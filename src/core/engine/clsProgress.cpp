#include "engine/clsProgress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tessaron {

void clsProgress::Start() {
    m_start = std::chrono::steady_clock::now();
}

void clsProgress::UpdateElapsedTime() {
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                  std::chrono::steady_clock::now() - m_start)
                  .count();
    ElapsedTime = static_cast<std::int32_t>(std::clamp<long long>(ms, 0, INT32_MAX));
}

std::string clsProgress::FormatTime(std::int64_t ms) {
    ms = std::max<std::int64_t>(ms, 0);
    const std::int64_t hours = ms / 3600000;
    ms -= hours * 3600000;
    const std::int64_t minutes = ms / 60000;
    ms -= minutes * 60000;
    // Every whole number of milliseconds over 1000 is exact in a double, halves included,
    // so nearbyint under the default rounding mode rounds x.5 to even as intended.
    const auto seconds = static_cast<long long>(std::nearbyint(static_cast<double>(ms) / 1000.0));
    char buf[48];
    std::snprintf(buf, sizeof buf, "%lld:%02lld:%02lld", static_cast<long long>(hours),
                  static_cast<long long>(minutes), seconds);
    return buf;
}

int clsProgress::BarValue(std::int64_t done, std::int64_t total) {
    if (total <= 0) {
        return -1;
    }
    const double ratio = static_cast<double>(done) / static_cast<double>(total);
    const double fourDecimals = std::nearbyint(ratio * 10000.0) / 10000.0;
    const double value = std::nearbyint(fourDecimals * 100.0);
    return static_cast<int>(std::clamp(value, 0.0, 100.0));
}

} // namespace tessaron
