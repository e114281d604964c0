#include "ConsoleView.h"
#include "ProgressCounts.h"
#include "TestNames.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace tessaron;
using namespace std::chrono_literals;

namespace {

struct Console {
    std::ostringstream out, err;
    std::istringstream in;
    std::chrono::milliseconds now{0};
    ConsoleView view;

    explicit Console(ConsoleOptions o = {}, const std::string& input = "")
        : in(input), view(out, err, in, o, [this] { return now; }) {}
};

// Progress on the terminal's standard error; outToo: standard output is that terminal too.
ConsoleOptions OnTerminal(bool outToo) {
    ConsoleOptions o;
    o.Progress = o.Interactive = true;
    o.OutIsTerminal = outToo;
    o.Columns = 60;
    return o;
}

struct AskCase {
    const char* name;
    MsgButtons buttons;
    const char* input; // typed replies; nullptr: nobody at the terminal
    MsgAnswer answer;
    AnswerReason reason;
};

class Ask : public ::testing::TestWithParam<AskCase> {};

// An answer nobody typed carries its reason (the run logs it); the console itself prints
// nothing for it, so the run's log line is the only one.
TEST_P(Ask, AnswerFromTerminalOrUnattended) {
    const AskCase& c = GetParam();
    ConsoleOptions o;
    o.Interactive = c.input != nullptr;
    Console con(o, c.input ? c.input : "");
    const Answer a = con.view.Ask({"Clear Target", "Warning\r\n/b\r\nGo?", c.buttons});
    EXPECT_EQ(a.Button, c.answer);
    EXPECT_EQ(a.Reason, c.reason);
    EXPECT_EQ(con.out.str(), "");
    if (c.input != nullptr) {
        EXPECT_NE(con.err.str().find("Clear Target\nWarning\n/b\nGo?\n"), std::string::npos);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Replies, Ask,
    ::testing::Values(
        AskCase{"NoTerminalOk", MsgButtons::OK, nullptr, MsgAnswer::OK, AnswerReason::NoTerminal},
        AskCase{"NoTerminalCancel", MsgButtons::RetryCancel, nullptr, MsgAnswer::Cancel,
                AnswerReason::NoTerminal},
        AskCase{"TypedYes", MsgButtons::YesNo, " YES \n", MsgAnswer::Yes, AnswerReason::Person},
        AskCase{"RetypedNo", MsgButtons::YesNo, "maybe\nn\n", MsgAnswer::No, AnswerReason::Person},
        AskCase{"InputEnds", MsgButtons::YesNo, "maybe\n", MsgAnswer::No, AnswerReason::NoAnswer},
        AskCase{"TypedRetry", MsgButtons::RetryCancel, "r\n", MsgAnswer::Retry,
                AnswerReason::Person}),
    test::ParamName());

TEST(ConsoleView, InterruptCancelsOnceAndAnswersQuestionsSafely) {
    ConsoleOptions o;
    o.Interactive = true;
    Console c(o, "y\n");
    bool interrupted = false;
    int cancels = 0;
    c.view.WatchInterrupt([&] { return interrupted; }, [&] { ++cancels; });
    c.view.Yield();
    EXPECT_EQ(cancels, 0);
    interrupted = true;
    c.view.Yield();
    c.view.Yield();
    EXPECT_EQ(cancels, 1);
    // Someone typed "y", but after Ctrl+C the question is not asked any more.
    const Answer a = c.view.Ask({"Clear Target", "Go?", MsgButtons::YesNo});
    EXPECT_EQ(a.Button, MsgAnswer::No);
    EXPECT_EQ(a.Reason, AnswerReason::Interrupted);
}

// A refresh of a run: 3 of 10 files, 2,100 of 5,000 bytes done or failed.
void FillProgress(ConsoleView& v) {
    v.Progress(
        tessaron::test::Counters{10, 5000, 3, 1000, 1100, 0, 0, 2000, 500, 8000, "/src/a.txt"}
            .Progress());
}

// The run window's figures in one line; while verifying it says so.
TEST(ConsoleView, ProgressText) {
    Console c;
    FillProgress(c.view);
    EXPECT_EQ(c.view.ProgressText(),
              "42%  3/10 files  1,000/5,000 bytes  500 B/s  0:00:08 left  /src/a.txt");
    c.view.PhaseStarted(RunPhase::Verify, clsProgress());
    FillProgress(c.view);
    EXPECT_EQ(c.view.ProgressText().rfind("Verifying 42%", 0), 0u);
    c.view.Yield();
    EXPECT_EQ(c.err.str(), ""); // no terminal, no progress display
}

TEST(ConsoleView, ProgressRedrawnAtMostEvery500msAndClearedForLines) {
    Console c(OnTerminal(false));
    FillProgress(c.view);
    auto draws = [&] {
        const std::string e = c.err.str();
        std::size_t n = 0;
        for (std::size_t p = e.find("42%"); p != std::string::npos; p = e.find("42%", p + 1)) {
            ++n;
        }
        return n;
    };
    c.view.Yield();
    c.now = 499ms;
    c.view.Yield();
    EXPECT_EQ(draws(), 1u);
    c.now = 500ms;
    c.view.Yield();
    EXPECT_EQ(draws(), 2u);
    c.view.LogLine("Copy Complete");
    EXPECT_EQ(c.err.str().substr(c.err.str().size() - 4), "\r\033[K");
    EXPECT_EQ(c.out.str(), "Copy Complete");
}

TEST(ConsoleView, ProgressKeepsTheEndOfALongFileNameWithinTheWidth) {
    Console c(OnTerminal(false));
    c.view.FileStarted("/very/long/" + std::string(100, 'x') + "/\xC3\xA9nd.txt");
    c.view.Yield();
    const std::string e = c.err.str();
    const std::string drawn = e.substr(1, e.size() - 1 - 3); // between "\r" and "\033[K"
    EXPECT_EQ(drawn.size(), 59u + 1u); // 59 characters, one of them two bytes long
    EXPECT_EQ(drawn.substr(0, 7), "0%  ...");
    EXPECT_EQ(drawn.substr(drawn.size() - 9), "/\xC3\xA9nd.txt");
}

// On a shared terminal the progress display ends a pending line; "Done" appended later
// rewrites that line in place: the cursor goes up over every row the line took (60
// columns here; a UTF-8 character is one column) and the line is written again whole.
TEST(ConsoleView, SharedTerminalRewritesACompletedLineInPlace) {
    const std::string e6 = "\xc3\xa9\xc3\xa9\xc3\xa9\xc3\xa9\xc3\xa9\xc3\xa9";
    const std::pair<std::string, int> cases[] = {{"Clearing /b...", 1},
                                                 {std::string(60, 'x'), 1},
                                                 {std::string(61, 'x'), 2},
                                                 {std::string(50, 'x') + e6, 1},  // 56 columns
                                                 {std::string(55, 'x') + e6, 2}}; // 61 columns
    for (const auto& [line, rows] : cases) {
        Console c(OnTerminal(true));
        c.view.LogLine(line);
        c.view.Yield();
        c.view.AppendToLastLine("Done");
        c.view.End();
        EXPECT_EQ(c.out.str(),
                  line + "\n\033[" + std::to_string(rows) + "A\r\033[J" + line + "Done\n")
            << line;
    }
}

} // namespace
