// Where a run on Windows may clear: targets spelled in the ways Windows spells a place
// (another letter case, "/" for "\", doubled separators, ".."), a home folder, a drive's
// root and a share. Each is decided by what it names.

#include "SystemSupport.h"

using namespace tessaron::test;

namespace {

// A sandbox with src (two files), a second selection outside it, and the options of a
// quiet clearing run.
struct PlaceRun : Sandbox {
    TempTree elsewhere;
    fs::path other = fs::path(elsewhere.Root()) / "o.txt";
    SetFile set = Set();
    RunOptions options;
    bool skip = false;

    PlaceRun() {
        WriteFile(src / "a" / "f.txt", "first");
        WriteFile(src / "g.txt", "second");
        WriteFile(other, "other");
        set.Selections.push_back(ToUtf8(other));
        set.CleanTarget = true;
    }
    // The sources, and a file of the user's on a drive that was the target, are all there.
    bool Intact() const {
        const bool drive = set.Target.size() == 3 && set.Target.ends_with(":\\");
        return ReadFile(src / "a" / "f.txt") == "first" && ReadFile(src / "g.txt") == "second" &&
               ReadFile(other) == "other" &&
               (!drive || ReadFile(set.Target + "keep.txt") == "keep");
    }
};

struct PlaceCase {
    const char* name;
    void (*prepare)(PlaceRun&); // sets the target (and what it needs)
    int status;
    std::string out; // in standard output; %T% is the target as spelled
};

class WindowsTarget : public ::testing::TestWithParam<PlaceCase> {};

TEST_P(WindowsTarget, DecidesOnWhatItNames) {
    const PlaceCase& c = GetParam();
    PlaceRun b;
    c.prepare(b);
    if (b.skip) {
        GTEST_SKIP() << "no drive of the tests is there (scripts/check-windows.sh makes one)";
    }
    RunResult r = b.RunSet(b.set, {"/QUIET"}, b.options);
    EXPECT_EQ(r.Status, c.status) << r.Out << r.Err;
    std::string out = c.out;
    if (const auto at = out.find("%T%"); at != std::string::npos) {
        out.replace(at, 3, b.set.Target);
    }
    EXPECT_TRUE(Contains(r.Out, out)) << out << "\n" << r.Out;
    EXPECT_TRUE(b.Intact());
}

// A drive of its own for the tests (scripts/check-windows.sh gives Wine one, marked by a
// file at its root), which a clearing may meet as a whole drive.
void DriveRoot(PlaceRun& b) {
    b.skip = true;
    for (char letter = 'D'; letter <= 'Z' && b.skip; ++letter) {
        const std::string root = std::string(1, letter) + ":\\";
        if (fs::exists(root + "TESSARON-TEST-DRIVE")) {
            b.set.Target = root;
            WriteFile(root + "keep.txt", "keep");
            b.skip = false;
        }
    }
}

const std::string kHoldsSource = "Target Not Cleared - %T% holds the selected source";

const PlaceCase kTargets[] = {
    {"OtherLetterCase", [](PlaceRun& b) { b.set.Target = ToUtf8(b.root / "SRC"); }, 2,
     kHoldsSource},
    {"ForwardSlashes", [](PlaceRun& b) { b.set.Target = ToUtf8(b.root) + "/src/"; }, 2,
     kHoldsSource},
    {"DoubledSeparators", [](PlaceRun& b) { b.set.Target = ToUtf8(b.root) + "\\\\src"; }, 2,
     kHoldsSource},
    {"ParentWithDotDot", [](PlaceRun& b) { b.set.Target = ToUtf8(b.src / "a" / ".." / ".."); }, 2,
     kHoldsSource},
    {"HomeWithDot",
     [](PlaceRun& b) {
         WriteFile(b.root / "home" / "h.txt", "home");
         b.options.Env = {{"USERPROFILE", ToUtf8(b.root / "home")}};
         b.set.Target = ToUtf8(b.root / "home" / ".");
     },
     2, "Target Not Cleared - %T% is the root or a home directory"},
    {"DriveRootAsksEvenQuiet", DriveRoot, 2, "Clear Target - answered No (no terminal)"},
    {"Share", [](PlaceRun& b) { b.set.Target = "\\\\server\\share\\backup"; }, 2,
     "Invalid Target - No Drive or Server specified"},
};

INSTANTIATE_TEST_SUITE_P(Targets, WindowsTarget, ::testing::ValuesIn(kTargets),
                         [](const auto& p) { return std::string(p.param.name); });

} // namespace
