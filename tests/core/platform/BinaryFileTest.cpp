#include "platform/clsBinaryFile.h"

#include "TempTree.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <numeric>
#include <sys/stat.h>

using namespace tessaron;
using tessaron::test::TempTree;

TEST(BinaryFile, MissingFileGivesCodeTwoAndTheSystemText) {
    TempTree t;
    clsBinaryFile f;
    EXPECT_FALSE(f.OpenFile(t.Path("missing")));
    EXPECT_EQ(f.LastErrorCode, 2);
    EXPECT_EQ(f.GetErrorMessage(f.LastErrorCode), "No such file or directory");
    EXPECT_FALSE(f.IsOpen());
    EXPECT_EQ(f.Handle(), -1);
}

TEST(BinaryFile, ClosedObjectReportsFailureAndEmptyDates) {
    clsBinaryFile f;
    std::vector<unsigned char> buf{1, 2};
    EXPECT_FALSE(f.ReadFile(buf, 4));
    EXPECT_TRUE(buf.empty());
    EXPECT_EQ(f.LastErrorCode, EBADF);
    EXPECT_FALSE(f.WriteFileText("x"));
    EXPECT_FALSE(f.SeekFile(0));
    EXPECT_TRUE(f.CreateTime().IsEmpty());
    EXPECT_TRUE(f.LastWriteTime().IsEmpty());
    EXPECT_TRUE(f.Eof());
    EXPECT_EQ(f.FileSize(), -1);
}

TEST(BinaryFile, ShortReadsAndReadsAtTheEnd) {
    TempTree t;
    clsBinaryFile f;
    ASSERT_TRUE(f.OpenFile(t.Write("ten", "0123456789")));
    EXPECT_EQ(f.FileSize(), 10);
    std::vector<unsigned char> buf;
    std::string got;
    for (std::size_t want : {4u, 4u, 2u, 0u, 0u}) {
        EXPECT_TRUE(f.ReadFile(buf, 4));
        EXPECT_EQ(buf.size(), want);
        got.append(buf.begin(), buf.end());
    }
    EXPECT_EQ(got, "0123456789");
    EXPECT_TRUE(f.Eof());
    EXPECT_FALSE(f.ReadFile(buf, 0)); // nothing asked, nothing read

    ASSERT_TRUE(f.SeekFile(3));
    EXPECT_FALSE(f.Eof());
    EXPECT_EQ(f.ReadFileText(2), "34");
    EXPECT_EQ(f.FilePointer(), 5);
    EXPECT_EQ(f.GetFileContents(), "56789");

    ASSERT_TRUE(f.OpenFile(t.Write("empty")));
    EXPECT_TRUE(f.Eof());
    EXPECT_TRUE(f.ReadFile(buf, 100));
    EXPECT_TRUE(buf.empty());
}

TEST(BinaryFile, OpenModesBehaveAsTheirNamesSay) {
    TempTree t;
    std::string existing = t.Write("existing", "old");
    struct Case {
        std::int64_t mode;
        bool exists;
        bool opens;
        int code;
        const char* after; // content after opening for writing and closing
    } cases[] = {
        {FileOpen::CreateNew, true, false, EEXIST, "old"},
        {FileOpen::CreateNew, false, true, 0, ""},
        {FileOpen::CreateAlways, true, true, 0, ""},
        {FileOpen::OpenExisting, false, false, ENOENT, nullptr},
        {FileOpen::OpenAlways, true, true, 0, "old"},
        {FileOpen::OpenAlways, false, true, 0, ""},
        {FileOpen::TruncateExisting, true, true, 0, ""},
        {FileOpen::TruncateExisting, false, false, ENOENT, nullptr},
        {99, true, false, EINVAL, "old"},
    };
    int n = 0;
    for (const Case& c : cases) {
        std::string name = "case" + std::to_string(n++);
        std::string path = c.exists ? t.Write(name, "old") : t.Path(name);
        clsBinaryFile f;
        SCOPED_TRACE(name);
        EXPECT_EQ(f.OpenFile(path, FileAccess::Write, FileShare::None, c.mode), c.opens);
        EXPECT_EQ(f.LastErrorCode, c.code);
        f.CloseFile();
        if (c.after != nullptr) {
            EXPECT_EQ(t.Read(name), c.after);
        }
    }
    clsBinaryFile ro;
    ASSERT_TRUE(
        ro.OpenFile(t.Path("ro"), FileAccess::Write, -1, FileOpen::CreateNew, FileAttr::ReadOnly));
    EXPECT_TRUE(ro.WriteFileText("still writable through this handle"));
    struct stat st {};
    ::stat(t.Path("ro").c_str(), &st);
    EXPECT_EQ(st.st_mode & 0222, 0u);
    // The stored parameters stay for the next open.
    EXPECT_EQ(ro.OpenMode, FileOpen::CreateNew);
    EXPECT_EQ(ro.Attributes, FileAttr::ReadOnly);
}

TEST(BinaryFile, WriteTruncateAndAFifoThatDoesNotHang) {
    TempTree t;
    clsBinaryFile f;
    ASSERT_TRUE(f.OpenFile(t.Path("w"), FileAccess::ReadWrite, -1, FileOpen::CreateAlways));
    EXPECT_TRUE(f.WriteFile({'a', 'b', 'c', 'd', 'e'}));
    EXPECT_TRUE(f.TruncateFile(2));
    EXPECT_EQ(f.FileSize(), 2);
    EXPECT_EQ(f.FilePointer(), 2);
    EXPECT_FALSE(f.SeekFile(-1));
    f.CloseFile();
    EXPECT_EQ(t.Read("w"), "ab");

    ::mkfifo(t.Path("fifo").c_str(), 0600);
    clsBinaryFile fifo;
    EXPECT_TRUE(fifo.OpenFile(t.Path("fifo"))); // returns at once, no writer needed
}

TEST(BinaryFile, TimesRoundTripToTheSecondAndToTheNanosecond) {
    TempTree t;
    clsBinaryFile f;
    ASSERT_TRUE(f.OpenFile(t.Write("times", "x"), FileAccess::ReadWrite));
    DateTime accessed{2021, 6, 15, 8, 30, 5};
    DateTime written{2020, 1, 2, 3, 4, 5};
    ASSERT_TRUE(f.SetFileDates(DateTime{2000, 1, 1, 0, 0, 0}, accessed, written));
    DateTime c, a, w;
    ASSERT_TRUE(f.GetFileDates(c, a, w));
    EXPECT_EQ(a, accessed);
    EXPECT_EQ(w, written);
    EXPECT_EQ(f.LastWriteTime(), written);
    EXPECT_TRUE(f.SetCreateTime(DateTime{2000, 1, 1, 0, 0, 0})); // accepted, never stored

    DateTime later{2022, 2, 2, 2, 2, 2};
    ASSERT_TRUE(f.SetLastWriteTime(later));
    EXPECT_EQ(f.LastWriteTime(), later);
    EXPECT_EQ(f.LastAccessTime(), accessed); // untouched by setting the other

    std::timespec at{1234567890, 987654321}, mt{1234567000, 123};
    ASSERT_TRUE(f.SetTimes(at, mt));
    std::timespec at2{}, mt2{};
    ASSERT_TRUE(f.GetTimes(at2, mt2));
    EXPECT_EQ(at2.tv_sec, at.tv_sec);
    EXPECT_EQ(at2.tv_nsec, at.tv_nsec);
    EXPECT_EQ(mt2.tv_nsec, mt.tv_nsec);
}

// The block copy through the kernel, through the internal buffer after a fallback, and
// through a small caller buffer that needs many rounds.
class CopyBlock : public ::testing::TestWithParam<int> {};

TEST_P(CopyBlock, MovesExactlyTheBytesAskedAndStopsAtTheEnd) {
    TempTree t;
    std::string data(3 * 1024 * 1024 + 7, '\0');
    std::iota(data.begin(), data.end(), '\0');
    t.Write("src", data);
    clsBinaryFile src, dst;
    ASSERT_TRUE(src.OpenFile(t.Path("src")));
    ASSERT_TRUE(dst.OpenFile(t.Path("dst"), FileAccess::Write, -1, FileOpen::CreateAlways));
    unsigned char small[4096];
    void* buffer = GetParam() == 2 ? small : nullptr;
    if (GetParam() != 0) {
        src.DisableKernelCopy();
    }
    EXPECT_EQ(src.CopyBlockTo(dst, 1000, buffer, sizeof small), 1000);
    EXPECT_EQ(src.FilePointer(), 1000);
    EXPECT_EQ(dst.FilePointer(), 1000);
    long long rest = 0;
    for (long long n; (n = src.CopyBlockTo(dst, 1 << 20, buffer, sizeof small)) > 0;) {
        rest += n;
    }
    EXPECT_EQ(rest, static_cast<long long>(data.size()) - 1000);
    EXPECT_EQ(src.CopyBlockTo(dst, 10, buffer, sizeof small), 0);
    dst.CloseFile();
    EXPECT_TRUE(t.Read("dst") == data);
    EXPECT_EQ(src.UsesKernelCopy(), GetParam() == 0);
}

std::string CopyPathName(const ::testing::TestParamInfo<int>& param) {
    static const char* const kNames[] = {"KernelCopy", "Fallback", "FallbackCallerBuffer"};
    return kNames[param.param];
}

INSTANTIATE_TEST_SUITE_P(Paths, CopyBlock, ::testing::Values(0, 1, 2), CopyPathName);

TEST(BinaryFile, CopyBlockAcrossFileSystemsAndIntoAReadOnlyTarget) {
    TempTree shm("/dev/shm");
    TempTree t;
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
