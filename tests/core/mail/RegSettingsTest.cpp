#include "MailTestSupport.h"
#include "mail/clsRegSettings.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace tessaron {
namespace {

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

void WriteFile(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

class RegSettings : public ::testing::Test {
protected:
    clsRegSettings Store() const {
        clsRegSettings s;
        s.SettingsFile(HKeyCurrentUser, file);
        return s;
    }
    test::TempDir dir;
    std::string file = dir.File("cfg/tessaron/settings.ini");
};

TEST(RegSettingsKeys, KeyPathRules) {
    struct Case {
        std::string Company, AppName, Section, Path;
    };
    const std::vector<Case> cases{
        {"VELQO", "Tessaron", "Settings", "Software\\VELQO\\Tessaron\\Settings"},
        {"  VELQO ", " Tessaron  ", "Settings", "Software\\VELQO\\Tessaron\\Settings"},
        {"VELQO", "Tessaron", "", "Software\\VELQO\\Tessaron"},
        {"VELQO", "", "Settings", "Settings"},
        {"", "Tessaron", "Settings", "Settings"},
        {"   ", "Tessaron", "A\\B", "A\\B"},
        {"", "", "", ""},
    };
    for (const Case& c : cases) {
        clsRegSettings s;
        s.Company(c.Company);
        s.AppName(c.AppName);
        EXPECT_EQ(s.KeyPath(c.Section), c.Path) << c.Company << "/" << c.AppName;
    }
}

TEST(RegSettingsKeys, OnlyTheTwoRootsAreAccepted) {
    clsRegSettings s;
    EXPECT_EQ(s.HKey(), HKeyCurrentUser);
    s.HKey(0x80000003u); // HKEY_USERS
    EXPECT_EQ(s.HKey(), HKeyCurrentUser);
    s.HKey(HKeyLocalMachine);
    EXPECT_EQ(s.HKey(), HKeyLocalMachine);
    EXPECT_EQ(s.SettingsFile(), "/etc/tessaron/settings.ini");
    s.HKey(0);
    EXPECT_EQ(s.HKey(), HKeyLocalMachine);
}

TEST(RegSettingsKeys, UserFileFollowsXdgConfigHome) {
    test::TempDir dir;
    test::EnvOverride xdg("XDG_CONFIG_HOME", dir.Path());
    clsRegSettings writer;
    EXPECT_EQ(writer.SettingsFile(), dir.Path() + "/tessaron/settings.ini");
    ASSERT_TRUE(writer.SaveSetting("Settings", "SMTPServer", "mail.example.org"));
    EXPECT_EQ(ReadFile(dir.Path() + "/tessaron/settings.ini"),
              "[Software\\VELQO\\Tessaron\\Settings]\nSMTPServer=mail.example.org\n");
}

TEST_F(RegSettings, MissingFileGivesDefaults) {
    const clsRegSettings s = Store();
    EXPECT_EQ(s.GetSetting("Settings", "SMTPServer", ""), "");
    EXPECT_EQ(s.GetSetting("Settings", "SMTPServer", "fallback"), "fallback");
    EXPECT_TRUE(s.GetAllSettings("Settings").empty());
}

TEST_F(RegSettings, ValuesSurviveIntoAnotherStore) {
    const std::vector<std::pair<std::string, std::string>> values{
        {"SMTPServer", "mail.example.org"},
        {"Empty", ""},
        {"*", "the default value"},
        {"Odd=Name", "100% = sure"},
        {"@", "at"},
        {"[Bracket", " padded \t"},
        {"Lines", "one\r\ntwo\nthree"},
        {"Path", "C:\\Backup\\Set 1.set"},
        {"Unicode", "Grüße – 日本"},
    };
    {
        clsRegSettings writer = Store();
        for (const auto& [key, value] : values)
            ASSERT_TRUE(writer.SaveSetting("Settings", key, value)) << writer.LastError();
        ASSERT_TRUE(writer.SaveSetting("Settings", "smtpserver", "second.example.org"));
    }
    const clsRegSettings reader = Store();
    for (const auto& [key, value] : values) {
        const std::string expected = key == "SMTPServer" ? "second.example.org" : value;
        EXPECT_EQ(reader.GetSetting("Settings", key, "missing"), expected) << key;
    }
    const auto all = reader.GetAllSettings("Settings");
    ASSERT_EQ(all.size(), values.size());
    EXPECT_EQ(all[2], (std::pair<std::string, std::string>{"", "the default value"}));
    EXPECT_NE(ReadFile(file).find("\n@=the default value\n"), std::string::npos);
}

TEST_F(RegSettings, EmptyAppNamePutsTheSectionBelowTheRoot) {
    clsRegSettings s = Store();
    s.AppName("");
    ASSERT_TRUE(s.SaveSetting("Settings", "EmailFrom", "me@example.org"));
    EXPECT_EQ(ReadFile(file), "[Settings]\nEmailFrom=me@example.org\n");
    EXPECT_EQ(Store().GetSetting("Settings", "EmailFrom", ""), "");
}

TEST_F(RegSettings, DeleteValuesAndKeys) {
    clsRegSettings s = Store();
    ASSERT_TRUE(s.SaveSetting("Settings", "A", "1"));
    ASSERT_TRUE(s.SaveSetting("Settings", "*", "d"));
    ASSERT_TRUE(s.SaveSetting("Settings\\Sub", "B", "2"));

    EXPECT_TRUE(s.DeleteSetting("Settings", "A"));
    EXPECT_EQ(s.GetSetting("Settings", "A", "gone"), "gone");
    EXPECT_FALSE(s.DeleteSetting("Settings", "A"));
    EXPECT_TRUE(s.DeleteSetting("Settings", "*"));
    EXPECT_EQ(s.GetSetting("Settings", "*", "gone"), "gone");

    EXPECT_FALSE(s.DeleteSetting("Settings", "")) << "a key with a key below it stays";
    EXPECT_TRUE(s.DeleteSetting("Settings\\Sub", ""));
    EXPECT_EQ(s.GetSetting("Settings\\Sub", "B", "gone"), "gone");
    EXPECT_TRUE(s.DeleteSetting("Settings", ""));
    EXPECT_FALSE(s.DeleteSetting("Settings", ""));
    EXPECT_EQ(s.LastError().rfind("clsRegSettings.DeleteSetting() - Error (", 0), 0u);
}

TEST_F(RegSettings, UnwritableLocationFailsWithLastError) {
    WriteFile(dir.File("plain"), "x");
    clsRegSettings s;
    s.SettingsFile(HKeyCurrentUser, dir.File("plain/settings.ini"));
    EXPECT_FALSE(s.SaveSetting("Settings", "A", "1"));
    EXPECT_EQ(s.LastError().rfind("clsRegSettings.SaveSetting() - Error (", 0), 0u);
    EXPECT_EQ(s.GetSetting("Settings", "A", "default"), "default");
}

struct DamageCase {
    std::string Name;
    std::string Text;
    std::string Server; // SMTPServer read back, "-" when missing
    std::string From;   // EmailFrom read back
};

class DamagedFile : public ::testing::TestWithParam<DamageCase> {};

TEST_P(DamagedFile, IsReadAsFarAsItMakesSenseAndRewrittenClean) {
    const DamageCase& c = GetParam();
    test::TempDir dir;
    const std::string file = dir.File("settings.ini");
    WriteFile(file, c.Text);
    clsRegSettings s;
    s.SettingsFile(HKeyCurrentUser, file);
    EXPECT_EQ(s.GetSetting("Settings", "SMTPServer", "-"), c.Server);
    EXPECT_EQ(s.GetSetting("Settings", "EmailFrom", "-"), c.From);
    ASSERT_TRUE(s.SaveSetting("Settings", "Added", "yes"));
    clsRegSettings again;
    again.SettingsFile(HKeyCurrentUser, file);
    EXPECT_EQ(again.GetSetting("Settings", "SMTPServer", "-"), c.Server);
    EXPECT_EQ(again.GetSetting("Settings", "Added", "-"), "yes");
}

const std::string kSection = "[Software\\VELQO\\Tessaron\\Settings]";

INSTANTIATE_TEST_SUITE_P(
    Files, DamagedFile,
    ::testing::Values(
        DamageCase{"BinaryJunkFirst",
                   std::string("\x7f"
                               "ELF") +
                       '\0' + "\x01\xff\xfe=\n" + kSection + "\nSMTPServer=mx\n",
                   "mx", "-"},
        DamageCase{"HeaderWithoutBracket",
                   kSection + "\nSMTPServer=mx\n[Software\\VELQO\\Tessaron\\Settings\n"
                              "EmailFrom=lost@x\n",
                   "mx", "-"},
        DamageCase{"LinesWithoutEquals", kSection + "\nnonsense\nSMTPServer mx\nEmailFrom=me@x\n",
                   "-", "me@x"},
        DamageCase{"HugeLine",
                   kSection + "\nSMTPServer=" + std::string(200000, 'x') + "\nEmailFrom=me@x\n",
                   "-", "me@x"},
        DamageCase{"CrLfBlanksAndComments",
                   "; comment\r\n" + kSection + "\r\n  SMTPServer = mx  \r\n# EmailFrom=c\r\n",
                   "mx", "-"},
        DamageCase{"RepeatedSectionsAndNames",
                   kSection + "\nSMTPServer=first\n" + kSection +
                       "\nSMTPServer=second\nEmailFrom=me@x\n",
                   "first", "me@x"},
        DamageCase{"NoNewlineAtEnd", kSection + "\nSMTPServer=mx", "mx", "-"},
        DamageCase{"BadEscapes", kSection + "\nSMTPServer=50%zz%4\n", "50%zz%4", "-"}),
    [](const auto& param) { return param.param.Name; });

} // namespace
} // namespace tessaron
