// Log dates and the locale the program takes from the environment (POSIX locales).
#include "EnvOverride.h"
#include "platform/DateTime.h"
#include "platform/UserLocale.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

using namespace tessaron;
using test::LocaleMissing;

namespace {

// The environment decides every category; number parsing stays in the C conventions,
// and a category naming a locale the system lacks does not cost the others.
TEST(UserLocale, TakesTheEnvironmentButKeepsNumbersParseable) {
    if (const std::string why = LocaleMissing("de_DE.UTF-8"); !why.empty())
        GTEST_SKIP() << why;
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
    // The C locales' own date is "11/05/26"; in any of them a log date is written in full.
    test::EnvOverride all("LC_ALL", "C.UTF-8");
    UseUserLocale();
    EXPECT_EQ(UserNumericLocale(), "C.UTF-8");
    EXPECT_EQ((DateTime{2026, 11, 5, 9, 7, 3}.Format()), "2026-11-05 09:07:03");
    std::setlocale(LC_ALL, "C");
}

} // namespace
