// What a copy keeps on POSIX: permission bits, owners and times, holes, and verification
// that reads what the medium holds.
#include "EngineTestSupport.h"
#include "FaultyFileAccess.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace tessaron::test {
namespace {

using CopyTest = EngineTest;

// Folders and files keep their permission bits, times (folders' set after their
// contents) and, for root, owners; no copy is ever more open to others than it ends up,
// and a read-only folder's copy can still be updated by a later run.
TEST_F(CopyTest, MetadataOfFilesAndFolders) {
    const bool asRoot = geteuid() == 0;
    WriteFile(src / "private/secret.txt", "secret");
    WriteFile(src / "ro/fixed.txt", "fixed");
    WriteFile(src / "tool", "#!");
    chmod((src / "private/secret.txt").c_str(), 0600);
    chmod((src / "ro/fixed.txt").c_str(), 0444);
    chmod((src / "tool").c_str(), 04755);
    if (asRoot) {
        lchown((src / "private").c_str(), 1234, 5678);
        lchown((src / "private/secret.txt").c_str(), 1234, 5678);
        lchown((src / "tool").c_str(), 1234, 5678);
    }
    for (const char* p : {"private/secret.txt", "private", "ro/fixed.txt", "ro", "tool"}) {
        SetMtime(src / p, 1500000000);
    }
    chmod((src / "private").c_str(), 0700);
    chmod((src / "ro").c_str(), 0555);
    FaultyFileAccess access;
    std::vector<std::pair<std::string, struct stat>> early; // copies as first made
    access.onCall = [&](Op op, const std::string& path) {
        struct stat st {};
        if ((op == Op::SetFileMeta || op == Op::SetFolderMeta) && lstat(path.c_str(), &st) == 0) {
            early.emplace_back(path, st);
        }
    };
    for (const char* type : {"FULL", "INCREMENTAL"}) {
        setup.BackupType = type;
        ASSERT_TRUE(RunBackup([&](BackupEngine& e) { e.FileAccess(access); })) << view.All();
    }
    ExpectSameTree(src, Copy(src));
    for (const char* p : {"private/secret.txt", "private", "ro", "tool"}) {
        const struct stat a = Stat(src / p), b = Stat(Copy(src / p));
        EXPECT_EQ(b.st_mtim.tv_sec, a.st_mtim.tv_sec) << p;
        EXPECT_EQ(b.st_uid, a.st_uid) << p;
        EXPECT_EQ(b.st_gid, a.st_gid) << p;
    }
    for (const auto& [path, st] : early) {
        const fs::path source = path.substr(out.string().size());
        const bool givenAway = asRoot && Stat(source).st_uid != 0;
        const mode_t others = givenAway ? 0 : Stat(source).st_mode & 077;
        EXPECT_EQ(st.st_mode & 077 & ~others, 0u) << path;
    }
}

// Holes stay holes: a 1 GiB file of two small pieces of data takes little room.
TEST_F(CopyTest, SparseFilesStaySparse) {
    const fs::path p = src / "sparse.bin";
    const long long size = 1LL << 30;
    WriteFile(p, "head");
    fs::resize_file(p, size);
    {
        std::fstream f(p, std::ios::in | std::ios::out | std::ios::binary);
        f.seekp(size / 2);
        f << "middle";
    }
    ASSERT_TRUE(RunBackup()) << view.All();
    const struct stat st = Stat(Copy(p));
    EXPECT_EQ(st.st_size, size);
    EXPECT_LT(st.st_blocks * 512, 1 << 20);
    std::ifstream copy(Copy(p), std::ios::binary);
    std::string head(4, '\0'), middle(6, '\0');
    copy.read(head.data(), 4);
    copy.seekg(size / 2);
    copy.read(middle.data(), 6);
    EXPECT_EQ(head + middle, "headmiddle");
}

// The copy is on the medium before it is compared, and none of it is still in memory
// when it is read back. (On a file system held in memory there is no medium to read.)
TEST_F(CopyTest, VerificationReadsTheMedium) {
    struct statfs fsinfo {};
    if (statfs(out.c_str(), &fsinfo) == 0 && fsinfo.f_type == 0x01021994) {
        GTEST_SKIP() << "the temporary folder is a tmpfs: its pages are its storage";
    }
    WriteFile(src / "big.bin", Bytes(4 << 20));
    setup.Verify = true;
    FaultyFileAccess access;
    long resident = -1;
    access.onCall = [&](Op op, const std::string& path) {
        if (op != Op::Read || path != Copy(src / "big.bin").string() || resident >= 0) {
            return;
        }
        const int fd = open(path.c_str(), O_RDONLY);
        const std::size_t len = 4 << 20, pages = len / sysconf(_SC_PAGESIZE);
        void* map = mmap(nullptr, len, PROT_READ, MAP_SHARED, fd, 0);
        std::vector<unsigned char> in(pages);
        mincore(map, len, in.data());
        resident = std::count_if(in.begin(), in.end(), [](unsigned char c) { return c & 1; });
        munmap(map, len);
        close(fd);
    };
    EXPECT_TRUE(RunBackup([&](BackupEngine& e) { e.FileAccess(access); })) << view.All();
    EXPECT_EQ(resident, 0);
}

} // namespace
} // namespace tessaron::test
