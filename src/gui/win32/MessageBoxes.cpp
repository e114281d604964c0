#include "MessageBoxes.h"

#include "Win32Text.h"

namespace tessaron::win {

namespace {

MessageBoxHandler& Handler() {
    static MessageBoxHandler handler;
    return handler;
}

UINT StyleOf(MsgButtons buttons) {
    switch (buttons) {
    case MsgButtons::YesNo:
        return MB_YESNO | MB_ICONQUESTION;
    case MsgButtons::RetryCancel:
        return MB_RETRYCANCEL | MB_ICONWARNING;
    case MsgButtons::OK:
        break;
    }
    return MB_OK | MB_ICONINFORMATION;
}

MsgAnswer AnswerOf(int id, MsgButtons buttons) {
    switch (id) {
    case IDYES:
        return MsgAnswer::Yes;
    case IDNO:
        return MsgAnswer::No;
    case IDRETRY:
        return MsgAnswer::Retry;
    case IDOK:
        return MsgAnswer::OK;
    default:
        break;
    }
    return SafeAnswer(buttons); // the close box or Escape
}

// A box is sized to its text; a short text under a long title would cut the title. The
// text's first line is padded with blanks to about the title's width.
std::wstring TextAtLeastAsWideAs(const std::wstring& title, std::wstring text) {
    const std::size_t firstLine = std::min(text.find(L'\n'), text.size());
    const std::size_t wanted = title.size() + 12; // the title bar's icon and close box
    if (firstLine < wanted) {
        text.insert(firstLine, wanted - firstLine, L' ');
    }
    return text;
}

} // namespace

MsgAnswer ShowMessageBox(HWND owner, const std::string& title, const std::string& text,
                         MsgButtons buttons) {
    if (Handler()) {
        return Handler()(owner, title, text, buttons);
    }
    const std::wstring wideTitle = Widen(title);
    const std::wstring wideText = TextAtLeastAsWideAs(wideTitle, Widen(text));
    return AnswerOf(::MessageBoxW(owner, wideText.c_str(), wideTitle.c_str(),
                                  StyleOf(buttons) | MB_SETFOREGROUND),
                    buttons);
}

MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler) {
    MessageBoxHandler old = std::move(Handler());
    Handler() = std::move(handler);
    return old;
}

} // namespace tessaron::win
