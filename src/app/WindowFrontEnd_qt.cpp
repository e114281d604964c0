// The window front end: a QApplication and the main window.
#include "WindowFrontEnd.h"

#include "CommandLine.h"
#include "frmMain.h"

#include "mail/clsRegSettings.h"
#include "platform/UserLocale.h"
#include "platform/clsPath.h"

#include <QApplication>

#include <cstdlib>

namespace tessaron {

namespace {

bool IsSet(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0';
}

} // namespace

bool WindowAvailable() {
    if (NativePathStyle() == PathStyle::Windows) {
        return true; // a Windows desktop session always has a screen
    }
    return IsSet("DISPLAY") || IsSet("WAYLAND_DISPLAY") || IsSet("QT_QPA_PLATFORM");
}

std::string WhyNoWindow() {
    return WindowAvailable()
               ? ""
               : "There is no display to open the main window on (DISPLAY is not set).";
}

int RunMainWindow(char* programName, const std::string& commandLine) {
    // Qt sees the program name alone: the arguments are this program's, and a set file
    // named like a Qt option ("-reverse") must not change the window.
    int qtArgc = 1;
    char* qtArgv[] = {programName, nullptr};
    QApplication app(qtArgc, qtArgv);
    UseUserLocale(); // Qt took the whole locale from the environment; numbers parse as in C
    QApplication::setApplicationName("Tessaron");
    QApplication::setOrganizationName("VELQO");
    QGuiApplication::setDesktopFileName("tessaron");
    clsRegSettings settings;
    gui::frmMain window(settings);
    const CommandLine cl =
        ReadCommandLine(commandLine, window.Setup(), [&window](const std::string& fileName) {
            return window.LoadSetup(fileName);
        });
    if (cl.Action == "/RUN") {
        return window.Hooks().StartRun(&window, window.Setup(), true);
    }
    window.show();
    return QApplication::exec() == 0 ? 0 : 3;
}

} // namespace tessaron
