// Log dates and the locale the program takes from the environment (POSIX locales).
#include "EnvOverride.h"
#include "platform/DateTime.h"
#include "platform/UserLocale.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

using namespace tessaron;
using test::LocaleInstalled;
using test::NotInstalled;

namespace {

// The time locale as the program set it decides a log line's date; the C locale and
// its UTF-8 variant give the unambiguous form, not "11/05/26".
struct TimeLocale {
    const char* Name;
    const char* Locale;
    const char* Text;
};

class LogDate : public ::testing::TestWithParam<TimeLocale> {
protected:
    void TearDown() override { std::setlocale(LC_ALL, "C"); }
};

TEST_P(LogDate, FollowsTheTimeLocale) {
    if (!LocaleInstalled(GetParam().Locale))
        GTEST_SKIP() << NotInstalled(GetParam().Locale);
    ASSERT_NE(std::setlocale(LC_TIME, GetParam().Locale), nullptr);
    EXPECT_EQ((DateTime{2026, 11, 5, 9, 7, 3}.Format()), GetParam().Text);
}

INSTANTIATE_TEST_SUITE_P(Locales, LogDate,
                         ::testing::Values(TimeLocale{"C", "C", "2026-11-05 09:07:03"},
                                           TimeLocale{"Posix", "POSIX", "2026-11-05 09:07:03"},
                                           TimeLocale{"CUtf8", "C.UTF-8", "2026-11-05 09:07:03"},
                                           TimeLocale{"German", "de_DE.UTF-8",
                                                      "05.11.2026 09:07:03"}),
                         [](const auto& p) { return std::string(p.param.Name); });

// The environment decides every category; number parsing stays in the C conventions,
// and a category naming a locale the system lacks does not cost the others.
TEST(UserLocale, TakesTheEnvironmentButKeepsNumbersParseable) {
    if (!LocaleInstalled("de_DE.UTF-8"))
        GTEST_SKIP() << NotInstalled("de_DE.UTF-8");
    const std::pair<const char*, const char*> settings[][2]{
        {{"LC_ALL", "de_DE.UTF-8"}, {"LANG", "C"}},
        {{"LC_ALL", ""}, {"LANG", "de_DE.UTF-8"}},
        {{"LANG", "xx_NOWHERE.UTF-8"}, {"LC_TIME", "de_DE.UTF-8"}},
    };
    for (const auto& [first, second] : settings) {
        SCOPED_TRACE(std::string(first.first) + "=" + first.second + " " + second.first + "=" +
                     second.second);
        test::EnvOverride all("LC_ALL", ""), a(first.first, first.second),
            b(second.first, second.second), numeric("LC_NUMERIC", "");
        UseUserLocale();
        EXPECT_EQ((DateTime{2026, 11, 5, 9, 7, 3}.Format()), "05.11.2026 09:07:03");
        EXPECT_EQ(std::strtod("2.5", nullptr), 2.5);
        std::setlocale(LC_ALL, "C");
    }
    EXPECT_EQ(UserNumericLocale(), "C") << "the last case names no known numeric locale";
    {
        test::EnvOverride all("LC_ALL", "de_DE.UTF-8");
        UseUserLocale();
    }
    EXPECT_EQ(UserNumericLocale(), "de_DE.UTF-8");
    test::EnvOverride all("LC_ALL", "C");
    UseUserLocale();
    EXPECT_EQ(UserNumericLocale(), "C");
}

} // namespace
