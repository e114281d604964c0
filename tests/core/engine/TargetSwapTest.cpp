// A target reached through a link in a folder another user can write: the link is swapped
// for one to the source while the run asks whether to clear (or, in quiet mode, while it
// checks). The run clears and copies where it checked; the source keeps every byte.
#include "EngineTestSupport.h"
#include "TestNames.h"
#include "platform/SystemPlaces.h"

namespace tessaron::test {
namespace {

// Answers the clearing question Yes, after running a step of the test.
class AnsweringView : public ScriptedView {
public:
    std::function<void()> whileAsked;
    Answer Ask(const Question& question) override {
        if (question.Title != "Clear Target") {
            return ScriptedView::Ask(question);
        }
        whileAsked();
        return {MsgAnswer::Yes};
    }
};

// The system's places, but the check's question whether the target is a whole drive
// first runs a step of the test.
class SwappingPlaces : public SystemPlaces {
public:
    std::function<void()> inCheck;
    bool IsMountRoot(clsFolder& folder, SysError& error) override {
        inCheck();
        return SystemPlaces::IsMountRoot(folder, error);
    }
};

struct SwapCase {
    const char* name;
    bool quiet; // quiet: nothing is asked, the swap comes inside the check
};

class TargetSwap : public EngineTest, public ::testing::WithParamInterface<SwapCase> {};

TEST_P(TargetSwap, ClearsAndCopiesWhereItChecked) {
    if (!CanMakeLinks()) {
        GTEST_SKIP() << "this system makes no links";
    }
    WriteFile(src / "a.txt", "source");
    WriteFile(out / "old.txt", "old");
    const fs::path link = root / "link";
    fs::create_directory_symlink(out, link);
    const auto swap = [&] {
        fs::remove(link);
        fs::create_directory_symlink(src, link);
    };
    setup.Target = link.string();
    setup.CleanTarget = true;
    setup.Quiet = GetParam().quiet;
    AnsweringView asking;
    asking.whileAsked = swap;
    SwappingPlaces places;
    places.inCheck = swap;
    BackupEngine engine(asking);
    engine.Setup(setup);
    engine.LogDir(logs.string());
    engine.Places(places);
    EXPECT_TRUE(engine.Run()) << asking.All();
    EXPECT_EQ(ReadFile(src / "a.txt"), "source");
    EXPECT_EQ(std::distance(fs::directory_iterator(src), fs::directory_iterator()), 1);
    EXPECT_FALSE(fs::exists(out / "old.txt"));
    EXPECT_EQ(ReadFile(CopyOf(out, src / "a.txt")), "source");
}

const SwapCase kSwaps[] = {{"WhileAsked", false}, {"InsideTheQuietCheck", true}};

INSTANTIATE_TEST_SUITE_P(Swaps, TargetSwap, ::testing::ValuesIn(kSwaps), ParamName());

} // namespace
} // namespace tessaron::test
