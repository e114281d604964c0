#pragma once
// A main window without any toolkit for the window layer's tests: it records what the
// logic shows and asks, and answers file dialogs from a script.

#include "ui/MainWindowLogic.h"

#include <deque>
#include <string>
#include <vector>

namespace tessaron::test {

struct ShownBox {
    std::string Title;
    std::string Text;
    MsgButtons Buttons;
};

struct ShownDialog {
    ui::FileDialogKind Kind;
    ui::FileDialogRequest Request;
};

class FakeMainWindow : public ui::MainWindowView {
public:
    void ShowOptions(const ui::MainWindowOptions& options) override { Shown = options; }
    void ShowCaption(const std::string& caption) override { Caption = caption; }
    void RebuildSelection() override { ++Rebuilds; }
    void FocusOutput() override { OutputFocused = true; }
    MsgAnswer Message(const std::string& title, const std::string& text,
                      MsgButtons buttons) override {
        Boxes.push_back({title, text, buttons});
        return MsgAnswer::OK;
    }
    // The next of Paths; "" (Cancel) when none is left.
    std::string FileDialog(ui::FileDialogKind kind, const ui::FileDialogRequest& request) override {
        Dialogs.push_back({kind, request});
        std::string answer;
        if (!Paths.empty()) {
            answer = Paths.front();
            Paths.pop_front();
        }
        return answer;
    }
    void StartRun(clsSetup&) override { ++Runs; }

    ui::MainWindowOptions Shown;
    std::string Caption;
    int Rebuilds = 0, Runs = 0;
    bool OutputFocused = false;
    std::vector<ShownBox> Boxes;
    std::vector<ShownDialog> Dialogs;
    std::deque<std::string> Paths;
};

} // namespace tessaron::test
