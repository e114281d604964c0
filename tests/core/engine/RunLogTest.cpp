// The run's log file is its own: a link planted at the name the run chose, or another run
// that took the name first, leaves that file as it was; the run writes the next name.
#include "EngineTestSupport.h"
#include "FaultyFileAccess.h"
#include "TestNames.h"

namespace tessaron::test {
namespace {

struct TakenCase {
    const char* name;
    // Takes the name at path before the run of set (its log folder logs, in the test's
    // folder root) creates its log there; returns what that file must hold after the run.
    std::string (*take)(const fs::path& root, clsSetup& set, const fs::path& logs,
                        const fs::path& path);
    bool link = false; // plants a link
};

class LogName : public EngineTest, public ::testing::WithParamInterface<TakenCase> {};

TEST_P(LogName, TakenNameIsLeftAlone) {
    if (GetParam().link && !CanMakeLinks()) {
        GTEST_SKIP() << "this system makes no links";
    }
    WriteFile(src / "a.txt", "a");
    FaultyFileAccess access;
    fs::path taken;
    std::string holds;
    Fault before{Op::OpenLog, "", {}};
    before.before = [&](const std::string& p) {
        taken = p;
        holds = GetParam().take(root, setup, logs, p);
    };
    access.faults.push_back(before);
    EXPECT_TRUE(RunBackup([&](BackupEngine& engine) { engine.FileAccess(access); }));
    ASSERT_FALSE(taken.empty());
    EXPECT_EQ(ReadFile(taken), holds);
    std::string ours;
    for (const auto& e : fs::directory_iterator(logs)) {
        if (e.path() != taken) {
            ours += ReadFile(e.path());
        }
    }
    EXPECT_EQ(ours.find("Starting Backup"), ours.rfind("Starting Backup")) << ours;
    EXPECT_TRUE(ours.find("Backup Complete") != std::string::npos) << ours;
}

const TakenCase kTaken[] = {
    {"LinkToAnotherFile",
     [](const fs::path& root, clsSetup&, const fs::path&, const fs::path& path) {
         const fs::path victim = root / "victim";
         WriteFile(victim, "root's own\n");
         fs::create_symlink(victim, path);
         return std::string("root's own\n");
     },
     true},
    {"AnotherRunStartedAtOnce",
     [](const fs::path&, clsSetup& set, const fs::path& logs, const fs::path&) {
         ScriptedView other;
         BackupEngine engine(other);
         engine.Setup(set);
         engine.LogDir(logs.string());
         engine.Run();
         return ReadFile(engine.LogFile());
     }},
};

INSTANTIATE_TEST_SUITE_P(Names, LogName, ::testing::ValuesIn(kTaken), ParamName());

} // namespace
} // namespace tessaron::test
