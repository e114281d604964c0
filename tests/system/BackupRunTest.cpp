// The tessaron program run on temporary trees: what lands on disk, what the log file and
// the console say, and the exit status.

#include "SystemSupport.h"

#include <sys/mount.h>

using namespace tessaron::systest;

namespace {

class Backup : public ::testing::Test, public Sandbox {};

struct SourceFile {
    const char* rel;
    std::size_t size;
    mode_t mode;
};

const SourceFile kFiles[] = {
    {"empty.txt", 0, 0644},
    {"docs/report 2024.txt", 1000, 0640},
    {"docs/deep/er/data.bin", 300000, 0600},
    {"grow.txt", 10, 0644},
    {"touched.txt", 20, 0444},
};

TEST_F(Backup, FullCopiesEverythingThenIncrementalCopiesOnlyChanges) {
    for (std::size_t i = 0; i < std::size(kFiles); ++i) {
        fs::path p = src / kFiles[i].rel;
        WriteFile(p, Pattern(kFiles[i].size, static_cast<char>('a' + i)));
        chmod(p.c_str(), kFiles[i].mode);
        SetMtime(p, 1600000000 + static_cast<time_t>(i), 123456789);
    }
    RunResult full = RunSet(Set());
    ASSERT_EQ(full.Status, 0) << full.Out << full.Err;
    EXPECT_TRUE(Contains(full.Out, "Backup Complete")) << full.Out;
    for (const SourceFile& f : kFiles) {
        fs::path from = src / f.rel;
        fs::path copy = CopyOf(dst, from);
        ASSERT_TRUE(fs::exists(copy)) << copy;
        EXPECT_EQ(ReadFile(copy), ReadFile(from)) << f.rel;
        EXPECT_EQ(Stat(copy).st_mtim.tv_sec, Stat(from).st_mtim.tv_sec) << f.rel;
        EXPECT_EQ(Stat(copy).st_mtim.tv_nsec, 123456789) << f.rel;
        EXPECT_EQ(Stat(copy).st_mode & 07777, f.mode) << f.rel;
    }

    // One file grows (same time), one gets a newer time (same size), one is new.
    fs::path grow = src / "grow.txt";
    fs::path touched = src / "touched.txt";
    fs::path added = src / "docs/new.txt";
    WriteFile(grow, Pattern(11, 'g'));
    SetMtime(grow, 1600000003, 123456789);
    SetMtime(touched, 1600000005, 0);
    WriteFile(added, "new");
    SetFile inc = Set();
    inc.BackupType = "INCREMENTAL";
    RunResult r = RunSet(inc);
    ASSERT_EQ(r.Status, 0) << r.Out << r.Err;
    std::string log = ReadLog(lastLogDir);
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

TEST_F(Backup, VerificationOfGoodCopiesPasses) {
    WriteFile(src / "a.bin", Pattern(250000, 'v'));
    WriteFile(src / "sub/b.txt", "b");
    SetFile s = Set();
    s.Verify = true;
    s.SaveLog = true;
    RunResult r = RunSet(s, {"/QUIET", "/BLOCKSIZE", "4096"});
    ASSERT_EQ(r.Status, 0) << r.Out << r.Err;
    EXPECT_TRUE(Contains(r.Out, "Verify Complete")) << r.Out;
    EXPECT_TRUE(Contains(r.Out, "2 Files Verified")) << r.Out;
    EXPECT_FALSE(Contains(r.Out, "Verify Error")) << r.Out;
    std::string log = ReadLog(lastLogDir);
    EXPECT_TRUE(Contains(log, "Verifying " + (src / "a.bin").string() + " (250000 Bytes)...Done"))
        << log;
    // The saved log in the target is the run's log file.
    bool saved = false;
    for (const fs::directory_entry& e : fs::directory_iterator(dst)) {
        saved = saved || e.path().filename().string().rfind("BackupLog_", 0) == 0;
    }
    EXPECT_TRUE(saved);
}

// One run per case: how the set and the command line are changed, then what the user sees.
struct OutcomeCase {
    const char* name;
    void (*prepare)(Sandbox&, SetFile&, std::vector<std::string>& args);
    int status;
    std::vector<std::string> out;    // in standard output; %SRC%, %DST%, %TREE% replaced
    std::vector<std::string> notOut; // never in standard output
    std::vector<std::string> err;    // in standard error
    void (*check)(Sandbox&);
};

std::string Expand(std::string s, const Sandbox& b, const fs::path& src, const fs::path& dst) {
    const std::pair<const char*, std::string> vars[] = {
        {"%SRC%", src.string()}, {"%DST%", dst.string()}, {"%TREE%", b.tree.Root().string()}};
    for (const auto& [key, value] : vars) {
        for (std::size_t p; (p = s.find(key)) != std::string::npos;) {
            s.replace(p, std::strlen(key), value);
        }
    }
    return s;
}

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
    for (const std::string& t : c.out) {
        EXPECT_TRUE(Contains(r.Out, Expand(t, b, b.src, b.dst))) << t << "\n" << r.Out;
    }
    for (const std::string& t : c.notOut) {
        EXPECT_FALSE(Contains(r.Out, Expand(t, b, b.src, b.dst))) << t << "\n" << r.Out;
    }
    for (const std::string& t : c.err) {
        EXPECT_TRUE(Contains(r.Err, Expand(t, b, b.src, b.dst))) << t << "\n" << r.Err;
    }
    if (c.check) {
        c.check(b);
    }
}

void Junk(Sandbox& b, SetFile& s, std::vector<std::string>&) {
    WriteFile(b.dst / "old/junk.txt", "junk");
    s.CleanTarget = true;
}

// A file where the copy of a/sub must become a folder: every copy below it fails.
void BlockFirstSelection(Sandbox& b, SetFile& s, std::vector<std::string>&) {
    WriteFile(CopyOf(b.dst, b.src / "a/sub"), "in the way");
    s.Selections = {(b.src / "a").string(), (b.src / "b").string()};
}

std::vector<std::string> BlockSize(const char* n) {
    return {"/QUIET", "/BLOCKSIZE", n};
}

const OutcomeCase kOutcomes[] = {
    {"RelativeTarget",
     [](Sandbox&, SetFile& s, std::vector<std::string>&) { s.Target = "backup"; },
     2,
     {"Invalid Target - No Drive or Server specified", "Backup Cancelled"},
     {"Copying Files"},
     {},
     nullptr},
    {"UnpluggedRemovableDisk",
     [](Sandbox&, SetFile& s, std::vector<std::string>& a) {
         s.Target = "/media/nobody/USB/x";
         a.pop_back(); // not quiet: the question is answered OK by nobody
     },
     2,
     {"Unknown Device: ", "[answered OK]", "Unknown Target Device - ", "Backup Cancelled"},
     {"Copying Files"},
     {},
     [](Sandbox&) { EXPECT_FALSE(fs::exists("/media/nobody/USB")); }},
    {"LowerCaseIncrementalRunsAsFull",
     [](Sandbox&, SetFile& s, std::vector<std::string>&) { s.BackupType = "incremental"; },
     0,
     {"Starting Backup (FULL)...", "Backup Complete"},
     {},
     {},
     nullptr},
    {"ClearingQuiet",
     Junk,
     0,
     {"Clearing %DST%...Done", "Backup Complete"},
     {},
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
     {"Clear Target: ", "[answered No]", "Backup Cancelled"},
     {"Clearing"},
     {},
     [](Sandbox& b) { EXPECT_TRUE(fs::exists(b.dst / "old/junk.txt")); }},
    {"StopOnErrorEndsAtFirstFailure",
     [](Sandbox& b, SetFile& s, std::vector<std::string>& a) {
         BlockFirstSelection(b, s, a);
         s.StopOnError = true;
     },
     1,
     {"Unable to Copy File - %SRC%/a/sub/f.txt", "Error During Backup"},
     {},
     {},
     [](Sandbox& b) { EXPECT_FALSE(fs::exists(CopyOf(b.dst, b.src / "b/g.txt"))); }},
    {"ErrorWithoutStopGoesOn",
     BlockFirstSelection,
     1,
     {"Unable to Copy File - %SRC%/a/sub/f.txt", "Error During Backup"},
     {},
     {},
     [](Sandbox& b) { EXPECT_TRUE(fs::exists(CopyOf(b.dst, b.src / "b/g.txt"))); }},
    {"BlockSizeTakenKeywordsInAnyCase",
     [](Sandbox&, SetFile&, std::vector<std::string>& a) {
         a = {"/blocksize", "4096", "/run", a[1], "/quiet"};
     },
     0,
     {"Blocksize set to 4096"},
     {},
     {},
     nullptr},
    {"BlockSizeRoundedHalfToEven",
     [](Sandbox&, SetFile&, std::vector<std::string>& a) {
         auto more = BlockSize("2.5");
         a.insert(a.end(), more.begin(), more.end());
     },
     0,
     {"Blocksize set to 2\n"},
     {},
     {},
     nullptr},
    {"BlockSizeLargestTaken",
     [](Sandbox&, SetFile&, std::vector<std::string>& a) {
         auto more = BlockSize("16777216");
         a.insert(a.end(), more.begin(), more.end());
     },
     0,
     {"Blocksize set to 16777216"},
     {},
     {},
     nullptr},
    {"BlockSizeTooLargeIgnored",
     [](Sandbox&, SetFile&, std::vector<std::string>& a) {
         auto more = BlockSize("16777217");
         a.insert(a.end(), more.begin(), more.end());
     },
     0,
     {"Backup Complete"},
     {"Blocksize set to"},
     {},
     nullptr},
    {"BlockSizeNoNumberIgnored",
     [](Sandbox&, SetFile&, std::vector<std::string>& a) {
         auto more = BlockSize("abc");
         a.insert(a.end(), more.begin(), more.end());
     },
     0,
     {"Backup Complete"},
     {"Blocksize set to"},
     {},
     nullptr},
    {"MissingSetFile",
     [](Sandbox& b, SetFile&, std::vector<std::string>& a) {
         a = {"/RUN", (b.tree / "nope.set").string()};
     },
     3,
     {},
     {"Starting Backup"},
     {"Unable to load setup file - %TREE%/nope.set: No such file or directory"},
     nullptr},
    {"BadBooleanInSet",
     [](Sandbox&, SetFile& s, std::vector<std::string>&) { s.Extra = "Verify = maybe\r\n"; },
     3,
     {},
     {"Starting Backup"},
     {"Unable to load setup file - %TREE%/test.set: Type mismatch"},
     [](Sandbox& b) { EXPECT_FALSE(fs::exists(b.dst)); }},
};

INSTANTIATE_TEST_SUITE_P(Runs, RunOutcome, ::testing::ValuesIn(kOutcomes),
                         [](const auto& p) { return std::string(p.param.name); });

} // namespace
