// The cases that only Windows has: attributes that block deletion, files locked by
// another opener, paths past 260 characters, names outside the ANSI code page, drive
// letters.
#include "platform/clsBinaryFile.h"
#include "platform/clsFileSystem.h"
#include "platform/clsFolder.h"

#include "TempTree.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace tessaron;
using tessaron::test::TempTree;

namespace {

// Windows error codes (windows.h is left out: its macros rename the classes' members).
constexpr int kSharingViolation = 32; // kSharingViolation
constexpr int kFileExists = 80;       // ERROR_FILE_EXISTS

std::string MakeFile(const std::string& path, const std::string& content) {
    clsBinaryFile f;
    EXPECT_TRUE(f.OpenFile(path, FileAccess::Write, FileShare::None, FileOpen::CreateAlways))
        << path << " code " << f.LastErrorCode;
    EXPECT_TRUE(f.WriteFileText(content));
    return path;
}

std::string ReadAll(const std::string& path) {
    clsBinaryFile f;
    return f.OpenFile(path, FileAccess::Read, FileShare::Read) ? f.GetFileContents() : "<unread>";
}

TEST(WindowsFiles, DeleteClearsAttributesThatWouldBlockIt) {
    TempTree t;
    clsFileSystem fsys;
    const std::string tree = t.MakeDir("tree");
    for (int attr : {FileAttr::ReadOnly, FileAttr::Hidden | FileAttr::System,
                     FileAttr::ReadOnly | FileAttr::Hidden}) {
        const std::string file = MakeFile(tree + "\\f" + std::to_string(attr), "x");
        ASSERT_TRUE(fsys.SetFileAttributes(file, attr)) << fsys.LastError;
        EXPECT_EQ(fsys.GetFileAttributes(file) & attr, attr);
    }
    ASSERT_TRUE(fsys.SetFileAttributes(tree, FileAttr::ReadOnly));
    ASSERT_EQ(fsys.GetDirectory(tree), 3);
    EXPECT_TRUE(fsys.Items[0].IsReadOnly); // f1, f3, f6 in name order
    EXPECT_TRUE(fsys.Items[1].IsReadOnly && fsys.Items[1].IsHidden);
    EXPECT_TRUE(fsys.Items[2].IsHidden && fsys.Items[2].IsSystem);
    EXPECT_TRUE(fsys.Delete(tree, true)) << fsys.LastError;
    EXPECT_FALSE(fsys.Exists(tree));
}

// A file another program holds open without sharing is reported, never half copied,
// and survives a clean that cannot remove it.
TEST(WindowsFiles, ALockedFileFailsToOpenAndStopsAClean) {
    TempTree t;
    const std::string dir = t.MakeDir("d");
    MakeFile(dir + "\\a-locked.txt", "busy");
    MakeFile(dir + "\\b-after.txt", "later");
    clsBinaryFile holder;
    ASSERT_TRUE(holder.OpenFile(dir + "\\a-locked.txt", FileAccess::ReadWrite, FileShare::None));

    clsFolder folder;
    ASSERT_TRUE(folder.Open(dir));
    clsBinaryFile reader;
    EXPECT_FALSE(reader.OpenFileAt(folder, "a-locked.txt"));
    EXPECT_EQ(reader.LastErrorCode, kSharingViolation);
    folder.Close();

    clsFileSystem fsys;
    EXPECT_FALSE(fsys.Clean(dir));
    EXPECT_TRUE(fsys.LastError.starts_with("clsFileSystem.Clean() - Error (32) "))
        << fsys.LastError;
    EXPECT_TRUE(fsys.Exists(dir + "\\b-after.txt")); // not reached after the failure
    holder.CloseFile();
    EXPECT_TRUE(fsys.Clean(dir)) << fsys.LastError;
}

// Names past 260 characters and outside the ANSI code page are made, listed, opened inside
// their folder, copied and deleted with every character kept.
TEST(WindowsFiles, LongPathsAndNamesOutsideTheAnsiCodePage) {
    TempTree t;
    const std::string name =
        "\xCE\xA9mega-\xE6\x97\xA5\xE6\x9C\xAC-\xF0\x9F\x98\x80.txt"; // Ωmega-日本-😀
    std::string deep = t.Root();
    while (deep.size() < 300) {
        deep += "\\a-folder-name-of-forty-characters-xxxxxx";
    }
    clsFileSystem fsys;
    ASSERT_TRUE(fsys.CreateDirectories(deep)) << fsys.LastError;
    const std::string file = MakeFile(deep + "\\" + name, "far down");
    EXPECT_GT(file.size(), 260u);
    EXPECT_EQ(ReadAll(file), "far down");
    EXPECT_TRUE(fsys.Copy(file, deep + "\\copy.txt", false)) << fsys.LastError;
    ASSERT_EQ(fsys.GetDirectory(deep), 2);
    EXPECT_EQ(fsys.Items[1].Path, name); // after "copy.txt"
    EXPECT_EQ(fsys.ListFiles(deep), (std::vector<std::string>{"copy.txt", name}));
    EXPECT_EQ(fsys.GetFileSize(deep + "\\copy.txt"), 8);
    clsFolder folder;
    ASSERT_TRUE(folder.Open(deep));
    clsBinaryFile f;
    ASSERT_TRUE(f.OpenFileAt(folder, name)) << f.LastErrorCode;
    EXPECT_EQ(f.GetFileContents(), "far down");
    f.CloseFile();
    folder.Close();
    EXPECT_TRUE(fsys.Delete(t.Path("a-folder-name-of-forty-characters-xxxxxx"))) << fsys.LastError;
}

TEST(WindowsDrives, DriveLettersTypesAndEject) {
    clsFileSystem fsys;
    ASSERT_GT(fsys.GetDrives(), 0) << fsys.LastError;
    const auto c = std::find_if(fsys.Items.begin(), fsys.Items.end(),
                                [](const clsFSItem& d) { return d.Path == "C:\\"; });
    ASSERT_NE(c, fsys.Items.end());
    EXPECT_TRUE(c->IsDrive);
    EXPECT_EQ(c->DriveType, "FIXED");
    EXPECT_GT(c->Size, 0);
    EXPECT_EQ(fsys.GetDriveType("C:\\Windows"), "FIXED"); // any path names its drive

    std::string unused;
    for (char letter = 'Z'; letter > 'D' && unused.empty(); --letter) {
        const std::string root = std::string(1, letter) + ":\\";
        if (std::none_of(fsys.Items.begin(), fsys.Items.end(),
                         [&](const clsFSItem& d) { return d.Path == root; })) {
            unused = root;
        }
    }
    ASSERT_FALSE(unused.empty());
    EXPECT_EQ(fsys.GetDriveType(unused), "");
    EXPECT_EQ(fsys.GetDriveTotalSize(unused), 0);
    EXPECT_EQ(fsys.GetDriveUNC("C:"), "");
    // Floppy letters are never touched, a fixed disk is refused after its type.
    for (const char* drive : {"A:", "b:\\", "C:\\Backup"}) {
        EXPECT_FALSE(fsys.EjectMedia(drive)) << drive;
    }
}

TEST(WindowsFiles, ErrorsNameTheMemberAndTheSystemCode) {
    TempTree t;
    clsFileSystem fsys;
    EXPECT_EQ(fsys.GetFileAttributes(t.Path("missing")), 0);
    EXPECT_TRUE(fsys.LastError.starts_with("clsFileSystem.GetFileAttributes() - Error (2) "))
        << fsys.LastError;
    EXPECT_FALSE(fsys.CreateDirectory(t.Path("no\\such\\parent")));
    EXPECT_TRUE(fsys.LastError.starts_with("clsFileSystem.CreateDirectory() - Error (3) "))
        << fsys.LastError;
    const std::string text = fsys.GetErrorMessage(kFileExists);
    EXPECT_FALSE(text.empty());
    EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos);
}

} // namespace
