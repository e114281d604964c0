#pragma once
// Copier: one file or link to its copy, with the incremental rule. A copy that replaces an
// existing one is written under a new name created exclusively in the same folder
// (".tessaron-" + 16 hex digits + ".tmp") and renamed over the old copy only once it is
// complete: a failure removes only what this run created, and a failed or cancelled copy
// never destroys a good older one. A new destination is written in place; if that copy is
// cancelled, the partial file stays with the source's times (a later INCREMENTAL run
// copies it again: its size differs). Copies get the source's times to the nanosecond,
// its permission bits, and its owner and group when the run is root; a copy is never
// readable by others before it has its final permissions. Holes of sparse files stay holes.

#include "engine/RunState.h"

#include <random>

namespace tessaron {

class Copier {
public:
    explicit Copier(RunState& run);

    // Copies s to d, or in an INCREMENTAL run skips it when the copy is up to date (its
    // bytes count as done). False after a failure (logged).
    bool CopyFile(const Source& s, const Dest& d);
    // The line of a file found up to date; its bytes count as done.
    void SkipFile(const std::string& source, std::int64_t size);
    // Puts the complete copy written under the name written in place of old, the copy d
    // had. False after a failure (logged).
    bool PutInPlace(const Dest& d, const std::string& written, const FileInfo& old);

private:
    struct FileCopy;

    bool LookUpCopy(const Dest& d, FileInfo& dst);
    bool IsUpToDate(const Source& s, const Dest& d, const FileInfo& dst);
    template <class Make>
    bool CreateExclusive(const Dest& d, FileInfo& old, std::string& written, const Make& make);
    bool CopyLink(const Source& s, const Dest& d, const FileInfo& dst);
    bool CopyContent(const Source& s, const Dest& d, const FileInfo& dst);
    bool CopyRange(FileCopy& c, long long end);
    bool CopySparse(FileCopy& c);
    bool WriteContent(FileCopy& c, const FileContent& content);
    void LogCopyError(FileCopy& c);
    bool FinishCopy(FileCopy& c);
    void FailCopy(FileCopy& c);

    RunState& m_run;
    std::mt19937_64 m_random;
};

// Opens the source for reading: in its folder, or by its path (links followed).
bool OpenSource(IFileAccess& fa, const Source& s, clsBinaryFile& file);
// The text of the source link s into text; false after a failure (logged).
bool ReadSourceLink(RunState& run, const Source& s, std::string& text);

} // namespace tessaron
