#include "SetupFile.h"
#include "CommandLine.h"
#include "SystemSupport.h"

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

// Every refusal names the file and the reason; one that never reaches the parser leaves
// the loaded set as it was.
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
    if (std::string(GetParam().reason) != "Type mismatch") {
        EXPECT_EQ(setup.Target, "/previous");
    }
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
        BadFile{"badbool.set", [](const fs::path& p) { WriteFile(p, "Verify = yes\r\n"); },
                "Type mismatch"}));

// Switches given before the load survive it; a second load replaces the first set whole.
TEST(LoadSetup, SwitchesAndASecondLoad) {
    TempTree dir;
    fs::path a = fs::path(dir.Root()) / "daily set.set", b = fs::path(dir.Root()) / "b.set";
    WriteFile(a, "Target = \"/backup\"\r\nBackupType = INCREMENTAL\r\nVerify = True\r\n"
                 "Selections = \"/home/ann\"\r\n");
    WriteFile(b, "Target = \"/other\"\r\nSelections = \"/srv\"\r\n");
    clsSetup setup;
    std::ostringstream messages;
    auto load = [&](const std::string& f) { return LoadSetup(f, setup, messages); };
    CommandLine cl = ReadCommandLine(JoinArguments({"/BLOCKSIZE", "4096", "/QUIET", "/LOGPATH",
                                                    "/var/log x", "/run", a.string()}),
                                     setup, load);
    EXPECT_EQ(cl.Action, "/RUN");
    EXPECT_EQ(messages.str(), "");
    EXPECT_EQ(setup.Target, "/backup");
    EXPECT_EQ(setup.BackupType, "INCREMENTAL");
    EXPECT_TRUE(setup.Verify);
    EXPECT_EQ(setup.BlockSize, 4096);

    ASSERT_TRUE(load(b.string()));
    EXPECT_EQ(setup.Target, "/other");
    EXPECT_EQ(setup.BackupType, "");
    EXPECT_FALSE(setup.Verify);
    ASSERT_EQ(setup.Sel.Count(), 1);
    EXPECT_EQ(setup.Sel.Item(1)->path(), "/srv");
}

} // namespace
