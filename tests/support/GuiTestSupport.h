#pragma once
// Helpers of the window tests: every message box and file dialog is answered by the test
// and recorded, and a main window whose run and menu hooks only count their calls.

#include "MessageBoxes.h"
#include "RunStarter.h"
#include "clsComDlg.h"

#include <deque>
#include <string>
#include <vector>

namespace tessaron::test {

struct ShownBox {
    QWidget* Parent;
    std::string Title;
    std::string Text;
    MsgButtons Buttons;
};

struct ShownDialog {
    ui::FileDialogKind Kind;
    gui::clsComDlg Dialog; // the properties it was shown with
};

// While it lives, message boxes are answered with Answer and file dialogs with the next of
// Paths ("" when none is left: Cancel). Both are recorded.
class GuiScript {
public:
    explicit GuiScript(MsgAnswer reply = MsgAnswer::OK) : Answer(reply) {
        m_oldBox = gui::SetMessageBoxHandler(
            [this](QWidget* parent, const QString& title, const QString& text, MsgButtons b) {
                Boxes.push_back({parent, title.toStdString(), text.toStdString(), b});
                return Answer;
            });
        m_oldDialog =
            gui::SetFileDialogHandler([this](gui::FileDialogKind kind, const gui::clsComDlg& dlg) {
                Dialogs.push_back({kind, dlg});
                if (Paths.empty()) {
                    return std::string();
                }
                std::string answer = Paths.front();
                Paths.pop_front();
                return answer;
            });
    }
    ~GuiScript() {
        gui::SetMessageBoxHandler(std::move(m_oldBox));
        gui::SetFileDialogHandler(std::move(m_oldDialog));
    }
    GuiScript(const GuiScript&) = delete;
    GuiScript& operator=(const GuiScript&) = delete;

    MsgAnswer Answer;
    std::vector<ShownBox> Boxes;
    std::vector<ShownDialog> Dialogs;
    std::deque<std::string> Paths;

private:
    gui::MessageBoxHandler m_oldBox;
    gui::FileDialogHandler m_oldDialog;
};

// Hooks that count how often they were called; a run returns 0.
struct CountingHooks {
    int Runs = 0, MenuWindows = 0;
    bool LastUnloadOnExit = true;

    gui::MainWindowHooks Hooks() {
        const gui::MenuHook menu = [this](QWidget*) { ++MenuWindows; };
        return {[this](QWidget*, clsSetup&, bool unloadOnExit) {
                    ++Runs;
                    LastUnloadOnExit = unloadOnExit;
                    return 0;
                },
                menu, menu, menu};
    }
};

} // namespace tessaron::test
