#pragma once
// Runs of the program on a target spelled in some way, decided by what it names: a sandbox
// with src (two files), a second selection outside it and the options of a quiet clearing
// run, and the table case that prepares the target and says what the run must answer.

#include "SystemSupport.h"

#include <functional>

namespace tessaron::test {

struct PlaceRun : Sandbox {
    TempTree elsewhere;
    fs::path other = fs::path(elsewhere.Root()) / "o.txt";
    SetFile set = Set();
    RunOptions options;
    std::vector<std::string> switches{"/QUIET"};
    fs::path keep;              // a file of the user's at the target; "" for none
    std::function<void()> undo; // what the case must undo at the end (an unmount)
    const char* skip = nullptr; // why the case cannot run here

    PlaceRun() {
        WriteFile(src / "a" / "f.txt", "first");
        WriteFile(src / "g.txt", "second");
        WriteFile(other, "other");
        set.Selections.push_back(ToUtf8(other));
        set.CleanTarget = true;
    }
    ~PlaceRun() {
        if (undo) {
            undo();
        }
    }
    // The sources, and the user's file at the target, are all there.
    bool Intact() const {
        return ReadFile(src / "a" / "f.txt") == "first" && ReadFile(src / "g.txt") == "second" &&
               ReadFile(other) == "other" && (keep.empty() || ReadFile(keep) == "keep");
    }
};

struct PlaceCase {
    const char* name;
    void (*prepare)(PlaceRun&); // sets the target (and what it needs)
    int status;
    std::string out;                    // in standard output; %T% is the target as spelled
    std::string err = "";               // in standard error
    void (*check)(PlaceRun&) = nullptr; // what else must hold after the run
};

// The one test of the table; each system's file instantiates it with its cases.
class PlaceTest : public ::testing::TestWithParam<PlaceCase> {};

TEST_P(PlaceTest, DecidesOnWhatItNames) {
    const PlaceCase& c = GetParam();
    PlaceRun b;
    c.prepare(b);
    if (b.skip != nullptr) {
        GTEST_SKIP() << b.skip;
    }
    RunResult r = b.RunSet(b.set, b.switches, b.options);
    EXPECT_EQ(r.Status, c.status) << r.Out << r.Err;
    std::string out = c.out;
    if (const auto at = out.find("%T%"); at != std::string::npos) {
        out.replace(at, 3, b.set.Target);
    }
    EXPECT_TRUE(Contains(r.Out, out)) << out << "\n" << r.Out;
    EXPECT_TRUE(Contains(r.Err, c.err)) << r.Err;
    EXPECT_TRUE(b.Intact());
    if (c.check != nullptr) {
        c.check(b);
    }
}

} // namespace tessaron::test
