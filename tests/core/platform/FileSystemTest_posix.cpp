#include "platform/clsFileSystem.h"

#include "TempTree.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tessaron;
using tessaron::test::TempTree;
namespace fs = std::filesystem;

namespace {

bool Present(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0;
}

void SetTimes(const std::string& path, timespec atime, timespec mtime) {
    const timespec times[2] = {atime, mtime};
    ::utimensat(AT_FDCWD, path.c_str(), times, 0);
}

} // namespace

// Links inside a tree go as links: following one would empty the folder it names.
TEST(FileSystemDelete, RemovesReadOnlyFilesAndLinksAsLinks) {
    TempTree t;
    t.Write("outside/keep.txt", "precious");
    ::chmod(t.Write("del/sub/ro.txt", "x").c_str(), 0444);
    t.Write("del/.hidden");
    ::symlink(t.Path("outside").c_str(), t.Path("del/dirlink").c_str());
    ::symlink("nowhere", t.Path("del/dangling").c_str());
    ::mkfifo(t.Path("del/fifo").c_str(), 0600);
    clsFileSystem fsys;
    EXPECT_TRUE(fsys.Delete(t.Path("del"))) << fsys.LastError;
    EXPECT_FALSE(Present(t.Path("del")));
    EXPECT_EQ(t.Read("outside/keep.txt"), "precious");

    EXPECT_FALSE(fsys.Delete(t.Path("missing")));
    EXPECT_EQ(fsys.LastError, "clsFileSystem.Delete() - Error (2) No such file or directory");
}

TEST(FileSystemCopy, RefusesAnExistingTargetUnlessAskedAndCarriesModeAndTimes) {
    TempTree t;
    std::string a = t.Write("a.bin", "new content");
    std::string b = t.Write("b.bin", "old");
    ::chmod(a.c_str(), 0640);
    SetTimes(a, {1600000000, 111111111}, {1500000000, 123456789});

    clsFileSystem fsys;
    EXPECT_FALSE(fsys.Copy(a, b, false));
    EXPECT_EQ(fsys.LastError, std::strerror(EEXIST));
    EXPECT_EQ(t.Read("b.bin"), "old");

    EXPECT_TRUE(fsys.Copy(a, b, true)) << fsys.LastError;
    EXPECT_EQ(t.Read("b.bin"), "new content");
    FileInfo info;
    ASSERT_TRUE(fsys.GetInfo(b, info));
    EXPECT_EQ(info.Mode, 0640u);
    EXPECT_EQ(info.MTime.tv_sec, 1500000000);
    EXPECT_EQ(info.MTime.tv_nsec, 123456789);

    EXPECT_FALSE(fsys.Copy(t.Path("missing"), t.Path("c"), false));
    EXPECT_EQ(fsys.LastError, std::strerror(ENOENT));
    EXPECT_FALSE(Present(t.Path("c")));
}

// Names are folder + prefix cut to three characters + 5 or 6 upper-case hex digits + type.
TEST(FileSystemTempFile, NamesFollowFolderPrefixAndType) {
    TempTree t;
    clsFileSystem fsys;
    struct {
        std::string folder, prefix, type, start, end;
    } cases[] = {{"", "", "", fsys.GetTempDir(), ".tmp"},
                 {t.Root(), "abcdef", "log", t.Root() + "/abc", ".log"},
                 {"  " + t.Root() + "/  ", " x", "", t.Root() + "/x", ".tmp"}};
    for (const auto& c : cases) {
        for (int round = 0; round < 50; ++round) {
            std::string name = fsys.GetTempFile(c.folder, c.prefix, c.type);
            ASSERT_TRUE(name.starts_with(c.start) && name.ends_with(c.end)) << name;
            std::string hex = name.substr(c.start.size());
            hex.resize(hex.size() - c.end.size());
            EXPECT_TRUE((hex.size() == 5 || hex.size() == 6) &&
                        hex.find_first_not_of("0123456789ABCDEF") == std::string::npos)
                << name;
            EXPECT_FALSE(Present(name));
        }
    }
}

TEST(FileSystemGetDirectory, DescribesEachEntryWithoutFollowingLinks) {
    TempTree t;
    std::string plain = t.Write("plain.txt", "12345");
    ::chmod(plain.c_str(), 0640);
    SetTimes(plain, {1700000000, 11}, {1700000000, 22});
    t.Write(".hidden", "");
    ::chmod(t.Write("ro.txt", "1").c_str(), 0444);
    t.MakeDir("folder");
    ::symlink(t.Path("folder").c_str(), t.Path("link").c_str());
    ::mkfifo(t.Path("pipe").c_str(), 0600);

    clsFileSystem fsys;
    ASSERT_EQ(fsys.GetDirectory(t.Root() + "/"), 6);
    struct {
        const char* name;
        FileKind kind;
        bool hidden, readOnly;
        double size;
    } want[] = {{".hidden", FileKind::File, true, false, 0},
                {"folder", FileKind::Directory, false, false, 0},
                {"link", FileKind::Symlink, false, false, 0},
                {"pipe", FileKind::Fifo, false, false, 0},
                {"plain.txt", FileKind::File, false, false, 5},
                {"ro.txt", FileKind::File, false, true, 1}};
    for (std::size_t i = 0; i < std::size(want); ++i) {
        const clsFSItem& item = fsys.Items[i];
        SCOPED_TRACE(want[i].name);
        EXPECT_EQ(item.Path, want[i].name);
        EXPECT_EQ(item.Kind, want[i].kind);
        EXPECT_EQ(item.IsDirectory, want[i].kind == FileKind::Directory);
        EXPECT_EQ(item.IsHidden, want[i].hidden);
        EXPECT_EQ(item.IsReadOnly, want[i].readOnly);
        EXPECT_EQ(item.Size, want[i].size);
    }
    // Each entry carries its own status, to the nanosecond.
    const clsFSItem& p = fsys.Items[4];
    EXPECT_EQ(p.Modified, DateTime::FromTimeTUtc(1700000000));
    EXPECT_EQ(p.Info.Mode, 0640u);
    EXPECT_EQ(p.Info.ATime.tv_nsec, 11);
    EXPECT_EQ(p.Info.MTime.tv_nsec, 22);

    EXPECT_EQ(fsys.GetDirectory(plain), 0);
    EXPECT_TRUE(fsys.Items.empty());
    EXPECT_EQ(fsys.GetDirectory(t.Path("link")), 0);
}

TEST(FileSystemInfo, LooksAtLinksThemselvesAndMissingIsNoError) {
    TempTree t;
    clsFileSystem fsys;
    std::string file = t.Write("f", "abcd");
    ASSERT_EQ(::symlink("f", t.Path("l").c_str()), 0);
    FileInfo info, before, after;
    ASSERT_TRUE(fsys.GetInfo(t.Path("missing/deeper"), info));
    EXPECT_FALSE(info.Exists);
    EXPECT_TRUE(fsys.LastError.empty());

    // Setting a link's times must not touch its target's.
    fsys.GetInfo(file, before);
    ASSERT_TRUE(fsys.SetTimes(t.Path("l"), {1400000000, 5}, {1400000000, 7}));
    fsys.GetInfo(t.Path("l"), info);
    fsys.GetInfo(file, after);
    EXPECT_EQ(info.Kind, FileKind::Symlink);
    EXPECT_EQ(info.MTime.tv_nsec, 7);
    EXPECT_EQ(after.MTime.tv_sec, before.MTime.tv_sec);
}

TEST(FileSystemDirectories, SingleLevelNeedsItsParentNestedMakesAll) {
    TempTree t;
    clsFileSystem fsys;
    EXPECT_FALSE(fsys.CreateDirectory(t.Path("a/b")));
    EXPECT_EQ(fsys.LastError,
              "clsFileSystem.CreateDirectory() - Error (2) No such file or directory");
    EXPECT_TRUE(fsys.CreateDirectories(t.Path("a//b/c/")));
    EXPECT_TRUE(fsys.IsDirectory(t.Path("a/b/c")));
    EXPECT_TRUE(fsys.CreateDirectories(t.Path("a/b"))); // already there
    EXPECT_FALSE(fsys.CreateDirectories(t.Write("file") + "/sub"));
}
