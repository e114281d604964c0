#include "platform/clsBinaryFile.h"

#include "TempTree.h"

#include <gtest/gtest.h>

#include <cerrno>

using namespace tessaron;
using tessaron::test::TempTree;

// Across file systems the kernel copy may refuse; the copy must still arrive whole.
TEST(BinaryFile, CopyBlockAcrossFileSystemsAndIntoAReadOnlyTarget) {
    TempTree shm("/dev/shm"), t;
    if (!shm.Ok()) {
        GTEST_SKIP() << "no /dev/shm";
    }
    std::string data(200000, 'q');
    clsBinaryFile src, dst;
    ASSERT_TRUE(src.OpenFile(shm.Write("src", data)));
    ASSERT_TRUE(dst.OpenFile(t.Path("dst"), FileAccess::Write, -1, FileOpen::CreateAlways));
    EXPECT_EQ(src.CopyBlockTo(dst, 1 << 20), 200000);
    dst.CloseFile();
    EXPECT_EQ(t.Read("dst"), data);

    clsBinaryFile readOnly;
    ASSERT_TRUE(readOnly.OpenFile(t.Path("dst")));
    ASSERT_TRUE(src.SeekFile(0));
    EXPECT_EQ(src.CopyBlockTo(readOnly, 100), -1);
    EXPECT_EQ(readOnly.LastErrorCode, EBADF);
}
