#include "MailTestSupport.h"
#include "TestNames.h"
#include "mail/clsMailer.h"
#include "mail/clsRegSettings.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <fstream>
#include <future>
#include <sys/stat.h>
#include <unistd.h>

namespace tessaron {
namespace {

using test::ReadFile;

clsRegSettings StoreAt(const std::string& file) {
    clsRegSettings s;
    s.SettingsFile(HKeyCurrentUser, file);
    return s;
}

TEST(RegSettings, KeyPathRules) {
    const std::string cases[][4]{
        {"VELQO", "Tessaron", "Settings", "Software\\VELQO\\Tessaron\\Settings"},
        {"  VELQO ", " Tessaron  ", "Settings", "Software\\VELQO\\Tessaron\\Settings"},
        {"VELQO", "Tessaron", "", "Software\\VELQO\\Tessaron"},
        {"VELQO", "", "Settings", "Settings"},
        {"", "Tessaron", "Settings", "Settings"},
        {"   ", "Tessaron", "A\\B", "A\\B"},
        {"", "", "", ""},
    };
    for (const auto& [company, app, section, path] : cases) {
        clsRegSettings s;
        s.Company(company);
        s.AppName(app);
        EXPECT_EQ(s.KeyPath(section), path) << company << "/" << app;
    }
}

TEST(RegSettings, OnlyTheTwoRootsAreAcceptedEachWithItsFile) {
    test::TempTree dir;
    test::EnvOverride xdg("XDG_CONFIG_HOME", dir.Root());
    clsRegSettings s;
    s.HKey(0x80000003u); // HKEY_USERS
    EXPECT_EQ(s.HKey(), HKeyCurrentUser);
    EXPECT_EQ(s.SettingsFile(), dir.Path("tessaron/settings.ini"));
    ASSERT_TRUE(s.SaveSetting("Settings", "SMTPServer", "mx"));
    EXPECT_EQ(ReadFile(dir.Path("tessaron/settings.ini")),
              "[Software\\VELQO\\Tessaron\\Settings]\nSMTPServer=mx\n");
    s.HKey(HKeyLocalMachine);
    s.HKey(0);
    EXPECT_EQ(s.HKey(), HKeyLocalMachine);
    EXPECT_EQ(s.SettingsFile(), "/etc/tessaron/settings.ini");
}

TEST(RegSettings, ValuesSurviveIntoAnotherStore) {
    test::TempTree dir;
    const std::string file = dir.Path("cfg/tessaron/settings.ini"); // folders made on write
    EXPECT_EQ(StoreAt(file).GetSetting("Settings", "SMTPServer", "fallback"), "fallback");
    EXPECT_TRUE(StoreAt(file).GetAllSettings("Settings").empty());
    const std::pair<std::string, std::string> values[]{{"SMTPServer", "mail.example.org"},
                                                       {"Empty", ""},
                                                       {"*", "the default value"},
                                                       {"Odd=Name", "100% = sure"},
                                                       {"@", "at"},
                                                       {"[Bracket", " padded \t"},
                                                       {"Lines", "one\r\ntwo\nthree"},
                                                       {"Path", "C:\\Backup\\Set 1.set"},
                                                       {"Unicode", "Grüße – 日本"}};
    clsRegSettings writer = StoreAt(file);
    for (const auto& [key, value] : values)
        ASSERT_TRUE(writer.SaveSetting("Settings", key, value)) << writer.LastError();
    // Names match without regard to case.
    ASSERT_TRUE(writer.SaveSetting("Settings", "smtpserver", "second.example.org"));

    const clsRegSettings reader = StoreAt(file);
    for (const auto& [key, value] : values) {
        const std::string expected = key == "SMTPServer" ? "second.example.org" : value;
        EXPECT_EQ(reader.GetSetting("Settings", key, "missing"), expected) << key;
    }
    const auto all = reader.GetAllSettings("Settings");
    ASSERT_EQ(all.size(), std::size(values));
    EXPECT_EQ(all[2], (std::pair<std::string, std::string>{"", "the default value"}));
    // The default value is "@" in the file, distinct from a value named "@".
    EXPECT_NE(ReadFile(file).find("\n@=the default value\n"), std::string::npos);
}

TEST(RegSettings, DeleteValuesAndKeys) {
    test::TempTree dir;
    clsRegSettings s = StoreAt(dir.Path("settings.ini"));
    ASSERT_TRUE(s.SaveSetting("Settings", "A", "1"));
    ASSERT_TRUE(s.SaveSetting("Settings", "*", "d"));
    ASSERT_TRUE(s.SaveSetting("Settings\\Sub", "B", "2"));

    EXPECT_TRUE(s.DeleteSetting("Settings", "A"));
    EXPECT_TRUE(s.DeleteSetting("Settings", "*"));
    EXPECT_EQ(s.GetSetting("Settings", "*", "gone"), "gone");
    EXPECT_FALSE(s.DeleteSetting("Settings", "")) << "a key with a key below it stays";
    EXPECT_TRUE(s.DeleteSetting("Settings\\Sub", ""));
    EXPECT_EQ(s.GetSetting("Settings\\Sub", "B", "gone"), "gone");
    EXPECT_TRUE(s.DeleteSetting("Settings", ""));
    EXPECT_FALSE(s.DeleteSetting("Settings", ""));
    EXPECT_EQ(s.LastError().rfind("clsRegSettings.DeleteSetting() - Error (", 0), 0u);
}

TEST(RegSettings, UnwritableLocationFailsWithLastError) {
    test::TempTree dir;
    std::ofstream(dir.Path("plain")) << "x";
    clsRegSettings s = StoreAt(dir.Path("plain/settings.ini"));
    EXPECT_FALSE(s.SaveSetting("Settings", "A", "1"));
    EXPECT_EQ(s.LastError().rfind("clsRegSettings.SaveSetting() - Error (", 0), 0u);
    EXPECT_EQ(s.GetSetting("Settings", "A", "default"), "default");
}

// A damaged file is read as far as it makes sense, and a write keeps what was readable.
TEST(RegSettings, DamagedFilesNeverCrash) {
    const std::string sec = "[Software\\VELQO\\Tessaron\\Settings]";
    // File text, then SMTPServer and EmailFrom as read back ("-" when missing).
    const std::string cases[][3]{
        {std::string("\177ELF\0\1\377\376=\n", 10) + sec + "\nSMTPServer=mx\n", "mx", "-"},
        {sec + "\nSMTPServer=mx\n[Software\\VELQO\\Tessaron\\Settings\nEmailFrom=lost@x\n", "mx",
         "-"},
        {sec + "\nnonsense\nSMTPServer mx\nEmailFrom=me@x\n", "-", "me@x"},
        {sec + "\nSMTPServer=" + std::string(200000, 'x') + "\nEmailFrom=me@x\n", "-", "me@x"},
        {"; comment\r\n" + sec + "\r\n  SMTPServer = mx  \r\n# EmailFrom=c\r\n", "mx", "-"},
        {sec + "\nSMTPServer=first\n" + sec + "\nSMTPServer=second\nEmailFrom=me@x\n", "first",
         "me@x"},
        {sec + "\nSMTPServer=mx", "mx", "-"},
        {sec + "\nSMTPServer=50%zz%4\n", "50%zz%4", "-"},
    };
    for (const auto& [text, server, from] : cases) {
        SCOPED_TRACE(text.substr(0, 80));
        test::TempTree dir;
        const std::string file = dir.Path("settings.ini");
        std::ofstream(file, std::ios::binary) << text;
        clsRegSettings s = StoreAt(file);
        EXPECT_EQ(s.GetSetting("Settings", "SMTPServer", "-"), server);
        EXPECT_EQ(s.GetSetting("Settings", "EmailFrom", "-"), from);
        ASSERT_TRUE(s.SaveSetting("Settings", "Added", "yes"));
        EXPECT_EQ(StoreAt(file).GetSetting("Settings", "SMTPServer", "-"), server);
        EXPECT_EQ(StoreAt(file).GetSetting("Settings", "Added", "-"), "yes");
    }
}

// Something other than a settings file where the file should be: it is never waited
// on, never replaced, and the mail step says why it cannot go on.
struct InTheWay {
    const char* Name;
    void (*Make)(const std::string& path);
    std::string Reason;
};

class SettingsFileInTheWay : public ::testing::TestWithParam<InTheWay> {};

TEST_P(SettingsFileInTheWay, IsLeftAloneAndReported) {
    test::TempTree dir;
    const std::string file = dir.Path("settings.ini");
    GetParam().Make(file);
    struct stat before {};
    ASSERT_EQ(stat(file.c_str(), &before), 0);
    clsRegSettings s = StoreAt(file);
    // Today's reader must end by itself; should it wait on a FIFO, a writer that comes
    // and goes releases it so that the test fails instead of hanging.
    auto read = std::async(std::launch::async, [&] { return s.GetSetting("Settings", "A", "-"); });
    if (read.wait_for(std::chrono::seconds(3)) != std::future_status::ready) {
        close(open(file.c_str(), O_WRONLY | O_NONBLOCK));
        read.wait();
        FAIL() << "the read waited on what is in the settings file's place";
    }
    EXPECT_EQ(read.get(), "-");
    const std::string reason = "clsRegSettings.GetSetting() - Error (";
    EXPECT_EQ(s.LastError().rfind(reason, 0), 0u) << s.LastError();
    EXPECT_TRUE(s.LastError().ends_with(GetParam().Reason + ": " + file)) << s.LastError();
    EXPECT_FALSE(s.SaveSetting("Settings", "A", "1"));
    struct stat after {};
    ASSERT_EQ(stat(file.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);

    test::RecordingHost host;
    clsMailer(host, s).Send_Email("ann@example.org", "Backup Complete", "log");
    ASSERT_EQ(host.Lines.size(), 1u);
    EXPECT_EQ(host.Lines[0].rfind("Unable to send email - " + reason, 0), 0u) << host.Lines[0];
}

INSTANTIATE_TEST_SUITE_P(
    Things, SettingsFileInTheWay,
    ::testing::Values(
        InTheWay{"Fifo", [](const std::string& p) { mkfifo(p.c_str(), 0600); },
                 "Not a regular file"},
        InTheWay{"Folder", [](const std::string& p) { mkdir(p.c_str(), 0700); }, "Is a directory"},
        InTheWay{"LinkToADevice", [](const std::string& p) { symlink("/dev/zero", p.c_str()); },
                 "Not a regular file"},
        InTheWay{"HugeFile",
                 [](const std::string& p) {
                     test::WriteFile(p, "[Software\\VELQO\\Tessaron\\Settings]\nA=1\n" +
                                            std::string(2 << 20, ';'));
                 },
                 "File too large"}),
    test::ParamName());

} // namespace
} // namespace tessaron
