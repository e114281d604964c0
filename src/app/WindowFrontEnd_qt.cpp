// The window front end: a QApplication, the main window, and the run window of /RUN.
#include "WindowFrontEnd.h"

#include "CommandLine.h"
#include "Display.h"
#include "Terminal.h"

#include "WindowApp.h"
#include "frmBackup.h"
#include "frmMain.h"

#include "engine/RunResult.h"
#include "mail/clsRegSettings.h"
#include "platform/UserLocale.h"

#include <QApplication>
#include <QTimer>

#include <cstdlib>

namespace tessaron {

namespace {

constexpr int kInterruptPollMs = 100;

// Ctrl+C and SIGTERM cancel a run in the window the way its Cancel button does; an open
// question is answered the way its close box answers (No, Cancel, OK) first.
void CancelRunsOnInterrupt(QTimer& poll) {
    InstallInterruptHandlers();
    QObject::connect(&poll, &QTimer::timeout, [&poll] {
        if (!InterruptRequested()) {
            return;
        }
        poll.stop();
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (auto* run = qobject_cast<gui::frmBackup*>(window)) {
                run->Interrupt();
            }
        }
        if (QWidget* question = QApplication::activeModalWidget()) {
            question->close(); // a question of the window's own ("Cancel Operation")
        }
    });
    poll.start(kInterruptPollMs);
}

} // namespace

bool WindowAvailable() {
    return DisplayAvailable();
}

bool WindowRunsBackups() {
    return true;
}

std::string WhyNoWindow() {
    if (WindowAvailable()) {
        return "";
    }
    const char* display = std::getenv("DISPLAY");
    return display == nullptr || *display == '\0'
               ? "There is no display to open the main window on (DISPLAY is not set)."
               : "There is no display to open the main window on (DISPLAY " + std::string(display) +
                     " does not answer).";
}

int RunMainWindow(char* programName, const std::string& commandLine) {
    // Qt sees the program name alone: the arguments are this program's, and a set file
    // named like a Qt option ("-reverse") must not change the window.
    int qtArgc = 1;
    char* qtArgv[] = {programName, nullptr};
    QApplication app(qtArgc, qtArgv);
    UseUserLocale(); // Qt took the whole locale from the environment; numbers parse as in C
    gui::SetUpApplication();
    clsRegSettings settings;
    gui::frmMain window(settings);
    const CommandLine cl =
        ReadCommandLine(commandLine, window.Setup(), [&window](const std::string& fileName) {
            return window.LoadSetup(fileName);
        });
    if (cl.Action == "/RUN") {
        // Only the run window shows: the main window was never shown and stays hidden.
        QTimer interrupts;
        CancelRunsOnInterrupt(interrupts);
        return window.Hooks().StartRun(&window, window.Setup(), true);
    }
    window.show();
    return QApplication::exec() == 0 ? EXIT_SUCCESS : kExitNothingRun;
}

} // namespace tessaron
