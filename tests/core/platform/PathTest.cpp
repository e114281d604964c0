#include "platform/clsPath.h"

#include <gtest/gtest.h>

#include <random>

using namespace tessaron;

namespace {

struct SplitCase {
    PathStyle style;
    const char* in;
    const char* drive;
    const char* dir;
    const char* name;
    const char* ext;
    const char* composed;
    std::vector<std::string> parts;
};

class PathSplit : public ::testing::TestWithParam<SplitCase> {};

TEST_P(PathSplit, FieldsComposedAndParts) {
    const SplitCase& c = GetParam();
    clsPath p(c.in, c.style);
    EXPECT_EQ(p.Drive, c.drive);
    EXPECT_EQ(p.Directory, c.dir);
    EXPECT_EQ(p.FileName, c.name);
    EXPECT_EQ(p.Extension, c.ext);
    EXPECT_EQ(p.path(), c.composed);
    EXPECT_EQ(p.Parts(), c.parts);
    std::vector<std::string_view> fast = clsPath::SplitParts(c.in, c.style);
    EXPECT_EQ(std::vector<std::string>(fast.begin(), fast.end()), c.parts);
}

constexpr PathStyle W = PathStyle::Windows;
constexpr PathStyle P = PathStyle::Posix;

INSTANTIATE_TEST_SUITE_P(
    Table, PathSplit,
    ::testing::Values(
        SplitCase{W,
                  "C:\\Data\\Mail\\inbox.tar.gz",
                  "C:",
                  "\\Data\\Mail\\",
                  "inbox.tar",
                  "gz",
                  "C:\\Data\\Mail\\inbox.tar.gz",
                  {"C:", "Data", "Mail", "inbox.tar.gz"}},
        SplitCase{W, "C:", "C:", "", "", "", "C:", {"C:"}},
        SplitCase{W, "C:\\", "C:", "\\", "", "", "C:\\", {"C:"}},
        SplitCase{W, "C:\\Data\\", "C:", "\\Data\\", "", "", "C:\\Data\\", {"C:", "Data"}},
        SplitCase{W, ".profile", "", "", "", "profile", ".profile", {".profile"}},
        SplitCase{W, "README", "", "", "README", "", "README", {"README"}},
        SplitCase{W,
                  "\\\\srv\\share\\x.txt",
                  "",
                  "\\\\srv\\share\\",
                  "x",
                  "txt",
                  "\\\\srv\\share\\x.txt",
                  {"\\\\srv", "share", "x.txt"}},
        SplitCase{W, "C:\\x\\a.", "C:", "\\x\\", "a", "", "C:\\x\\a", {"C:", "x", "a"}},
        SplitCase{W, "C:\\a\\\\b", "C:", "\\a\\\\", "b", "", "C:\\a\\\\b", {"C:", "a", "", "b"}},
        SplitCase{W, "", "", "", "", "", "", {}},
        // A "/" is an ordinary character in the Windows style.
        SplitCase{W, "C:/a/b.c", "C:", "", "/a/b", "c", "C:/a/b.c", {"C:/a/b.c"}},
        SplitCase{P,
                  "/home/ann/a.txt",
                  "",
                  "/home/ann/",
                  "a",
                  "txt",
                  "/home/ann/a.txt",
                  {"/", "home", "ann", "a.txt"}},
        SplitCase{P, "/", "", "/", "", "", "/", {"/"}},
        SplitCase{P, "/home/", "", "/home/", "", "", "/home/", {"/", "home"}},
        SplitCase{P, "rel/x", "", "rel/", "x", "", "rel/x", {"rel", "x"}},
        // A drive letter means nothing in the POSIX style.
        SplitCase{P, "C:\\x", "", "", "C:\\x", "", "C:\\x", {"C:\\x"}},
        SplitCase{P, "/a/.", "", "/a/", "", "", "/a/", {"/", "a"}},
        SplitCase{P, "", "", "", "", "", "", {}}));

TEST(PathContain, ComponentWise) {
    auto parts = [](const char* s, PathStyle st) { return clsPath::SplitParts(s, st); };
    struct Row {
        PathStyle st;
        const char* outer;
        const char* inner;
        bool contains;
    } rows[] = {
        {W, "C:\\A", "C:\\A\\B", true},
        {W, "C:\\A", "C:\\A", true},
        {W, "C:\\A", "C:\\AB", false},
        {W, "C:\\", "C:\\x\\y", true},
        {W, "C:\\A", "c:\\a", false},
        {W, "C:\\A\\B", "C:\\A", false},
        {W, "", "C:\\A", false},
        {W, "\\\\s\\h", "\\\\s\\h\\x", true},
        {W, "\\\\s\\h", "\\s\\h\\x", false},
        {P, "/", "/etc/passwd", true},
        {P, "/home/ann", "/home/anna", false},
        {P, "/home/ann/", "/home/ann/x", true},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(PartsContain(parts(r.outer, r.st), parts(r.inner, r.st)), r.contains)
            << r.outer << " contains " << r.inner;
    }
}

// The quick splitter must agree with the object for any string made of the characters
// that matter to the rules.
TEST(PathSplitParts, AgreesWithObjectOnGeneratedPaths) {
    std::mt19937 rng(1234);
    const std::string alphabet = "ab.:\\/ C";
    for (PathStyle st : {W, P}) {
        for (int i = 0; i < 5000; ++i) {
            std::string s;
            int len = static_cast<int>(rng() % 12);
            for (int k = 0; k < len; ++k) {
                s += alphabet[rng() % alphabet.size()];
            }
            std::vector<std::string> slow = clsPath(s, st).Parts();
            std::vector<std::string_view> fast = clsPath::SplitParts(s, st);
            ASSERT_EQ(std::vector<std::string>(fast.begin(), fast.end()), slow) << s;
        }
    }
}

} // namespace
