// Where a run reads and writes: targets and selections spelled in every way a path can be
// (".", "..", "//", links, a trailing separator), decided by what they name. A clearing
// never reaches a source, a home folder or the root; a run with nothing to copy is refused;
// a link on the way to a selection is followed while the copy keeps the path as written.

#include "PlaceRun.h"
#include "TestNames.h"

#include <sys/mount.h>

using namespace tessaron::test;

namespace {

// Mounts a tmpfs at at (from empty) or binds the folder from there, until the case ends.
bool MountAt(PlaceRun& b, const fs::path& at, const fs::path& from = {}) {
    fs::create_directories(at);
    const bool bind = !from.empty();
    if (geteuid() != 0 || mount(bind ? from.c_str() : "tmpfs", at.c_str(), bind ? "" : "tmpfs",
                                bind ? MS_BIND : 0, bind ? "" : "size=1m") != 0) {
        b.skip = "mounting a file system needs root";
        return false;
    }
    b.undo = [at] { umount2(at.c_str(), MNT_DETACH); };
    return true;
}

void Mount(PlaceRun& b) {
    const fs::path mnt = b.root / "mnt";
    if (!MountAt(b, mnt)) {
        return;
    }
    b.keep = mnt / "keep.txt";
    WriteFile(b.keep, "keep");
    b.set.Target = (mnt / ".").string();
    b.switches.clear(); // quiet or not, a drive root is asked about; nobody answers
}

// Selections reached through links: root/docs is a link to root/real.
void Links(PlaceRun& b, const char* selection) {
    WriteFile(b.root / "real/f.txt", "data");
    fs::create_directory_symlink("..", b.root / "real/loop");
    fs::create_directory_symlink(b.root / "real", b.root / "docs");
    fs::create_symlink(b.root / "real/f.txt", b.root / "flink");
    fs::create_symlink(b.root / "nowhere", b.root / "dangling");
    b.set.Selections = {(b.root.string() + "/") + selection};
    b.set.CleanTarget = false;
}

void DocsCopied(PlaceRun& b) {
    const fs::path copy = CopyOf(b.dst, b.root / "docs");
    EXPECT_TRUE(fs::is_directory(fs::symlink_status(copy)));
    EXPECT_EQ(ReadFile(copy / "f.txt"), "data");
    EXPECT_EQ(fs::read_symlink(copy / "loop"), ".."); // a link below the entry stays one
}

const std::string kHoldsSource = "Target Not Cleared - %T% holds the selected source";

const PlaceCase kSpellings[] = {
    {"SourceWithDotDot", [](PlaceRun& b) { b.set.Target = (b.src / "a" / "..").string(); }, 2,
     kHoldsSource},
    {"ParentWithDotDot", [](PlaceRun& b) { b.set.Target = (b.src / "..").string(); }, 2,
     kHoldsSource},
    {"RepeatedSeparators", [](PlaceRun& b) { b.set.Target = b.root.string() + "//src"; }, 2,
     kHoldsSource},
    {"ThroughALink",
     [](PlaceRun& b) {
         fs::create_directory_symlink(b.src, b.root / "link");
         b.set.Target = (b.root / "link").string();
     },
     2, kHoldsSource},
    {"HomeWithDot",
     [](PlaceRun& b) {
         WriteFile(b.root / "home/h.txt", "home");
         b.options.Env = {{"HOME", (b.root / "home").string()}};
         b.set.Target = (b.root / "home/.").string();
     },
     2, "Target Not Cleared - %T% is the root or a home directory"},
    {"MountPointWithDot", Mount, 2, "Clear Target - answered No (no terminal)"},
    {"RootWithDotQuiet", [](PlaceRun& b) { b.set.Target = "/."; }, 3, "",
     "Nothing to back up - every selection is the target or lies inside it"},
    {"OnlySelectionIsTheTarget",
     [](PlaceRun& b) {
         b.set.Selections = {b.src.string()};
         b.set.Target = (b.src / ".").string();
     },
     3, "", "Nothing to back up - every selection is the target or lies inside it"},
    {"NoSelections", [](PlaceRun& b) { b.set.Selections.clear(); }, 3, "",
     "Nothing to back up - the backup set has no selections"},
    {"NoTarget", [](PlaceRun& b) { b.set.Target.clear(); }, 3, "",
     "Nothing to back up - the backup set has no target"},
    // A clearing never enters a file system mounted inside the target: here the source.
    {"SourceMountedInsideTarget",
     [](PlaceRun& b) {
         b.set.Target = (b.root / "t").string();
         MountAt(b, b.root / "t/mnt", b.src);
     },
     1, "Mount point left as it is - %T%/mnt"},
    // Nor does the replacement of an old copy that was a folder and is now a file.
    {"MountInsideAnOldCopy",
     [](PlaceRun& b) {
         b.set.BackupType = "INCREMENTAL";
         b.keep = b.root / "outside/keep.txt";
         WriteFile(b.keep, "keep");
         MountAt(b, CopyOf(b.dst, b.src / "g.txt") / "m", b.keep.parent_path());
     },
     1, "Mount point left as it is - %T%"},
    {"LogFolderInsideTarget",
     [](PlaceRun& b) {
         b.keep = b.dst / "logs/older.log";
         WriteFile(b.keep, "keep");
         b.options.Env = {{"TESSARON_LOG_DIR", b.keep.parent_path().string()}};
     },
     0, "Log folder not cleared - %T%/logs", "",
     [](PlaceRun& b) {
         std::string logs;
         for (const auto& e : fs::directory_iterator(b.dst / "logs")) {
             logs += ReadFile(e.path());
         }
         EXPECT_TRUE(Contains(logs, "Backup Complete")) << logs;
     }},
    // The run's own log, written while the walk reads it, is never compared with its copy.
    {"LogFolderInsideSelection",
     [](PlaceRun& b) {
         b.options.Env = {{"TESSARON_LOG_DIR", (b.src / "logs").string()}};
         b.set.Verify = true;
     },
     0, "Log folder left out of the backup - "},
    // A target inside a source, spelled with "./", is left out of the walk: the backup never
    // copies itself, however often it runs.
    {"TargetInsideSource",
     [](PlaceRun& b) {
         b.set.Target = (b.src / "." / "bk").string();
         b.set.CleanTarget = false;
     },
     0, "Output directory left out of the backup - ", "",
     [](PlaceRun& b) {
         RunResult again = b.RunSet(b.set, b.switches, b.options);
         EXPECT_EQ(again.Status, 0) << again.Out << again.Err;
         EXPECT_TRUE(Contains(again.Out, "Output directory left out of the backup - "));
         const fs::path copyOfSrc = CopyOf(b.src / "bk", b.src);
         EXPECT_EQ(ReadFile(copyOfSrc / "g.txt"), "second");
         EXPECT_FALSE(fs::exists(copyOfSrc / "bk"));
     }},
    // A link on the way to a selection is followed while the copy keeps the path as written.
    {"SelectionIsALink", [](PlaceRun& b) { Links(b, "docs"); }, 0, "2 Files,  4 Bytes", "",
     DocsCopied},
    {"SelectionWithTrailingSeparator", [](PlaceRun& b) { Links(b, "docs/"); }, 0,
     "2 Files,  4 Bytes", "", DocsCopied},
    {"SelectionsParentIsALink", [](PlaceRun& b) { Links(b, "docs/f.txt"); }, 0, "1 Files,  4 Bytes",
     "",
     [](PlaceRun& b) {
         EXPECT_EQ(ReadFile(CopyOf(b.dst, b.root / "docs/f.txt")), "data");
         EXPECT_FALSE(fs::exists(CopyOf(b.dst, b.root / "real")));
     }},
    {"SelectionIsALinkToAFile", [](PlaceRun& b) { Links(b, "flink"); }, 0, "1 Files,  4 Bytes", "",
     [](PlaceRun& b) {
         const fs::path copy = CopyOf(b.dst, b.root / "flink");
         EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(copy)));
         EXPECT_EQ(ReadFile(copy), "data");
     }},
    {"SelectionIsADanglingLink", [](PlaceRun& b) { Links(b, "dangling"); }, 1,
     ", Error: (2) No such file or directory"},
};

INSTANTIATE_TEST_SUITE_P(Targets, PlaceTest, ::testing::ValuesIn(kSpellings),
                         tessaron::test::ParamName());

} // namespace
