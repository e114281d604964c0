// The tessaron program run on temporary trees: what lands on disk, what the log file and
// the console say, and the exit status.

#include "SystemSupport.h"

using namespace tessaron::test;

namespace {

class Backup : public ::testing::Test, public Sandbox {};

TEST_F(Backup, FullCopiesEverythingThenIncrementalCopiesOnlyChanges) {
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
        WriteFile(p, Pattern(files[i].size, static_cast<char>('a' + i)));
        chmod(p.c_str(), files[i].mode);
        SetMtime(p, 1600000000 + static_cast<time_t>(i), 123456789);
    }
    RunResult full = RunSet(Set());
    ASSERT_EQ(full.Status, 0) << full.Out << full.Err;
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
    WriteFile(grow, Pattern(11, 'g'));
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

// The block size switch is taken from 1 byte to 16 MiB, rounded half to even; other
// values leave the default in place. Keywords are read in any case and order.
TEST_F(Backup, BlockSizeSwitch) {
    WriteFile(src / "f.txt", "f");
    Set().Save(setFile);
    const std::pair<const char*, const char*> cases[] = {{"4096", "4096"},
                                                         {"2.5", "2"},
                                                         {"16777216", "16777216"},
                                                         {"16777217", nullptr},
                                                         {"abc", nullptr}};
    for (const auto& [arg, shown] : cases) {
        RunResult r = RunArgs({"/blocksize", arg, "/run", setFile.string(), "/quiet"});
        EXPECT_EQ(r.Status, 0) << arg << r.Out;
        EXPECT_EQ(Contains(r.Out, "Blocksize set to "), shown != nullptr) << arg << r.Out;
        if (shown) {
            EXPECT_TRUE(Contains(r.Out, "Blocksize set to " + std::string(shown) + "\n")) << r.Out;
        }
    }
}

// One run per case: how the set and the command line are changed, then what the user sees.
struct OutcomeCase {
    const char* name;
    void (*prepare)(Sandbox&, SetFile&, std::vector<std::string>& args);
    int status;
    std::vector<std::string> out;    // in standard output; %SRC%, %DST%, %ROOT% replaced
    std::vector<std::string> notOut; // never in standard output
    void (*check)(Sandbox&);
};

class RunOutcome : public ::testing::TestWithParam<OutcomeCase> {};

TEST_P(RunOutcome, StatusAndMessages) {
    const OutcomeCase& c = GetParam();
    Sandbox b;
    WriteFile(b.src / "a/sub/f.txt", "first");
    WriteFile(b.src / "b/g.txt", "second");
    SetFile s = b.Set();
    std::vector<std::string> args{"/RUN", b.setFile.string(), "/QUIET"};
    c.prepare(b, s, args);
    s.Save(b.setFile);
    RunResult r = b.RunArgs(args);
    EXPECT_EQ(r.Status, c.status) << r.Out << r.Err;
    auto expand = [&](std::string t) {
        for (const auto& [key, value] : {std::pair<std::string, fs::path>{"%SRC%", b.src},
                                         {"%DST%", b.dst},
                                         {"%ROOT%", b.root}}) {
            for (std::size_t p; (p = t.find(key)) != std::string::npos;) {
                t.replace(p, key.size(), value.string());
            }
        }
        return t;
    };
    for (const std::string& t : c.out) {
        EXPECT_TRUE(Contains(r.Out, expand(t))) << t << "\n" << r.Out;
    }
    for (const std::string& t : c.notOut) {
        EXPECT_FALSE(Contains(r.Out, expand(t))) << t << "\n" << r.Out;
    }
    if (c.check) {
        c.check(b);
    }
}

void Junk(Sandbox& b, SetFile& s, std::vector<std::string>&) {
    WriteFile(b.dst / "old/junk.txt", "junk");
    s.CleanTarget = true;
}

const OutcomeCase kOutcomes[] = {
    {"VerifyPassesAndLogIsSaved",
     [](Sandbox&, SetFile& s, std::vector<std::string>&) { s.Verify = s.SaveLog = true; },
     0,
     {"Verify Complete", "2 Files Verified"},
     {"Verify Error"},
     [](Sandbox& b) {
         EXPECT_TRUE(Contains(b.LastLog(),
                              "Verifying " + (b.src / "b/g.txt").string() + " (6 Bytes)...Done"));
         bool saved = false;
         for (const fs::directory_entry& e : fs::directory_iterator(b.dst)) {
             saved = saved || e.path().filename().string().rfind("BackupLog_", 0) == 0;
         }
         EXPECT_TRUE(saved);
     }},
    {"RelativeTarget",
     [](Sandbox&, SetFile& s, std::vector<std::string>&) { s.Target = "backup"; },
     2,
     {"Invalid Target - No Drive or Server specified", "Backup Cancelled"},
     {"Copying Files"},
     nullptr},
    {"UnpluggedRemovableDisk",
     [](Sandbox&, SetFile& s, std::vector<std::string>& a) {
         s.Target = "/media/nobody/USB/x";
         a.pop_back(); // not quiet: the question is answered OK by nobody
     },
     2,
     {"Unknown Device - answered OK (no terminal)", "Unknown Target Device - /media/nobody/USB/x",
      "Backup Cancelled"},
     {"Copying Files"},
     [](Sandbox&) { EXPECT_FALSE(fs::exists("/media/nobody/USB")); }},
    {"LowerCaseIncrementalRunsAsFull",
     [](Sandbox&, SetFile& s, std::vector<std::string>&) { s.BackupType = "incremental"; },
     0,
     {"Starting Backup (FULL)...", "Backup Complete"},
     {},
     nullptr},
    {"ClearingQuiet",
     Junk,
     0,
     {"Clear Target - answered Yes (quiet mode)", "Clearing %DST%...Done", "Backup Complete"},
     {},
     [](Sandbox& b) {
         EXPECT_FALSE(fs::exists(b.dst / "old"));
         EXPECT_TRUE(fs::exists(CopyOf(b.dst, b.src / "b/g.txt")));
     }},
    {"ClearingRefusedWhenNobodyAnswers",
     [](Sandbox& b, SetFile& s, std::vector<std::string>& a) {
         Junk(b, s, a);
         a.pop_back();
     },
     2,
     {"Clear Target - answered No (no terminal)", "Backup Cancelled"},
     {"Clearing"},
     [](Sandbox& b) { EXPECT_TRUE(fs::exists(b.dst / "old/junk.txt")); }},
};

INSTANTIATE_TEST_SUITE_P(Runs, RunOutcome, ::testing::ValuesIn(kOutcomes),
                         [](const auto& p) { return std::string(p.param.name); });

// A set file that cannot be loaded ends the program with status 3 before any backup.
TEST_F(Backup, UnloadableSetFile) {
    SetFile bad = Set();
    bad.Extra = "Verify = maybe\r\n";
    bad.Save(setFile);
    const std::pair<fs::path, const char*> cases[] = {
        {root / "nope.set", "No such file or directory"}, {setFile, "Type mismatch"}};
    for (const auto& [file, reason] : cases) {
        RunResult r = RunArgs({"/RUN", file.string()});
        EXPECT_EQ(r.Status, 3) << r.Out << r.Err;
        EXPECT_TRUE(Contains(r.Err, "Unable to load setup file - " + file.string() + ": " + reason))
            << r.Err;
        EXPECT_FALSE(Contains(r.Out, "Starting Backup")) << r.Out;
        EXPECT_FALSE(fs::exists(dst));
    }
}

} // namespace
