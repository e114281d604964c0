// The tessaron program on a Windows tree: the copy, the log written the Windows way (CR LF
// line ends, dates in the user's short date form) and the exit status, for a set file
// whose path holds blanks and characters outside the ANSI code page.

#include "SystemSupport.h"

using namespace tessaron::test;

namespace {

class WindowsBackup : public ::testing::Test, public Sandbox {};

// Today in the user's short date form, as the system writes it.
std::string TodayShortDate() {
    wchar_t buf[128] = {};
    const int n = ::GetDateFormatEx(LOCALE_NAME_USER_DEFAULT, DATE_SHORTDATE, nullptr, nullptr, buf,
                                    128, nullptr);
    return ToUtf8(fs::path(std::wstring(buf, n > 0 ? static_cast<std::size_t>(n - 1) : 0)));
}

std::size_t Count(const std::string& text, const std::string& what) {
    std::size_t n = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
        ++n;
    }
    return n;
}

TEST_F(WindowsBackup, CopiesLogsTheWindowsWayAndSkipsWhatIsUpToDate) {
    const fs::path unicode = src / "docs" / FromUtf8("\xCE\xA9mega \xE6\x97\xA5\xE6\x9C\xAC.txt");
    WriteFile(src / "docs" / "report 2024.txt", Bytes(1000, 'a'));
    WriteFile(unicode, "unicode");
    WriteFile(src / "big.bin", Bytes(300000, 'b'));
    SetFile s = Set();
    s.Verify = s.SaveLog = true;
    const fs::path set = root / FromUtf8("S\xC3\xA4tze 2024") / "daily set.set";
    s.Save(set);
    RunResult full = RunArgs({"/run", ToUtf8(set), "/quiet"});
    ASSERT_EQ(full.Status, 0) << full.Out << full.Err;
    for (const fs::path& p : {src / "docs" / "report 2024.txt", unicode, src / "big.bin"}) {
        EXPECT_EQ(ReadFile(CopyOf(dst, p)), ReadFile(p)) << ToUtf8(p);
    }
    const std::string log = LastLog();
    EXPECT_EQ(Count(log, "\n"), Count(log, "\r\n")) << "every line ends in CR LF";
    EXPECT_EQ(log.rfind(TodayShortDate() + " ", 0), 0u) << log;
    EXPECT_TRUE(Contains(log, " - Starting Backup (FULL)...\r\n")) << log;
    EXPECT_TRUE(Contains(log, "Copying " + ToUtf8(unicode) + " (7 Bytes)...Done\r\n")) << log;
    EXPECT_TRUE(Contains(full.Out, "3 Files Verified,  301,007 Bytes Read")) << full.Out;
    EXPECT_EQ(std::distance(fs::directory_iterator(dst), fs::directory_iterator{}), 2)
        << "the copy's folder and the saved log";

    s.BackupType = "INCREMENTAL";
    s.Save(set);
    RunResult again = RunArgs({"/RUN", ToUtf8(set), "/QUIET"});
    ASSERT_EQ(again.Status, 0) << again.Out << again.Err;
    EXPECT_TRUE(
        Contains(LastLog(), "File Skipped - " + ToUtf8(src / "big.bin") + " (300000 Bytes)"))
        << LastLog();
}

} // namespace
