#include "setfile/SetupLoad.h"

#include "platform/SmallFile.h"
#include "setfile/clsSetup.h"

namespace tessaron {

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
    ApplyOptionRules(loaded);
    setup = std::move(loaded);
    return true;
}

} // namespace tessaron
