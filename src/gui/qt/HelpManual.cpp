#include "HelpManual.h"

#include "MessageBoxes.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QUrl>

#ifndef TESSARON_DOCDIR
#error "the build passes TESSARON_DOCDIR"
#endif

namespace tessaron::gui {

namespace {
const char* const kIndex = "manual/index.html";
}

QStringList ManualCandidates(const QString& programDir) {
    const QDir dir(programDir);
    return {
        QDir::cleanPath(dir.filePath(QString::fromLatin1(kIndex))),
        QDir::cleanPath(dir.filePath(QStringLiteral("../share/doc/tessaron/") + kIndex)),
        QDir::cleanPath(QStringLiteral(TESSARON_DOCDIR "/") + kIndex),
    };
}

QString FindManual(const QString& programDir) {
    for (const QString& path : ManualCandidates(programDir)) {
        if (QFileInfo(path).isFile()) {
            return path;
        }
    }
    return {};
}

void OpenManual(QWidget* parent) {
    const QString programDir = QCoreApplication::applicationDirPath();
    const QString index = FindManual(programDir);
    if (index.isEmpty()) {
        ShowMessageBox(parent, QStringLiteral("Help"),
                       QStringLiteral("The manual was not found. Looked for:\n") +
                           ManualCandidates(programDir).join(QLatin1Char('\n')),
                       MsgButtons::OK);
        return;
    }
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(index))) {
        ShowMessageBox(parent, QStringLiteral("Help"),
                       QStringLiteral("No browser could be started for the manual:\n") + index,
                       MsgButtons::OK);
    }
}

} // namespace tessaron::gui
