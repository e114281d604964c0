#include "platform/clsBinaryFile.h"

#include "TempTree.h"
#include "TestNames.h"
#include "platform/clsFileSystem.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <numeric>

using namespace tessaron;
using namespace tessaron::test;

namespace {

// The system's error codes for the failures these tests provoke, so that one table of cases
// runs on every system. Texts of system errors are never compared: they differ between
// systems (and between Windows and Wine).
#ifdef _WIN32
// The Windows codes by number: windows.h defines macros (Yield) that clash with the
// platform classes' members.
inline constexpr int kNotFound = 2;         // ERROR_FILE_NOT_FOUND
inline constexpr int kExists = 80;          // ERROR_FILE_EXISTS
inline constexpr int kBadHandle = 6;        // ERROR_INVALID_HANDLE
inline constexpr int kInvalidArgument = 87; // ERROR_INVALID_PARAMETER
inline constexpr bool kHasKernelCopy = false;
#else
inline constexpr int kNotFound = ENOENT;
inline constexpr int kExists = EEXIST;
inline constexpr int kBadHandle = EBADF;
inline constexpr int kInvalidArgument = EINVAL;
inline constexpr bool kHasKernelCopy = true;
#endif

} // namespace

TEST(BinaryFile, MissingOrClosedFilesReportTheSystemError) {
    TempTree t;
    clsBinaryFile f;
    EXPECT_FALSE(f.OpenFile(t.Path("missing")));
    EXPECT_EQ(f.LastErrorCode, kNotFound);
    const std::string text = f.GetErrorMessage(f.LastErrorCode);
    EXPECT_FALSE(text.empty());
    EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos) << text;
    EXPECT_FALSE(f.IsOpen());

    std::vector<unsigned char> buf{1, 2};
    EXPECT_FALSE(f.ReadFile(buf, 4));
    EXPECT_TRUE(buf.empty());
    EXPECT_EQ(f.LastErrorCode, kBadHandle);
    EXPECT_FALSE(f.WriteFileText("x"));
    EXPECT_TRUE(f.LastWriteTime().IsEmpty());
    EXPECT_EQ(f.FileSize(), -1);
}

TEST(BinaryFile, ShortReadsAndReadsAtTheEnd) {
    TempTree t;
    clsBinaryFile f;
    ASSERT_TRUE(f.OpenFile(t.Write("ten", "0123456789")));
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
    EXPECT_EQ(f.GetFileContents(), "56789");

    ASSERT_TRUE(f.OpenFile(t.Write("empty")));
    EXPECT_TRUE(f.Eof());
    EXPECT_TRUE(f.ReadFile(buf, 100));
    EXPECT_TRUE(buf.empty());
}

TEST(BinaryFile, OpenModesBehaveAsTheirNamesSay) {
    TempTree t;
    struct {
        std::int64_t mode;
        bool exists, opens;
        int code;
        const char* after; // content after opening for writing and closing
    } cases[] = {{FileOpen::CreateNew, true, false, kExists, "old"},
                 {FileOpen::CreateNew, false, true, 0, ""},
                 {FileOpen::CreateAlways, true, true, 0, ""},
                 {FileOpen::OpenExisting, false, false, kNotFound, nullptr},
                 {FileOpen::OpenAlways, true, true, 0, "old"},
                 {FileOpen::OpenAlways, false, true, 0, ""},
                 {FileOpen::TruncateExisting, true, true, 0, ""},
                 {FileOpen::TruncateExisting, false, false, kNotFound, nullptr},
                 {99, true, false, kInvalidArgument, "old"}};
    int n = 0;
    for (const auto& c : cases) {
        std::string name = "case" + std::to_string(n++);
        SCOPED_TRACE(name);
        clsBinaryFile f;
        EXPECT_EQ(f.OpenFile(c.exists ? t.Write(name, "old") : t.Path(name), FileAccess::Write,
                             FileShare::None, c.mode),
                  c.opens);
        EXPECT_EQ(f.LastErrorCode, c.code);
        f.CloseFile();
        if (c.after != nullptr) {
            EXPECT_EQ(t.Read(name), c.after);
        }
    }
    // A file created read-only is still writable through the handle that created it.
    clsBinaryFile ro;
    ASSERT_TRUE(
        ro.OpenFile(t.Path("ro"), FileAccess::Write, -1, FileOpen::CreateNew, FileAttr::ReadOnly));
    EXPECT_TRUE(ro.WriteFileText("still writable"));
    ro.CloseFile();
    EXPECT_EQ(fs::status(t.Path("ro")).permissions() & fs::perms::owner_write, fs::perms::none);
}

TEST(BinaryFile, WriteAndTruncate) {
    TempTree t;
    clsBinaryFile f;
    ASSERT_TRUE(f.OpenFile(t.Path("w"), FileAccess::ReadWrite, -1, FileOpen::CreateAlways));
    EXPECT_TRUE(f.WriteFile({'a', 'b', 'c', 'd', 'e'}));
    EXPECT_TRUE(f.TruncateFile(2));
    EXPECT_EQ(f.FilePointer(), 2);
    EXPECT_FALSE(f.SeekFile(-1));
    ASSERT_TRUE(f.WriteBlockAt("XY", 2, 0)); // leaves the position alone
    EXPECT_EQ(f.FilePointer(), 2);
    f.CloseFile();
    EXPECT_EQ(t.Read("w"), "XY");
}

TEST(BinaryFile, TimesRoundTripToTheSecondAndToTheNanosecond) {
    TempTree t;
    clsBinaryFile f;
    ASSERT_TRUE(f.OpenFile(t.Write("times", "x"), FileAccess::ReadWrite));
    DateTime accessed{2021, 6, 15, 8, 30, 5}, written{2020, 1, 2, 3, 4, 5};
    ASSERT_TRUE(f.SetFileDates(DateTime{2000, 1, 1, 0, 0, 0}, accessed, written));
    DateTime c, a, w;
    ASSERT_TRUE(f.GetFileDates(c, a, w));
    EXPECT_EQ(a, accessed);
    EXPECT_EQ(w, written);

    DateTime later{2022, 2, 2, 2, 2, 2};
    ASSERT_TRUE(f.SetLastWriteTime(later));
    EXPECT_EQ(f.LastWriteTime(), later);
    EXPECT_EQ(f.LastAccessTime(), accessed); // untouched by setting the other

    // Windows keeps file times in steps of 100 ns.
    timespec at{1234567890, 987654300}, mt{1234567000, 100}, at2{}, mt2{};
    ASSERT_TRUE(f.SetTimes(at, mt));
    ASSERT_TRUE(f.GetTimes(at2, mt2));
    EXPECT_EQ(at2.tv_sec, at.tv_sec);
    EXPECT_EQ(at2.tv_nsec, at.tv_nsec);
    EXPECT_EQ(mt2.tv_nsec, mt.tv_nsec);
}

// The kernel copy, the read/write fallback with its own buffer, and the fallback through a
// small caller buffer that needs many rounds.
class CopyBlock : public ::testing::TestWithParam<const char*> {};

TEST_P(CopyBlock, MovesExactlyTheBytesAskedAndStopsAtTheEnd) {
    TempTree t;
    std::string data(3 * 1024 * 1024 + 7, '\0');
    std::iota(data.begin(), data.end(), '\0');
    clsBinaryFile src, dst;
    ASSERT_TRUE(src.OpenFile(t.Write("src", data)));
    ASSERT_TRUE(dst.OpenFile(t.Path("dst"), FileAccess::Write, -1, FileOpen::CreateAlways));
    unsigned char small[4096];
    const std::string path = GetParam();
    void* buffer = path == "CallerBuffer" ? small : nullptr;
    if (path != "Kernel") {
        src.DisableKernelCopy();
    }
    EXPECT_EQ(src.CopyBlockTo(dst, 1000, buffer, sizeof small), 1000);
    EXPECT_EQ(dst.FilePointer(), 1000);
    long long rest = 0;
    for (long long n; (n = src.CopyBlockTo(dst, 1 << 20, buffer, sizeof small)) > 0;) {
        rest += n;
    }
    EXPECT_EQ(rest, static_cast<long long>(data.size()) - 1000);
    dst.CloseFile();
    EXPECT_TRUE(t.Read("dst") == data);
    EXPECT_EQ(src.UsesKernelCopy(), kHasKernelCopy && path == "Kernel");
}

INSTANTIATE_TEST_SUITE_P(Paths, CopyBlock, ::testing::Values("Kernel", "Fallback", "CallerBuffer"),
                         tessaron::test::ParamName());
