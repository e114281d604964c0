// The parts of clsFileSystem that do not depend on the operating system.
#include "platform/clsFileSystem.h"

#include "platform/clsPath.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <random>

namespace tessaron {

namespace {

std::string Trim(const std::string& text) {
    std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) {
        return {};
    }
    std::size_t last = text.find_last_not_of(" \t");
    return text.substr(first, last - first + 1);
}

} // namespace

std::string clsFileSystem::GetTempFile(const std::string& TempPath, const std::string& Prefix,
                                       const std::string& FileType) {
    const char sep = PathSeparator(NativePathStyle());
    std::string folder = TempPath.empty() ? GetTempDir() : Trim(TempPath);
    if (folder.empty() || folder.back() != sep) {
        folder += sep;
    }
    std::string prefix = Trim(Prefix.substr(0, 3));
    std::string extension = FileType.empty() ? ".tmp" : "." + FileType;

    std::mt19937 random(static_cast<unsigned>(
        std::chrono::steady_clock::now().time_since_epoch().count() ^ std::random_device{}()));
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    // The candidates are 900001 names; give up rather than loop for ever in a folder that
    // somehow answers "exists" for every name.
    for (int attempt = 0; attempt < 1000000; ++attempt) {
        long n = std::lround(unit(random) * 900000.0) + 100000;
        char hex[16];
        std::snprintf(hex, sizeof hex, "%lX", n);
        std::string candidate = folder + prefix + hex + extension;
        if (!Exists(candidate)) {
            return candidate;
        }
    }
    return {};
}

} // namespace tessaron
