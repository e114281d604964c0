// Working by name inside an open folder: links are never followed, creation is
// exclusive, and the metadata a new copy is given ends up right whether or not the
// calls that set it are skipped.
#include "platform/clsBinaryFile.h"
#include "platform/clsFileSystem.h"
#include "platform/clsFolder.h"

#include "TempTree.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

using namespace tessaron;
using tessaron::test::TempTree;

namespace {

unsigned ModeOf(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0 ? st.st_mode & 07777 : 0xFFFF;
}

} // namespace

TEST(Folder, RefusesLinksAndNonDirectoriesAndKeepsThePathAsked) {
    TempTree t;
    t.MakeDir("real");
    t.Write("file", "x");
    std::filesystem::create_directory_symlink(t.Path("real"), t.Path("link"));
    clsFolder folder;
    EXPECT_TRUE(folder.Open(t.Path("real")));
    for (const char* bad : {"link", "file", "missing"}) {
        SCOPED_TRACE(bad);
        EXPECT_FALSE(folder.Open(t.Path(bad)));
        EXPECT_FALSE(folder.IsOpen());
        EXPECT_NE(folder.LastErrorCode, 0);
        EXPECT_EQ(folder.Path(), t.Path(bad));
    }
}

TEST(Folder, GetInfoLooksAtTheEntryItself) {
    TempTree t;
    t.Write("d/data", "12345");
    std::filesystem::create_symlink("data", t.Path("d/link"));
    clsFolder folder;
    ASSERT_TRUE(folder.Open(t.Path("d")));
    FileInfo info;
    ASSERT_TRUE(folder.GetInfo("data", info));
    EXPECT_EQ(info.Kind, FileKind::File);
    EXPECT_EQ(info.Size, 5);
    ASSERT_TRUE(folder.GetInfo("link", info));
    EXPECT_EQ(info.Kind, FileKind::Symlink);
    EXPECT_EQ(info.Size, 4);
    ASSERT_TRUE(folder.GetInfo("missing", info));
    EXPECT_FALSE(info.Exists);
}

TEST(Folder, ListingCarriesEachEntrysOwnStatus) {
    TempTree t;
    const std::string file = t.Write("d/a.txt", "abc");
    ::chmod(file.c_str(), 0640);
    const struct timespec times[2] = {{1500000000, 11}, {1600000000, 22}};
    ::utimensat(AT_FDCWD, file.c_str(), times, 0);
    std::filesystem::create_symlink("a.txt", t.Path("d/b.lnk"));
    clsFileSystem fsys;
    ASSERT_EQ(fsys.GetDirectory(t.Path("d")), 2);
    const FileInfo& a = fsys.Items[0].Info;
    EXPECT_EQ(a.Kind, FileKind::File);
    EXPECT_EQ(a.Size, 3);
    EXPECT_EQ(a.Mode, 0640u);
    EXPECT_EQ(a.MTime.tv_sec, 1600000000);
    EXPECT_EQ(a.MTime.tv_nsec, 22);
    EXPECT_EQ(a.ATime.tv_nsec, 11);
    EXPECT_EQ(fsys.Items[1].Info.Kind, FileKind::Symlink);
    EXPECT_EQ(fsys.GetDirectory(t.Path("d/b.lnk")), 0);
}

TEST(FolderFiles, OpenAtRefusesALinkAndDoesNotWaitForAFifo) {
    TempTree t;
    t.Write("d/data", "abc");
    std::filesystem::create_symlink("data", t.Path("d/link"));
    ASSERT_EQ(::mkfifo(t.Path("d/fifo").c_str(), 0600), 0);
    clsFolder folder;
    ASSERT_TRUE(folder.Open(t.Path("d")));
    clsBinaryFile f;
    EXPECT_FALSE(f.OpenFileAt(folder, "link"));
    EXPECT_EQ(f.LastErrorCode, ELOOP);
    ASSERT_TRUE(f.OpenFileAt(folder, "fifo")); // no writer: returns at once
    char buf[8];
    EXPECT_EQ(f.ReadBlock(buf, sizeof buf), 0); // and so does reading
    ASSERT_TRUE(f.OpenFileAt(folder, "data"));
    EXPECT_EQ(f.ReadBlock(buf, sizeof buf), 3);
}

TEST(FolderFiles, CreateAtIsExclusiveAndNeverWritesThroughALink) {
    TempTree t;
    t.Write("d/old", "keep");
    std::filesystem::create_symlink(t.Path("elsewhere"), t.Path("d/planted"));
    clsFolder folder;
    ASSERT_TRUE(folder.Open(t.Path("d")));
    clsBinaryFile f;
    for (const char* taken : {"old", "planted"}) {
        SCOPED_TRACE(taken);
        EXPECT_FALSE(f.CreateFileAt(folder, taken, 0644));
        EXPECT_EQ(f.LastErrorCode, EEXIST);
    }
    EXPECT_EQ(t.Read("d/old"), "keep");
    EXPECT_FALSE(std::filesystem::exists(t.Path("elsewhere")));
}

// Whatever the umask leaves and whatever bits the source has, SetMode after CreateFileAt
// gives the copy exactly the source's bits: the skip must never leave a wrong mode.
TEST(FolderFiles, NewFilesEndWithExactlyTheRequestedMode) {
    TempTree t;
    clsFolder folder;
    ASSERT_TRUE(folder.Open(t.Root()));
    const mode_t old = ::umask(022);
    const unsigned modes[] = {0644, 0600, 0755, 0777, 0666, 0444, 0000, 04755, 01777};
    for (unsigned mode : modes) {
        SCOPED_TRACE(mode);
        const std::string name = "f" + std::to_string(mode);
        clsBinaryFile f;
        ASSERT_TRUE(f.CreateFileAt(folder, name, mode));
        EXPECT_TRUE(f.WriteFileText("x"));
        EXPECT_TRUE(f.SetOwner(::geteuid(), ::getegid()));
        EXPECT_TRUE(f.SetMode(mode));
        f.CloseFile();
        EXPECT_EQ(ModeOf(t.Path(name)), mode);
    }
    ::umask(old);
}

TEST(FolderFiles, NewFilesTakeTheGroupOfASetGroupFolder) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "giving a folder another group needs root";
    }
    TempTree t;
    const std::string dir = t.MakeDir("g");
    ASSERT_EQ(::chown(dir.c_str(), 0, 12345), 0);
    ASSERT_EQ(::chmod(dir.c_str(), 02775), 0);
    clsFolder folder;
    ASSERT_TRUE(folder.Open(dir));
    for (const char* name : {"first", "second"}) {
        SCOPED_TRACE(name);
        clsBinaryFile f;
        ASSERT_TRUE(f.CreateFileAt(folder, name, 0644));
        EXPECT_TRUE(f.SetOwner(0, 0)); // the source's group differs from what it got
        f.CloseFile();
        struct stat st {};
        ASSERT_EQ(::lstat((dir + "/" + name).c_str(), &st), 0);
        EXPECT_EQ(st.st_gid, 0u);
    }
}

TEST(FolderFiles, WriteAtLeavesThePositionAlone) {
    TempTree t;
    clsBinaryFile f;
    ASSERT_TRUE(
        f.OpenFile(t.Path("log"), FileAccess::Write, FileShare::Read, FileOpen::OpenAlways));
    ASSERT_TRUE(f.WriteBlockAt("line one\r\n", 10, 0));
    ASSERT_TRUE(f.WriteBlockAt("Done\r\n", 6, 8));
    EXPECT_EQ(f.FilePointer(), 0);
    f.CloseFile();
    EXPECT_EQ(t.Read("log"), "line oneDone\r\n");
}
