#pragma once
// Every message box of the native windows goes through ShowMessageBox, so that a test can
// read each box's title and text and answer it (SetMessageBoxHandler) instead of a person.

#include "engine/IBackupView.h"

#include <functional>
#include <string>
#include <windows.h>
#undef Yield // an old macro of the system headers; the run views have a member of that name

namespace tessaron::win {

// Shows a modal box with title, text (UTF-8) and buttons, centred over owner when that is
// shown (else where the system puts it), and returns the button chosen; closing the box
// counts as No, Cancel or OK, whichever it offers.
MsgAnswer ShowMessageBox(HWND owner, const std::string& title, const std::string& text,
                         MsgButtons buttons);

// Closes the box ShowMessageBox shows on this thread as its close box would (No, Cancel or
// OK); nothing when none is open. For the message loop the box runs.
void CloseMessageBox();

using MessageBoxHandler = std::function<MsgAnswer(HWND owner, const std::string& title,
                                                  const std::string& text, MsgButtons buttons)>;

// Puts handler in place of the real boxes (an empty handler restores them) and returns the
// handler it replaces.
MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler);

} // namespace tessaron::win
