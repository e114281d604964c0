// Working by name inside an open folder: links are never followed, creation is
// exclusive, and the metadata a new copy is given ends up right whether or not the
// calls that set it are skipped.
#include "platform/clsBinaryFile.h"
#include "platform/clsFolder.h"

#include "TempTree.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

using namespace tessaron;
using tessaron::test::TempTree;

// A FIFO swapped in for a file between listing and opening must block neither the open
// nor the read; a link planted under a new file's name must not be written through.
TEST(Folder, EntriesAreUsedWithoutFollowingLinksOrWaiting) {
    TempTree t;
    t.Write("d/data", "12345");
    std::filesystem::create_symlink("data", t.Path("d/link"));
    std::filesystem::create_symlink(t.Path("elsewhere"), t.Path("d/planted"));
    ASSERT_EQ(::mkfifo(t.Path("d/fifo").c_str(), 0600), 0);
    clsFolder folder;
    ASSERT_TRUE(folder.Open(t.Path("d")));
    FileInfo info;
    ASSERT_TRUE(folder.GetInfo("link", info));
    EXPECT_EQ(info.Kind, FileKind::Symlink);
    EXPECT_EQ(info.Size, 4);
    ASSERT_TRUE(folder.GetInfo("missing", info));
    EXPECT_FALSE(info.Exists);

    clsBinaryFile f;
    EXPECT_FALSE(f.OpenFileAt(folder, "link"));
    EXPECT_EQ(f.LastErrorCode, ELOOP);
    char buf[8];
    ASSERT_TRUE(f.OpenFileAt(folder, "fifo"));
    EXPECT_EQ(f.ReadBlock(buf, sizeof buf), 0);
    ASSERT_TRUE(f.OpenFileAt(folder, "data"));
    EXPECT_EQ(f.ReadBlock(buf, sizeof buf), 5);

    for (const char* taken : {"data", "planted"}) {
        EXPECT_FALSE(f.CreateFileAt(folder, taken, 0644)) << taken;
        EXPECT_EQ(f.LastErrorCode, EEXIST) << taken;
    }
    EXPECT_EQ(t.Read("d/data"), "12345");
    EXPECT_FALSE(std::filesystem::exists(t.Path("elsewhere")));
}

// Whatever the umask leaves and whatever bits the source has, SetMode after CreateFileAt
// gives the copy exactly the source's bits: the skip must never leave a wrong mode.
TEST(Folder, NewFilesEndWithExactlyTheRequestedMode) {
    TempTree t;
    clsFolder folder;
    ASSERT_TRUE(folder.Open(t.Root()));
    const mode_t old = ::umask(022);
    for (unsigned mode : {0644, 0600, 0755, 0777, 0666, 0444, 0000, 04755, 01777}) {
        SCOPED_TRACE(mode);
        const std::string name = "f" + std::to_string(mode);
        clsBinaryFile f;
        ASSERT_TRUE(f.CreateFileAt(folder, name, mode));
        EXPECT_TRUE(f.WriteFileText("x"));
        EXPECT_TRUE(f.SetOwner(::geteuid(), ::getegid()));
        EXPECT_TRUE(f.SetMode(mode));
        f.CloseFile();
        struct stat st {};
        ::lstat(t.Path(name).c_str(), &st);
        EXPECT_EQ(st.st_mode & 07777, mode);
    }
    ::umask(old);
}

// A set-group folder gives new files its group, so SetOwner must not be skipped; the
// second file checks the decision is not remembered from the first.
TEST(Folder, NewFilesTakeTheGroupOfASetGroupFolder) {
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
        EXPECT_TRUE(f.SetOwner(0, 0));
        f.CloseFile();
        struct stat st {};
        ASSERT_EQ(::lstat((dir + "/" + name).c_str(), &st), 0);
        EXPECT_EQ(st.st_gid, 0u);
    }
}
