#pragma once
// CopyFolders: the folders of the copy: the target, the folders above a selection entry's
// copy, and one folder of the copy for every source folder the walk enters. The copy
// phase makes them (make true); the verify phase only opens them and keeps the reason
// when it cannot, for each copy below to say.

#include "engine/RunState.h"

#include <deque>

namespace tessaron {

class CopyFolders {
public:
    explicit CopyFolders(RunState& run) : m_run(run) {}

    // Opens (with make: makes when missing) the run's target. False when the copy phase
    // cannot make it (logged once); the verify phase goes on and reports every copy it
    // cannot open.
    bool UseTarget(const std::string& target, bool make);
    // The folder of the copy path copy, opened (with make: made when missing, one line
    // "Creating ...Done" in the log file) and the copy's name in it. False when it cannot
    // be made (logged); a folder that cannot be opened keeps the reason.
    bool FolderOfCopy(const std::string& copy, bool make, CopyFolder& folder, std::string& name);
    // Opens the folders of the copy for the first count names of sourcePath below the
    // target; the last goes into *dst (dst becomes the target itself for count 0), the
    // others stay open in chain. False when the copy phase cannot make one (logged).
    bool OpenChain(const std::string& sourcePath, std::size_t count, CopyFolder*& dst,
                   std::deque<Ancestor>& chain, bool make);
    // Opens the copy's folder name inside parent into sub (whose path the caller set);
    // with make, makes it when missing, replaces an old copy of another kind and makes
    // sure the run can write there. False only when make and it cannot (logged).
    bool StepInto(CopyFolder& parent, const std::string& name, CopyFolder& sub, bool make);
    // The copy of a folder gets the source folder's owner, permission bits and times once
    // its contents are written (writing into it would change its time again).
    bool FinishFolder(CopyFolder& dst, const FileInfo& like);
    // The folders above an entry's copy, deepest first, get the metadata of the source
    // folders they stand for.
    bool FinishAncestors(std::deque<Ancestor>& chain);

    static std::string CopyPath(const std::string& folderPath, const std::string& name);

private:
    bool MakeFolder(CopyFolder& parent, const std::string& name, CopyFolder& sub, bool& made);

    RunState& m_run;
};

} // namespace tessaron
