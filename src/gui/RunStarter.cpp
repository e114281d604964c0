#include "RunStarter.h"

#include "MessageBoxes.h"

namespace tessaron::gui {

namespace {

MenuHook NotInBuild(const QString& title, const QString& what) {
    return [title, what](QWidget* mainWindow) {
        ShowMessageBox(mainWindow, title, what + " is not part of this build yet.", MsgButtons::OK);
    };
}

} // namespace

MainWindowHooks StandardHooks() {
    MainWindowHooks hooks;
    hooks.StartRun = [](QWidget* mainWindow, clsSetup&, bool) {
        ShowMessageBox(mainWindow, "Tessaron", "The run window is not part of this build yet",
                       MsgButtons::OK);
        return 3;
    };
    hooks.EmailSetup = NotInBuild("Email Setup", "The mail settings dialog");
    hooks.Contents = NotInBuild("Tessaron", "The manual");
    hooks.About = NotInBuild("About Tessaron", "The about box");
    return hooks;
}

} // namespace tessaron::gui
