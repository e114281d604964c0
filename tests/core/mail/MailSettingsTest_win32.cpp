// The registry settings store and the system's time zone on Windows.
#include "mail/TimeZone.h"
#include "mail/clsRegSettings.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <windows.h>

using namespace tessaron;

namespace {

// Each test keeps its keys below a key of its own, removed at the end.
class RegistryStore : public ::testing::Test {
protected:
    void SetUp() override {
        standIn_ = "Software\\TessaronTests\\" + std::to_string(::GetCurrentProcessId());
        settings_.SettingsFile(HKeyCurrentUser, standIn_);
    }
    void TearDown() override {
        const std::wstring key(standIn_.begin(), standIn_.end());
        ::RegDeleteTreeW(HKEY_CURRENT_USER, key.c_str());
    }
    // The raw value as the registry holds it: type and data bytes.
    bool Raw(const std::string& key, const wchar_t* name, DWORD& type, std::wstring& data) {
        const std::string path = standIn_ + "\\" + key;
        const std::wstring wide(path.begin(), path.end());
        wchar_t buf[256] = {};
        DWORD bytes = sizeof buf;
        const LONG rc = ::RegGetValueW(HKEY_CURRENT_USER, wide.c_str(), name,
                                       RRF_RT_ANY | RRF_NOEXPAND, &type, buf, &bytes);
        data.assign(buf, bytes / sizeof(wchar_t));
        return rc == ERROR_SUCCESS;
    }

    std::string standIn_;
    clsRegSettings settings_;
};

TEST_F(RegistryStore, ValuesAreStringsUnderTheProgramsKeyEndingInOneNul) {
    EXPECT_EQ(settings_.GetSetting("Settings", "SMTPServer", ""), "");
    const std::string server = "mail.example.com \xC3\xA9"; // exactly as typed, é included
    ASSERT_TRUE(settings_.SaveSetting("Settings", "SMTPServer", server)) << settings_.LastError();
    EXPECT_EQ(settings_.GetSetting("Settings", "smtpserver", "x"), server);

    DWORD type = 0;
    std::wstring data;
    ASSERT_TRUE(Raw("Software\\VELQO\\Tessaron\\Settings", L"SMTPServer", type, data));
    EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    ASSERT_FALSE(data.empty());
    EXPECT_EQ(data.back(), L'\0');
    EXPECT_EQ(data.find(L'\0'), data.size() - 1);
}

TEST_F(RegistryStore, DefaultValueListingAndDeletion) {
    ASSERT_TRUE(settings_.SaveSetting("S", "*", "default"));
    ASSERT_TRUE(settings_.SaveSetting("S", "Empty", ""));
    EXPECT_EQ(settings_.GetSetting("S", "*", "none"), "default");
    EXPECT_EQ(settings_.GetSetting("S", "Empty", "none"), ""); // stored empty is not missing
    const auto all = settings_.GetAllSettings("S");
    ASSERT_EQ(all.size(), 2u);
    EXPECT_TRUE((all[0] == std::pair<std::string, std::string>{"", "default"}) ||
                (all[1] == std::pair<std::string, std::string>{"", "default"}));

    EXPECT_TRUE(settings_.DeleteSetting("S", "Empty"));
    EXPECT_FALSE(settings_.DeleteSetting("S", "Empty"));
    EXPECT_TRUE(settings_.LastError().starts_with("clsRegSettings.DeleteSetting() - Error (2) "))
        << settings_.LastError();
    EXPECT_TRUE(settings_.DeleteSetting("S", ""));
    EXPECT_TRUE(settings_.GetAllSettings("S").empty());
}

TEST_F(RegistryStore, WithoutAppNameSectionsSitBelowTheRoot) {
    settings_.AppName("");
    ASSERT_TRUE(settings_.SaveSetting("Settings", "EmailFrom", "a@b"));
    DWORD type = 0;
    std::wstring data;
    EXPECT_TRUE(Raw("Settings", L"EmailFrom", type, data));
}

// The zone is read from the system once per process; under Wine it follows TZ at the
// start of the process, so ctest runs this once per zone with TZ and the expected zone in
// the environment (see tests/core/CMakeLists.txt).
TEST(SystemTimeZone, MatchesTheZoneOfTheEnvironment) {
    // "+0530": that zone, without daylight saving; "-0500/-0400": either, with both begins.
    const char* expected = std::getenv("TESSARON_EXPECT_ZONE");
    if (expected == nullptr) {
        GTEST_SKIP() << "needs TESSARON_EXPECT_ZONE and a zone in TZ";
    }
    const TimeZone zone;
    const std::string want = expected;
    const bool daylight = want.size() > 5;
    EXPECT_NE(want.find(zone.FormatTimeZone()), std::string::npos) << zone.FormatTimeZone();
    EXPECT_EQ(zone.DayLightTimeBegins().IsEmpty(), !daylight);
    EXPECT_EQ(zone.StandardTimeBegins().IsEmpty(), !daylight);
    if (daylight) {
        EXPECT_EQ(zone.StandardOffset(), -300);
        EXPECT_EQ(zone.DayLightOffset(), -240);
        EXPECT_EQ(zone.DayLightTimeBegins().Month, 3);
        EXPECT_EQ(zone.StandardTimeBegins().Month, 11);
    }
}

} // namespace
