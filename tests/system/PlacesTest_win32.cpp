// Where a run on Windows may clear: targets spelled in the ways Windows spells a place
// (another letter case, "/" for "\", doubled separators, ".."), a home folder, a drive's
// root and a share. Each is decided by what it names.

#include "PlaceRun.h"

using namespace tessaron::test;

namespace {

// A drive of its own for the tests (scripts/check-windows.sh gives Wine one, marked by a
// file at its root), which a clearing may meet as a whole drive.
void DriveRoot(PlaceRun& b) {
    b.skip = "no drive of the tests is there (scripts/check-windows.sh makes one)";
    for (char letter = 'D'; letter <= 'Z' && b.skip; ++letter) {
        const std::string root = std::string(1, letter) + ":\\";
        if (fs::exists(root + "TESSARON-TEST-DRIVE")) {
            b.set.Target = root;
            b.keep = root + "keep.txt";
            WriteFile(b.keep, "keep");
            b.skip = nullptr;
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

INSTANTIATE_TEST_SUITE_P(Targets, PlaceTest, ::testing::ValuesIn(kTargets),
                         tessaron::test::ParamName());

} // namespace
