// What a copy keeps on Windows: the read-only, hidden, system and archive attributes and
// the creation time, copies that Windows would refuse to overwrite, a source another
// program holds locked, paths past 260 characters and names outside the ANSI code page.
#include "EngineTestSupport.h"
#include "platform/clsBinaryFile.h"
#include "platform/clsFileSystem.h"

#include <windows.h>
// windows.h renames functions that the platform classes have as members.
#undef CreateDirectory
#undef Yield

namespace tessaron::test {
namespace {

using WindowsCopy = EngineTest;

constexpr DWORD kCarried = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                           FILE_ATTRIBUTE_ARCHIVE;

DWORD Attributes(const fs::path& p) {
    return ::GetFileAttributesW(p.wstring().c_str());
}

struct Times {
    FILETIME created{}, written{};
};

Times TimesOf(const fs::path& p) {
    Times t;
    HANDLE h = ::CreateFileW(p.wstring().c_str(), FILE_READ_ATTRIBUTES, 7, nullptr, OPEN_EXISTING,
                             FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    ::GetFileTime(h, &t.created, nullptr, &t.written);
    ::CloseHandle(h);
    return t;
}

unsigned long long Ticks(const FILETIME& ft) {
    return (static_cast<unsigned long long>(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
}

// Writes content to p with exactly the attributes given (clearing them for the write).
void WriteWithAttributes(const fs::path& p, const std::string& content, DWORD attributes) {
    ::SetFileAttributesW(p.wstring().c_str(), FILE_ATTRIBUTE_NORMAL);
    WriteFile(p, content);
    HANDLE h = ::CreateFileW(p.wstring().c_str(), FILE_WRITE_ATTRIBUTES, 7, nullptr, OPEN_EXISTING,
                             0, nullptr);
    FILETIME created{};
    created.dwHighDateTime = 0x01C0FFEE; // 2001, far from the moment of the test
    ::SetFileTime(h, &created, nullptr, nullptr);
    ::CloseHandle(h);
    ::SetFileAttributesW(p.wstring().c_str(), attributes == 0 ? FILE_ATTRIBUTE_NORMAL : attributes);
}

// Each file's attributes and creation time reach its copy, and a later FULL run replaces
// copies that Windows refuses to overwrite (read-only, hidden, system) with new content.
TEST_F(WindowsCopy, AttributesAndCreationTimeAreCarriedAndCopiesReplaced) {
    const std::pair<const char*, DWORD> files[] = {
        {"plain.txt", 0},
        {"archived.txt", FILE_ATTRIBUTE_ARCHIVE},
        {"readonly.txt", FILE_ATTRIBUTE_READONLY},
        {"hidden-system.txt", FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM},
        {"all.txt", kCarried}};
    fs::create_directories(src / "hidden folder");
    ::SetFileAttributesW((src / "hidden folder").wstring().c_str(), FILE_ATTRIBUTE_HIDDEN);
    for (const char* round : {"first", "second"}) {
        SCOPED_TRACE(round);
        for (const auto& [name, attributes] : files) {
            WriteWithAttributes(src / name, std::string(round) + name, attributes);
        }
        EXPECT_TRUE(RunBackup()) << view.All();
        for (const auto& [name, attributes] : files) {
            const fs::path copy = Copy(src / name);
            EXPECT_EQ(ReadFile(copy), std::string(round) + name) << name;
            // (Wine keeps every file's archive attribute set.)
            EXPECT_EQ(Attributes(src / name) & kCarried & ~FILE_ATTRIBUTE_ARCHIVE,
                      attributes & ~FILE_ATTRIBUTE_ARCHIVE)
                << name;
            EXPECT_EQ(Attributes(copy) & kCarried, Attributes(src / name) & kCarried) << name;
            EXPECT_EQ(Ticks(TimesOf(copy).created), Ticks(TimesOf(src / name).created)) << name;
            EXPECT_EQ(Ticks(TimesOf(copy).written), Ticks(TimesOf(src / name).written)) << name;
        }
        EXPECT_NE(Attributes(Copy(src / "hidden folder")) & FILE_ATTRIBUTE_HIDDEN, 0u);
    }
}

// A file another program holds open without sharing is named in an error line; the rest
// of the tree is copied.
TEST_F(WindowsCopy, ALockedSourceIsReportedAndTheRestCopied) {
    WriteFile(src / "busy.txt", "busy");
    WriteFile(src / "free.txt", "free");
    HANDLE holder =
        ::CreateFileW((src / "busy.txt").wstring().c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                      nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(holder, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(RunBackup());
    ::CloseHandle(holder);
    const std::string busy = (src / "busy.txt").string();
    EXPECT_TRUE(view.ShowsStart("Unable to open - " + busy + ", Error: (" +
                                std::to_string(ERROR_SHARING_VIOLATION) + ") "))
        << view.All();
    EXPECT_TRUE(view.Shows("Unable to Copy File - " + busy));
    EXPECT_TRUE(view.Shows("Error During Backup"));
    EXPECT_EQ(ReadFile(Copy(src / "free.txt")), "free");
    EXPECT_FALSE(fs::exists(Copy(src / "busy.txt")));
}

// Paths past 260 characters and names outside the ANSI code page are copied, verified and
// found up to date again, through the platform's own long paths.
TEST_F(WindowsCopy, LongPathsAndNamesOutsideTheAnsiCodePage) {
    const std::string name = "\xCE\xA9mega-\xE6\x97\xA5\xE6\x9C\xAC-\xF0\x9F\x98\x80.txt";
    std::string deep = ToUtf8(src) + "\\\xCE\x95\xCE\xBB\xCE\xBB\xCE\xAC\xCE\xB4\xCE\xB1";
    while (deep.size() < 300) {
        deep += "\\a-folder-name-of-forty-characters-xxxxxx";
    }
    clsFileSystem fsys;
    ASSERT_TRUE(fsys.CreateDirectories(deep)) << fsys.LastError;
    clsBinaryFile file;
    ASSERT_TRUE(
        file.OpenFile(deep + "\\" + name, FileAccess::Write, FileShare::None, FileOpen::CreateNew));
    ASSERT_TRUE(file.WriteFileText("far down"));
    file.CloseFile();
    setup.Verify = true;
    ASSERT_TRUE(RunBackup()) << view.All();
    EXPECT_TRUE(view.Shows("1 Files Verified,  8 Bytes Read")) << view.All();
    const std::string copy = ToUtf8(out) + deep.substr(2) + "\\" + name; // without "C:"
    EXPECT_GT(copy.size(), 260u);
    ASSERT_TRUE(file.OpenFile(copy, FileAccess::Read, FileShare::Read, FileOpen::OpenExisting))
        << copy;
    EXPECT_EQ(file.GetFileContents(), "far down");
    file.CloseFile();

    setup.BackupType = "INCREMENTAL";
    ASSERT_TRUE(RunBackup()) << view.All();
    std::vector<fs::path> files(fs::directory_iterator(logs), fs::directory_iterator{});
    std::sort(files.begin(), files.end()); // the last run's log ("..._1.log") sorts last
    const std::string log = files.empty() ? "" : ReadFile(files.back());
    EXPECT_NE(log.find("File Skipped - " + deep + "\\" + name + " (8 Bytes)"), std::string::npos)
        << log;
}

} // namespace
} // namespace tessaron::test
