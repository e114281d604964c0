#pragma once
// How the main window hands work to the other windows: the run window that carries out a
// backup, and the windows its Action and Help menus open. The main window holds one
// MainWindowHooks; the program fills it with StandardHooks(), tests with their own.

#include <functional>

class QWidget;

namespace tessaron {
class clsSetup;
}

namespace tessaron::gui {

// Runs the backup set in the run window, owned by mainWindow, and returns when the run has
// ended. unloadOnExit is true for a run started from the command line: the run window then
// closes itself when the run ends; otherwise it stays, with its Close button, until the
// user closes it. The result is the program's exit status for the run (ExitStatus or
// kExitNothingRun, see engine/RunResult.h). The set is not owned; the run may change its
// BackupType (see BackupEngine::Setup).
using RunStarter = std::function<int(QWidget* mainWindow, clsSetup& setup, bool unloadOnExit)>;

// Opens a window or document over mainWindow ("Email Setup", "Contents...", "About...").
using MenuHook = std::function<void(QWidget* mainWindow)>;

struct MainWindowHooks {
    RunStarter StartRun; // Start and Start Backup, after the checks passed
    MenuHook EmailSetup; // Action > Email Setup: the mail settings dialog, modal
    MenuHook Contents;   // Help > Contents...: the manual
    MenuHook About;      // Help > About...: the about box
};

// The hooks of this build: the run window, Email Setup, the manual and the about box.
MainWindowHooks StandardHooks();

} // namespace tessaron::gui
