#pragma once
// Every message box of the window front end goes through ShowMessageBox, so that a test
// can read each box's title and text and answer it (SetMessageBoxHandler) instead of a
// person. The buttons and answers are the run's own vocabulary (engine/IBackupView.h).

#include "engine/IBackupView.h"

#include <QString>

#include <functional>

class QWidget;

namespace tessaron::gui {

// Shows a modal box with title, text and buttons over parent (may be null) and returns
// the button chosen; closing the box counts as No, Cancel or OK, whichever it offers.
MsgAnswer ShowMessageBox(QWidget* parent, const QString& title, const QString& text,
                         MsgButtons buttons);

using MessageBoxHandler = std::function<MsgAnswer(QWidget* parent, const QString& title,
                                                  const QString& text, MsgButtons buttons)>;

// Puts handler in place of the real boxes (an empty handler restores them) and returns
// the handler it replaces.
MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler);

} // namespace tessaron::gui
