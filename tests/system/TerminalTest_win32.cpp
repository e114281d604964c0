#include "Terminal.h"

#include <gtest/gtest.h>

#include <windows.h>

using namespace tessaron;

namespace {

// A backup run with its output in a file or pipe must not draw a progress line or ask
// questions: only a console counts as a terminal.
TEST(Terminal, RedirectedStreamsAreNoTerminal) {
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    ASSERT_TRUE(::CreatePipe(&read, &write, nullptr, 0));
    const HANDLE saved[2] = {::GetStdHandle(STD_INPUT_HANDLE), ::GetStdHandle(STD_ERROR_HANDLE)};
    ::SetStdHandle(STD_INPUT_HANDLE, read);
    ::SetStdHandle(STD_ERROR_HANDLE, write);
    const bool in = IsTerminal(StdStream::In);
    const bool err = IsTerminal(StdStream::Err);
    const int columns = TerminalColumns();
    ::SetStdHandle(STD_INPUT_HANDLE, saved[0]);
    ::SetStdHandle(STD_ERROR_HANDLE, saved[1]);
    ::CloseHandle(read);
    ::CloseHandle(write);
    EXPECT_FALSE(in);
    EXPECT_FALSE(err);
    EXPECT_EQ(columns, 0);
}

} // namespace
