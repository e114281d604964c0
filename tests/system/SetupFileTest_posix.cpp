#include "CommandLine.h"
#include "SetupFile.h"
#include "SystemSupport.h"

#include "setfile/SetupLoad.h"
#include "setfile/clsSetup.h"

using namespace tessaron;
using tessaron::test::TempTree;
using tessaron::test::WriteFile;
namespace fs = std::filesystem;

namespace {

struct BadFile {
    const char* name;
    void (*make)(const fs::path&);
    const char* reason;
};

class LoadFailure : public ::testing::TestWithParam<BadFile> {};

// Every refusal names the file and the reason and leaves the loaded set as it was, also
// when the file fails halfway through.
TEST_P(LoadFailure, ReportsReasonAndKeepsTheSet) {
    TempTree dir;
    fs::path p = fs::path(dir.Root()) / GetParam().name;
    GetParam().make(p);
    clsSetup setup;
    setup.Target = "/previous";
    std::ostringstream messages;
    EXPECT_FALSE(LoadSetup(p.string(), setup, messages));
    EXPECT_EQ(messages.str(),
              "Unable to load setup file - " + p.string() + ": " + GetParam().reason + "\n");
    EXPECT_EQ(setup.Target, "/previous");
}

INSTANTIATE_TEST_SUITE_P(
    Files, LoadFailure,
    ::testing::Values(
        BadFile{"missing.set", [](const fs::path&) {}, "No such file or directory"},
        BadFile{"folder.set", [](const fs::path& p) { fs::create_directory(p); }, "Is a directory"},
        BadFile{"fifo.set", [](const fs::path& p) { mkfifo(p.c_str(), 0600); },
                "Not a regular file"},
        BadFile{"huge.set",
                [](const fs::path& p) {
                    WriteFile(p, "");
                    fs::resize_file(p, kMaxSetFileSize + 1);
                },
                "File is larger than 16 MiB"},
        BadFile{"badbool.set",
                [](const fs::path& p) { WriteFile(p, "Target = \"/x\"\r\nVerify = yes\r\n"); },
                "Type mismatch"},
        // The system would read "/home/a" and the copy land under another name.
        BadFile{"nul.set",
                [](const fs::path& p) {
                    WriteFile(
                        p, std::string("Target = \"/x\"\r\nSelections = \"/home/a\0b\"\r\n", 41));
                },
                "A path in the set holds a NUL character - /home/a\\x00b"}),
    test::ParamName());

// Every load starts from the record the window's New leaves, then applies the window's
// option rules, so a set never inherits options from the set loaded before it and an
// INCREMENTAL set never clears its target.
struct LoadCase {
    const char* name;
    std::string first, second; // the second is loaded over the first
    bool cleanTarget, email;
    std::string emailTo;
};

class LoadRecord : public ::testing::TestWithParam<LoadCase> {};

TEST_P(LoadRecord, EndsAsTheWindowWouldHoldIt) {
    TempTree dir;
    const fs::path a = fs::path(dir.Root()) / "a set.set", b = fs::path(dir.Root()) / "b.set";
    WriteFile(a, GetParam().first);
    WriteFile(b, GetParam().second);
    clsSetup setup;
    std::ostringstream messages;
    auto load = [&](const std::string& f) { return LoadSetup(f, setup, messages); };
    // The switches stand on either side of the loads and survive both.
    const CommandLine cl =
        ReadCommandLine(JoinArguments({"/BLOCKSIZE", "4096", "/LOAD", a.string(), "/QUIET", "/RUN",
                                       b.string(), "/LOGPATH", "/var/log x"}),
                        setup, load);
    EXPECT_EQ(cl.Action, "/RUN");
    EXPECT_EQ(messages.str(), "");
    EXPECT_EQ(std::tie(setup.CleanTarget, setup.Email, setup.EmailTo),
              std::tie(GetParam().cleanTarget, GetParam().email, GetParam().emailTo));
    EXPECT_TRUE(setup.Quiet);
    EXPECT_EQ(std::tie(setup.BlockSize, setup.LogPath), std::make_tuple(4096, "/var/log x"));
}

const std::string kCleanMail = "Target = \"/t\"\r\nBackupType = FULL\r\nCleanTarget = True\r\n"
                               "EMail = True\r\nEMailTo = ann@example.org\r\n";

INSTANTIATE_TEST_SUITE_P(
    Sets, LoadRecord,
    ::testing::Values(
        LoadCase{"FullKeepsClearing", "", kCleanMail, true, true, "ann@example.org"},
        LoadCase{"IncrementalNeverClears", "",
                 "BackupType = INCREMENTAL\nCleanTarget = True\nEMail = 1\n", false, true, ""},
        LoadCase{"NothingCarriesOver", kCleanMail, "Target = \"/other\"\r\n", false, false, ""},
        LoadCase{"EmptyFileIsANewSet", kCleanMail, "", false, false, ""}),
    test::ParamName());

} // namespace
