// tessaron: with no arguments or /LOAD it opens the main window, and /RUN runs the backup
// set it names in the run window alone (when the build has the window and a display
// answers); otherwise /RUN runs the set in the console. Exit status of a /RUN: the run's
// (engine/RunResult.h), or 3 when nothing was run (the set could not be loaded, or it has
// nothing that could be copied).

#include "CommandLine.h"
#include "ConsoleView.h"
#include "SetupFile.h"
#include "Terminal.h"
#include "TestMailCommand.h"
#include "WindowFrontEnd.h"

#include "engine/BackupEngine.h"
#include "engine/RunChecks.h"
#include "platform/UserLocale.h"
#include "setfile/clsSetup.h"

#include <cstdlib>
#include <iostream>
#include <string>

using namespace tessaron;

namespace {

const char* const kUsage =
    "Usage: tessaron [/RUN file.set | /LOAD file.set] [/QUIET] [/LOGPATH dir]\n"
    "                [/BLOCKSIZE n] [/CONSOLE]\n"
    "       tessaron /TESTMAIL address\n"
    "\n"
    "  (none)          open the main window\n"
    "  /RUN file.set   load the backup set, run it and exit (in the run window\n"
    "                  when a display is there, else in the console)\n"
    "  /LOAD file.set  open the main window with the backup set loaded (without a\n"
    "                  display: check the set and print its summary)\n"
    "  /QUIET          ask no questions during the run (a target that is a whole\n"
    "                  drive is still confirmed before it is cleared)\n"
    "  /LOGPATH dir    kept with the set; the run log always goes to the log folder\n"
    "  /BLOCKSIZE n    bytes per read and write block, 1 to 16777216 (default 128000)\n"
    "  /CONSOLE        run in the console even when a window could be shown\n"
    "  /TESTMAIL address  send a test mail with the Email Setup settings (exit\n"
    "                  status 0 when the server accepted it, else 1)\n"
    "  /?, -h, --help  show this text\n"
    "\n"
    "Switches may be written in any case and come in any order; the last /RUN or\n"
    "/LOAD decides. Exit status of /RUN: 0 Backup Complete, 1 Error During Backup,\n"
    "2 Backup Cancelled, 3 nothing was run (no set loaded, or nothing to copy).\n"
    "Environment: TESSARON_LOG_DIR names the folder for the run logs (default: Log\n"
#ifdef _WIN32
    "beside the program, else %LOCALAPPDATA%\\VELQO\\Tessaron\\Log).\n";
#else
    "beside the program, else ~/.local/state/tessaron/Log).\n";
#endif

ConsoleOptions DetectConsole() {
    ConsoleOptions o;
    o.Progress = IsTerminal(StdStream::Err);
    o.OutIsTerminal = IsTerminal(StdStream::Out);
    o.Interactive = IsTerminal(StdStream::In);
    int columns = TerminalColumns();
    o.Columns = columns > 0 ? columns : 80;
    return o;
}

int RunBackup(clsSetup& setup) {
    // A run with nothing it could copy must never end "Backup Complete".
    if (const std::string reason = NothingToRunReason(setup); !reason.empty()) {
        std::cerr << reason << std::endl;
        return kExitNothingRun;
    }
    ConsoleView view(std::cout, std::cerr, std::cin, DetectConsole());
    BackupEngine engine(view);
    view.WatchInterrupt(InterruptRequested, [&engine] { engine.Cancel(); });
    engine.Setup(setup);
    InstallInterruptHandlers();
    engine.Run();
    view.End();
    if (!engine.LogFile().empty()) {
        std::cerr << "Log file: " << engine.LogFile() << std::endl;
    }
    return ExitStatus(engine.Result());
}

// Whether the command line is for the window: it does not ask for the console, and a
// window can be shown. A /RUN then shows only the run window (a set that cannot be loaded
// is reported in a box over the main window, which stays).
bool ForTheWindow(const std::string& text) {
    clsSetup scratch;
    const CommandLine probe =
        ReadCommandLine(text, scratch, [](const std::string&) { return true; });
    const bool runs = probe.Action == "/RUN";
    return !probe.Console && WindowAvailable() && (!runs || WindowRunsBackups());
}

} // namespace

int main(int argc, char** argv) {
    UseUserLocale(); // log dates and grouped numbers in the user's conventions
    const std::string text = ProcessCommandLine(argc, argv);
    if (WantsHelp(text)) {
        UseParentConsole();
        std::cout << kUsage;
        return EXIT_SUCCESS;
    }
    if (const auto address = TestMailAddress(text)) {
        return RunTestMail(*address, std::cout, std::cerr);
    }
    if (ForTheWindow(text)) {
        static char programName[] = "tessaron";
        return RunMainWindow(argc > 0 ? argv[0] : programName, text);
    }
    UseParentConsole();
    clsSetup setup;
    CommandLine cl = ReadCommandLine(text, setup, [&setup](const std::string& file) {
        return LoadSetup(file, setup, std::cerr);
    });
    if (cl.Action == "/RUN") {
        return RunBackup(setup);
    }
    if (cl.Action == "/LOAD") {
        std::cout << "Backup set " << cl.LastFile << "\n" << SetupSummary(setup);
        return EXIT_SUCCESS;
    }
    if (cl.Loads == 0) {
        std::cerr << WhyNoWindow() << " Use /RUN to run a backup set in the console.\n\n" << kUsage;
    }
    return kExitNothingRun;
}
