// Runs that meet unusual trees, interrupts and a full disk: each must finish, say what
// happened and leave no half-written copy behind where a failure is reported.

#include "SystemSupport.h"

#include <memory>
#include <sys/mount.h>

#include <fcntl.h>

using namespace tessaron::test;

namespace {

// The file deep.txt at the bottom of levels folders named name, one inside the other, below
// dir, reached one folder at a time: written with "deep" and its folders made (make), or
// read. Gives what was written or read.
std::string Deep(const fs::path& dir, bool make, int levels = 25,
                 const std::string& name = std::string(200, 'd')) {
    int fd = open(dir.c_str(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; fd >= 0 && i < levels; ++i) {
        if (make) {
            mkdirat(fd, name.c_str(), 0755);
        }
        const int sub = openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY);
        close(fd);
        fd = sub;
    }
    const int f = fd < 0 ? -1 : openat(fd, "deep.txt", make ? O_WRONLY | O_CREAT : O_RDONLY, 0644);
    char buf[16] = "deep";
    const ssize_t n = f < 0 ? 0 : make ? write(f, buf, 4) : read(f, buf, sizeof buf);
    close(f);
    close(fd);
    return std::string(buf, n > 0 ? static_cast<std::size_t>(n) : 0);
}

// Every line of a text (CR LF or LF ends) is a log line: it starts with the first line's
// date.
bool OneLogLinePerLine(const std::string& text) {
    const std::string date = text.substr(0, text.find(' ') + 1);
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line != "\r" && line.rfind(date, 0) != 0) {
            return false;
        }
    }
    return !date.empty();
}

struct TreeCase {
    const char* name;
    void (*make)(Sandbox&, SetFile&);
    bool unprivileged; // as uid 65534: permissions hold even when the tests run as root
    int status;
    std::string out; // in standard output; %SRC% is the source folder
    void (*check)(Sandbox&, SetFile&);
};

class OddTree : public ::testing::TestWithParam<TreeCase> {};

// Whatever the tree holds, the run finishes, copies what it can, and names what it
// could not.
TEST_P(OddTree, RunFinishesAndSaysWhatItLeftOut) {
    const TreeCase& c = GetParam();
    Sandbox b;
    WriteFile(b.src / "dir/plain.txt", "plain");
    SetFile s = b.Set();
    c.make(b, s);
    RunOptions options;
    options.Unprivileged = c.unprivileged;
    RunResult r = b.RunSet(s, {"/QUIET"}, options);
    EXPECT_EQ(r.Status, c.status) << r.Out << r.Err;
    std::string out = c.out;
    if (const auto at = out.find("%SRC%"); at != std::string::npos) {
        out.replace(at, 5, b.src.string());
    }
    EXPECT_TRUE(Contains(r.Out, out)) << out << "\n" << r.Out;
    EXPECT_EQ(ReadFile(CopyOf(b.dst, b.src / "dir/plain.txt")), "plain");
    c.check(b, s);
}

void NoCheck(Sandbox&, SetFile&) {}

const TreeCase kTrees[] = {
    {"Fifo", [](Sandbox& b, SetFile&) { mkfifo((b.src / "dir/pipe").c_str(), 0600); }, false, 0,
     "Backup Complete",
     [](Sandbox& b, SetFile&) {
         std::error_code ec;
         EXPECT_FALSE(fs::exists(fs::symlink_status(CopyOf(b.dst, b.src / "dir/pipe"), ec)));
         EXPECT_TRUE(
             Contains(b.LastLog(), "Special File Skipped - " + (b.src / "dir/pipe").string()));
     }},
    {"FolderListedButNotEntered",
     [](Sandbox& b, SetFile&) {
         WriteFile(b.src / "locked/x.txt", "x");
         chmod((b.src / "locked").c_str(), 0444);
     },
     true, 1, "Unable to examine - %SRC%/locked/x.txt, Error: (13) Permission denied", NoCheck},
    {"FolderNotListed",
     [](Sandbox& b, SetFile&) {
         WriteFile(b.src / "closed/x.txt", "x");
         chmod((b.src / "closed").c_str(), 0);
     },
     true, 1, "Unable to list directory - %SRC%/closed, Error: (13) Permission denied", NoCheck},
    {"FileNotRead", [](Sandbox& b, SetFile&) { chmod(b.Write("src/secret.txt", "s").c_str(), 0); },
     true, 1, "Unable to open - %SRC%/secret.txt, Error: (13) Permission denied", NoCheck},
    // Names may hold line breaks: every log line stays one line, on screen and in the file.
    {"ControlCharactersInNames",
     [](Sandbox& b, SetFile& s) {
         for (const char* name : {"line\nbreak.txt", "tab\there.txt", "esc\x1b[31m.txt"}) {
             WriteFile(b.src / name, "odd");
         }
         s.Selections.push_back((b.root / "gone\x1b[2Jname").string());
     },
     false, 1, "/gone\\x1B[2Jname, Error: (2) No such file or directory",
     [](Sandbox& b, SetFile&) {
         EXPECT_EQ(ReadFile(CopyOf(b.dst, b.src / "line\nbreak.txt")), "odd");
         const std::string log = b.LastLog();
         EXPECT_TRUE(OneLogLinePerLine(log)) << log;
         EXPECT_TRUE(Contains(log, "/line\\nbreak.txt (3 Bytes)...Done"));
         EXPECT_TRUE(Contains(log, "/esc\\x1B[31m.txt (3 Bytes)...Done"));
     }},
    {"DeeperThanThePathLimit", [](Sandbox& b, SetFile&) { EXPECT_EQ(Deep(b.src, true), "deep"); },
     false, 0, "Backup Complete",
     [](Sandbox& b, SetFile& s) {
         EXPECT_EQ(Deep(CopyOf(b.dst, b.src), false), "deep");
         s.BackupType = "INCREMENTAL";
         RunResult again = b.RunSet(s);
         EXPECT_EQ(again.Status, 0) << again.Out;
         EXPECT_TRUE(Contains(b.LastLog(), "deep.txt (4 Bytes) - File Appears to be Up-to-Date"));
     }},
};

INSTANTIATE_TEST_SUITE_P(Trees, OddTree, ::testing::ValuesIn(kTrees), ParamName());

// An interrupt while a large file is copied in small blocks cancels the run.
struct Signal {
    const char* name;
    int number;
};

class Interrupt : public ::testing::TestWithParam<Signal> {};

TEST_P(Interrupt, CancelsTheRun) {
    Sandbox b;
    constexpr std::size_t kSize = 200u * 1024u * 1024u;
    fs::path big = b.src / "big.bin";
    WriteFile(big, Bytes(kSize, 'c'));
    b.Set().Save(b.setFile);
    bool sent = false;
    RunResult r = b.RunArgs({"/RUN", b.setFile.string(), "/QUIET", "/BLOCKSIZE", "4096"},
                            [&](const std::string& out, pid_t pid) {
                                if (!sent && Contains(out, "Copying Files To:")) {
                                    sent = kill(pid, GetParam().number) == 0;
                                }
                            });
    ASSERT_TRUE(sent) << r.Out;
    EXPECT_EQ(r.Status, 2) << r.Out << r.Err;
    EXPECT_TRUE(Contains(r.Out, "Backup Cancelled")) << r.Out;
    fs::path copy = CopyOf(b.dst, big);
    if (fs::exists(copy)) {
        EXPECT_LT(fs::file_size(copy), kSize);
    }
}

INSTANTIATE_TEST_SUITE_P(Signals, Interrupt,
                         ::testing::Values(Signal{"SIGINT", SIGINT}, Signal{"SIGTERM", SIGTERM}),
                         ParamName());

// A target on a 1 MiB tmpfs: the file that does not fit fails with the system's reason,
// its partial copy is removed, and the run reports an error.
TEST(DiskFull, FailedFileIsRemovedAndRunFails) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "mounting a small tmpfs needs root";
    }
    Sandbox b;
    fs::path mountPoint = b.root / "small";
    fs::create_directories(mountPoint);
    if (mount("tmpfs", mountPoint.c_str(), "tmpfs", 0, "size=1m") != 0) {
        GTEST_SKIP() << "cannot mount a tmpfs here: " << std::strerror(errno);
    }
    std::unique_ptr<const char, int (*)(const char*)> unmount(
        mountPoint.c_str(), [](const char* p) { return umount2(p, MNT_DETACH); });
    fs::path big = b.src / "big.bin";
    WriteFile(big, Bytes(3u * 1024u * 1024u, 'd'));
    WriteFile(b.src / "small.txt", "fits");
    SetFile s = b.Set();
    b.dst = mountPoint / "backup";
    s.Target = b.dst.string();
    RunResult r = b.RunSet(s);
    EXPECT_EQ(r.Status, 1) << r.Out << r.Err;
    for (const std::string& line :
         {std::string("No space left on device"), "Unable to Copy File - " + big.string(),
          std::string("Error During Backup")}) {
        EXPECT_TRUE(Contains(r.Out, line)) << line << "\n" << r.Out;
    }
    EXPECT_FALSE(fs::exists(CopyOf(b.dst, big)));
    EXPECT_EQ(ReadFile(CopyOf(b.dst, b.src / "small.txt")), "fits");
    for (const fs::directory_entry& e : fs::recursive_directory_iterator(b.dst)) {
        EXPECT_FALSE(Contains(e.path().filename().string(), "tessaron-part")) << e.path();
    }
}

// A tree 20,000 folders deep (on a tmpfs, which any user may fill so; deeper than a walk
// that recurses per level survives), under a limit of 256 open files: copied with little
// memory, then cleared out of the target by a run that copies and verifies it again.
TEST(DeepTree, CopiedVerifiedAndClearedWithLittleMemory) {
    constexpr int kDepth = 20000;
    Sandbox b;
    const fs::path mnt = b.root / "deep";
    fs::create_directories(mnt);
    if (geteuid() != 0 || mount("tmpfs", mnt.c_str(), "tmpfs", 0, "size=1g") != 0) {
        GTEST_SKIP() << "mounting a tmpfs needs root";
    }
    std::unique_ptr<const char, int (*)(const char*)> unmount(
        mnt.c_str(), [](const char* p) { return umount2(p, MNT_DETACH); });
    b.src = mnt / "src";
    b.dst = mnt / "dst";
    fs::create_directories(b.src);
    ASSERT_EQ(Deep(b.src, true, kDepth, "d"), "deep");
    RunOptions limits;
    limits.OpenFileLimit = 256;
    limits.Env = {{"TESSARON_LOG_DIR", (mnt / "logs").string()}};
    SetFile s = b.Set();
    for (bool again : {false, true}) {
        s.CleanTarget = s.Verify = again;
        RunResult r = b.RunSet(s, {"/QUIET"}, limits);
        EXPECT_EQ(r.Status, 0) << r.Out.substr(0, 4000) << r.Err;
        EXPECT_EQ(Contains(r.Out, "Verify Complete"), again) << r.Out.substr(0, 4000);
        EXPECT_EQ(Contains(r.Out, "Clearing " + b.dst.string() + "...Done"), again);
        EXPECT_EQ(Deep(CopyOf(b.dst, b.src), false, kDepth, "d"), "deep");
        EXPECT_LT(r.MaxRssKb, 40 * 1024) << "peak resident memory in KiB";
        fs::remove_all(mnt / "logs");
    }
}

} // namespace
