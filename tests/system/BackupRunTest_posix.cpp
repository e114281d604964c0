// The tessaron program on POSIX trees: what a copy keeps of modes and times to the
// nanosecond, and what an incremental run copies again.

#include "SystemSupport.h"

using namespace tessaron::test;

namespace {

class PosixBackup : public ::testing::Test, public Sandbox {};

TEST_F(PosixBackup, FullCopiesEverythingThenIncrementalCopiesOnlyChanges) {
    const struct {
        const char* rel;
        std::size_t size;
        mode_t mode;
    } files[] = {{"empty.txt", 0, 0644},
                 {"docs/report 2024.txt", 1000, 0640},
                 {"docs/deep/er/data.bin", 300000, 0600},
                 {"grow.txt", 10, 0644},
                 {"touched.txt", 20, 0444}};
    for (std::size_t i = 0; i < std::size(files); ++i) {
        fs::path p = src / files[i].rel;
        WriteFile(p, Bytes(files[i].size, static_cast<unsigned>(i)));
        chmod(p.c_str(), files[i].mode);
        SetMtime(p, 1600000000 + static_cast<time_t>(i), 123456789);
    }
    // The log folder this run makes is readable by its owner only: the log names every file.
    const fs::path logs = root / "new/Log";
    RunResult full = RunSet(Set(), {"/QUIET"}, {{{"TESSARON_LOG_DIR", logs.string()}}});
    ASSERT_EQ(full.Status, 0) << full.Out << full.Err;
    EXPECT_EQ(Stat(logs).st_mode & 07777, 0700u);
    EXPECT_TRUE(Contains(full.Out, "Backup Complete")) << full.Out;
    for (const auto& f : files) {
        fs::path from = src / f.rel, copy = CopyOf(dst, from);
        ASSERT_TRUE(fs::exists(copy)) << copy;
        EXPECT_EQ(ReadFile(copy), ReadFile(from)) << f.rel;
        EXPECT_EQ(Stat(copy).st_mtim.tv_sec, Stat(from).st_mtim.tv_sec) << f.rel;
        EXPECT_EQ(Stat(copy).st_mtim.tv_nsec, 123456789) << f.rel;
        EXPECT_EQ(Stat(copy).st_mode & 07777, f.mode) << f.rel;
    }

    // One file grows (same time), one gets a newer time (same size), one is new.
    fs::path grow = src / "grow.txt", touched = src / "touched.txt", added = src / "docs/new.txt";
    WriteFile(grow, Bytes(11, 'g'));
    SetMtime(grow, 1600000003, 123456789);
    SetMtime(touched, 1600000005, 0);
    WriteFile(added, "new");
    SetFile inc = Set();
    inc.BackupType = "INCREMENTAL";
    RunResult r = RunSet(inc);
    ASSERT_EQ(r.Status, 0) << r.Out << r.Err;
    std::string log = LastLog();
    for (const char* same : {"empty.txt", "docs/report 2024.txt", "docs/deep/er/data.bin"}) {
        fs::path p = src / same;
        EXPECT_TRUE(Contains(log, "File Skipped - " + p.string() + " (" +
                                      std::to_string(fs::file_size(p)) +
                                      " Bytes) - File Appears to be Up-to-Date on Target."))
            << same << "\n"
            << log;
    }
    for (const fs::path& changed : {grow, touched, added}) {
        EXPECT_FALSE(Contains(log, "File Skipped - " + changed.string())) << changed;
        EXPECT_EQ(ReadFile(CopyOf(dst, changed)), ReadFile(changed)) << changed;
    }
    EXPECT_EQ(Stat(CopyOf(dst, touched)).st_mtim.tv_sec, 1600000005);
}

} // namespace
