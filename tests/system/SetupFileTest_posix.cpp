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
                "Type mismatch"}),
    tessaron::test::ParamName());

// Every load starts from the record the window's New leaves, then applies the window's
// option rules: a set never inherits options from the set loaded before it, an INCREMENTAL
// set never clears its target, and the switches on either side of the loads survive both.
TEST(LoadRecord, EndsAsTheWindowWouldHoldIt) {
    TempTree dir;
    const std::string a = dir.Write("a set.set", "Target = \"/t\"\r\nBackupType = FULL\r\n"
                                                 "CleanTarget = True\r\nEMailTo = ann@x.org\r\n");
    const std::string b =
        dir.Write("b.set", "BackupType = INCREMENTAL\nCleanTarget = True\nEMail = 1\n");
    clsSetup setup;
    std::ostringstream messages;
    auto load = [&](const std::string& f) { return LoadSetup(f, setup, messages); };
    const CommandLine cl =
        ReadCommandLine(JoinArguments({"/BLOCKSIZE", "4096", "/LOAD", a, "/QUIET", "/RUN", b,
                                       "/LOGPATH", "/var/log x"}),
                        setup, load);
    EXPECT_EQ(cl.Action, "/RUN");
    EXPECT_EQ(messages.str(), "");
    EXPECT_EQ(std::tie(setup.Target, setup.CleanTarget, setup.Email, setup.EmailTo),
              std::make_tuple("", false, true, ""));
    EXPECT_TRUE(setup.Quiet);
    EXPECT_EQ(std::tie(setup.BlockSize, setup.LogPath), std::make_tuple(4096, "/var/log x"));
}

} // namespace
