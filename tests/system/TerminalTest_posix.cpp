#include "Terminal.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

using namespace tessaron;

namespace {

// Runs body in a child process and returns its exit status (128 + signal if killed).
int InChild(void (*body)()) {
    pid_t pid = fork();
    if (pid == 0) {
        InstallInterruptHandlers();
        body();
        _exit(0);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int s_first;

TEST(Interrupts, FirstSignalOnlyRaisesTheFlagSecondEndsTheProcess) {
    for (int first : {SIGINT, SIGTERM}) {
        s_first = first;
        EXPECT_EQ(InChild([] {
                      if (InterruptRequested()) {
                          _exit(1);
                      }
                      raise(s_first);
                      if (!InterruptRequested()) {
                          _exit(2);
                      }
                      raise(SIGINT);
                      _exit(3); // not reached: the second interrupt ends the process
                  }),
                  130)
            << first;
    }
}

TEST(Interrupts, ClosedOutputPipeDoesNotEndTheProcess) {
    EXPECT_EQ(InChild([] {
                  int fds[2];
                  if (pipe(fds) != 0) {
                      _exit(1);
                  }
                  close(fds[0]);
                  _exit(write(fds[1], "x", 1) < 0 ? 0 : 2);
              }),
              0);
}

} // namespace
