// The console services of the console front end on Windows.
#include "Terminal.h"

#include "platform/win32/Win32Support.h"

#include <atomic>
#include <cstdio>

namespace tessaron {

namespace {

// Raised by the console's control handler (which Windows runs on a thread of its own),
// read by the run's thread between blocks.
std::atomic<int> g_interrupts{0};

BOOL WINAPI OnControl(DWORD event) {
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT && event != CTRL_CLOSE_EVENT) {
        return FALSE;
    }
    if (g_interrupts.fetch_add(1) != 0) {
        // The user asked twice: stop now, whatever the run is doing.
        ::ExitProcess(130);
    }
    return TRUE;
}

DWORD HandleId(StdStream stream) {
    switch (stream) {
    case StdStream::In:
        return STD_INPUT_HANDLE;
    case StdStream::Out:
        return STD_OUTPUT_HANDLE;
    case StdStream::Err:
        return STD_ERROR_HANDLE;
    }
    return STD_ERROR_HANDLE;
}

} // namespace

void UseParentConsole() {
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
    const auto missing = [](DWORD id) {
        const HANDLE h = ::GetStdHandle(id);
        return h == nullptr || h == INVALID_HANDLE_VALUE;
    };
    const bool out = missing(STD_OUTPUT_HANDLE), err = missing(STD_ERROR_HANDLE),
               in = missing(STD_INPUT_HANDLE);
    if (!(out || err || in) || !::AttachConsole(ATTACH_PARENT_PROCESS)) {
        return;
    }
    // Only the streams that led nowhere go to the console; a redirected one stays.
    const auto open = [](DWORD id, const wchar_t* device, const char* name, const char* mode,
                         FILE* stream) {
        const HANDLE h =
            ::CreateFileW(device, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                          nullptr, OPEN_EXISTING, 0, nullptr);
        ::SetStdHandle(id, h);
        FILE* ignored = nullptr;
        freopen_s(&ignored, name, mode, stream);
    };
    if (out) {
        open(STD_OUTPUT_HANDLE, L"CONOUT$", "CONOUT$", "w", stdout);
    }
    if (err) {
        open(STD_ERROR_HANDLE, L"CONOUT$", "CONOUT$", "w", stderr);
    }
    if (in) {
        open(STD_INPUT_HANDLE, L"CONIN$", "CONIN$", "r", stdin);
    }
}

bool IsTerminal(StdStream stream) {
    // Only a console has a console mode; a file or pipe has none.
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(HandleId(stream)), &mode) != 0;
}

int TerminalColumns() {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!::GetConsoleScreenBufferInfo(::GetStdHandle(STD_ERROR_HANDLE), &info)) {
        return 0;
    }
    return info.srWindow.Right - info.srWindow.Left + 1;
}

void InstallInterruptHandlers() {
    ::SetConsoleCtrlHandler(OnControl, TRUE);
    // Every text of the program is UTF-8; the console shows it as such.
    ::SetConsoleOutputCP(CP_UTF8);
    ::SetConsoleCP(CP_UTF8);
}

bool InterruptRequested() {
    return g_interrupts.load() != 0;
}

} // namespace tessaron
