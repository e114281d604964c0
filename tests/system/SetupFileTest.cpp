#include "SetupFile.h"
#include "CommandLine.h"

#include "setfile/clsSetup.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

using namespace tessaron;
namespace fs = std::filesystem;

namespace {

class TempDir {
public:
    TempDir() {
        std::string tmpl = (fs::temp_directory_path() / "tessaron-setfile-XXXXXX").string();
        m_path = mkdtemp(tmpl.data());
    }
    ~TempDir() {
        std::error_code ec;
        fs::remove_all(m_path, ec);
    }
    fs::path operator/(const char* name) const { return m_path / name; }

private:
    fs::path m_path;
};

void Write(const fs::path& p, const std::string& text) {
    std::ofstream(p, std::ios::binary) << text;
}

const char* const kGoodSet = "Target = \"/backup\"\r\nBackupType = INCREMENTAL\r\n"
                             "Verify = True\r\nSelections = \"/home/ann\"\r\n";

struct BadFile {
    const char* name;
    void (*make)(const fs::path&);
    const char* reason;
};

class LoadFailure : public ::testing::TestWithParam<BadFile> {};

// Every refusal names the file and the reason and leaves the loaded set as it was.
TEST_P(LoadFailure, ReportsReasonAndKeepsTheSet) {
    TempDir dir;
    fs::path p = dir / GetParam().name;
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
                    Write(p, "");
                    fs::resize_file(p, kMaxSetFileSize + 1);
                },
                "File is larger than 16 MiB"},
        BadFile{"badbool.set", [](const fs::path& p) { Write(p, "Verify = yes\r\n"); },
                "Type mismatch"}));

TEST(LoadSetup, SwitchesApplyWhereverTheyStand) {
    TempDir dir;
    fs::path p = dir / "daily set.set";
    Write(p, kGoodSet);
    clsSetup setup;
    std::ostringstream messages;
    std::string text = JoinArguments(
        {"/BLOCKSIZE", "4096", "/QUIET", "/LOGPATH", "/var/log x", "/run", p.string()});
    CommandLine cl = ReadCommandLine(
        text, setup, [&](const std::string& f) { return LoadSetup(f, setup, messages); });
    EXPECT_EQ(cl.Action, "/RUN");
    EXPECT_EQ(messages.str(), "");
    EXPECT_EQ(setup.Target, "/backup");
    EXPECT_EQ(setup.BackupType, "INCREMENTAL");
    EXPECT_TRUE(setup.Verify);
    ASSERT_EQ(setup.Sel.Count(), 1);
    EXPECT_EQ(setup.Sel.Item(1)->path(), "/home/ann");
    EXPECT_TRUE(setup.Quiet);
    EXPECT_EQ(setup.BlockSize, 4096);
    EXPECT_EQ(setup.LogPath, "/var/log x");
}

TEST(LoadSetup, SecondLoadReplacesTheFirst) {
    TempDir dir;
    Write(dir / "a.set", kGoodSet);
    Write(dir / "b.set", "Target = \"/other\"\r\nSelections = \"/srv\"\r\n");
    clsSetup setup;
    std::ostringstream messages;
    ASSERT_TRUE(LoadSetup((dir / "a.set").string(), setup, messages));
    ASSERT_TRUE(LoadSetup((dir / "b.set").string(), setup, messages));
    EXPECT_EQ(setup.Target, "/other");
    EXPECT_EQ(setup.BackupType, "");
    EXPECT_FALSE(setup.Verify);
    ASSERT_EQ(setup.Sel.Count(), 1);
    EXPECT_EQ(setup.Sel.Item(1)->path(), "/srv");
}

TEST(SetupSummary, ListsTargetOptionsAndSelections) {
    clsSetup setup;
    ASSERT_TRUE(setup.Parse("Target = \"/b\"\r\nBackupType = FULL\r\nSaveLog = True\r\n"
                            "Selections = \"/home\" Except (\"/home/tmp\")\r\n\t\"/etc\"\r\n"));
    std::string s = SetupSummary(setup);
    EXPECT_NE(s.find("Target:        /b\n"), std::string::npos) << s;
    EXPECT_NE(s.find("Save log:      yes\n"), std::string::npos) << s;
    EXPECT_NE(s.find("Selections:    2\n  /home\n    except /home/tmp\n  /etc\n"),
              std::string::npos)
        << s;
}

} // namespace
