#include "platform/clsSysTime.h"

#include <gtest/gtest.h>

using namespace tessaron;

namespace {

SystemTime At(int hour, int minute, int second, int ms, int day = 10) {
    return SystemTime{2026, 3, 0, day, hour, minute, second, ms};
}

SystemTime g_now;
SystemTime FixedNow() {
    return g_now;
}

} // namespace

TEST(SysTime, ElapsedBorrowsASecondForTheMilliseconds) {
    struct {
        SystemTime from, to;
        int expect;
    } cases[] = {{At(10, 0, 0, 900), At(10, 0, 2, 400), 1500},
                 {At(10, 0, 0, 0), At(10, 1, 0, 250), 60250},
                 {At(10, 0, 0, 100), At(10, 0, 0, 300), 200},
                 {At(10, 0, 0, 900), At(10, 0, 1, 100), 200},
                 {At(23, 59, 59, 999), At(0, 0, 0, 1, 11), 2},
                 // No whole second to borrow from: the milliseconds wrap without one.
                 {At(10, 0, 0, 500), At(10, 0, 0, 400), 900}};
    for (const auto& c : cases) {
        EXPECT_EQ(clsSysTime::Elapsed(clsSysTime(c.from), clsSysTime(c.to)), c.expect)
            << c.from.Second << "." << c.from.Milliseconds << " -> " << c.to.Second << "."
            << c.to.Milliseconds;
    }
}

TEST(SysTime, ElapsedTimeReadsNowFromItsClock) {
    g_now = At(9, 0, 0, 750);
    clsSysTime start(&FixedNow);
    g_now = At(9, 0, 3, 250);
    EXPECT_EQ(start.ElapsedTime(), 2500);
    start.GetTime();
    EXPECT_EQ(start.ElapsedTime(), 0);
    EXPECT_EQ(start.MakeDate(), (DateTime{2026, 3, 10, 9, 0, 3}));
}

TEST(SysTime, TheRealClockGivesALocalSnapshot) {
    DateTime before = DateTime::Now();
    clsSysTime now;
    DateTime after = DateTime::Now();
    // time() reads a coarser clock that may trail the precise one by a tick.
    EXPECT_LE(before.SecondsUntil(now.MakeDate()), 1 + before.SecondsUntil(after));
    EXPECT_GE(before.SecondsUntil(now.MakeDate()), 0);
    EXPECT_LE(now.MilliSeconds(), 999);
    std::tm tm{};
    std::time_t t = now.MakeDate().ToTimeT();
    localtime_r(&t, &tm);
    EXPECT_EQ(now.WeekDay(), tm.tm_wday + 1);
}
