#pragma once
// Helpers of the system tests: temporary trees, backup set files, and running the built
// tessaron program with a time limit while its output is collected.

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <poll.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace tessaron::systest {

namespace fs = std::filesystem;

class TempTree {
public:
    TempTree() {
        std::string tmpl = (fs::temp_directory_path() / "tessaron-sys-XXXXXX").string();
        m_root = mkdtemp(tmpl.data());
    }
    ~TempTree() {
        std::error_code ec;
        fs::remove_all(m_root, ec);
    }
    TempTree(const TempTree&) = delete;
    TempTree& operator=(const TempTree&) = delete;

    const fs::path& Root() const { return m_root; }
    fs::path operator/(const std::string& rel) const { return m_root / rel; }

private:
    fs::path m_root;
};

inline void WriteFile(const fs::path& p, const std::string& content) {
    fs::create_directories(p.parent_path());
    std::ofstream(p, std::ios::binary) << content;
}

inline std::string ReadFile(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

// Content of a given size that differs from file to file.
inline std::string Pattern(std::size_t size, char seed) {
    std::string s(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        s[i] = static_cast<char>(seed + i * 7 + i / 251);
    }
    return s;
}

inline void SetMtime(const fs::path& p, time_t sec, long nsec) {
    timespec t[2] = {{sec, nsec}, {sec, nsec}};
    utimensat(AT_FDCWD, p.c_str(), t, AT_SYMLINK_NOFOLLOW);
}

inline struct stat Stat(const fs::path& p) {
    struct stat st {};
    lstat(p.c_str(), &st);
    return st;
}

// Where the backup of an absolute source path lands: target + the whole source path.
inline fs::path CopyOf(const fs::path& target, const fs::path& source) {
    return fs::path(target.string() + source.string());
}

struct SetFile {
    std::string Target;
    std::string BackupType = "FULL";
    bool CleanTarget = false;
    bool SaveLog = false;
    bool StopOnError = false;
    bool Verify = false;
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

struct RunResult {
    int Status = -1; // exit status; 128 + signal when killed
    bool TimedOut = false;
    std::string Out;
    std::string Err;
};

// Runs tessaron with args; its runs log into logDir. onOutput sees the standard output
// collected so far each time more arrives (a test may signal the child from there).
inline RunResult RunTessaron(const std::vector<std::string>& args, const fs::path& logDir,
                             std::chrono::seconds limit = std::chrono::seconds(30),
                             const std::function<void(const std::string&, pid_t)>& onOutput = {}) {
    RunResult r;
    int outPipe[2];
    int errPipe[2];
    if (pipe(outPipe) != 0 || pipe(errPipe) != 0) {
        return r;
    }
    std::vector<std::string> env;
    for (char** e = environ; *e != nullptr; ++e) {
        if (std::strncmp(*e, "TESSARON_LOG_DIR=", 17) != 0) {
            env.emplace_back(*e);
        }
    }
    env.push_back("TESSARON_LOG_DIR=" + logDir.string());
    std::vector<char*> argv{const_cast<char*>(TESSARON_EXE)};
    for (const std::string& a : args) {
        argv.push_back(const_cast<char*>(a.c_str()));
    }
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (std::string& e : env) {
        envp.push_back(e.data());
    }
    envp.push_back(nullptr);

    pid_t pid = fork();
    if (pid == 0) {
        int devnull = open("/dev/null", O_RDONLY);
        dup2(devnull, STDIN_FILENO);
        dup2(outPipe[1], STDOUT_FILENO);
        dup2(errPipe[1], STDERR_FILENO);
        close(outPipe[0]);
        close(errPipe[0]);
        execve(TESSARON_EXE, argv.data(), envp.data());
        _exit(127);
    }
    close(outPipe[1]);
    close(errPipe[1]);
    auto deadline = std::chrono::steady_clock::now() + limit;
    pollfd fds[2] = {{outPipe[0], POLLIN, 0}, {errPipe[0], POLLIN, 0}};
    std::string* sinks[2] = {&r.Out, &r.Err};
    int open = 2;
    while (open > 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            r.TimedOut = true;
            kill(pid, SIGKILL);
            break;
        }
        if (poll(fds, 2, 50) <= 0) {
            continue;
        }
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || (fds[i].revents & (POLLIN | POLLHUP)) == 0) {
                continue;
            }
            char buf[4096];
            ssize_t n = read(fds[i].fd, buf, sizeof buf);
            if (n <= 0) {
                close(fds[i].fd);
                fds[i].fd = -1;
                --open;
                continue;
            }
            sinks[i]->append(buf, static_cast<std::size_t>(n));
            if (i == 0 && onOutput) {
                onOutput(r.Out, pid);
            }
        }
    }
    for (pollfd& f : fds) {
        if (f.fd >= 0) {
            close(f.fd);
        }
    }
    int status = 0;
    waitpid(pid, &status, 0);
    r.Status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return r;
}

// The text of the one log file a run wrote into logDir (empty when there is none).
inline std::string ReadLog(const fs::path& logDir) {
    std::error_code ec;
    for (const fs::directory_entry& e : fs::directory_iterator(logDir, ec)) {
        if (e.path().filename().string().rfind("BackupLog_", 0) == 0) {
            return ReadFile(e.path());
        }
    }
    return {};
}

inline bool Contains(const std::string& haystack, const std::string& needle) {
    return haystack.find(needle) != std::string::npos;
}

inline std::size_t CountOf(const std::string& haystack, const std::string& needle) {
    std::size_t n = 0;
    for (std::size_t p = haystack.find(needle); p != std::string::npos;
         p = haystack.find(needle, p + 1)) {
        ++n;
    }
    return n;
}

// A source and a target folder in a temporary tree, and runs of the program on them.
struct Sandbox {
    TempTree tree;
    fs::path src = tree / "src";
    fs::path dst = tree / "dst";
    fs::path setFile = tree / "test.set";
    fs::path lastLogDir;
    int runs = 0;

    SetFile Set() const {
        SetFile s;
        s.Target = dst.string();
        s.Selections = {src.string()};
        return s;
    }

    RunResult RunSet(const SetFile& s, std::vector<std::string> extra = {"/QUIET"}) {
        s.Save(setFile);
        std::vector<std::string> args{"/RUN", setFile.string()};
        args.insert(args.end(), extra.begin(), extra.end());
        return RunArgs(args);
    }

    RunResult RunArgs(const std::vector<std::string>& args,
                      const std::function<void(const std::string&, pid_t)>& onOutput = {}) {
        lastLogDir = tree / ("logs" + std::to_string(++runs));
        fs::create_directories(lastLogDir);
        RunResult r = RunTessaron(args, lastLogDir, std::chrono::seconds(30), onOutput);
        EXPECT_FALSE(r.TimedOut) << r.Out;
        return r;
    }
};

} // namespace tessaron::systest
