// tessaron_flush_bench: a FULL run of many small files to a medium whose every flush of a
// copy takes 5 ms, against the same run with instant flushes. The copies reach the medium
// on helper threads, so the slow medium may cost at most a fifth more time.
// Prints "case<TAB>seconds<TAB>target<TAB>what" lines; exits 1 when a run fails or, in a full
// run, when the target is missed. With --quick (200 files) four helper threads at 5 ms a
// flush bound the slow run at a quarter second whatever the engine does, so it is not judged.
#include "engine/BackupEngine.h"
#include "platform/SystemFileAccess.h"
#include "platform/clsPath.h"
#include "setfile/clsSetup.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace fs = std::filesystem;
using namespace tessaron;

namespace {

class QuietView : public IBackupView {
public:
    void PhaseStarted(RunPhase, const clsProgress&) override {}
    void FileStarted(const std::string&) override {}
    void Progress(const clsProgress&) override {}
    void LogLine(const std::string&) override {}
    void AppendToLastLine(const std::string&) override {}
    Answer Ask(const Question&) override { return {MsgAnswer::Yes}; }
    void Warning(const std::string&) override {}
    void Result(RunResult) override {}
    void Finished() override {}
    void Yield() override {}
};

// Seconds of a FULL run of source into target (emptied first) through access.
double TimedRun(IFileAccess& access, const fs::path& source, const fs::path& target,
                const fs::path& logs, bool& ok) {
    fs::remove_all(target);
    fs::create_directories(target);
    QuietView view;
    clsSetup setup{NativePathStyle()};
    setup.Target = target.string();
    setup.BackupType = "FULL";
    setup.Quiet = true;
    setup.Sel.AddSelection(source.string());
    BackupEngine engine(view);
    engine.Setup(setup);
    engine.LogDir(logs.string());
    engine.FileAccess(access);
    const auto start = std::chrono::steady_clock::now();
    ok = engine.Run() && ok;
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

int main(int argc, char** argv) {
    const bool quick = argc > 1 && std::string(argv[1]) == "--quick";
    const fs::path scratch = fs::path(argc > 1 ? argv[argc - 1] : ".") / "flush_bench";
    const int files = quick ? 200 : 2000;
    fs::create_directories(scratch / "src");
    const std::string block(4096, 'x');
    for (int i = 0; i < files; ++i) {
        std::ofstream(scratch / "src" / ("f" + std::to_string(i) + ".txt")) << block;
    }
    SystemFileAccess instant([](clsBinaryFile&) { return true; });
    SystemFileAccess slow([](clsBinaryFile&) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return true;
    });
    bool ok = true;
    const double fast = TimedRun(instant, scratch / "src", scratch / "out", scratch / "log", ok);
    const double late = TimedRun(slow, scratch / "src", scratch / "out", scratch / "log", ok);
    fs::remove_all(scratch);
    const double target = fast * 1.2;
    std::printf("%d files, instant flush\t%.3f\t-\trun\n", files, fast);
    std::printf("%d files, 5 ms flush\t%.3f\t%.3f\trun\n", files, late, target);
    return ok && (quick || late <= target) ? 0 : 1;
}
