#pragma once
// clsSetup: one backup set (target, type, switches, mail recipient, selections) and the
// text of a backup set file (*.set) that stores it.
//
// The file is ten "Key = value" lines ended by CR LF (LF and CR are read too); a line starting with
// a tab or a space continues the line before (the Selections value uses that for one entry per
// line). LogPath, Quiet and BlockSize come from the command line and are never stored.

#include "selection/clsSelections.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessaron {

// The two kinds of backup a set can ask for.
enum class BackupKind { Full, Incremental };

// The BackupType text of a kind: "FULL" or "INCREMENTAL".
const char* BackupTypeName(BackupKind kind);
// The kind a BackupType text names, compared exactly (letter case counts); nullopt for
// any other text ("", "incremental"), which a run takes as FULL.
std::optional<BackupKind> BackupKindOf(std::string_view type);

class clsSetup {
public:
    // Sel compares paths in the given style.
    explicit clsSetup(PathStyle style = NativePathStyle()) : Sel(style) {}

    std::string Target;     // output directory (drive path, UNC path or absolute path)
    std::string BackupType; // BackupTypeName of a kind, or any text; stored and read unchanged
    bool CleanTarget = false;
    bool SaveLog = false;
    bool StopOnError = false;
    clsSelections Sel; // created with the record and never replaced
    bool Verify = false;
    bool EjectMedia = false;
    std::string LogPath;   // command line only
    bool Quiet = false;    // command line only
    int32_t BlockSize = 0; // command line only
    bool Email = false;
    std::string EmailTo;

    // Reason of the last failed Parse ("Type mismatch"); empty after a Parse that succeeded.
    // The loader shows it after "Unable to load setup file - " and the file name.
    std::string LastError;

    // Empties Target, BackupType and Sel and switches SaveLog, StopOnError, Verify and
    // EjectMedia off. CleanTarget, Email, EmailTo, LogPath, Quiet and BlockSize are left
    // as they are on purpose: they carry over from the set loaded before.
    void Clear();

    // The file text: "Target = "quoted"", "BackupType = ", "CleanTarget = ", "SaveLog = ",
    // "StopOnError = ", "Verify = ", "EjectMedia = ", "EMail = ", "EMailTo = " lines, each
    // ended by CR LF, then "Selections = " followed by the selections text (which brings
    // its own CR LF after every entry; none when the set is empty). Booleans are written
    // "True" or "False".
    std::string Format() const;

    // Reads a file text into the fields without clearing them first (callers Clear).
    // Line breaks are CR LF, LF or CR (a UTF-8 byte order mark at the start is skipped);
    // keys are matched in any letter case; only spaces are
    // trimmed around keys and values; unknown keys and lines without "=" are ignored; a
    // later key wins, except that every Selections line appends entries.
    // Booleans are "True"/"False" in any case or a decimal number (optional sign, digits
    // with an optional fraction, blanks around it allowed): zero is false, any other
    // number true. Any other boolean value stops the parse at that line, leaving the
    // fields read before it set: Parse then returns false with LastError "Type mismatch".
    bool Parse(std::string_view Text);

private:
    bool ApplyLine(std::string_view line);
};

} // namespace tessaron
