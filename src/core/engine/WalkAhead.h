#pragma once
// WalkAhead: the walk's read-ahead on a second thread. The walk posts, in its own order,
// the next few selected sub-folders of a folder (opened and listed; in an INCREMENTAL copy
// also the folders of their copies) and the selected small files up to the next
// sub-folder (read whole: the folder's files are needed first, the sub-folder's only after
// them), within a bound of folders, files and bytes. It takes each job when it reaches the
// entry; a job it never reaches (a cancelled or stopped walk, a file an INCREMENTAL run
// skips) is withdrawn. Only read-only work runs ahead: every log line, counter, question
// and change to the target stays on the run's thread, in the walk's order.

#include "engine/ReadAhead.h"
#include "engine/RunState.h"

#include <deque>
#include <memory>

namespace tessaron {

struct Level;
struct LevelAhead;

class WalkAhead {
public:
    // What a walk reads ahead.
    enum class Work { None, Folders, FoldersAndFiles };

    explicit WalkAhead(RunState& run) : m_run(run) {}
    // Starts the thread (none when on is false); Stop ends it and drops what it holds.
    void Start(bool on);
    void Stop();

    // Posts the work ahead of the entry at of level, the walk's deepest level, whose path
    // is walkPath.
    void Post(Level& level, std::size_t at, Work work, std::string& walkPath);
    // The sub-folder at index as the read-ahead opened and listed it into sub. False when
    // there is no job for it (the walk opens it itself).
    bool TakeFolder(Level& level, std::size_t index, Level& sub);
    // The content of the file at index, once read, when it was posted; else null.
    const FileContent* TakeFile(Level& level, std::size_t index);
    // Ends the jobs of the entry at index, taken or not.
    void Release(Level& level, std::size_t index);
    void WithdrawAll(LevelAhead& ahead);

private:
    void PostFolders(Level& level, bool listCopies, std::string& walkPath);
    void PostFiles(Level& level, std::size_t at, std::string& walkPath);
    bool WantsContent(const Level& level, const clsFSItem& item) const;
    bool LeftOut(const FileIdentity& id) const;

    RunState& m_run;
    std::unique_ptr<ReadAhead> m_thread;
    int m_folders = 0; // posted and not yet released
    int m_files = 0;
    long long m_bytes = 0;
};

} // namespace tessaron
