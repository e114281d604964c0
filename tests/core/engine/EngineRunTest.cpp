#include "EngineTestSupport.h"
#include "mail/clsRegSettings.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>

namespace tessaron::test {
namespace {

struct timespec MTimeOf(const fs::path& p) {
    struct stat st {};
    lstat(p.c_str(), &st);
    return st.st_mtim;
}

void SetMTime(const fs::path& p, std::time_t sec, long nsec) {
    struct timespec t[2] = {{sec, nsec}, {sec, nsec}};
    utimensat(AT_FDCWD, p.c_str(), t, AT_SYMLINK_NOFOLLOW);
}

class RunTest : public EngineTest {
protected:
    void MakeTree() {
        WriteFile(src / "a.txt", "hello");
        WriteFile(src / "empty.bin", "");
        WriteFile(src / "d1/d2/d3/big.bin", Bytes(300000));
        WriteFile(src / "ro.txt", "read only");
        fs::permissions(src / "ro.txt", fs::perms::owner_read | fs::perms::group_read);
        fs::create_symlink("a.txt", src / "link");
        SetMTime(src / "a.txt", 1600000000, 123456789);
    }
};

TEST_F(RunTest, FullCopiesEverythingWithTimesAndPermissions) {
    MakeTree();
    ASSERT_TRUE(RunBackup());
    for (const char* name : {"a.txt", "empty.bin", "d1/d2/d3/big.bin", "ro.txt"}) {
        EXPECT_EQ(ReadAll(Copy(src / name)), ReadAll(src / name)) << name;
        const auto a = MTimeOf(src / name), b = MTimeOf(Copy(src / name));
        EXPECT_EQ(a.tv_sec, b.tv_sec) << name;
        EXPECT_EQ(a.tv_nsec, b.tv_nsec) << name;
        EXPECT_EQ(fs::status(Copy(src / name)).permissions(), fs::status(src / name).permissions());
    }
    ASSERT_TRUE(fs::is_symlink(Copy(src / "link")));
    EXPECT_EQ(fs::read_symlink(Copy(src / "link")), "a.txt");
    EXPECT_TRUE(view.Shows("5 Files,  300,014 Bytes"));
    EXPECT_TRUE(view.Shows("5 Files Transferred,  300,014 Bytes Transferred"));
    EXPECT_TRUE(view.Shows("Backup Complete"));
    EXPECT_EQ(view.texts[ViewText::CancelButton], "Close");
    EXPECT_TRUE(LogHas(" - Copying " + (src / "a.txt").string() + " (5 Bytes)...Done\r\n"));
    EXPECT_TRUE(LogHas(" - Creating " + Copy(src / "d1/d2/d3").string() + "/...Done\r\n"));
    // Lines of single files stay in the file, off the screen.
    EXPECT_FALSE(view.ShowsStart("Copying /"));
}

TEST_F(RunTest, IncrementalSkipsUpToDateFilesAndCopiesChangedOnes) {
    MakeTree();
    ASSERT_TRUE(RunBackup());
    setup.BackupType = "INCREMENTAL";
    ASSERT_TRUE(RunBackup());
    for (const char* name : {"a.txt", "empty.bin", "d1/d2/d3/big.bin", "ro.txt", "link"}) {
        EXPECT_TRUE(LogHas("File Skipped - " + (src / name).string() + " (")) << name;
    }
    EXPECT_FALSE(LogHas("Copying /"));

    WriteFile(src / "a.txt", "hello!"); // size differs
    SetMTime(src / "empty.bin", 1700000001, 0);
    SetMTime(Copy(src / "empty.bin"), 1700000000, 0); // the copy one second older
    fs::permissions(Copy(src / "ro.txt"), fs::perms::owner_read);
    ASSERT_TRUE(RunBackup());
    EXPECT_TRUE(LogHas("Copying " + (src / "a.txt").string() + " (6 Bytes)...Done"));
    EXPECT_TRUE(LogHas("Copying " + (src / "empty.bin").string() + " (0 Bytes)...Done"));
    EXPECT_TRUE(LogHas("File Skipped - " + (src / "ro.txt").string() + " (9 Bytes)"));
    EXPECT_EQ(ReadAll(Copy(src / "a.txt")), "hello!");
    EXPECT_EQ(MTimeOf(Copy(src / "empty.bin")).tv_sec, 1700000001);
    // Replacement goes through a temporary name that never stays behind.
    for (const auto& e : fs::recursive_directory_iterator(out)) {
        EXPECT_EQ(e.path().string().find("tessaron-part"), std::string::npos);
    }
}

TEST_F(RunTest, VerifyRunsAfterCopyAndCountsEveryFile) {
    MakeTree();
    setup.Verify = true;
    ASSERT_TRUE(RunBackup());
    EXPECT_TRUE(view.Shows("5 Files Verified,  300,014 Bytes Read"));
    EXPECT_TRUE(view.ShowsStart("Total Elapsed Time: "));
    EXPECT_EQ(view.texts[ViewText::FilesTransCaption], "Files Verified");
    EXPECT_TRUE(
        LogHas("Verifying " + (src / "d1/d2/d3/big.bin").string() + " (300000 Bytes)...Done\r\n"));
}

struct VerifyCase {
    const char* name;
    std::function<void(const fs::path&)> damage;
    bool ok;
    const char* line;
};

TEST_F(RunTest, VerifyFileComparesEveryByte) {
    const std::string data = Bytes(70000, 7);
    const std::vector<VerifyCase> cases = {
        {"same", [](const fs::path&) {}, true, nullptr},
        {"last byte", [&](const fs::path& p) { WriteFile(p, data.substr(0, 69999) + "x"); }, false,
         "Verify Error - File Mismatch"},
        {"cut short", [&](const fs::path& p) { WriteFile(p, data.substr(0, 1000)); }, false,
         "Verify Error - File Mismatch"},
        {"longer", [&](const fs::path& p) { WriteFile(p, data + "tail"); }, true, nullptr},
        {"missing", [](const fs::path& p) { fs::remove(p); }, false, nullptr},
    };
    WriteFile(src / "f.bin", data);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const fs::path copy = out / "f.bin";
        WriteFile(copy, data);
        c.damage(copy);
        view.lines.clear();
        BackupEngine engine(view);
        engine.Setup(setup);
        bool ok = !c.ok;
        engine.VerifyFile((src / "f.bin").string(), copy.string(), ok);
        EXPECT_EQ(ok, c.ok);
        if (c.line != nullptr) {
            EXPECT_TRUE(view.Shows(c.line));
        }
        if (std::string(c.name) == "missing") {
            EXPECT_TRUE(view.Shows("Unable to open - " + copy.string() +
                                   ", Error: (2) No such file or directory"));
        }
    }
}

TEST_F(RunTest, StopOnErrorEndsTheCopyButStillVerifies) {
    WriteFile(src / "a/1.txt", "one");
    WriteFile(src / "b/2.txt", "two");
    // A folder where the copy of 1.txt should go makes that copy fail.
    fs::create_directories(Copy(src / "a/1.txt"));
    setup.StopOnError = true;
    setup.Verify = true;
    EXPECT_FALSE(RunBackup());
    EXPECT_TRUE(
        view.ShowsStart("Unable to create - " + Copy(src / "a/1.txt").string() + ", Error: (21) "));
    EXPECT_TRUE(view.Shows("Unable to Copy File - " + (src / "a/1.txt").string()));
    EXPECT_TRUE(view.Shows("Copy Complete"));
    EXPECT_TRUE(view.Shows("Verifying Files..."));
    EXPECT_TRUE(view.Shows("Verify Complete"));
    EXPECT_TRUE(view.Shows("Error During Backup"));
    EXPECT_FALSE(fs::exists(Copy(src / "b/2.txt"))); // the copy loop stopped
}

TEST_F(RunTest, CancelDuringALargeFileKeepsThePartialCopy) {
    WriteFile(src / "big.bin", Bytes(1 << 20));
    SetMTime(src / "big.bin", 1600000000, 5);
    setup.BlockSize = 4096;
    setup.Verify = true;
    EXPECT_FALSE(RunBackup([&](BackupEngine& engine) {
        view.onYield = [&] {
            if (engine.Progress().CurrentDone >= 40960) {
                engine.Cancel();
            }
        };
    }));
    view.onYield = nullptr;
    EXPECT_TRUE(view.Shows("Copy Complete"));
    EXPECT_FALSE(view.Shows("Verifying Files..."));
    EXPECT_TRUE(view.Shows("Backup Cancelled"));
    const auto size = fs::file_size(Copy(src / "big.bin"));
    EXPECT_GE(size, 40960u);
    EXPECT_LT(size, 1u << 20);
    EXPECT_EQ(MTimeOf(Copy(src / "big.bin")).tv_sec, 1600000000);
}

struct TargetCase {
    const char* target;
    bool quiet;
    const char* line;
    const char* question;
};

TEST_F(RunTest, RefusedTargetsCancelTheRun) {
    const std::vector<TargetCase> cases = {
        {"Backup", false, "Invalid Target - No Drive or Server specified", nullptr},
        {"/media/nobody/USB/x", false, "Unknown Target Device - /media/nobody/USB/x",
         "Unknown Device"},
        {"/media/nobody/USB/x", true, "Unknown Target Device - /media/nobody/USB/x", nullptr},
    };
    WriteFile(src / "a.txt", "a");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.target);
        setup.Target = c.target;
        setup.Quiet = c.quiet;
        EXPECT_FALSE(RunBackup());
        EXPECT_TRUE(view.Shows(c.line));
        EXPECT_TRUE(view.Shows("Backup Cancelled"));
        EXPECT_FALSE(view.Shows("Copy Complete"));
        EXPECT_EQ(view.asked.size(), c.question ? 1u : 0u);
        if (c.question) {
            EXPECT_EQ(view.asked[0], c.question);
        }
    }
    EXPECT_FALSE(fs::exists("/media/nobody/USB"));
}

struct ClearCase {
    const char* name;
    bool quiet;
    std::deque<MsgAnswer> answers;
    bool cleared;
    size_t questions;
};

TEST_F(RunTest, ClearingIsConfirmedUnlessQuiet) {
    const std::vector<ClearCase> cases = {
        {"quiet", true, {}, true, 0},
        {"asked yes", false, {MsgAnswer::Yes}, true, 1},
        {"asked no", false, {MsgAnswer::No}, false, 1},
    };
    WriteFile(src / "a.txt", "a");
    setup.CleanTarget = true;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        WriteFile(out / "old/stale.txt", "x");
        setup.Quiet = c.quiet;
        view.answers = c.answers;
        EXPECT_EQ(RunBackup(), c.cleared);
        EXPECT_EQ(view.asked.size(), c.questions);
        EXPECT_EQ(fs::exists(out / "old"), !c.cleared);
        EXPECT_EQ(view.Shows("Clearing " + out.string() + "...Done"), c.cleared);
        EXPECT_EQ(view.Shows("Backup Cancelled"), !c.cleared);
    }
}

TEST_F(RunTest, ClearingNeverRemovesASelectedSource) {
    WriteFile(src / "a.txt", "a");
    setup.Target = root.string(); // holds the source
    setup.CleanTarget = true;
    EXPECT_FALSE(RunBackup());
    EXPECT_TRUE(view.ShowsStart("Target Not Cleared - " + root.string()));
    EXPECT_TRUE(view.Shows("Backup Cancelled"));
    EXPECT_TRUE(fs::exists(src / "a.txt"));
}

TEST_F(RunTest, BlockSizeIsTakenOnlyWithinItsRange) {
    const std::vector<std::pair<std::int32_t, std::int32_t>> cases = {
        {0, 128000}, {-1, 128000}, {16777217, 128000}, {16777216, 16777216}, {1, 1}};
    for (const auto& [wanted, used] : cases) {
        SCOPED_TRACE(wanted);
        setup.BlockSize = wanted;
        EXPECT_TRUE(RunBackup());
        EXPECT_EQ(lastBlockSize, used);
        EXPECT_EQ(view.Shows("Blocksize set to " + std::to_string(wanted)), wanted == used);
    }
}

TEST_F(RunTest, UnknownBackupTypeBecomesFull) {
    setup.BackupType = "incremental";
    EXPECT_TRUE(RunBackup());
    EXPECT_EQ(setup.BackupType, "FULL");
    EXPECT_TRUE(view.Shows("Starting Backup (FULL)..."));
}

TEST_F(RunTest, EmptySelectionStillChecksTheTarget) {
    setup.Sel.Clear();
    EXPECT_TRUE(RunBackup());
    const std::vector<std::string> expected = {"Starting Backup (FULL)...",
                                               "Calculating Backup Size",
                                               "0 Files,  0 Bytes",
                                               "Checking Target - " + out.string(),
                                               "Copying Files To: " + out.string() + "...",
                                               "Copy Complete",
                                               "0 Files Transferred,  0 Bytes Transferred"};
    auto texts = view.Texts();
    ASSERT_GE(texts.size(), expected.size() + 2);
    EXPECT_EQ(std::vector<std::string>(texts.begin(), texts.begin() + 7), expected);
    EXPECT_EQ(texts.back(), "Backup Complete");
}

TEST_F(RunTest, LogFilesAreNumberedWithinADay) {
    BackupEngine engine(view);
    fs::create_directories(logs);
    const std::string first = engine.MakeLogFileName(logs.string());
    char day[16];
    const std::time_t now = std::time(nullptr);
    std::strftime(day, sizeof day, "%Y%m%d", std::localtime(&now));
    EXPECT_EQ(first, (logs / ("BackupLog_" + std::string(day) + ".log")).string());
    WriteFile(first, "");
    EXPECT_EQ(engine.MakeLogFileName(logs.string() + "/"),
              (logs / ("BackupLog_" + std::string(day) + "_1.log")).string());
}

TEST_F(RunTest, SavedLogAndMailEndWithTheResult) {
    WriteFile(src / "a.txt", "a");
    setup.SaveLog = true;
    ASSERT_TRUE(RunBackup());
    fs::path saved;
    for (const auto& e : fs::directory_iterator(out)) {
        if (e.path().filename().string().rfind("BackupLog_", 0) == 0) {
            saved = e.path();
        }
    }
    ASSERT_FALSE(saved.empty());
    const std::string text = ReadAll(saved);
    EXPECT_EQ(text.substr(text.size() - 17), "Backup Complete\r\n");
}

// A relative selection (from a hand-written set file) is copied below the target, never
// into a sibling folder whose name starts with the target's.
TEST_F(RunTest, RelativeSelectionLandsBelowTheTarget) {
    WriteFile(src / "a.txt", "a");
    const fs::path before = fs::current_path();
    fs::current_path(root);
    setup.Sel.Clear();
    setup.Sel.AddSelection("src");
    const bool ok = RunBackup();
    fs::current_path(before);
    EXPECT_TRUE(ok);
    EXPECT_EQ(ReadAll(out / "src" / "a.txt"), "a");
    EXPECT_FALSE(fs::exists(root / "outsrc"));
}

TEST_F(RunTest, LinkLoopFifoAndTargetInsideTheSourceFinish) {
    WriteFile(src / "a.txt", "a");
    fs::create_symlink(".", src / "loop");
    ASSERT_EQ(mkfifo((src / "pipe").c_str(), 0600), 0);
    setup.Target = (src / "backup").string();
    fs::create_directories(setup.Target);
    setup.Verify = true;
    ASSERT_TRUE(RunBackup());
    const fs::path target = setup.Target;
    const fs::path copyRoot = fs::path(target.string() + src.string());
    EXPECT_EQ(ReadAll(copyRoot / "a.txt"), "a");
    EXPECT_TRUE(fs::is_symlink(copyRoot / "loop"));
    EXPECT_FALSE(fs::exists(copyRoot / "pipe"));
    EXPECT_FALSE(fs::exists(copyRoot / "backup"));
    EXPECT_TRUE(view.Shows("Output directory left out of the backup - " + target.string()));
    EXPECT_TRUE(LogHas("Special File Skipped - " + (src / "pipe").string()));
    EXPECT_TRUE(view.Shows("2 Files,  1 Bytes"));
}

TEST_F(RunTest, MailFailureLeavesTheResultAlone) {
    WriteFile(src / "a.txt", "a");
    clsRegSettings settings;
    settings.SettingsFile(HKeyCurrentUser, (root / "settings.ini").string());
    settings.SaveSetting("Settings", "SMTPServer", "127.0.0.1");
    settings.SaveSetting("Settings", "SMTPPort", "1"); // nothing listens there
    setup.Email = true;
    setup.EmailTo = "ann@example.com";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(RunBackup([&](BackupEngine& engine) {
        engine.Settings(settings);
        engine.MailTimeout(1);
    }));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    const auto texts = view.Texts();
    const auto result = std::find(texts.begin(), texts.end(), "Backup Complete");
    ASSERT_NE(result, texts.end());
    EXPECT_NE(result + 1, texts.end()); // the mailer's own lines follow the result
}

TEST_F(RunTest, AFailedReplacementKeepsTheOlderCopy) {
    // A folder opened as a file fails at its first read, even for root.
    const fs::path source = src / "dir";
    fs::create_directories(source / "x");
    const fs::path copy = out / "dir.bin";
    WriteFile(copy, "good old copy");
    BackupEngine engine(view);
    engine.Setup(setup);
    bool ok = true;
    engine.CopyFile(source.string(), copy.string(), ok);
    EXPECT_FALSE(ok);
    EXPECT_TRUE(view.ShowsStart("Error During Read - " + source.string() + ", Error: (21) "));
    EXPECT_EQ(ReadAll(copy), "good old copy");
    EXPECT_EQ(std::distance(fs::directory_iterator(out), fs::directory_iterator()), 1);
    EXPECT_EQ(engine.Progress().BytesDone, 0);
}

// Copy and verify move a file in one round per block of the block size (one yield each),
// whatever the alignment of the rounds, and every byte arrives.
TEST_F(RunTest, OneRoundPerBlockForAnyBlockAndFileSize) {
    struct Case {
        std::int32_t block;
        size_t size;
    };
    const Case cases[] = {{128000, 1000000}, {128000, 300000}, {131072, 262144}, {65536, 200000},
                          {70000, 300001},   {5000, 12345},    {4096, 4097},     {1000, 2500}};
    setup.Verify = true;
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.block) + " " + std::to_string(c.size));
        fs::remove_all(out);
        fs::create_directories(out);
        WriteFile(src / "f.bin", Bytes(c.size, static_cast<unsigned>(c.size)));
        setup.BlockSize = c.block;
        std::vector<std::int64_t> seen;
        ASSERT_TRUE(RunBackup([&](BackupEngine& engine) {
            view.onYield = [&] {
                const clsProgress& p = engine.Progress();
                // The walk's yield after the file sees the same count again.
                if (p.CurrentSize == static_cast<std::int64_t>(c.size) && p.CurrentDone > 0 &&
                    (seen.empty() || seen.back() != p.CurrentDone)) {
                    seen.push_back(p.CurrentDone);
                }
            };
        }));
        view.onYield = nullptr;
        EXPECT_EQ(ReadAll(Copy(src / "f.bin")), ReadAll(src / "f.bin"));
        const size_t blocks = (c.size + c.block - 1) / c.block;
        ASSERT_EQ(seen.size(), 2 * blocks); // copy, then verify
        for (size_t i = 0; i < blocks; ++i) {
            const auto end = static_cast<std::int64_t>(std::min((i + 1) * c.block, c.size));
            const std::int64_t unit = c.block >= 65536 ? 65536 : 4096;
            EXPECT_LE(seen[i], end);
            EXPECT_GT(seen[i], end - unit);
            if (c.block >= 4096 && i + 1 < blocks) {
                EXPECT_EQ(seen[i] % unit, 0); // the kernel copies whole units
            }
        }
        EXPECT_EQ(seen[blocks - 1], static_cast<std::int64_t>(c.size));
    }
}

} // namespace
} // namespace tessaron::test
