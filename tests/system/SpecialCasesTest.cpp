// Runs that meet unusual trees, interrupts and a full disk: each must finish, say what
// happened and leave no half-written copy behind where a failure is reported.

#include "SystemSupport.h"

#include <sys/mount.h>

using namespace tessaron::systest;

namespace {

struct TreeCase {
    const char* name;
    void (*make)(Sandbox&, SetFile&);
    void (*check)(Sandbox&);
};

class OddTree : public ::testing::TestWithParam<TreeCase> {};

TEST_P(OddTree, RunFinishes) {
    Sandbox b;
    WriteFile(b.src / "dir/plain.txt", "plain");
    SetFile s = b.Set();
    GetParam().make(b, s);
    RunResult r = b.RunSet(s);
    ASSERT_FALSE(r.TimedOut);
    EXPECT_EQ(r.Status, 0) << r.Out << r.Err;
    EXPECT_TRUE(Contains(r.Out, "Backup Complete")) << r.Out;
    EXPECT_EQ(ReadFile(CopyOf(b.dst, b.src / "dir/plain.txt")), "plain");
    GetParam().check(b);
}

const TreeCase kTrees[] = {
    {"SymlinkLoop",
     [](Sandbox& b, SetFile&) { fs::create_directory_symlink("..", b.src / "dir/loop"); },
     [](Sandbox& b) {
         fs::path copy = CopyOf(b.dst, b.src / "dir/loop");
         ASSERT_TRUE(fs::is_symlink(copy));
         EXPECT_EQ(fs::read_symlink(copy), "..");
     }},
    {"Fifo", [](Sandbox& b, SetFile&) { mkfifo((b.src / "dir/pipe").c_str(), 0600); },
     [](Sandbox& b) {
         std::error_code ec;
         EXPECT_FALSE(fs::exists(fs::symlink_status(CopyOf(b.dst, b.src / "dir/pipe"), ec)));
     }},
    {"TargetInsideSource",
     [](Sandbox& b, SetFile& s) {
         b.dst = b.src / "backup";
         s.Target = b.dst.string();
     },
     [](Sandbox& b) {
         // The copy of the source holds no copy of the target itself.
         EXPECT_FALSE(fs::exists(CopyOf(b.dst, b.dst)));
     }},
};

INSTANTIATE_TEST_SUITE_P(Trees, OddTree, ::testing::ValuesIn(kTrees),
                         [](const auto& p) { return std::string(p.param.name); });

// Interrupts while a large file is copied in small blocks.
struct InterruptCase {
    const char* name;
    std::vector<int> signals;
    int status;
    bool cancelledLine;
};

class Interrupt : public ::testing::TestWithParam<InterruptCase> {};

TEST_P(Interrupt, StopsTheRun) {
    const InterruptCase& c = GetParam();
    Sandbox b;
    constexpr std::size_t kSize = 200u * 1024u * 1024u;
    fs::path big = b.src / "big.bin";
    WriteFile(big, Pattern(kSize, 'c'));
    b.Set().Save(b.setFile);
    bool sent = false;
    RunResult r = b.RunArgs({"/RUN", b.setFile.string(), "/QUIET", "/BLOCKSIZE", "4096"},
                            [&](const std::string& out, pid_t pid) {
                                if (!sent && Contains(out, "Copying Files To:")) {
                                    sent = true;
                                    for (int sig : c.signals) {
                                        kill(pid, sig);
                                    }
                                }
                            });
    ASSERT_TRUE(sent) << r.Out;
    EXPECT_EQ(r.Status, c.status) << r.Out << r.Err;
    EXPECT_EQ(Contains(r.Out, "Backup Cancelled"), c.cancelledLine) << r.Out;
    fs::path copy = CopyOf(b.dst, big);
    if (fs::exists(copy)) {
        EXPECT_LT(fs::file_size(copy), kSize);
    }
}

const InterruptCase kInterrupts[] = {
    {"CtrlC", {SIGINT}, 2, true},
    {"Terminate", {SIGTERM}, 2, true},
};

INSTANTIATE_TEST_SUITE_P(Signals, Interrupt, ::testing::ValuesIn(kInterrupts),
                         [](const auto& p) { return std::string(p.param.name); });

// A target on a 1 MiB tmpfs: the file that does not fit fails with the system's reason,
// its partial copy is removed, and the run reports an error.
class DiskFull : public ::testing::Test {
protected:
    Sandbox b;
    fs::path mountPoint = b.tree / "small";
    bool mounted = false;

    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "mounting a small tmpfs needs root";
        }
        fs::create_directories(mountPoint);
        if (mount("tmpfs", mountPoint.c_str(), "tmpfs", 0, "size=1m") != 0) {
            GTEST_SKIP() << "cannot mount a tmpfs here: " << std::strerror(errno);
        }
        mounted = true;
    }
    void TearDown() override {
        if (mounted) {
            umount2(mountPoint.c_str(), MNT_DETACH);
        }
    }
};

TEST_F(DiskFull, FailedFileIsRemovedAndRunFails) {
    fs::path big = b.src / "big.bin";
    WriteFile(big, Pattern(3u * 1024u * 1024u, 'd'));
    WriteFile(b.src / "small.txt", "fits");
    SetFile s = b.Set();
    b.dst = mountPoint / "backup";
    s.Target = b.dst.string();
    RunResult r = b.RunSet(s);
    EXPECT_EQ(r.Status, 1) << r.Out << r.Err;
    EXPECT_TRUE(Contains(r.Out, "No space left on device")) << r.Out;
    EXPECT_TRUE(Contains(r.Out, "Unable to Copy File - " + big.string())) << r.Out;
    EXPECT_TRUE(Contains(r.Out, "Error During Backup")) << r.Out;
    EXPECT_FALSE(fs::exists(CopyOf(b.dst, big)));
    EXPECT_EQ(ReadFile(CopyOf(b.dst, b.src / "small.txt")), "fits");
    for (const fs::directory_entry& e : fs::recursive_directory_iterator(b.dst)) {
        EXPECT_FALSE(Contains(e.path().filename().string(), "tessaron-part")) << e.path();
    }
}

} // namespace
