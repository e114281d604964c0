#include "CommandLine.h"

#include "setfile/clsParser.h"
#include "setfile/clsSetup.h"

#include <gtest/gtest.h>

#include <limits>

using namespace tessaron;

namespace {

std::vector<std::string> Tokens(const std::string& text) {
    std::vector<std::string> out;
    if (text.empty()) {
        return out;
    }
    clsParser p;
    p.text(text);
    for (int32_t i = 1; i <= p.TokenCount(); ++i) {
        out.push_back(p.token(i));
    }
    return out;
}

// The tokens of the joined string are the arguments again.
class JoinRoundTrip : public ::testing::TestWithParam<std::vector<std::string>> {};

TEST_P(JoinRoundTrip, TokensAreTheArguments) {
    EXPECT_EQ(Tokens(JoinArguments(GetParam())), GetParam()) << JoinArguments(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, JoinRoundTrip,
    ::testing::Values(std::vector<std::string>{},
                      std::vector<std::string>{"/RUN", "/home/ann/My Sets/daily.set", "/QUIET"},
                      std::vector<std::string>{"", "x"}, std::vector<std::string>{"x", ""},
                      std::vector<std::string>{"/LOGPATH", "", "/QUIET"},
                      std::vector<std::string>{"a\"b", "\"lead", "trail\"", "\"\""},
                      std::vector<std::string>{"f(1).set", "(", ")"},
                      std::vector<std::string>{"tab\there", "line\nbreak", "  padded  "},
                      std::vector<std::string>{"\xC3\xA9t\xC3\xA9 2024.set"}));

TEST(JoinArguments, QuotesOnlyWhatNeedsIt) {
    EXPECT_EQ(JoinArguments({"/RUN", "a b.set", "/BLOCKSIZE", "4096"}),
              "/RUN \"a b.set\" /BLOCKSIZE 4096");
    EXPECT_EQ(JoinArguments({"say \"hi\""}), "\"say \"\"hi\"\"\"");
}

struct NumberCase {
    const char* text;
    int32_t value;
};

class BlockSizeNumber : public ::testing::TestWithParam<NumberCase> {};

TEST_P(BlockSizeNumber, RoundsHalfToEvenAndClamps) {
    EXPECT_EQ(BlockSizeValue(GetParam().text), GetParam().value) << GetParam().text;
}

constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kMin = std::numeric_limits<int32_t>::min();

INSTANTIATE_TEST_SUITE_P(
    Texts, BlockSizeNumber,
    ::testing::Values(NumberCase{"128000", 128000}, NumberCase{"2.5", 2}, NumberCase{"3.5", 4},
                      NumberCase{"0.5", 0}, NumberCase{"1.5", 2}, NumberCase{"-2.5", -2},
                      NumberCase{"-3.5", -4}, NumberCase{"2.51", 3}, NumberCase{"2.5000000001", 3},
                      NumberCase{"2.5000", 2}, NumberCase{"2.49999", 2}, NumberCase{".7", 1},
                      NumberCase{"+7", 7}, NumberCase{" 42", 42}, NumberCase{"12abc", 12},
                      NumberCase{"1e5", 1}, NumberCase{"4.4.4", 4}, NumberCase{"abc", 0},
                      NumberCase{"", 0}, NumberCase{"-", 0}, NumberCase{".", 0},
                      NumberCase{"16777216", 16777216}, NumberCase{"2147483647", kMax},
                      NumberCase{"2147483647.5", kMax}, NumberCase{"-2147483648", kMin},
                      NumberCase{"99999999999999999999999999", kMax},
                      NumberCase{"-99999999999999999999999999", kMin}));

struct LineCase {
    const char* text;
    const char* action;
    std::vector<std::string> loads; // files handed to the loader, in order
    bool quiet;
    const char* logPath;
    int32_t blockSize;
    bool console;
};

// The loader fails for files whose name starts with "bad" and for an empty name.
class ReadLine : public ::testing::TestWithParam<LineCase> {};

TEST_P(ReadLine, ActionLoadsAndFields) {
    const LineCase& c = GetParam();
    clsSetup setup;
    setup.LogPath = "untouched";
    setup.BlockSize = -7;
    std::vector<std::string> loads;
    CommandLine cl = ReadCommandLine(c.text, setup, [&](const std::string& f) {
        loads.push_back(f);
        return !f.empty() && f.rfind("bad", 0) != 0;
    });
    EXPECT_EQ(cl.Action, c.action);
    EXPECT_EQ(loads, c.loads);
    EXPECT_EQ(cl.Loads, static_cast<int>(c.loads.size()));
    EXPECT_EQ(setup.Quiet, c.quiet);
    EXPECT_EQ(setup.LogPath, c.logPath);
    EXPECT_EQ(setup.BlockSize, c.blockSize);
    EXPECT_EQ(cl.Console, c.console);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, ReadLine,
    ::testing::Values(
        LineCase{"", "", {}, false, "untouched", -7, false},
        LineCase{"/run a.set", "/RUN", {"a.set"}, false, "untouched", -7, false},
        LineCase{"/Load My.Set", "/LOAD", {"My.Set"}, false, "untouched", -7, false},
        LineCase{
            "/RUN a.set /LOAD b.set", "/LOAD", {"a.set", "b.set"}, false, "untouched", -7, false},
        LineCase{
            "/LOAD b.set /RUN a.set", "/RUN", {"b.set", "a.set"}, false, "untouched", -7, false},
        LineCase{"/RUN bad.set", "", {"bad.set"}, false, "untouched", -7, false},
        LineCase{
            "/RUN a.set /RUN bad.set", "", {"a.set", "bad.set"}, false, "untouched", -7, false},
        LineCase{"/QUIET /LOGPATH \"/tmp/My Logs\" /BLOCKSIZE 2.5 /RUN \"/x/A b.set\"",
                 "/RUN",
                 {"/x/A b.set"},
                 true,
                 "/tmp/My Logs",
                 2,
                 false},
        LineCase{"/RUN a.set /blocksize 3.5 /logpath Logs /quiet",
                 "/RUN",
                 {"a.set"},
                 true,
                 "Logs",
                 4,
                 false},
        LineCase{"/BLOCKSIZE 4096 /BLOCKSIZE abc", "", {}, false, "untouched", 0, false},
        LineCase{"stray /NOPE /Quiet extra", "", {}, true, "untouched", -7, false},
        LineCase{"/LOGPATH", "", {}, false, "", -7, false},
        LineCase{"/RUN", "", {""}, false, "untouched", -7, false},
        LineCase{"/console /RUN a.set", "/RUN", {"a.set"}, false, "untouched", -7, true}));

TEST(WantsHelp, HelpSwitchesAnywhereInAnyCase) {
    for (const char* yes : {"/?", "-h", "-H", "--help", "--HELP", "/RUN a.set -h"}) {
        EXPECT_TRUE(WantsHelp(yes)) << yes;
    }
    for (const char* no : {"", "/help", "-help", "help.set", "/RUN a.set"}) {
        EXPECT_FALSE(WantsHelp(no)) << no;
    }
}

} // namespace
