// The parts of clsFileSystem that do not depend on the operating system.
#include "platform/clsFileSystem.h"

#include "platform/Trim.h"
#include "platform/clsFolder.h"
#include "platform/clsPath.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <random>
#include <thread>

namespace tessaron {

namespace {

bool IsSeparator(char c) {
    return c == '/' || (NativePathStyle() == PathStyle::Windows && c == '\\');
}

} // namespace

std::string clsFileSystem::WithoutTrailingSeparator(const std::string& path) {
    const bool root = path.size() == 1 || (NativePathStyle() == PathStyle::Windows &&
                                           path.size() == 3 && path[1] == ':');
    if (!path.empty() && IsSeparator(path.back()) && !root) {
        return path.substr(0, path.size() - 1);
    }
    return path;
}

bool clsFileSystem::EmptyOpenFolder(clsFolder& folder, const char* member) {
    RemovalReport report;
    report.left = [](const std::string&, const SysError&) { return false; };
    report.yield = [this] { Yield(); };
    return folder.Empty(report) || Fail(member, folder.LastErrorCode);
}

bool clsFileSystem::WaitUntilGone(const std::string& path) {
    for (int check = 0; check < 10; ++check) {
        if (!Exists(path)) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return false;
}

std::string clsFileSystem::GetTempFile(const std::string& TempPath, const std::string& Prefix,
                                       const std::string& FileType) {
    const char sep = PathSeparator(NativePathStyle());
    std::string folder = TempPath.empty() ? GetTempDir() : TrimSpaces(TempPath);
    if (folder.empty() || folder.back() != sep) {
        folder += sep;
    }
    std::string prefix = TrimSpaces(Prefix.substr(0, 3));
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
