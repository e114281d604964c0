#include "platform/clsPath.h"

#include <gtest/gtest.h>

#include <ranges>

using namespace tessaron;

namespace {

// "a|b|c" as {"a", "b", "c"}; the empty string as no pieces.
std::vector<std::string> Pieces(std::string_view joined) {
    std::vector<std::string> out;
    for (auto piece : std::views::split(joined, '|')) {
        out.emplace_back(piece.begin(), piece.end());
    }
    return out;
}

struct SplitCase {
    PathStyle style;
    const char* in;
    const char* fields;             // Drive|Directory|FileName|Extension
    const char* parts;              // Parts(), joined with '|'
    const char* composed = nullptr; // path() when it differs from the input
};

class PathSplit : public ::testing::TestWithParam<SplitCase> {};

TEST_P(PathSplit, FieldsComposedAndParts) {
    const SplitCase& c = GetParam();
    clsPath p(c.in, c.style);
    EXPECT_EQ((std::vector<std::string>{p.Drive, p.Directory, p.FileName, p.Extension}),
              Pieces(c.fields));
    EXPECT_EQ(p.path(), c.composed ? c.composed : c.in);
    EXPECT_EQ(p.Parts(), Pieces(c.parts));
    std::vector<std::string_view> fast = clsPath::SplitParts(c.in, c.style);
    EXPECT_EQ(std::vector<std::string>(fast.begin(), fast.end()), Pieces(c.parts));
}

constexpr PathStyle W = PathStyle::Windows;
constexpr PathStyle P = PathStyle::Posix;

INSTANTIATE_TEST_SUITE_P(
    Path, PathSplit,
    ::testing::Values(SplitCase{W, "C:\\Data\\Mail\\inbox.tar.gz", "C:|\\Data\\Mail\\|inbox.tar|gz",
                                "C:|Data|Mail|inbox.tar.gz"},
                      SplitCase{W, "C:", "C:|||", "C:"}, SplitCase{W, "C:\\", "C:|\\||", "C:"},
                      SplitCase{W, "C:\\Data\\", "C:|\\Data\\||", "C:|Data"},
                      SplitCase{W, ".profile", "|||profile", ".profile"},
                      SplitCase{W, "README", "||README|", "README"},
                      SplitCase{W, "\\\\srv\\share\\x.txt", "|\\\\srv\\share\\|x|txt",
                                "\\\\srv|share|x.txt"},
                      SplitCase{W, "C:\\x\\a.", "C:|\\x\\|a|", "C:|x|a", "C:\\x\\a"},
                      SplitCase{W, "C:\\a\\\\b", "C:|\\a\\\\|b|", "C:|a||b"},
                      SplitCase{W, "", "|||", ""},
                      // A "/" is an ordinary character in the Windows style.
                      SplitCase{W, "C:/a/b.c", "C:||/a/b|c", "C:/a/b.c"},
                      SplitCase{P, "/home/ann/a.txt", "|/home/ann/|a|txt", "/|home|ann|a.txt"},
                      SplitCase{P, "/", "|/||", "/"}, SplitCase{P, "/home/", "|/home/||", "/|home"},
                      SplitCase{P, "rel/x", "|rel/|x|", "rel|x"},
                      // A drive letter means nothing in the POSIX style.
                      SplitCase{P, "C:\\x", "||C:\\x|", "C:\\x"},
                      SplitCase{P, "/a/.", "|/a/||", "/|a", "/a/"}, SplitCase{P, "", "|||", ""}));

} // namespace
