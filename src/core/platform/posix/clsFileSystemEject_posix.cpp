// clsFileSystem on POSIX: ejecting a medium through the desktop's tools, and the
// program's own folders.
#include "platform/clsFileSystem.h"

#include "platform/clsFolder.h"
#include "platform/posix/MountTable.h"
#include "platform/posix/PosixSupport.h"

#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace tessaron {

namespace {

constexpr int kUnmountAttempts = 10;
constexpr auto kToolTimeout = std::chrono::seconds(60);

// The full path of a program on $PATH, "" when there is none.
std::string FindProgram(const std::string& name) {
    const char* env = std::getenv("PATH");
    std::string path = env != nullptr ? env : "/usr/bin:/bin";
    std::size_t pos = 0;
    while (pos <= path.size()) {
        std::size_t end = path.find(':', pos);
        std::string dir = path.substr(pos, end == std::string::npos ? end : end - pos);
        std::string candidate = (dir.empty() ? "." : dir) + "/" + name;
        if (::access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
        if (end == std::string::npos) {
            break;
        }
        pos = end + 1;
    }
    return {};
}

// Runs a program without a shell, its output discarded, and returns its exit status;
// -1 when it could not run or was stopped after kToolTimeout (a tool waiting for a
// password prompt must not hang the backup).
int RunProgram(const std::vector<std::string>& args) {
    std::vector<char*> argv;
    for (const std::string& arg : args) {
        argv.push_back(const_cast<char*>(arg.c_str()));
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    int rc = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0) {
        return -1;
    }
    auto deadline = std::chrono::steady_clock::now() + kToolTimeout;
    int status = 0;
    while (::waitpid(pid, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, &status, 0);
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Writes out what the file system still holds in memory for the mount.
void Flush(const std::string& mountPoint) {
    int fd = ::open(mountPoint.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::syncfs(fd);
        ::close(fd);
    }
}

bool IsWritableDir(const std::string& dir) {
    return ::access(dir.c_str(), W_OK | X_OK) == 0;
}

std::string StateHome() {
    const char* xdg = std::getenv("XDG_STATE_HOME");
    if (xdg != nullptr && xdg[0] == '/') {
        return xdg;
    }
    const char* home = std::getenv("HOME");
    if (home == nullptr || home[0] != '/') {
        struct passwd* pw = ::getpwuid(::getuid());
        home = pw != nullptr ? pw->pw_dir : nullptr;
    }
    return home != nullptr ? std::string(home) + "/.local/state" : std::string();
}

} // namespace

bool clsFileSystem::EjectMedia(const std::string& path) {
    std::string type = GetDriveType(path);
    if (type.empty()) {
        return false;
    }
    if (type != "REMOVABLE" && type != "CDROM") {
        return Fail("EjectMedia", ENOTSUP); // only removable media are ever touched
    }
    std::string resolved;
    ResolveForDrive(path, resolved, "EjectMedia");
    std::vector<posix::MountEntry> mounts = posix::LoadMountTable();
    const posix::MountEntry* mount = posix::HoldingMount(mounts, resolved);
    if (mount == nullptr || mount->Source.rfind("/dev/", 0) != 0) {
        return Fail("EjectMedia", ENODEV);
    }
    Flush(mount->MountPoint);
    return ReleaseMedium(mount->Source, type == "CDROM");
}

// Unmounts the device (10 attempts one second apart) and then powers it off or opens the
// tray. eject unmounts by itself; udisksctl needs an unmount, then a power-off.
bool clsFileSystem::ReleaseMedium(const std::string& device, bool optical) {
    std::string udisks = FindProgram("udisksctl");
    std::string eject = FindProgram("eject");
    if (udisks.empty() && eject.empty()) {
        return Fail("EjectMedia", ENOENT);
    }
    std::vector<std::string> release =
        udisks.empty()
            ? std::vector<std::string>{eject, device}
            : std::vector<std::string>{udisks, "unmount", "-b", device, "--no-user-interaction"};
    bool released = false;
    for (int attempt = 0; attempt < kUnmountAttempts && !released; ++attempt) {
        released = RunProgram(release) == 0;
        if (!released && attempt + 1 < kUnmountAttempts) {
            WaitBeforeRetry();
        }
    }
    if (!released) {
        return Fail("EjectMedia", EBUSY);
    }
    if (!udisks.empty() && !optical) {
        RunProgram({udisks, "power-off", "-b", device, "--no-user-interaction"});
    } else if (!udisks.empty() && !eject.empty()) {
        RunProgram({eject, device});
    }
    return true;
}

// One second between unmount attempts; with UseDoEvents the wait keeps the user
// interface alive instead of freezing it.
void clsFileSystem::WaitBeforeRetry() {
    auto until = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (std::chrono::steady_clock::now() < until) {
        if (UseDoEvents) {
            Yield();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(UseDoEvents ? 20 : 100));
    }
}

std::string clsFileSystem::ProgramDir() {
    char buf[PATH_MAX];
    ssize_t n = ::readlink("/proc/self/exe", buf, sizeof buf - 1);
    if (n <= 0) {
        return {};
    }
    std::string exe(buf, static_cast<std::size_t>(n));
    std::size_t slash = exe.find_last_of('/');
    if (slash == std::string::npos) {
        return {};
    }
    return slash == 0 ? "/" : exe.substr(0, slash);
}

namespace {

// An installed program lives in a "bin" folder (/usr/bin, /usr/local/bin, /opt/x/bin),
// where a "Log" folder beside it would be a surprise to the system (and, run as root, one
// would be made there); a program run from where it was built or unpacked keeps its logs
// beside it.
bool IsInstalledBinFolder(const std::string& dir) {
    const std::size_t slash = dir.rfind('/');
    return dir.substr(slash == std::string::npos ? 0 : slash + 1) == "bin";
}

// Makes the log folder dir and what is missing above it readable by their owner only:
// the log names every file of every backup.
bool MakeLogFolder(const std::string& dir, int& code) {
    clsFolder folder;
    if (folder.Create(dir, 0700)) {
        return true;
    }
    code = folder.LastErrorCode;
    return false;
}

} // namespace

std::string clsFileSystem::ProgramLogDir() {
    std::string program = ProgramDir();
    if (!program.empty() && !IsInstalledBinFolder(program)) {
        std::string beside = (program == "/" ? "" : program) + "/Log";
        std::string saved = LastError;
        int code = 0;
        if (MakeLogFolder(beside, code) && IsWritableDir(beside)) {
            return beside;
        }
        LastError = saved; // falling back is not a failure
    }
    std::string state = StateHome();
    if (state.empty()) {
        Fail("ProgramLogDir", ENOENT);
        return {};
    }
    std::string dir = state + "/tessaron/Log";
    if (int code = 0; !MakeLogFolder(dir, code)) {
        Fail("ProgramLogDir", code);
        return {};
    }
    if (!IsWritableDir(dir)) {
        Fail("ProgramLogDir", errno);
        return {};
    }
    return dir;
}

} // namespace tessaron
