#include "platform/DateTime.h"

#include <gtest/gtest.h>

using namespace tessaron;

TEST(DateTime, EmptyDateSortsFirstAndFormatsEmpty) {
    DateTime empty;
    DateTime real{2026, 11, 5, 9, 7, 3};
    EXPECT_TRUE(empty.IsEmpty());
    EXPECT_LT(empty, real);
    EXPECT_EQ(empty.Format(), "");
    EXPECT_EQ(empty.ToTimeT(), 0);
#ifdef _WIN32
    // The user's short date and time (under Wine's default locale "11/5/2026 9:07:03 AM").
    EXPECT_NE(real.Format().find("2026"), std::string::npos) << real.Format();
    EXPECT_NE(real.Format().find("7:03"), std::string::npos) << real.Format();
#else
    EXPECT_EQ(real.Format(), "2026-11-05 09:07:03"); // tests run in the C locale
#endif
    EXPECT_EQ(real.FormatDate(), "2026-11-05");
}

TEST(DateTime, RoundTripsThroughTimeT) {
    DateTime d{2024, 2, 29, 23, 59, 58};
    EXPECT_EQ(DateTime::FromTimeT(d.ToTimeT()), d);
    EXPECT_EQ(d.SecondsUntil(DateTime{2024, 3, 1, 0, 0, 1}), 3);
}
