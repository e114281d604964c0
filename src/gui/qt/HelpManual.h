#pragma once
// Help > Contents: the HTML manual's first page, opened in the user's browser.
//
// The manual is looked for, in this order: "manual/index.html" beside the program (the
// build tree, and an installation that keeps everything in one folder); the installed
// documentation folder relative to the program ("../share/doc/tessaron/manual/index.html",
// for any install prefix); and the documentation folder of the configured prefix.

#include <QString>
#include <QStringList>

class QWidget;

namespace tessaron::gui {

// The places of the manual's first page for a program in programDir, in the order tried.
QStringList ManualCandidates(const QString& programDir);
// The first of ManualCandidates that is a file; empty when there is none.
QString FindManual(const QString& programDir);
// Opens the manual in the user's browser. When it is missing, or no browser takes it, a
// message box says so and names the places looked at.
void OpenManual(QWidget* parent);

} // namespace tessaron::gui
