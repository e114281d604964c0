// The run window's texts through a run's events: each case a few events and what the
// window (and the console's progress line) then shows.
#include "ui/RunTexts.h"
#include "ProgressCounts.h"
#include "TestNames.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>

namespace tessaron::ui {
namespace {

using L = RunLabel;

using test::Counters;

// A copy refresh: 3 of 10 files, 2,100 of 5,000 bytes done or failed, a third of a file.
const Counters kCopying{10, 5000, 3, 1000, 1100, 1, 3, 61000, 2.5, 119600, "/src/a.txt"};
// The counters as verification starts after that copy: nothing done, the failures kept.
const Counters kVerifyStart{.totalFiles = 10, .totalBytes = 5000, .skipped = 1000};

struct TextsCase {
    const char* name;
    std::function<void(RunTexts&)> events;
    std::map<RunLabel, std::string> shows; // the texts checked
    int currentBar, overallBar;
};

class Texts : public ::testing::TestWithParam<TextsCase> {};

TEST_P(Texts, FollowTheRun) {
    const TextsCase& c = GetParam();
    RunTexts texts;
    c.events(texts);
    for (const auto& [label, text] : c.shows) {
        EXPECT_EQ(texts.Text(label), text) << static_cast<int>(label);
    }
    EXPECT_EQ(texts.Bar(RunBar::Current), c.currentBar);
    EXPECT_EQ(texts.Bar(RunBar::Overall), c.overallBar);
}

const TextsCase kCases[] = {
    TextsCase(
        "ANewRunForgetsTheLast",
        [](RunTexts& t) {
            t.Progress(kCopying.Progress());
            t.PhaseStarted(RunPhase::Verify, kVerifyStart.Progress());
            t.Result(RunResult::Error);
            t.Finished();
            t.Reset();
        },
        {{L::Caption, "Backup Progress"},
         {L::CurrentFrame, "Current File"},
         {L::FilesDoneCaption, "Files Transferred"},
         {L::Button, "Cancel"},
         {L::Result, ""},
         {L::Files, ""},
         {L::Elapsed, ""}},
        0, 0),
    TextsCase(
        "RefreshGroupsAndTimes", [](RunTexts& t) { t.Progress(kCopying.Progress()); },
        {{L::Caption, "Backup Progress - 42% Complete"},
         {L::CurrentFile, "/src/a.txt"},
         {L::Files, "10"},
         {L::Bytes, "5,000"},
         {L::FilesDone, "3"},
         {L::BytesDone, "1,000"},
         {L::Elapsed, "0:01:01"},
         {L::BytesPerSecond, "2"},
         {L::Remaining, "0:01:60"}},
        33, 42),
    TextsCase(
        "ZeroTotalsShowNothing",
        [](RunTexts& t) { t.Progress(Counters{.totalFiles = 1234}.Progress()); },
        {{L::Files, "1,234"},
         {L::FilesDone, "0"},
         {L::Bytes, ""},
         {L::BytesDone, ""},
         {L::Elapsed, ""},
         {L::Caption, "Backup Progress - 0% Complete"}},
        0, 0),
    TextsCase(
        "UnmeasuredRefreshKeepsBarsAndTimes",
        [](RunTexts& t) {
            t.Progress(kCopying.Progress());
            t.Progress(Counters{}.Progress());
        },
        {{L::Caption, "Backup Progress - 42% Complete"},
         {L::Files, ""},
         {L::Elapsed, "0:01:01"},
         {L::BytesPerSecond, "2"},
         {L::Remaining, "0:01:60"}},
        33, 42),
    TextsCase(
        "CopyStartKeepsThePercentage",
        [](RunTexts& t) {
            t.PhaseStarted(RunPhase::Size, Counters{}.Progress());
            t.Progress(Counters{.totalFiles = 10, .totalBytes = 5000, .elapsed = 900}.Progress());
            t.PhaseStarted(RunPhase::Copy,
                           Counters{.totalFiles = 10, .totalBytes = 5000}.Progress());
        },
        {{L::Caption, "Backup Progress - 0% Complete"},
         {L::FilesDoneCaption, "Files Transferred"},
         {L::FilesDone, "0"},
         {L::Elapsed, ""}},
        0, 0),
    TextsCase(
        "VerifyStartShowsItsOwnCounters",
        [](RunTexts& t) {
            t.Progress(kCopying.Progress());
            t.PhaseStarted(RunPhase::Verify, kVerifyStart.Progress());
        },
        // the frame and the counters at 0: RunWindowLogicTest, as the window gets them
        {{L::Caption, "Backup Progress (Verifying)"},
         {L::OverallFrame, "Overall Progress (Verifying)"},
         {L::FilesDoneCaption, "Files Verified"},
         {L::BytesDoneCaption, "Bytes Read"},
         {L::Elapsed, ""},
         {L::Remaining, ""}},
        0, 20),
    TextsCase(
        "VerifyRefreshPutsThePercentageBack",
        [](RunTexts& t) {
            t.PhaseStarted(RunPhase::Verify, kVerifyStart.Progress());
            Counters c = kVerifyStart;
            c.bytesDone = 1500;
            c.elapsed = 1000;
            t.Progress(c.Progress());
        },
        {{L::Caption, "Backup Progress - 50% Complete"},
         {L::CurrentFrame, "Current File (Verifying)"},
         {L::BytesDone, "1,500"},
         {L::Elapsed, "0:00:01"}},
        0, 50),
    TextsCase(
        "FileStartEscapesItsNameAndRestartsItsBar",
        [](RunTexts& t) {
            t.Progress(kCopying.Progress());
            t.FileStarted("/src/new\tline\x01.txt");
        },
        {{L::CurrentFile, "/src/new\\tline\\x01.txt"}, {L::FilesDone, "3"}}, 0, 42),
};

INSTANTIATE_TEST_SUITE_P(RunTexts, Texts, ::testing::ValuesIn(kCases), test::ParamName());

} // namespace
} // namespace tessaron::ui
