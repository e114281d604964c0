// The GUI tests' main: one QApplication on the offscreen platform, and a settings folder
// of their own so that no test reads or writes the user's settings.
#include "TempTree.h"

#include <QApplication>
#include <gtest/gtest.h>

#include <cstdlib>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    tessaron::test::TempTree config;
    setenv("XDG_CONFIG_HOME", config.Root().c_str(), 1);
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
