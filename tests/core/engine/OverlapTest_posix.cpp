// A run with its read-ahead thread and 1, 2 or 8 writers shows and does exactly what the
// run with one thread does: the same log lines in the same order, the same result and
// counters, the same copies on disk, also when it fails, stops on an error or is cancelled
// part way. And a writer that is slow with an early file changes none of that.
#include "EngineTestSupport.h"
#include "FaultyFileAccess.h"

#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <thread>

namespace tessaron::test {
namespace {

// Folders get a fixed time, so that trees made at different moments copy alike.
void FixFolderTimes(const fs::path& src) {
    SetMtime(src, 1500000000);
    for (const auto& e : fs::recursive_directory_iterator(src)) {
        if (e.is_directory() && !e.is_symlink()) {
            SetMtime(e.path(), 1500000000);
        }
    }
}

// A tree past every bound of the read-ahead: more folders, files and bytes than it takes on
// at once, sub-folders between files, files larger than a block, links, an empty folder,
// a FIFO, an excepted folder, 9 MiB in one folder.
void MakeTree(const fs::path& src) {
    const std::size_t sizes[] = {0, 1, 100, 4096, 70000, 128000, 128001, 300000};
    for (int d = 0; d < 12; ++d) {
        const fs::path dir = src / ("d" + std::to_string(d)) / (d % 3 == 0 ? "deep/er" : "");
        for (int f = 0; f < 30; ++f) {
            const fs::path p = dir / ("f" + std::to_string(f) + ".bin");
            WriteFile(p, Bytes(sizes[(d + f) % 8], static_cast<unsigned>(d * 100 + f)));
            SetMtime(p, 1600000000 + f);
        }
        fs::create_directories(dir / "m-between");
    }
    for (int f = 0; f < 90; ++f) {
        WriteFile(src / "wide" / ("w" + std::to_string(f)), Bytes(100000, f));
        SetMtime(src / "wide" / ("w" + std::to_string(f)), 1600000000);
    }
    fs::create_symlink("d1/f1.bin", src / "link");
    SetMtime(src / "link", 1600000000);
    fs::create_directories(src / "empty");
    mkfifo((src / "fifo").c_str(), 0600);
    WriteFile(src / "skipped/x.txt", "x");
    FixFolderTimes(src);
}

// The log as a list of lines without their time stamps and times (elapsed, rate).
std::vector<std::string> LogLines(const std::string& file) {
    std::vector<std::string> lines;
    std::istringstream text(ReadFile(file));
    for (std::string line; std::getline(text, line);) {
        line = line.substr(line.find(" - ") + 3);
        line.pop_back(); // the CR of CR LF
        if (line.rfind("Elapsed Time: ", 0) != 0 && line.rfind("Total Elapsed Time: ", 0) != 0) {
            lines.push_back(line);
        }
    }
    return lines;
}

// Every entry of the tree at root: kind, size, permission bits, time and content.
std::map<std::string, std::string> TreeOf(const fs::path& root) {
    std::map<std::string, std::string> entries;
    if (!fs::exists(root)) {
        return entries;
    }
    for (const auto& e : fs::recursive_directory_iterator(root)) {
        const struct stat st = Stat(e.path());
        std::string what = std::to_string(st.st_mode) + " " + std::to_string(st.st_size) + " " +
                           std::to_string(st.st_mtim.tv_sec);
        if (S_ISREG(st.st_mode)) {
            what += " " + std::to_string(std::hash<std::string>{}(ReadFile(e.path())));
        } else if (S_ISLNK(st.st_mode)) {
            what += " " + fs::read_symlink(e.path()).string();
        }
        entries[fs::relative(e.path(), root).string()] = what;
    }
    return entries;
}

// The entries in which two trees differ, for a failure message.
std::string Differences(const std::map<std::string, std::string>& a,
                        const std::map<std::string, std::string>& b) {
    std::string text;
    for (const auto& [rel, what] : a) {
        const auto other = b.find(rel);
        if (other == b.end() || other->second != what) {
            text +=
                rel + ": " + what + " / " + (other == b.end() ? "missing" : other->second) + "\n";
        }
    }
    for (const auto& [rel, what] : b) {
        text += a.count(rel) ? "" : rel + ": missing / " + what + "\n";
    }
    return text;
}

struct Outcome {
    bool ok = false;
    std::vector<std::string> log;
    std::map<std::string, std::string> tree;
    bool ahead = false; // some folder was listed or file read by another thread
};

struct OverlapCase {
    const char* name;
    const char* result; // the run's last line
    const char* type = "FULL";
    bool verify = false;
    bool stopOnError = false;
    std::int32_t block = 0;
    int cancelAt = 0;                    // files done when the view cancels; 0: never
    std::vector<std::string> fails = {}; // ends of paths whose open fails
    std::vector<std::string> reads = {}; // ends of paths whose reading fails
};

class Overlap : public EngineTest, public ::testing::WithParamInterface<OverlapCase> {
protected:
    // The INCREMENTAL cases start from a copy made before these changes.
    void ChangeSource() {
        for (int f = 0; f < 30; f += 4) {
            const fs::path p = src / "d2" / ("f" + std::to_string(f) + ".bin");
            WriteFile(p, "changed " + std::to_string(f));
            SetMtime(p, 1700000000);
        }
        SetMtime(src / "d4/f3.bin", 1700000000); // same size, newer time
        fs::remove_all(src / "d5");
        WriteFile(src / "d5", "a file where a folder was");
        fs::remove(src / "d7/f0.bin");
        fs::create_directories(src / "d7/f0.bin"); // a folder where a file was
        WriteFile(src / "d8/new.txt", "new");
        SetMtime(src / "d5", 1700000000);
        SetMtime(src / "d8/new.txt", 1700000000);
        FixFolderTimes(src);
        fs::permissions(Copy(src) / "d2/f0.bin", fs::perms::owner_read); // replaced all the same
    }

    Outcome RunOnce(bool overlap, int writers) {
        const OverlapCase& c = GetParam();
        RemoveTree(out.string());
        fs::create_directories(out);
        if (std::string(c.type) == "INCREMENTAL") {
            fs::remove_all(src);
            MakeTree(src);
            EXPECT_TRUE(RunBackup()) << view.All();
            ChangeSource();
        }
        setup.BackupType = c.type;
        setup.Verify = c.verify;
        setup.StopOnError = c.stopOnError;
        setup.BlockSize = c.block;
        FaultyFileAccess access;
        auto fail = [&](Op op, const std::string& path, SysError error, long long offset) {
            access.faults.emplace_back(op, path, error);
            access.faults.back().nth = 0; // every matching call
            access.faults.back().offset = offset;
        };
        for (const std::string& p : c.fails) {
            fail(Op::OpenFileAt, p, SysError::AccessDenied(), -1);
            fail(Op::OpenFolderAt, p, SysError::AccessDenied(), -1);
        }
        for (const std::string& p : c.reads) {
            fail(Op::Read, p, SysError::Io(), 0);
        }
        RemoveTree(logs.string()); // the run's log is then the only one there
        Outcome o;
        const std::thread::id runThread = std::this_thread::get_id();
        access.onCall = [&](Op op, const std::string&) {
            o.ahead = o.ahead || ((op == Op::List || op == Op::OpenFileAt) &&
                                  std::this_thread::get_id() != runThread);
        };
        o.ok = RunBackup([&](BackupEngine& engine) {
            engine.Overlap(overlap);
            engine.Writers(writers);
            engine.FileAccess(access);
            view.onYield = [&engine, &c] {
                if (c.cancelAt > 0 && engine.Progress().FilesDone >= c.cancelAt) {
                    engine.Cancel();
                }
            };
        });
        for (const auto& e : fs::directory_iterator(logs)) {
            o.log = LogLines(e.path().string());
        }
        o.tree = TreeOf(Copy(src));
        return o;
    }

    void SetUp() override {
        EngineTest::SetUp();
        MakeTree(src);
        setup.Sel.RemoveSelection((src / "skipped").string());
    }
};

// And nothing past the point where a FULL run stopped is written: every copy there is one
// that a "Copying" line names.
TEST_P(Overlap, SameLogResultAndCopies) {
    const OverlapCase& c = GetParam();
    const Outcome without = RunOnce(false, 1);
    EXPECT_FALSE(without.ahead);
    Outcome with;
    for (const int writers : {1, 2, 8}) {
        SCOPED_TRACE(std::to_string(writers) + " writers");
        with = RunOnce(true, writers);
        // A run stopped early (cancelled, or stopped at an error) may end before a loaded
        // machine lets another thread make its first call; one that runs to its end always
        // has them working.
        if (c.cancelAt == 0 && !c.stopOnError) {
            EXPECT_TRUE(with.ahead);
        }
        EXPECT_EQ(with.ok, without.ok);
        ASSERT_EQ(with.log, without.log);
        EXPECT_TRUE(with.tree == without.tree) << Differences(with.tree, without.tree);
    }
    EXPECT_NE(std::find(with.log.begin(), with.log.end(), c.result), with.log.end());
    if (std::string(c.type) != "FULL" || (!c.stopOnError && c.cancelAt == 0)) {
        return;
    }
    EXPECT_FALSE(with.ok);
    std::size_t copied = 0;
    for (const auto& e : fs::recursive_directory_iterator(Copy(src))) {
        if (!e.is_regular_file() || e.is_symlink()) {
            continue;
        }
        ++copied;
        const std::string line =
            "Copying " + (src / fs::relative(e.path(), Copy(src))).string() + " (";
        EXPECT_TRUE(std::any_of(with.log.begin(), with.log.end(), [&](const std::string& l) {
            return l.rfind(line, 0) == 0;
        })) << e.path();
    }
    EXPECT_GT(copied, 0u);
}

const OverlapCase kCases[] = {
    {.name = "Full", .result = kComplete},
    {.name = "FullWithVerify", .result = kComplete, .verify = true},
    {.name = "Incremental", .result = kComplete, .type = "INCREMENTAL"},
    {.name = "SmallBlocks", .result = kComplete, .block = 1000},
    {.name = "FailuresGoOn",
     .result = kError,
     .fails = {"d2/f7.bin", "d6"},
     .reads = {"d1/f2.bin", "d9/deep/er/f0.bin"}},
    {.name = "StopOnError", .result = kError, .stopOnError = true, .reads = {"d4/f1.bin"}},
    {.name = "StopOnErrorAtAFolder", .result = kError, .stopOnError = true, .fails = {"d4"}},
    {.name = "CancelPartWay", .result = kCancelled, .cancelAt = 150},
    {.name = "CancelIncremental", .result = kCancelled, .type = "INCREMENTAL", .cancelAt = 200},
};

INSTANTIATE_TEST_SUITE_P(Runs, Overlap, ::testing::ValuesIn(kCases), ParamName());

struct SlowCase {
    const char* name;
    bool stopOnError;
};

// The writer of an early file is slow, and then fails: the writers finish later files
// first. The log is still the one-thread run's (the failure where that file's line
// stands), and with stop-on-error nothing after that file is left in the target.
class SlowWriter : public EngineTest, public ::testing::WithParamInterface<SlowCase> {
protected:
    Outcome RunWith(int writers, std::vector<std::string>& closed) {
        RemoveTree(out.string());
        RemoveTree(logs.string());
        FaultyFileAccess access;
        access.faults.emplace_back(Op::SetFileMeta, "d/f05", SysError::Io());
        access.faults.back().slow = std::chrono::milliseconds(300);
        access.onCall = [&](Op op, const std::string& path) {
            if (op == Op::Close && path.rfind(out.string(), 0) == 0) {
                closed.push_back(fs::path(path).filename().string());
            }
        };
        setup.StopOnError = GetParam().stopOnError;
        Outcome o;
        o.ok = RunBackup([&](BackupEngine& engine) {
            engine.FileAccess(access);
            engine.Writers(writers);
        });
        for (const auto& e : fs::directory_iterator(logs)) {
            o.log = LogLines(e.path().string());
        }
        o.tree = TreeOf(Copy(src));
        return o;
    }
};

TEST_P(SlowWriter, LogInWalkOrderAndNothingAfterAStop) {
    for (int f = 0; f < 40; ++f) {
        const std::string name = (f < 10 ? "f0" : "f") + std::to_string(f);
        WriteFile(src / "d" / name, "content of " + name);
        SetMtime(src / "d" / name, 1600000000);
    }
    FixFolderTimes(src);
    std::vector<std::string> oneClosed, eightClosed;
    const Outcome one = RunWith(1, oneClosed);
    const Outcome eight = RunWith(8, eightClosed);
    // Some copy after f05's was closed before it.
    const auto slow = std::find(eightClosed.begin(), eightClosed.end(), "f05");
    ASSERT_NE(slow, eightClosed.end());
    EXPECT_TRUE(
        std::any_of(eightClosed.begin(), slow, [](const std::string& n) { return n > "f05"; }));
    EXPECT_FALSE(eight.ok);
    ASSERT_EQ(eight.log, one.log);
    EXPECT_TRUE(eight.tree == one.tree) << Differences(eight.tree, one.tree);
    EXPECT_EQ(eight.tree.count("d/f04"), 1u);
    EXPECT_EQ(eight.tree.count("d/f05"), 0u);
    EXPECT_EQ(eight.tree.count("d/f39"), GetParam().stopOnError ? 0u : 1u);
}

const SlowCase kSlowCases[] = {{"GoesOn", false}, {"StopOnError", true}};

INSTANTIATE_TEST_SUITE_P(Writers, SlowWriter, ::testing::ValuesIn(kSlowCases), ParamName());

} // namespace
} // namespace tessaron::test
