#include "engine/IBackupView.h"

namespace tessaron {

const char* AnswerName(MsgAnswer answer) {
    switch (answer) {
    case MsgAnswer::OK:
        return "OK";
    case MsgAnswer::Yes:
        return "Yes";
    case MsgAnswer::No:
        return "No";
    case MsgAnswer::Retry:
        return "Retry";
    case MsgAnswer::Cancel:
        return "Cancel";
    }
    return "";
}

MsgAnswer SafeAnswer(MsgButtons buttons) {
    switch (buttons) {
    case MsgButtons::YesNo:
        return MsgAnswer::No;
    case MsgButtons::RetryCancel:
        return MsgAnswer::Cancel;
    case MsgButtons::OK:
        break;
    }
    return MsgAnswer::OK;
}

const char* ReasonText(AnswerReason reason) {
    switch (reason) {
    case AnswerReason::Person:
        return "";
    case AnswerReason::NoTerminal:
        return "no terminal";
    case AnswerReason::NoAnswer:
        return "no answer";
    case AnswerReason::Interrupted:
        return "interrupted";
    case AnswerReason::QuietMode:
        return "quiet mode";
    }
    return "";
}

Answer UnattendedAnswer(MsgButtons buttons, AnswerReason reason) {
    return {SafeAnswer(buttons), reason};
}

std::string AnsweredLine(const std::string& title, const Answer& answer) {
    return title + " - answered " + AnswerName(answer.Button) + " (" + ReasonText(answer.Reason) +
           ")";
}

} // namespace tessaron
