// What a copy keeps of each file and folder, and how it replaces an older copy: names
// like the run's own, copies whose kind changed, empty folders.
#include "EngineTestSupport.h"

namespace tessaron::test {
namespace {

using CopyTest = EngineTest;

// Names a replacement could collide with, and names at the length limit: every copy is
// right after a FULL run, a FULL run over it and an INCREMENTAL run after a change.
TEST_F(CopyTest, NamesLikeTheRunsOwnAndLongNamesStayUpdatable) {
    const std::string names[] = {"a", ".a.tessaron-part", ".tessaron-0123456789abcdef.tmp",
                                 std::string(241, 'm'), std::string(255, 'n')};
    WriteFile(src / ".b.tessaron-part/inner.txt", "inner");
    WriteFile(src / "b", "b");
    for (const auto& [mode, round] : {std::pair{"FULL", 1}, {"FULL", 2}, {"INCREMENTAL", 3}}) {
        SCOPED_TRACE(round);
        for (const std::string& n : names) {
            WriteFile(src / n, n.substr(0, 3) + std::to_string(round));
            SetModified(src / n, 1600000000 + round);
        }
        setup.BackupType = mode;
        EXPECT_TRUE(RunBackup()) << view.All();
        ExpectSameTree(src, Copy(src));
    }
}

struct KindCase {
    const char* name;
    void (*before)(const fs::path& x);
    void (*after)(const fs::path& x);
};

void MakeFile(const fs::path& x) {
    WriteFile(x, "file");
}
void MakeFolder(const fs::path& x) {
    WriteFile(x / "in.txt", "in");
}
#ifndef _WIN32
// Windows makes links for administrators (or in developer mode) only, and Wine not at all.
void MakeLink(const fs::path& x) {
    fs::create_symlink("elsewhere", x);
}
#endif

class KindChange : public EngineTest,
                   public ::testing::WithParamInterface<std::tuple<KindCase, const char*>> {};

// A source entry that became another kind replaces its old copy, and nothing else: its
// sibling and a file of the user's own in the target stay.
TEST_P(KindChange, ReplacesOnlyThatEntrysOldCopy) {
    const auto& [kind, type] = GetParam();
    WriteFile(src / "keep.txt", "keep");
    WriteFile(out / "mine.txt", "mine");
    kind.before(src / "x");
    ASSERT_TRUE(RunBackup()) << view.All();
    fs::remove_all(src / "x");
    kind.after(src / "x");
    setup.BackupType = type;
    EXPECT_TRUE(RunBackup()) << view.All();
    ExpectSameTree(src, Copy(src));
    EXPECT_EQ(ReadFile(out / "mine.txt"), "mine");
}

const KindCase kKinds[] = {
    {"FileToFolder", MakeFile, MakeFolder},
    {"FolderToFile", MakeFolder, MakeFile},
#ifndef _WIN32
    {"FileToLink", MakeFile, MakeLink},
    {"LinkToFolder", MakeLink, MakeFolder},
#endif
};

INSTANTIATE_TEST_SUITE_P(Kinds, KindChange,
                         ::testing::Combine(::testing::ValuesIn(kKinds),
                                            ::testing::Values("FULL", "INCREMENTAL")),
                         ParamName());

// Every folder the walk enters is in the copy, empty or not; an excepted one is not.
TEST_F(CopyTest, EmptyFoldersAreKeptExceptionsAreNot) {
    fs::create_directories(src / "empty");
    fs::create_directories(src / "ex" / "inner");
    fs::create_directories(root / "lonely");
    setup.Sel.RemoveSelection((src / "ex").string());
    setup.Sel.AddSelection((root / "lonely").string());
    ASSERT_TRUE(RunBackup()) << view.All();
    EXPECT_TRUE(fs::is_directory(Copy(src / "empty")));
    EXPECT_TRUE(fs::is_directory(Copy(root / "lonely")));
    EXPECT_FALSE(fs::exists(Copy(src / "ex")));
}

} // namespace
} // namespace tessaron::test
