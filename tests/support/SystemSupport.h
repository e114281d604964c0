#pragma once
// Helpers of the system tests: temporary trees, backup set files, and running the built
// tessaron program with a time limit while its output is collected.

#include "EnvOverride.h"
#include "TempTree.h"
#include "TestNames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <list>
#include <sstream>
#include <string>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace tessaron::test {

inline bool Contains(const std::string& haystack, const std::string& needle) {
    return haystack.find(needle) != std::string::npos;
}

struct SetFile {
    std::string Target, BackupType = "FULL";
    bool CleanTarget = false, SaveLog = false, StopOnError = false, Verify = false;
    std::vector<std::string> Selections;
    std::string Extra; // further raw lines, each ended by CR LF

    void Save(const fs::path& p) const {
        auto b = [](bool v) { return v ? "True" : "False"; };
        std::string t = "Target = \"" + Target + "\"\r\nBackupType = " + BackupType +
                        "\r\nCleanTarget = " + b(CleanTarget) + "\r\nSaveLog = " + b(SaveLog) +
                        "\r\nStopOnError = " + b(StopOnError) + "\r\nVerify = " + b(Verify) +
                        "\r\nEjectMedia = False\r\nEMail = False\r\nEMailTo = \r\n" + Extra +
                        "Selections = ";
        for (std::size_t i = 0; i < Selections.size(); ++i) {
            t += (i ? "\t\"" : "\"") + Selections[i] + "\"\r\n";
        }
        WriteFile(p, t);
    }
};

#ifdef TESSARON_EXE
struct RunResult {
    int Status = -1; // exit status; 128 + signal when killed
    bool TimedOut = false;
    long MaxRssKb = 0; // the run's peak resident memory (POSIX)
    std::string Out, Err;
};

// Sees the standard output so far and the child's process id.
using OutputWatch = std::function<void(const std::string& outSoFar, long pid)>;

struct RunOptions {
    std::vector<std::pair<std::string, std::string>> Env; // set in the child
    // Run as the unprivileged user 65534 (through setpriv when the tests run as root; as
    // any other user the program simply runs as that user).
    bool Unprivileged = false;
    int OpenFileLimit = 0; // the run's limit on open files (POSIX; 0: as inherited)
};

#ifdef _WIN32
// Runs tessaron with args, its log in logDir, for at most 30 s, its standard input the
// null device and its output in files beside logDir (no test watches the output here).
// Standard output comes with the line ends of the console's text mode: they are read back
// as "\n".
inline RunResult RunTessaron(const std::vector<std::string>& args, const fs::path& logDir,
                             const OutputWatch& = {}, const RunOptions& options = {}) {
    RunResult r;
    // The child inherits the variables, which go back to their old values at the end.
    std::list<EnvOverride> childEnv;
    childEnv.emplace_back("TESSARON_LOG_DIR", logDir.string());
    for (const auto& [name, value] : options.Env) {
        childEnv.emplace_back(name.c_str(), value);
    }
    SECURITY_ATTRIBUTES inherit{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    const auto open = [&](const fs::path& p, DWORD access, DWORD how) {
        return ::CreateFileW(p.wstring().c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE,
                             &inherit, how, 0, nullptr);
    };
    const fs::path outFile = logDir.string() + ".out", errFile = logDir.string() + ".err";
    STARTUPINFOW si{};
    si.cb = sizeof si;
    si.dwFlags = STARTF_USESTDHANDLES;
    si.hStdInput = open(L"NUL", GENERIC_READ, OPEN_EXISTING);
    si.hStdOutput = open(outFile, GENERIC_WRITE, CREATE_ALWAYS);
    si.hStdError = open(errFile, GENERIC_WRITE, CREATE_ALWAYS);
    PROCESS_INFORMATION pi{};
    // The program and the arguments, those with blanks quoted as the program's tokenizer
    // reads them (no test argument holds a double quote); a console run, even when the
    // program has its window.
    auto quoted = [](const std::string& a) {
        return a.empty() || a.find_first_of(" \t") != std::string::npos ? "\"" + a + "\"" : a;
    };
    std::string utf8 = quoted(TESSARON_EXE);
    for (const std::string& a : args) {
        utf8 += " " + quoted(a);
    }
    std::wstring line = FromUtf8(utf8 + " /CONSOLE").wstring();
    const bool started = ::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE,
                                          CREATE_NO_WINDOW, nullptr, nullptr, &si, &pi) != 0;
    for (HANDLE h : {si.hStdInput, si.hStdOutput, si.hStdError}) {
        ::CloseHandle(h);
    }
    if (!started) {
        return r;
    }
    if (::WaitForSingleObject(pi.hProcess, 30000) != WAIT_OBJECT_0) {
        r.TimedOut = true;
        ::TerminateProcess(pi.hProcess, 137);
        ::WaitForSingleObject(pi.hProcess, INFINITE);
    }
    DWORD status = 0;
    ::GetExitCodeProcess(pi.hProcess, &status);
    r.Status = static_cast<int>(status);
    ::CloseHandle(pi.hProcess);
    ::CloseHandle(pi.hThread);
    const std::string raw = ReadFile(outFile);
    for (std::size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] != '\r' || i + 1 == raw.size() || raw[i + 1] != '\n') {
            r.Out += raw[i];
        }
    }
    r.Err = ReadFile(errFile);
    return r;
}
#else
// Runs tessaron with args, its log in logDir, for at most 30 s. onOutput sees the standard
// output so far whenever more arrives (a test may signal the child from there).
inline RunResult RunTessaron(const std::vector<std::string>& args, const fs::path& logDir,
                             const OutputWatch& onOutput = {}, const RunOptions& options = {}) {
    RunResult r;
    const std::string errFile = logDir.string() + ".err";
    // The program, or setpriv dropping to 65534 and then it.
    std::vector<std::string> all;
    if (options.Unprivileged && geteuid() == 0) {
        all = {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
    }
    all.emplace_back(TESSARON_EXE);
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& a : all) {
        argv.push_back(a.data());
    }
    argv.push_back(nullptr);
    int out[2];
    if (pipe(out) != 0) {
        return r;
    }
    pid_t pid = fork();
    if (pid == 0) {
        setenv("TESSARON_LOG_DIR", logDir.c_str(), 1);
        // A console run, even when the tests themselves run on a desktop.
        unsetenv("DISPLAY");
        unsetenv("WAYLAND_DISPLAY");
        unsetenv("QT_QPA_PLATFORM");
        for (const auto& [name, value] : options.Env) {
            setenv(name.c_str(), value.c_str(), 1);
        }
        if (options.OpenFileLimit > 0) {
            const rlimit limit{rlim_t(options.OpenFileLimit), rlim_t(options.OpenFileLimit)};
            setrlimit(RLIMIT_NOFILE, &limit);
        }
        dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        dup2(open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
        close(out[0]);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(out[1]);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    pollfd fd{out[0], POLLIN, 0};
    char buf[4096];
    for (ssize_t n = 1; n > 0;) {
        if (std::chrono::steady_clock::now() > deadline) {
            r.TimedOut = true;
            kill(pid, SIGKILL);
            break;
        }
        if (poll(&fd, 1, 50) > 0 && (n = read(out[0], buf, sizeof buf)) > 0) {
            r.Out.append(buf, static_cast<std::size_t>(n));
            if (onOutput) {
                onOutput(r.Out, pid);
            }
        }
    }
    close(out[0]);
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    r.MaxRssKb = usage.ru_maxrss;
    r.Status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    r.Err = ReadFile(errFile);
    return r;
}

#endif

// A source and a target folder in a temporary tree, and runs of the program on them.
struct Sandbox : TempTree {
    fs::path root{Root()};
    fs::path src = root / "src", dst = root / "dst", setFile = root / "test.set", lastLogDir;
    int runs = 0;

    SetFile Set() const {
        SetFile s;
        s.Target = dst.string();
        s.Selections = {src.string()};
        return s;
    }

    RunResult RunSet(const SetFile& s, std::vector<std::string> extra = {"/QUIET"},
                     const RunOptions& options = {}) {
        s.Save(setFile);
        extra.insert(extra.begin(), {"/RUN", setFile.string()});
        return RunArgs(extra, {}, options);
    }

    RunResult RunArgs(const std::vector<std::string>& args, const OutputWatch& onOutput = {},
                      const RunOptions& options = {}) {
        lastLogDir = root / ("logs" + std::to_string(++runs));
        fs::create_directories(lastLogDir);
        if (options.Unprivileged) {
            // The unprivileged run must reach the tree and write its copy and log.
            fs::permissions(root, fs::perms::all);
            fs::permissions(lastLogDir, fs::perms::all);
        }
        RunResult r = RunTessaron(args, lastLogDir, onOutput, options);
        EXPECT_FALSE(r.TimedOut) << r.Out;
        return r;
    }

    // The text of the log file the last run wrote (empty when there is none).
    std::string LastLog() const {
        for (const fs::directory_entry& e : fs::directory_iterator(lastLogDir)) {
            if (e.path().filename().string().rfind("BackupLog_", 0) == 0) {
                return ReadFile(e.path());
            }
        }
        return {};
    }
};
#endif

} // namespace tessaron::test
