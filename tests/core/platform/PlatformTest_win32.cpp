// The cases that only Windows has: attributes that block deletion, files locked by
// another opener, drive letters. (Long paths and names outside the ANSI code page go
// through a whole run in CopyFidelityTest_win32.)
#include "platform/SystemPlaces.h"
#include "platform/clsBinaryFile.h"
#include "platform/clsFileSystem.h"

#include "TempTree.h"

#include <gtest/gtest.h>
#include <windows.h>
// The tests call the members of these names, not the system's macros.
#undef GetDriveType
#undef CreateDirectory

#include <algorithm>

using namespace tessaron;
using tessaron::test::TempTree;

namespace {

std::string MakeFile(const std::string& path, const std::string& content) {
    clsBinaryFile f;
    EXPECT_TRUE(f.OpenFile(path, FileAccess::Write, FileShare::None, FileOpen::CreateAlways))
        << path << " code " << f.LastErrorCode;
    EXPECT_TRUE(f.WriteFileText(content));
    return path;
}

TEST(WindowsFiles, DeleteClearsAttributesThatWouldBlockIt) {
    TempTree t;
    clsFileSystem fsys;
    const std::string tree = t.MakeDir("tree");
    for (int attr : {FileAttr::ReadOnly, FileAttr::Hidden | FileAttr::System,
                     FileAttr::ReadOnly | FileAttr::Hidden}) {
        const std::string file = MakeFile(tree + "\\f" + std::to_string(attr), "x");
        ASSERT_TRUE(::SetFileAttributesA(file.c_str(), static_cast<DWORD>(attr)));
    }
    ASSERT_TRUE(::SetFileAttributesA(tree.c_str(), FILE_ATTRIBUTE_READONLY));
    ASSERT_EQ(fsys.GetDirectory(tree), 3);
    EXPECT_TRUE(fsys.Items[0].IsReadOnly); // f1, f3, f6 in name order
    EXPECT_TRUE(fsys.Items[1].IsReadOnly && fsys.Items[1].IsHidden);
    EXPECT_TRUE(fsys.Items[2].IsHidden && fsys.Items[2].IsSystem);
    EXPECT_TRUE(fsys.Delete(tree, true)) << fsys.LastError;
    EXPECT_FALSE(fsys.Exists(tree));
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
    SystemPlaces places;
    SysError error;
    EXPECT_EQ(places.GetDriveType("C:\\Windows", error), "FIXED"); // any path names its drive

    std::string unused;
    for (char letter = 'Z'; letter > 'D' && unused.empty(); --letter) {
        const std::string root = std::string(1, letter) + ":\\";
        if (std::none_of(fsys.Items.begin(), fsys.Items.end(),
                         [&](const clsFSItem& d) { return d.Path == root; })) {
            unused = root;
        }
    }
    ASSERT_FALSE(unused.empty());
    EXPECT_EQ(places.GetDriveType(unused, error), "");
    EXPECT_TRUE(error) << unused;
    EXPECT_EQ(fsys.GetDriveUNC("C:"), "");
    // Floppy letters are never touched, a fixed disk is refused after its type.
    for (const char* drive : {"A:", "b:\\", "C:\\Backup"}) {
        EXPECT_FALSE(places.EjectMedia(drive, error)) << drive;
        EXPECT_TRUE(error) << drive;
    }
}

} // namespace
