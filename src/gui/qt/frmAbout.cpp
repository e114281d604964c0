#include "frmAbout.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#ifndef TESSARON_VERSION
#error "the build passes TESSARON_VERSION"
#endif

namespace tessaron::gui {

QString ProgramVersion() {
    return QStringLiteral(TESSARON_VERSION);
}

frmAbout::frmAbout(QWidget* parent) : QDialog(parent) {
    setObjectName("frmAbout");
    setWindowTitle(QStringLiteral("About Tessaron"));
    auto* icon = new QLabel(this);
    icon->setPixmap(QIcon(QStringLiteral(":/tessaron.png")).pixmap(64, 64));
    auto* text = new QLabel(this);
    text->setObjectName("lblAbout");
    text->setTextFormat(Qt::RichText);
    text->setText(QStringLiteral("<h2>Tessaron</h2>"
                                 "<p>Version %1</p>"
                                 "<p>A desktop backup utility.</p>"
                                 "<p>VELQO</p>"
                                 "<p>Built with Qt %2, running on Qt %3.</p>")
                      .arg(ProgramVersion(), QStringLiteral(QT_VERSION_STR),
                           QString::fromLatin1(qVersion())));
    auto* row = new QHBoxLayout;
    row->addWidget(icon, 0, Qt::AlignTop);
    row->addWidget(text, 1);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(row);
    layout->addWidget(buttons);
}

void ShowAbout(QWidget* parent) {
    frmAbout dialog(parent);
    dialog.exec();
}

} // namespace tessaron::gui
