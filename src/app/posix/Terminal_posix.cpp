#include "Terminal.h"

#include <csignal>
#include <sys/ioctl.h>
#include <unistd.h>

namespace tessaron {

namespace {

// Written only by the signal handler, read by the run's thread between blocks.
volatile std::sig_atomic_t g_interrupts = 0;

extern "C" void OnInterrupt(int) {
    if (g_interrupts != 0) {
        // The user asked twice: stop now, whatever the run is doing.
        _exit(130);
    }
    g_interrupts = 1;
}

int Descriptor(StdStream stream) {
    switch (stream) {
    case StdStream::In:
        return STDIN_FILENO;
    case StdStream::Out:
        return STDOUT_FILENO;
    case StdStream::Err:
        return STDERR_FILENO;
    }
    return -1;
}

} // namespace

void UseParentConsole() {}

bool IsTerminal(StdStream stream) {
    return isatty(Descriptor(stream)) == 1;
}

int TerminalColumns() {
    winsize ws{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &ws) != 0) {
        return 0;
    }
    return ws.ws_col;
}

void InstallInterruptHandlers() {
    struct sigaction sa {};
    sa.sa_handler = OnInterrupt;
    sigemptyset(&sa.sa_mask);
    // No SA_RESTART: a question waiting on the terminal must return when interrupted.
    sa.sa_flags = 0;
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
    // A reader of the output that goes away (tessaron ... | head) must not kill the run
    // halfway through a copy: writes to it then simply fail.
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigemptyset(&ignore.sa_mask);
    sigaction(SIGPIPE, &ignore, nullptr);
}

bool InterruptRequested() {
    return g_interrupts != 0;
}

} // namespace tessaron
