#include "setfile/SetupLoad.h"

#include "platform/SmallFile.h"
#include "setfile/clsSetup.h"

#include <vector>

namespace tessaron {

namespace {

// The first path of the set that holds a NUL character, with it shown as "\x00"; "" when
// none does. The system reads such a path only up to the NUL: another place than the
// one named.
std::string PathWithNul(const clsSetup& setup) {
    std::vector<std::string> paths{setup.Target};
    for (const clsSelItem& item : setup.Sel) {
        paths.push_back(item.path());
        paths.insert(paths.end(), item.Except().begin(), item.Except().end());
    }
    for (std::string& path : paths) {
        if (path.find('\0') == std::string::npos) {
            continue;
        }
        for (std::size_t at; (at = path.find('\0')) != std::string::npos;) {
            path.replace(at, 1, "\\x00");
        }
        return path;
    }
    return {};
}

} // namespace

void ResetSetup(clsSetup& setup) {
    setup.Clear();
    setup.CleanTarget = false;
    setup.Email = false;
    setup.EmailTo.clear();
}

void ApplyOptionRules(clsSetup& setup) {
    if (BackupKindOf(setup.BackupType) == BackupKind::Incremental) {
        setup.CleanTarget = false;
    }
}

bool LoadSetupFile(const std::string& fileName, clsSetup& setup, std::string& reason) {
    std::string text;
    if (!ReadSmallFile(fileName, kMaxSetFileSize, text, reason)) {
        return false;
    }
    // Parsed into a fresh record first: a file that fails halfway leaves the loaded set
    // as it was instead of half replaced.
    clsSetup loaded(setup.Sel.Style());
    loaded.LogPath = setup.LogPath;
    loaded.Quiet = setup.Quiet;
    loaded.BlockSize = setup.BlockSize;
    if (!loaded.Parse(text)) {
        reason = loaded.LastError;
        return false;
    }
    if (const std::string bad = PathWithNul(loaded); !bad.empty()) {
        reason = "A path in the set holds a NUL character - " + bad;
        return false;
    }
    ApplyOptionRules(loaded);
    setup = std::move(loaded);
    return true;
}

} // namespace tessaron
