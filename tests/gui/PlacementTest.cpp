#include "TempTree.h"
#include "WindowPlacement.h"
#include "frmMain.h"

#include "mail/clsRegSettings.h"

#include <QGuiApplication>
#include <QScreen>
#include <QSplitter>
#include <gtest/gtest.h>

namespace tessaron::gui {
namespace {

struct ClampCase {
    const char* name;
    QRect wanted, expected;
};

class ClampToScreen : public ::testing::TestWithParam<ClampCase> {};

TEST_P(ClampToScreen, KeepsTheWindowReachable) {
    const QList<QRect> screens = {QRect(0, 0, 1920, 1080), QRect(1920, 0, 1280, 1024)};
    EXPECT_EQ(ClampToScreens(GetParam().wanted, screens), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Placement, ClampToScreen,
    ::testing::Values(ClampCase{"FitsAlready", {100, 100, 800, 600}, {100, 100, 800, 600}},
                      ClampCase{"OnTheSecondScreen", {2000, 50, 800, 600}, {2000, 50, 800, 600}},
                      ClampCase{"ScreenGone", {5000, 2000, 800, 600}, {1120, 480, 800, 600}},
                      ClampCase{"HangingOffTheRight", {3000, 100, 800, 600}, {2400, 100, 800, 600}},
                      ClampCase{"AboveTheTop", {100, -300, 800, 600}, {100, 0, 800, 600}},
                      ClampCase{"LargerThanTheScreen", {-50, 0, 4000, 3000}, {0, 0, 1920, 1080}}),
    [](const auto& tc) { return std::string(tc.param.name); });

// What one window saves when it closes, the next one gets back, clamped to the screen.
TEST(Placement, NextWindowOpensWhereTheLastClosed) {
    test::TempTree tmp;
    clsRegSettings settings;
    settings.SettingsFile(HKeyCurrentUser, tmp.Path("settings.ini"));
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    {
        frmMain first(settings);
        first.show();
        first.setGeometry(screen.left() + 40, screen.top() + 30, 700, 450);
        first.findChild<QSplitter*>("splSelect")->setSizes({180, 500});
        first.close();
    }
    frmMain next(settings);
    next.show();
    EXPECT_EQ(next.geometry(), QRect(screen.left() + 40, screen.top() + 30, 700, 450));
    EXPECT_EQ(next.findChild<QSplitter*>("splSelect")->sizes().front(), 180);
    settings.SaveSetting("Window", "Left", "100000");
    frmMain far(settings);
    EXPECT_TRUE(screen.contains(far.geometry())) << "a window off every screen is brought back";
}

} // namespace
} // namespace tessaron::gui
