#include "platform/SystemPlaces.h"
#include "platform/clsFileSystem.h"
#include "platform/posix/MountTable.h"

#include "EnvOverride.h"
#include "TempTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sys/stat.h>

using namespace tessaron;
using namespace tessaron::posix;
using tessaron::test::TempTree;

TEST(MountTable, ParsesEscapesAndOptionalFieldsAndSkipsMalformedLines) {
    std::vector<MountEntry> m = ParseMountInfo(
        "27 1 254:0 / / rw,relatime shared:1 - ext4 /dev/vda rw\n"
        "90 27 8:17 / /media/ann/My\\040Disk rw master:3 shared:7 - vfat /dev/sdb1 rw\n"
        "garbage line\n"
        "91 27 x:1 / /bad rw - ext4 /dev/sdc rw\n"
        "92 27 0:50 / /mnt/share rw - cifs //srv/share rw\n"
        "93 27 0:51 / relative rw - ext4 /dev/sdd rw\n"
        "94 27 0:52 / /no-type rw -\n");
    ASSERT_EQ(m.size(), 3u);
    EXPECT_EQ(m[0].Major, 254u);
    EXPECT_EQ(m[1].MountPoint, "/media/ann/My Disk");
    EXPECT_EQ(m[1].FsType, "vfat");
    EXPECT_EQ(m[1].Source, "/dev/sdb1");
    EXPECT_EQ(m[1].Minor, 17u);
    EXPECT_EQ(m[2].Source, "//srv/share");
}

// Pseudo file systems (proc, cgroup tmpfs, snaps, devpts) are no drives; of two mounts on
// one point only the later, visible one counts.
TEST(MountTable, DrivesLeaveOutPseudoSystemsKeepTheTopMountAndPutRootFirst) {
    std::vector<MountEntry> d =
        DriveMounts(ParseMountInfo("1 0 0:1 / /proc rw - proc proc rw\n"
                                   "2 0 0:2 / /var rw - ext4 sda2 rw\n"
                                   "3 0 0:3 / / rw - ext4 sda1 rw\n"
                                   "4 0 0:4 / /dev/shm rw - tmpfs one rw\n"
                                   "5 0 0:5 / /sys/fs/cgroup rw - tmpfs t rw\n"
                                   "6 0 0:6 / /snap/core/1 ro - squashfs l ro\n"
                                   "7 0 0:7 / /dev/shm rw - tmpfs two rw\n"
                                   "8 0 0:8 / /dev/pts rw - devpts d rw\n"
                                   "9 0 0:9 / /boot rw - vfat sda3 rw\n"));
    std::vector<std::string> got;
    for (const MountEntry& e : d) {
        got.push_back(e.MountPoint + " " + e.Source);
    }
    EXPECT_EQ(got, (std::vector<std::string>{"/ sda1", "/boot sda3", "/dev/shm two", "/var sda2"}));
}

TEST(MountTable, HoldingMountIsTheLongestWholeComponentPrefix) {
    std::vector<MountEntry> m = ParseMountInfo("1 0 0:1 / / rw - ext4 a rw\n"
                                               "2 0 0:2 / /mnt rw - ext4 b rw\n"
                                               "3 0 0:3 / /mnt/usb rw - vfat c rw\n"
                                               "4 0 0:4 / /mnt/usb rw - vfat d rw\n");
    for (auto [path, source] : {std::pair{"/", "a"},
                                {"/mnt2/x", "a"},
                                {"/mnt", "b"},
                                {"/mnt/usb2", "b"},
                                {"/mnt/usb", "d"},
                                {"/mnt/usb/x", "d"}}) {
        const MountEntry* e = HoldingMount(m, path);
        ASSERT_NE(e, nullptr) << path;
        EXPECT_EQ(e->Source, source) << path;
    }
    EXPECT_EQ(HoldingMount({}, "/x"), nullptr);
}

TEST(MountTable, PathRules) {
    for (auto [path, base] : {std::pair{"/media/ann/USB/Backup/x", "/media/ann/USB"},
                              {"/run/media/ann/Disk/B", "/run/media/ann/Disk"},
                              {"/media/ann/", ""},
                              {"/mediax/ann/USB", ""},
                              {"/home/ann/media/ann/USB", ""}}) {
        EXPECT_EQ(RemovableMediaBase(path), base) << path;
    }
    for (auto [in, out] :
         {std::pair{"//a//b/", "/a/b"}, {"/a/./b/../c", "/a/c"}, {"/../..", "/"}, {"rel/x", ""}}) {
        EXPECT_EQ(NormalizePath(in), out) << in;
    }
    for (auto [fs, type] : {std::pair{"nfs4", "REMOTE"},
                            {"fuse.sshfs", "REMOTE"},
                            {"tmpfs", "RAMDISK"},
                            {"ext4", ""}}) {
        EXPECT_EQ(TypeOfFileSystem(fs), type) << fs;
    }
    EXPECT_EQ(DecodeUdevName("My\\x20Disk\\x2"), "My Disk\\x2");
}

TEST(Drives, ThisMachineListsRootAsFixedFirstAndTmpfsAsRamdisk) {
    clsFileSystem fsys;
    ASSERT_GT(fsys.GetDrives(), 0);
    const clsFSItem& root = fsys.Items[0];
    EXPECT_EQ(root.Path, "/");
    EXPECT_TRUE(root.IsDrive);
    EXPECT_EQ(root.DriveType, "FIXED");
    EXPECT_GT(root.FreeSpace, 0);
    EXPECT_LE(root.FreeSpace, root.Size);

    std::vector<MountEntry> mounts = LoadMountTable();
    if (std::none_of(mounts.begin(), mounts.end(), [](const MountEntry& e) {
            return e.MountPoint == "/dev/shm" && e.FsType == "tmpfs";
        })) {
        GTEST_SKIP() << "/dev/shm is not a tmpfs mount here";
    }
    auto shm = std::find_if(fsys.Items.begin(), fsys.Items.end(),
                            [](const clsFSItem& i) { return i.Path == "/dev/shm"; });
    ASSERT_NE(shm, fsys.Items.end());
    EXPECT_EQ(shm->DriveType, "RAMDISK");
    EXPECT_EQ(fsys.GetDriveType("/dev/shm/not-yet/made"), "RAMDISK");
}

TEST(Drives, UnknownTypeForMissingMediaAndEmptyPaths) {
    SystemPlaces places;
    SysError type;
    SysError space;
    for (const char* path : {"", "/media/nobody/USB", "/media/nobody/../nobody/USB/x"}) {
        EXPECT_EQ(places.GetDriveType(path, type), "") << path;
        EXPECT_EQ(places.GetDriveFreeSpace(path, space), 0) << path;
        EXPECT_TRUE(type && space) << path << ": a failure without its reason";
    }
    // A folder not made yet on a real disk still has the type and space of that disk.
    EXPECT_EQ(places.GetDriveType("/tmp/tessaron-not-made/a", type),
              places.GetDriveType("/tmp", type));
    EXPECT_GT(places.GetDriveFreeSpace("/tmp/tessaron-not-made/a", space), 0);
    EXPECT_FALSE(type || space) << type.Text() << space.Text();
}

// Stand-in eject tools leave a mark if they run: a fixed drive must never reach them.
TEST(Drives, EjectOfAFixedOrRamDriveReturnsFalseWithoutRunningAnyTool) {
    TempTree t;
    for (const char* tool : {"udisksctl", "eject"}) {
        ::chmod(t.Write(std::string("bin/") + tool, "#!/bin/sh\ntouch " + t.Path("ran")).c_str(),
                0755);
    }
    const tessaron::test::EnvOverride path("PATH", t.Path("bin"));
    SystemPlaces places;
    for (const char* drive : {"/", "/dev/shm", "/media/nobody/USB"}) {
        SysError why;
        EXPECT_FALSE(places.EjectMedia(drive, why)) << drive;
        EXPECT_TRUE(why) << drive;
    }
    EXPECT_FALSE(std::filesystem::exists(t.Path("ran"))) << "an eject tool was run";
}
