#include "RunStarter.h"

#include "HelpManual.h"
#include "frmAbout.h"
#include "frmBackup.h"
#include "frmEmailSetup.h"

namespace tessaron::gui {

MainWindowHooks StandardHooks() {
    MainWindowHooks hooks;
    hooks.StartRun = RunBackupWindow;
    // The dialog reads and writes the user's settings file, as the main window's store does.
    hooks.EmailSetup = [](QWidget* mainWindow) { ShowEmailSetup(mainWindow); };
    hooks.Contents = OpenManual;
    hooks.About = ShowAbout;
    return hooks;
}

} // namespace tessaron::gui
