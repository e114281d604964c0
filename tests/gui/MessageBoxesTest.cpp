#include "MessageBoxes.h"

#include <gtest/gtest.h>

namespace tessaron::gui {
namespace {

// A test's handler sees every box and its answer is the box's answer; removing it
// brings back the one before.
TEST(MessageBoxes, HandlerAnswersAndIsRestored) {
    QString seen;
    auto previous =
        SetMessageBoxHandler([&](QWidget*, const QString& title, const QString& text, MsgButtons) {
            seen = title + "|" + text;
            return MsgAnswer::Retry;
        });
    EXPECT_EQ(ShowMessageBox(nullptr, "Drive Not Ready", "insert", MsgButtons::RetryCancel),
              MsgAnswer::Retry);
    EXPECT_EQ(seen, "Drive Not Ready|insert");
    EXPECT_TRUE(static_cast<bool>(SetMessageBoxHandler(std::move(previous))));
}

} // namespace
} // namespace tessaron::gui
