// The tessaron program run on temporary trees: what lands on disk, what the log file and
// the console say, and the exit status.

#include "SystemSupport.h"

using namespace tessaron::test;

namespace {

class Backup : public ::testing::Test, public Sandbox {};

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

// Where an unplugged disk would be: a folder below the desktop's removable-media folder
// that is no mount point, or a drive letter that no drive has.
std::string MissingDrive() {
#ifdef _WIN32
    const DWORD drives = ::GetLogicalDrives();
    for (char letter = 'Y'; letter > 'D'; --letter) {
        if ((drives & (1u << (letter - 'A'))) == 0) {
            return std::string(1, letter) + ":\\";
        }
    }
    return "D:\\";
#else
    return "/media/nobody/USB/";
#endif
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
    WriteFile(b.src / "a" / "sub" / "f.txt", "first");
    WriteFile(b.src / "b" / "g.txt", "second");
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
    OutcomeCase(
        "VerifyPassesAndLogIsSaved",
        [](Sandbox&, SetFile& s, std::vector<std::string>&) { s.Verify = s.SaveLog = true; }, 0,
        {"Verify Complete", "2 Files Verified"}, {"Verify Error"},
        [](Sandbox& b) {
            EXPECT_TRUE(Contains(b.LastLog(), "Verifying " + (b.src / "b" / "g.txt").string() +
                                                  " (6 Bytes)...Done"));
            bool saved = false;
            for (const fs::directory_entry& e : fs::directory_iterator(b.dst)) {
                saved = saved || e.path().filename().string().rfind("BackupLog_", 0) == 0;
            }
            EXPECT_TRUE(saved);
        }),
    OutcomeCase(
        "RelativeTarget",
        [](Sandbox&, SetFile& s, std::vector<std::string>&) { s.Target = "backup"; }, 2,
        {"Invalid Target - No Drive or Server specified", "Backup Cancelled"}, {"Copying Files"},
        nullptr),
    OutcomeCase(
        "UnpluggedRemovableDisk",
        [](Sandbox&, SetFile& s, std::vector<std::string>& a) {
            s.Target = MissingDrive() + "x";
            a.pop_back(); // not quiet: the question is answered OK by nobody
        },
        2,
        {"Unknown Device - answered OK (no terminal)",
         "Unknown Target Device - " + MissingDrive() + "x", "Backup Cancelled"},
        {"Copying Files"}, [](Sandbox&) { EXPECT_FALSE(fs::exists(MissingDrive())); }),
    OutcomeCase(
        "LowerCaseIncrementalRunsAsFull",
        [](Sandbox&, SetFile& s, std::vector<std::string>&) { s.BackupType = "incremental"; }, 0,
        {"Starting Backup (FULL)...", "Backup Complete"}, {}, nullptr),
    OutcomeCase(
        "ClearingQuiet", Junk, 0,
        {"Clear Target - answered Yes (quiet mode)", "Clearing %DST%...Done", "Backup Complete"},
        {},
        [](Sandbox& b) {
            EXPECT_FALSE(fs::exists(b.dst / "old"));
            EXPECT_TRUE(fs::exists(CopyOf(b.dst, b.src / "b/g.txt")));
        }),
    OutcomeCase(
        "ClearingRefusedWhenNobodyAnswers",
        [](Sandbox& b, SetFile& s, std::vector<std::string>& a) {
            Junk(b, s, a);
            a.pop_back();
        },
        2, {"Clear Target - answered No (no terminal)", "Backup Cancelled"}, {"Clearing"},
        [](Sandbox& b) { EXPECT_TRUE(fs::exists(b.dst / "old/junk.txt")); }),
};

INSTANTIATE_TEST_SUITE_P(Runs, RunOutcome, ::testing::ValuesIn(kOutcomes),
                         tessaron::test::ParamName());

// A set file that cannot be loaded ends the program with status 3 before any backup.
// (The system's texts for a missing file differ between systems: only the program's own
// reason is compared.)
TEST_F(Backup, UnloadableSetFile) {
    SetFile bad = Set();
    bad.Extra = "Verify = maybe\r\n";
    bad.Save(setFile);
    const std::pair<fs::path, const char*> cases[] = {{root / "nope.set", ""},
                                                      {setFile, "Type mismatch"}};
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
