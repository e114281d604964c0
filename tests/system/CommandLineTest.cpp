#include "CommandLine.h"
#include "TestNames.h"

#include "setfile/clsParser.h"
#include "setfile/clsSetup.h"

#include <gtest/gtest.h>

#include <limits>

using namespace tessaron;

namespace {

// The set file parser splits the joined string back into the arguments.
TEST(JoinArguments, TokensAreTheArgumentsAgain) {
    const std::vector<std::string> cases[] = {{},
                                              {"/RUN", "/home/ann/My Sets/daily.set", "/QUIET"},
                                              {"", "x"},
                                              {"/LOGPATH", "", "/QUIET"},
                                              {"", "", "", "b", "", ""},
                                              {"a", "", "", "(b)", ""},
                                              {"a\"b", "\"lead", "trail\"", "\"\""},
                                              {"f(1).set", "(", ")"},
                                              {"tab\there", "line\nbreak", "  padded  "},
                                              {"\xC3\xA9t\xC3\xA9 2024.set"}};
    for (const auto& args : cases) {
        const std::string text = JoinArguments(args);
        std::vector<std::string> tokens;
        clsParser p;
        if (!text.empty()) {
            p.text(text);
            for (int32_t i = 1; i <= p.TokenCount(); ++i) {
                tokens.push_back(p.token(i));
            }
        }
        EXPECT_EQ(tokens, args) << text;
    }
}

// The program name of a Windows command line ends at its closing quote, or at the first
// blank when it is not quoted; the switches keep their quotes for the tokenizer.
TEST(AfterProgramName, DropsTheNameAsTheSystemsRuntimeDoes) {
    const std::pair<const char*, const char*> cases[] = {
        {"tessaron.exe /RUN a.set", "/RUN a.set"},
        {"\"C:\\Program Files\\Tessaron\\tessaron.exe\" /RUN \"x y.set\"", "/RUN \"x y.set\""},
        {"\"C:\\a b\\t.exe\"/RUN x", "/RUN x"},
        {"tessaron\t \t/QUIET", "/QUIET"},
        {"tessaron.exe", ""},
        {"\"unclosed name", ""},
        {"", ""}};
    for (const auto& [line, rest] : cases) {
        EXPECT_EQ(AfterProgramName(line), rest) << line;
    }
}

TEST(BlockSizeValue, RoundsHalfToEvenAndClamps) {
    constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
    constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
    const std::pair<const char*, int32_t> cases[] = {{"128000", 128000},
                                                     {"2.5", 2},
                                                     {"3.5", 4},
                                                     {"-2.5", -2},
                                                     {"2.5000000001", 3},
                                                     {"2.5000", 2},
                                                     {".7", 1},
                                                     {"+7", 7},
                                                     {" 42", 42},
                                                     {"12abc", 12},
                                                     {"4.4.4", 4},
                                                     {"abc", 0},
                                                     {"", 0},
                                                     {"-", 0},
                                                     {".", 0},
                                                     {"2147483647.5", kMax},
                                                     {"99999999999999999999999999", kMax},
                                                     {"-99999999999999999999999999", kMin}};
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(BlockSizeValue(text), value) << text;
    }
}

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

const char* const kU = "untouched";

INSTANTIATE_TEST_SUITE_P(
    Lines, ReadLine,
    ::testing::Values(
        LineCase("", "", {}, false, kU, -7, false),
        LineCase("/Load My.Set", "/LOAD", {"My.Set"}, false, kU, -7, false),
        // The last action wins; a failed load leaves no action.
        LineCase("/RUN a.set /LOAD b.set", "/LOAD", {"a.set", "b.set"}, false, kU, -7, false),
        LineCase("/LOAD b.set /RUN a.set", "/RUN", {"b.set", "a.set"}, false, kU, -7, false),
        LineCase("/RUN a.set /RUN bad.set", "", {"a.set", "bad.set"}, false, kU, -7, false),
        LineCase("/QUIET /LOGPATH \"/tmp/My Logs\" /BLOCKSIZE 2.5 /RUN \"/x/A b.set\"", "/RUN",
                 {"/x/A b.set"}, true, "/tmp/My Logs", 2, false),
        LineCase("/RUN a.set /blocksize 3.5 /logpath Logs /quiet", "/RUN", {"a.set"}, true, "Logs",
                 4, false),
        LineCase("/BLOCKSIZE 4096 /BLOCKSIZE abc", "", {}, false, kU, 0, false),
        LineCase("stray /NOPE /Quiet extra", "", {}, true, kU, -7, false),
        LineCase("/LOGPATH", "", {}, false, "", -7, false),
        LineCase("/RUN", "", {""}, false, kU, -7, false),
        LineCase("/console /RUN a.set", "/RUN", {"a.set"}, false, kU, -7, true)),
    test::ParamName(&LineCase::text));

TEST(WantsHelp, HelpSwitchesAnywhereInAnyCase) {
    for (const char* yes : {"/?", "-h", "-H", "--help", "--HELP", "/RUN a.set -h"}) {
        EXPECT_TRUE(WantsHelp(yes)) << yes;
    }
    for (const char* no : {"", "/help", "-help", "help.set", "/RUN a.set"}) {
        EXPECT_FALSE(WantsHelp(no)) << no;
    }
}

} // namespace
