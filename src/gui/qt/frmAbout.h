#pragma once
// frmAbout: the about box: the program's name and version, the company, and the Qt
// version the program was built with and runs on.

#include <QDialog>

namespace tessaron::gui {

// The program's version as the build set it ("0.1.0").
QString ProgramVersion();

class frmAbout : public QDialog {
    Q_OBJECT
public:
    explicit frmAbout(QWidget* parent = nullptr);
};

// Shows the about box modally over parent (the main window's "About..." menu item).
void ShowAbout(QWidget* parent);

} // namespace tessaron::gui
