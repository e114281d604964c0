#pragma once
// Walker: one walk over a selection entry for every phase. It follows the entry and every
// link on the way to it (the user ticked what they point at), then goes through every
// selected entry below in name order, never following a link, working inside open folders
// so that paths of any length and trees of any depth are walked. It calls a visitor per
// entry: counting, copying and verifying are three visitors. The run's target, and its
// own log folder and file, are left out of every walk (one line each per run), decided on
// the identity of folders, never on spelling. Read-ahead (see WalkAhead) runs behind it,
// invisible to the visitors.

#include "engine/CopyFolders.h"
#include "engine/WalkAhead.h"

#include <deque>
#include <memory>

namespace tessaron {

struct Level;
struct WalkFrame;

class WalkVisitor {
public:
    virtual ~WalkVisitor() = default;
    virtual CopySide Side() const = 0;
    virtual WalkAhead::Work Ahead() const = 0;
    // An entry could not be examined, opened or listed. True when that fails the entry
    // (the visitor has said why); false when the visitor leaves it to another phase.
    virtual bool Failure(const std::string& what, const std::string& path,
                         const SysError& error) = 0;
    // A FIFO, socket or device node: never opened (reading a FIFO could block the run, a
    // device could be endless), and never counted.
    virtual void Special(const std::string& path) { (void)path; }
    // A selected file or link; dest is null when Side() is None. False after a failure
    // (said).
    virtual bool File(const Source& source, const Dest* dest) = 0;
    // A selected file whose copy's folder could not be made (said).
    virtual void Unreached(const std::string& path) { (void)path; }
    // The walk of a folder ended; copy is its copy (Side() not None).
    virtual bool FolderDone(CopyFolder& copy, const FileInfo& like) {
        (void)copy, (void)like;
        return true;
    }
    // The walk of a selection entry ended; chain holds the folders above its copy.
    virtual bool EntryDone(std::deque<Ancestor>& chain) {
        (void)chain;
        return true;
    }
    // Called before every entry that is not handed to File (a folder, a special file, an
    // entry that could not be examined, the run's log): the visitor finishes what it has
    // in flight, so that whatever this entry says comes after it. False when that found a
    // failure (said).
    virtual bool Settle() { return true; }
};

class Walker {
public:
    Walker(RunState& run, CopyFolders& folders);
    ~Walker();
    Walker(const Walker&) = delete;
    Walker& operator=(const Walker&) = delete;

    // Forgets what the last run said once (the target and the log folder left out).
    void StartRun();
    // Starts the read-ahead thread (on) or ends it.
    void Overlap(bool on);

    // Walks the selection entry with visitor; target is the copy's root (unused when the
    // visitor has no copy side). False when an entry failed, a folder could not be entered
    // or listed (as the visitor decides), or the walk was cancelled; with stop-on-error
    // the first failure ends the walk at once.
    bool Walk(const std::string& entry, const std::string& target, WalkVisitor& visitor);

private:
    enum class Walked { Ok, Failed, Entered };

    bool EntryFolder(const std::string& path, const FileInfo& info);
    bool EntryFile(const std::string& path, const FileInfo& info);
    bool WalkLevels();
    bool StepLevel(Level& level);
    bool AfterEntry(Level& level, std::size_t index, bool ok);
    bool ListLevel(Level& level);
    Walked WalkItem(Level& level, std::size_t index);
    Walked EnterFolder(Level& level, std::size_t index, const std::string& shown);
    bool LeftOutAsOutput(const FileIdentity& id);
    bool LeftOutAsLog(const FileIdentity& id);
    bool IsRunLog(const FileIdentity& id) const;
    bool Making() const { return m_visitor->Side() == CopySide::Make; }

    RunState& m_run;
    CopyFolders& m_folders;
    WalkAhead m_ahead;
    std::unique_ptr<class WalkStack> m_stack;
    WalkVisitor* m_visitor = nullptr;
    bool m_outputLogged = false;
    bool m_logLeftOut = false;
};

} // namespace tessaron
