// Runs that meet unusual trees, interrupts and a full disk: each must finish, say what
// happened and leave no half-written copy behind where a failure is reported.

#include "SystemSupport.h"

#include <memory>
#include <sys/mount.h>

using namespace tessaron::test;

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
    EXPECT_EQ(r.Status, 0) << r.Out << r.Err;
    EXPECT_TRUE(Contains(r.Out, "Backup Complete")) << r.Out;
    EXPECT_EQ(ReadFile(CopyOf(b.dst, b.src / "dir/plain.txt")), "plain");
    GetParam().check(b);
}

const TreeCase kTrees[] = {
    {"SymlinkLoop",
     [](Sandbox& b, SetFile&) { fs::create_directory_symlink("..", b.src / "dir/loop"); },
     [](Sandbox& b) { EXPECT_EQ(fs::read_symlink(CopyOf(b.dst, b.src / "dir/loop")), ".."); }},
    {"Fifo", [](Sandbox& b, SetFile&) { mkfifo((b.src / "dir/pipe").c_str(), 0600); },
     [](Sandbox& b) {
         std::error_code ec;
         EXPECT_FALSE(fs::exists(fs::symlink_status(CopyOf(b.dst, b.src / "dir/pipe"), ec)));
         EXPECT_TRUE(
             Contains(b.LastLog(), "Special File Skipped - " + (b.src / "dir/pipe").string()));
     }},
    {"TargetInsideSource",
     [](Sandbox& b, SetFile& s) {
         b.dst = b.src / "backup";
         fs::create_directories(b.dst); // so the walk meets it
         s.Target = b.dst.string();
     },
     [](Sandbox& b) {
         EXPECT_FALSE(fs::exists(CopyOf(b.dst, b.dst)));
         EXPECT_TRUE(
             Contains(b.LastLog(), "Output directory left out of the backup - " + b.dst.string()));
     }},
};

INSTANTIATE_TEST_SUITE_P(Trees, OddTree, ::testing::ValuesIn(kTrees),
                         [](const auto& p) { return std::string(p.param.name); });

// An interrupt while a large file is copied in small blocks cancels the run.
class Interrupt : public ::testing::TestWithParam<int> {};

TEST_P(Interrupt, CancelsTheRun) {
    Sandbox b;
    constexpr std::size_t kSize = 200u * 1024u * 1024u;
    fs::path big = b.src / "big.bin";
    WriteFile(big, Pattern(kSize, 'c'));
    b.Set().Save(b.setFile);
    bool sent = false;
    RunResult r = b.RunArgs({"/RUN", b.setFile.string(), "/QUIET", "/BLOCKSIZE", "4096"},
                            [&](const std::string& out, pid_t pid) {
                                if (!sent && Contains(out, "Copying Files To:")) {
                                    sent = kill(pid, GetParam()) == 0;
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

INSTANTIATE_TEST_SUITE_P(Signals, Interrupt, ::testing::Values(SIGINT, SIGTERM));

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
    WriteFile(big, Pattern(3u * 1024u * 1024u, 'd'));
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

} // namespace
