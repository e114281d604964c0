#include "WindowApp.h"

#include "frmAbout.h"

#include <QApplication>
#include <QIcon>

// The icon lives in a resource of this static library; the linker keeps it only when it
// is referenced, which Q_INIT_RESOURCE does (outside any namespace, as it must be).
static void InitResources() {
    Q_INIT_RESOURCE(tessaron);
}

namespace tessaron::gui {

void SetUpApplication() {
    InitResources();
    QApplication::setApplicationName(QStringLiteral("Tessaron"));
    QApplication::setOrganizationName(QStringLiteral("VELQO"));
    QApplication::setApplicationVersion(ProgramVersion());
    QApplication::setDesktopFileName(QStringLiteral("tessaron"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/tessaron.png")));
}

} // namespace tessaron::gui
