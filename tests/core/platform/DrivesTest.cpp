#include "platform/clsFileSystem.h"
#include "platform/posix/MountTable.h"

#include "TempTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sys/stat.h>

using namespace tessaron;
using namespace tessaron::posix;
using tessaron::test::TempTree;

TEST(MountTable, ParsesLinesWithEscapesAndOptionalFieldsAndSkipsMalformedOnes) {
    const char* text =
        "27 1 254:0 / / rw,relatime shared:1 - ext4 /dev/vda rw\n"
        "90 27 8:17 / /media/ann/My\\040Disk rw master:3 shared:7 - vfat /dev/sdb1 rw\n"
        "garbage line\n"
        "91 27 x:1 / /bad rw - ext4 /dev/sdc rw\n"
        "92 27 0:50 / /mnt/share rw - cifs //srv/share rw\n"
        "93 27 0:51 / relative rw - ext4 /dev/sdd rw\n"
        "94 27 0:52 / /no-type rw -\n";
    std::vector<MountEntry> m = ParseMountInfo(text);
    ASSERT_EQ(m.size(), 3u);
    EXPECT_EQ(m[0].MountPoint, "/");
    EXPECT_EQ(m[0].Major, 254u);
    EXPECT_EQ(m[1].MountPoint, "/media/ann/My Disk");
    EXPECT_EQ(m[1].FsType, "vfat");
    EXPECT_EQ(m[1].Source, "/dev/sdb1");
    EXPECT_EQ(m[1].Minor, 17u);
    EXPECT_EQ(m[2].Source, "//srv/share");
}

TEST(MountTable, DrivesLeaveOutPseudoSystemsKeepTheTopMountAndPutRootFirst) {
    std::vector<MountEntry> m =
        ParseMountInfo("1 0 0:1 / /proc rw - proc proc rw\n"
                       "2 0 0:2 / /var rw - ext4 /dev/sda2 rw\n"
                       "3 0 0:3 / / rw - ext4 /dev/sda1 rw\n"
                       "4 0 0:4 / /dev/shm rw - tmpfs tmpfs rw\n"
                       "5 0 0:5 / /sys/fs/cgroup rw - tmpfs tmpfs rw\n"
                       "6 0 0:6 / /snap/core/1 ro - squashfs /dev/loop0 ro\n"
                       "7 0 0:7 / /dev/shm rw - tmpfs second rw\n"
                       "8 0 0:8 / /dev/pts rw - devpts devpts rw\n"
                       "9 0 0:9 / /boot rw - vfat /dev/sda3 rw\n");
    std::vector<MountEntry> d = DriveMounts(m);
    std::vector<std::string> points;
    for (const MountEntry& e : d) {
        points.push_back(e.MountPoint);
    }
    EXPECT_EQ(points, (std::vector<std::string>{"/", "/boot", "/dev/shm", "/var"}));
    EXPECT_EQ(d[2].Source, "second");
}

TEST(MountTable, HoldingMountIsTheLongestWholeComponentPrefix) {
    std::vector<MountEntry> m = ParseMountInfo("1 0 0:1 / / rw - ext4 a rw\n"
                                               "2 0 0:2 / /mnt rw - ext4 b rw\n"
                                               "3 0 0:3 / /mnt/usb rw - vfat c rw\n"
                                               "4 0 0:4 / /mnt/usb rw - vfat d rw\n");
    struct {
        const char* path;
        const char* source;
    } cases[] = {{"/", "a"},         {"/home/ann", "a"}, {"/mnt", "b"},      {"/mnt2/x", "a"},
                 {"/mnt/usb2", "b"}, {"/mnt/usb", "d"},  {"/mnt/usb/x", "d"}};
    for (const auto& c : cases) {
        const MountEntry* e = HoldingMount(m, c.path);
        ASSERT_NE(e, nullptr) << c.path;
        EXPECT_EQ(e->Source, c.source) << c.path;
    }
    EXPECT_EQ(HoldingMount({}, "/x"), nullptr);
}

TEST(MountTable, PathRulesForRemovableMediaAndNormalisation) {
    struct {
        const char* path;
        const char* base;
    } media[] = {{"/media/ann/USB", "/media/ann/USB"},
                 {"/media/ann/USB/Backup/x", "/media/ann/USB"},
                 {"/run/media/ann/Disk/B", "/run/media/ann/Disk"},
                 {"/media/ann", ""},
                 {"/media/ann/", ""},
                 {"/mediax/ann/USB", ""},
                 {"/home/ann/media/ann/USB", ""}};
    for (const auto& c : media) {
        EXPECT_EQ(RemovableMediaBase(c.path), c.base) << c.path;
    }
    struct {
        const char* in;
        const char* out;
    } norm[] = {{"/", "/"},      {"//a//b/", "/a/b"}, {"/a/./b/../c", "/a/c"},
                {"/../..", "/"}, {"rel/x", ""},       {"", ""}};
    for (const auto& c : norm) {
        EXPECT_EQ(NormalizePath(c.in), c.out) << c.in;
    }
    EXPECT_EQ(TypeOfFileSystem("nfs4"), "REMOTE");
    EXPECT_EQ(TypeOfFileSystem("fuse.sshfs"), "REMOTE");
    EXPECT_EQ(TypeOfFileSystem("tmpfs"), "RAMDISK");
    EXPECT_EQ(TypeOfFileSystem("ext4"), "");
    EXPECT_EQ(DecodeUdevName("My\\x20Disk\\x2"), "My Disk\\x2");
}

namespace {

bool IsTmpfsMount(const std::string& point) {
    for (const MountEntry& e : LoadMountTable()) {
        if (e.MountPoint == point && e.FsType == "tmpfs") {
            return true;
        }
    }
    return false;
}

} // namespace

TEST(Drives, ThisMachineListsRootAsFixedFirstAndTmpfsAsRamdisk) {
    clsFileSystem fsys;
    int count = fsys.GetDrives();
    ASSERT_GT(count, 0);
    ASSERT_EQ(fsys.Items.size(), static_cast<std::size_t>(count));
    const clsFSItem& root = fsys.Items[0];
    EXPECT_EQ(root.Path, "/");
    EXPECT_TRUE(root.IsDrive);
    EXPECT_EQ(root.DriveType, "FIXED");
    EXPECT_GT(root.Size, 0);
    EXPECT_GT(root.FreeSpace, 0);
    EXPECT_LE(root.FreeSpace, root.Size);
    EXPECT_EQ(fsys.GetDriveType("/"), "FIXED");
    EXPECT_EQ(fsys.GetDriveUNC("/"), "");

    if (!IsTmpfsMount("/dev/shm")) {
        GTEST_SKIP() << "/dev/shm is not a tmpfs mount here";
    }
    auto shm = std::find_if(fsys.Items.begin(), fsys.Items.end(),
                            [](const clsFSItem& i) { return i.Path == "/dev/shm"; });
    ASSERT_NE(shm, fsys.Items.end());
    EXPECT_EQ(shm->DriveType, "RAMDISK");
    EXPECT_EQ(fsys.GetDriveType("/dev/shm/not-yet/made"), "RAMDISK");
}

TEST(Drives, UnknownTypeForMissingMediaAndEmptyPaths) {
    clsFileSystem fsys;
    for (const char* path : {"", "/media/nobody/USB", "/media/nobody/USB/Backup/",
                             "/run/media/nobody/USB", "/media/nobody/../nobody/USB/x"}) {
        EXPECT_EQ(fsys.GetDriveType(path), "") << path;
        EXPECT_EQ(fsys.GetDriveTotalSize(path), 0) << path;
        EXPECT_EQ(fsys.GetDriveFreeSpace(path), 0) << path;
    }
    // A folder not made yet on a real disk still has the type and space of that disk.
    EXPECT_EQ(fsys.GetDriveType("/tmp/tessaron-not-made/a"), fsys.GetDriveType("/tmp"));
    EXPECT_GT(fsys.GetDriveFreeSpace("/tmp/tessaron-not-made/a"), 0);
}

// A stand-in eject tool that leaves a mark when it runs proves that a fixed drive is
// never touched.
TEST(Drives, EjectOfAFixedOrRamDriveReturnsFalseWithoutRunningAnyTool) {
    TempTree t;
    std::string mark = t.Path("ran");
    for (const char* tool : {"udisksctl", "eject"}) {
        std::string script = t.Write(std::string("bin/") + tool, "#!/bin/sh\ntouch " + mark + "\n");
        ::chmod(script.c_str(), 0755);
    }
    const char* old = std::getenv("PATH");
    std::string saved = old != nullptr ? old : "";
    ::setenv("PATH", t.Path("bin").c_str(), 1);
    clsFileSystem fsys;
    bool fixed = fsys.EjectMedia("/");
    bool ram = fsys.EjectMedia("/dev/shm");
    bool missing = fsys.EjectMedia("/media/nobody/USB");
    ::setenv("PATH", saved.c_str(), 1);
    EXPECT_FALSE(fixed);
    EXPECT_FALSE(ram);
    EXPECT_FALSE(missing);
    struct stat st {};
    EXPECT_NE(::lstat(mark.c_str(), &st), 0) << "an eject tool was run";
}
