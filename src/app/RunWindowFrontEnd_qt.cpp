#include "RunWindowFrontEnd.h"

#include "Display.h"
#include "Terminal.h"

#include "WindowApp.h"
#include "frmBackup.h"

#include <QApplication>
#include <QTimer>

namespace tessaron {

bool CanShowWindow() {
    return DisplayAvailable();
}

int RunInWindow(int& argc, char** argv, clsSetup& setup) {
    QApplication app(argc, argv);
    gui::SetUpApplication();
    InstallInterruptHandlers();
    QTimer interrupts;
    QObject::connect(&interrupts, &QTimer::timeout, [&interrupts] {
        if (!InterruptRequested()) {
            return;
        }
        interrupts.stop();
        // An open question is answered the way its close box answers (No, Cancel, OK).
        if (QWidget* question = QApplication::activeModalWidget()) {
            question->close();
        }
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (auto* run = qobject_cast<gui::frmBackup*>(window)) {
                run->CancelRun();
            }
        }
    });
    interrupts.start(100);
    return gui::RunBackupWindow(nullptr, setup, true);
}

} // namespace tessaron
