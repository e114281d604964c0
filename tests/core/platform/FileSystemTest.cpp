#include "platform/clsFileSystem.h"

#include "TempTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace tessaron;
using tessaron::test::TempTree;
namespace fs = std::filesystem;

namespace {

bool Present(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0;
}

} // namespace

TEST(FileSystemDelete, RemovesReadOnlyFilesAndTreesButNeverFollowsLinksOut) {
    TempTree t;
    ASSERT_TRUE(t.Ok());
    std::string outside = t.Write("outside/keep.txt", "precious");
    t.Write("tree/sub/ro.txt", "x");
    ::chmod(t.Path("tree/sub/ro.txt").c_str(), 0444);
    ::chmod(t.Path("tree/sub").c_str(), 0555); // a read-only folder is cleared as well
    ::symlink(t.Path("outside").c_str(), t.Path("tree/link-to-outside").c_str());
    std::string lone = t.Write("lone-ro.txt", "y");
    ::chmod(lone.c_str(), 0444);

    clsFileSystem fsys;
    EXPECT_TRUE(fsys.Delete(lone, true));
    EXPECT_FALSE(Present(lone));
    if (::geteuid() != 0) {
        ::chmod(t.Path("tree/sub").c_str(), 0755); // only root may clear a 0555 folder
    }
    EXPECT_TRUE(fsys.Delete(t.Path("tree"))) << fsys.LastError;
    EXPECT_FALSE(Present(t.Path("tree")));
    EXPECT_EQ(t.Read("outside/keep.txt"), "precious");

    EXPECT_FALSE(fsys.Delete(t.Path("missing")));
    EXPECT_EQ(fsys.LastError, "clsFileSystem.Delete() - Error (2) No such file or directory");
}

TEST(FileSystemClean, KeepsTheFolderAndRemovesLinksAsLinks) {
    TempTree t;
    t.Write("outside/keep.txt", "precious");
    t.Write("target/a/b/c.txt", "c");
    t.Write("target/.hidden", "h");
    ::symlink(t.Path("outside").c_str(), t.Path("target/dirlink").c_str());
    ::symlink("nowhere", t.Path("target/dangling").c_str());
    ::mkfifo(t.Path("target/fifo").c_str(), 0600);

    clsFileSystem fsys;
    int yields = 0;
    fsys.DoEvents = [&] { ++yields; };
    EXPECT_TRUE(fsys.Clean(t.Path("target"))) << fsys.LastError;
    EXPECT_TRUE(fs::is_directory(t.Path("target")));
    EXPECT_TRUE(fs::is_empty(t.Path("target")));
    EXPECT_EQ(t.Read("outside/keep.txt"), "precious");
    EXPECT_GE(yields, 5); // once per entry

    EXPECT_TRUE(fsys.Clean(t.Path("target"))); // an empty folder
    EXPECT_FALSE(fsys.Clean(t.Path("missing")));
    EXPECT_NE(fsys.LastError.find("clsFileSystem.Clean() - Error (2) "), std::string::npos);
}

// A file in a folder without write permission cannot be deleted; root may delete it
// anyway, so the case runs in a child process as the unprivileged user "nobody".
TEST(FileSystemClean, StopsAtAnEntryThatCannotBeDeleted) {
    TempTree t;
    ::chmod(t.Root().c_str(), 0777);
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root to switch to an unprivileged user";
    }
    pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0) {
            ::_exit(100);
        }
        std::string root = t.Path("tree");
        t.Write("tree/1-first.txt", "1");
        t.Write("tree/m-locked/inner.txt", "2");
        t.Write("tree/z-last.txt", "3");
        ::chmod((root + "/m-locked").c_str(), 0555);
        clsFileSystem fsys;
        int result = 0;
        result |= fsys.Clean(root) ? 1 : 0;
        result |= Present(root + "/1-first.txt") ? 2 : 0;
        result |= !Present(root + "/m-locked/inner.txt") ? 4 : 0;
        result |= !Present(root + "/z-last.txt") ? 8 : 0;
        result |= fsys.LastError.find("Permission denied") == std::string::npos ? 16 : 0;
        result |= fsys.Delete(root) ? 32 : 0;
        ::_exit(result);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << "bits: 1 Clean true, 2 first kept, 4 locked gone, "
                                         "8 last gone, 16 no error text, 32 Delete true";
}

TEST(FileSystemCopy, RefusesAnExistingTargetUnlessAskedAndCarriesModeAndTimes) {
    TempTree t;
    std::string a = t.Write("a.bin", "new content");
    std::string b = t.Write("b.bin", "old");
    ::chmod(a.c_str(), 0640);
    struct timespec times[2] = {{1600000000, 111111111}, {1500000000, 123456789}};
    ::utimensat(AT_FDCWD, a.c_str(), times, 0);

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

// True when name is start + 5 or 6 upper-case hex digits + end.
static bool TempNameMatches(const std::string& name, const std::string& start,
                            const std::string& end) {
    if (name.size() < start.size() + end.size() || name.compare(0, start.size(), start) != 0 ||
        name.compare(name.size() - end.size(), end.size(), end) != 0) {
        return false;
    }
    std::string digits = name.substr(start.size(), name.size() - start.size() - end.size());
    return (digits.size() == 5 || digits.size() == 6) &&
           digits.find_first_not_of("0123456789ABCDEF") == std::string::npos;
}

TEST(FileSystemTempFile, NamesFollowFolderPrefixAndType) {
    TempTree t;
    clsFileSystem fsys;
    struct Case {
        std::string folder, prefix, type, start, end;
    } cases[] = {
        {"", "", "", fsys.GetTempDir(), ".tmp"},
        {t.Root(), "abcdef", "log", t.Root() + "/abc", ".log"},
        {"  " + t.Root() + "/  ", " x", "", t.Root() + "/x", ".tmp"},
    };
    for (const Case& c : cases) {
        for (int round = 0; round < 50; ++round) {
            std::string name = fsys.GetTempFile(c.folder, c.prefix, c.type);
            ASSERT_TRUE(TempNameMatches(name, c.start, c.end)) << name;
            EXPECT_FALSE(Present(name));
        }
    }
    EXPECT_EQ(fsys.GetTempDir().back(), '/');
}

TEST(FileSystemListFiles, ListsEveryEntryRelativeWithFoldersFirst) {
    TempTree t;
    clsFileSystem fsys;
    using V = std::vector<std::string>;
    t.MakeDir("empty");
    t.MakeDir("only-sub/s");
    t.Write("tree/b.txt");
    t.Write("tree/a/x.txt");
    t.MakeDir("tree/a/empty");
    t.MakeDir("outside/never-listed");
    ::symlink(t.Path("outside").c_str(), t.Path("tree/link").c_str());
    std::string file = t.Write("file.txt");

    EXPECT_EQ(fsys.ListFiles(t.Path("empty")), V{""});
    EXPECT_EQ(fsys.ListFiles(t.Path("only-sub/")), V{"s"});
    EXPECT_EQ(fsys.ListFiles(t.Path("tree")), (V{"a", "a/empty", "a/x.txt", "b.txt", "link"}));
    EXPECT_EQ(fsys.ListFiles(file), V{""});
    EXPECT_EQ(fsys.ListFiles(""), V{""});
}

TEST(FileSystemGetDirectory, DescribesEachEntryWithoutFollowingLinks) {
    TempTree t;
    t.Write("plain.txt", "12345");
    t.Write(".hidden", "");
    std::string ro = t.Write("ro.txt", "1");
    ::chmod(ro.c_str(), 0444);
    t.MakeDir("folder");
    ::symlink(t.Path("folder").c_str(), t.Path("link").c_str());
    ::mkfifo(t.Path("pipe").c_str(), 0600);
    struct timespec times[2] = {{1700000000, 0}, {1700000000, 0}};
    ::utimensat(AT_FDCWD, t.Path("plain.txt").c_str(), times, 0);

    clsFileSystem fsys;
    ASSERT_EQ(fsys.GetDirectory(t.Root() + "/"), 6);
    struct Want {
        const char* name;
        FileKind kind;
        bool dir, hidden, readOnly;
        double size;
    } want[] = {
        {".hidden", FileKind::File, false, true, false, 0},
        {"folder", FileKind::Directory, true, false, false, 0},
        {"link", FileKind::Symlink, false, false, false, 0},
        {"pipe", FileKind::Fifo, false, false, false, 0},
        {"plain.txt", FileKind::File, false, false, false, 5},
        {"ro.txt", FileKind::File, false, false, true, 1},
    };
    for (std::size_t i = 0; i < std::size(want); ++i) {
        const clsFSItem& item = fsys.Items[i];
        SCOPED_TRACE(want[i].name);
        EXPECT_EQ(item.Path, want[i].name);
        EXPECT_EQ(item.Kind, want[i].kind);
        EXPECT_EQ(item.IsDirectory, want[i].dir);
        EXPECT_EQ(item.IsHidden, want[i].hidden);
        EXPECT_EQ(item.IsReadOnly, want[i].readOnly);
        EXPECT_FALSE(item.IsSystem);
        EXPECT_EQ(item.Size, want[i].size);
    }
    EXPECT_TRUE(fsys.Items[2].IsLink());
    EXPECT_TRUE(fsys.Items[3].IsSpecial());
    EXPECT_EQ(fsys.Items[4].Modified, DateTime::FromTimeTUtc(1700000000));

    EXPECT_EQ(fsys.GetDirectory(t.Path("plain.txt")), 0);
    EXPECT_TRUE(fsys.Items.empty());
    EXPECT_EQ(fsys.GetDirectory(t.Path("link")), 0);
}

TEST(FileSystemAttributes, MapPermissionsAndNames) {
    TempTree t;
    clsFileSystem fsys;
    std::string file = t.Write("f.txt", "abc");
    std::string hidden = t.Write(".rc");
    std::string dir = t.MakeDir("d");
    EXPECT_EQ(fsys.GetFileAttributes(file), FileAttr::Archive);
    EXPECT_EQ(fsys.GetFileAttributes(hidden), FileAttr::Archive | FileAttr::Hidden);
    EXPECT_EQ(fsys.GetFileAttributes(dir), FileAttr::Directory);
    EXPECT_TRUE(fsys.IsDirectory(dir + "/"));

    EXPECT_TRUE(fsys.SetFileAttributes(file, FileAttr::ReadOnly | FileAttr::Archive));
    EXPECT_TRUE(fsys.IsReadOnly(file));
    EXPECT_EQ(fsys.GetFileAttributes(file), FileAttr::Archive | FileAttr::ReadOnly);
    EXPECT_TRUE(fsys.SetFileAttributes(file, 0));
    EXPECT_FALSE(fsys.IsReadOnly(file));

    EXPECT_EQ(fsys.GetFileAttributes(t.Path("missing")), 0);
    EXPECT_EQ(fsys.LastError,
              "clsFileSystem.GetFileAttributes() - Error (2) No such file or directory");
    EXPECT_EQ(fsys.GetFileSize(file), 3);
    EXPECT_EQ(fsys.GetFileSize(t.Path("missing")), 0);
    EXPECT_TRUE(fsys.GetFileTime(t.Path("missing")).IsEmpty());
}

TEST(FileSystemInfo, OneLstatWithoutFollowingAndMissingIsNoError) {
    TempTree t;
    clsFileSystem fsys;
    std::string file = t.Write("f", "abcd");
    std::string link = t.Path("l");
    ASSERT_TRUE(fsys.CreateLink("f", link));
    FileInfo info;
    ASSERT_TRUE(fsys.GetInfo(t.Path("missing/deeper"), info));
    EXPECT_FALSE(info.Exists);
    EXPECT_TRUE(fsys.LastError.empty());

    ASSERT_TRUE(fsys.GetInfo(link, info));
    EXPECT_EQ(info.Kind, FileKind::Symlink);
    std::string target;
    ASSERT_TRUE(fsys.ReadLink(link, target));
    EXPECT_EQ(target, "f");

    // A link's own times change, never its target's.
    FileInfo before;
    fsys.GetInfo(file, before);
    ASSERT_TRUE(fsys.SetTimes(link, {1400000000, 5}, {1400000000, 7}));
    fsys.GetInfo(link, info);
    EXPECT_EQ(info.MTime.tv_sec, 1400000000);
    EXPECT_EQ(info.MTime.tv_nsec, 7);
    FileInfo after;
    fsys.GetInfo(file, after);
    EXPECT_EQ(after.MTime.tv_sec, before.MTime.tv_sec);
    EXPECT_EQ(after.Size, 4);
    EXPECT_EQ(fsys.GetFileTime(file), DateTime::FromTimeT(after.MTime.tv_sec));
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
    t.Write("file");
    EXPECT_FALSE(fsys.CreateDirectories(t.Path("file/sub")));
    EXPECT_TRUE(fsys.Rename(t.Path("a"), t.Path("z")));
    EXPECT_FALSE(fsys.Rename(t.Path("file"), t.Path("z")));
    EXPECT_EQ(fsys.LastError, "clsFileSystem.Rename() - Error (17) File exists");
}

TEST(FileSystemProgramFolders, LogFolderBesideTheProgramWhenWritable) {
    clsFileSystem fsys;
    std::string dir = fsys.ProgramDir();
    ASSERT_FALSE(dir.empty());
    EXPECT_TRUE(fs::equivalent(dir, fs::path(fs::read_symlink("/proc/self/exe")).parent_path()));
    bool existed = fs::exists(dir + "/Log");
    std::string log = fsys.ProgramLogDir();
    EXPECT_EQ(log, dir + "/Log");
    EXPECT_TRUE(fs::is_directory(log));
    if (!existed) {
        fs::remove(log);
    }
}
