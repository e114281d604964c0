#include "MessageBoxes.h"

#include <QMessageBox>

namespace tessaron::gui {

namespace {

MessageBoxHandler& Handler() {
    static MessageBoxHandler handler;
    return handler;
}

QMessageBox::StandardButtons ButtonsOf(MsgButtons buttons) {
    switch (buttons) {
    case MsgButtons::YesNo:
        return QMessageBox::Yes | QMessageBox::No;
    case MsgButtons::RetryCancel:
        return QMessageBox::Retry | QMessageBox::Cancel;
    case MsgButtons::OK:
        break;
    }
    return QMessageBox::Ok;
}

MsgAnswer AnswerOf(int button, MsgButtons buttons) {
    switch (button) {
    case QMessageBox::Yes:
        return MsgAnswer::Yes;
    case QMessageBox::No:
        return MsgAnswer::No;
    case QMessageBox::Retry:
        return MsgAnswer::Retry;
    case QMessageBox::Cancel:
        return MsgAnswer::Cancel;
    case QMessageBox::Ok:
        return MsgAnswer::OK;
    default:
        break;
    }
    return SafeAnswer(buttons); // the close box or Escape
}

QMessageBox::Icon IconOf(MsgButtons buttons) {
    return buttons == MsgButtons::OK ? QMessageBox::Information : QMessageBox::Warning;
}

} // namespace

MsgAnswer ShowMessageBox(QWidget* parent, const QString& title, const QString& text,
                         MsgButtons buttons) {
    if (Handler()) {
        return Handler()(parent, title, text, buttons);
    }
    QMessageBox box(IconOf(buttons), title, text, ButtonsOf(buttons), parent);
    return AnswerOf(box.exec(), buttons);
}

MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler) {
    MessageBoxHandler old = std::move(Handler());
    Handler() = std::move(handler);
    return old;
}

} // namespace tessaron::gui
