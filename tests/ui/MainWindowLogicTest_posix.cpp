// The main window's decisions without any toolkit: the option rules, the Start checks,
// New, Load, Save and Save As with their boxes, dialogs and caption, and Browse.
#include "TempTree.h"
#include "TestNames.h"
#include "UiTestSupport.h"

#include "ui/MainWindowLogic.h"

#include <gtest/gtest.h>

#include <map>
#include <tuple>

namespace tessaron::ui {
namespace {

using test::TempTree;

class MainWindowLogicTest : public ::testing::Test {
protected:
    void SetUp() override { logic.ShowAll(); }
    bool Holds(const std::string& line) const {
        return logic.Setup().Format().find(line + "\r\n") != std::string::npos;
    }
    // "%ROOT%" in text stands for the temporary folder.
    std::string Rooted(std::string text) const {
        for (std::size_t at = 0; (at = text.find("%ROOT%", at)) != std::string::npos;) {
            text.replace(at, 6, tmp.Root());
        }
        return text;
    }

    TempTree tmp;
    test::FakeMainWindow view;
    MainWindowLogic logic{view, tmp.Root()};
};

// --- Option rules: each step is a control event, the record and the controls follow ------
// (Incremental unticking and greying Clear, Email enabling the address and each switch's
// line are driven through the Qt window: tests/gui/MainWindowTest.cpp.)

struct OptionCase {
    const char* name;
    std::vector<std::string> steps; // "FULL"/"INCREMENTAL": a type; "+X"/"-X": switch X
    std::vector<const char*> setLines;
    bool clean, cleanEnabled, addressEnabled;
};

const std::map<std::string, Switch> kSwitches{{"Clean", Switch::Clean}, {"Email", Switch::Email}};

class OptionRules : public MainWindowLogicTest, public ::testing::WithParamInterface<OptionCase> {};

TEST_P(OptionRules, ControlsWriteTheSetAndEachOther) {
    for (const std::string& step : GetParam().steps) {
        if (step[0] == '+' || step[0] == '-') {
            logic.SwitchChanged(kSwitches.at(step.substr(1)), step[0] == '+');
        } else {
            logic.TypeChosen(*BackupKindOf(step));
        }
    }
    for (const char* line : GetParam().setLines) {
        EXPECT_TRUE(Holds(line)) << line;
    }
    EXPECT_EQ(view.Shown, logic.Options()) << "the controls show the record";
    EXPECT_EQ(std::tie(view.Shown.Clean, view.Shown.CleanEnabled, view.Shown.EmailToEnabled),
              std::tie(GetParam().clean, GetParam().cleanEnabled, GetParam().addressEnabled));
}

const OptionCase kOptionCases[] = {
    OptionCase("FullAllowsClearing", {"FULL", "+Clean"},
               {"BackupType = FULL", "CleanTarget = True"}, true, true, false),
    OptionCase("GreyedClearStaysUnticked", {"INCREMENTAL", "+Clean"}, {"CleanTarget = False"},
               false, false, false),
    OptionCase("FullEnablesClearAgain", {"INCREMENTAL", "FULL"}, {"BackupType = FULL"}, false, true,
               false),
    OptionCase("EmailOffGreysTheAddress", {"+Email", "-Email"}, {"EMail = False"}, false, true,
               false),
};

INSTANTIATE_TEST_SUITE_P(MainWindow, OptionRules, ::testing::ValuesIn(kOptionCases),
                         test::ParamName());

// --- Start ----------------------------------------------------------------------------------

struct StartCase {
    const char* name;
    bool ticked;
    const char* target; // "<selection>": the ticked folder itself, spelled another way
    const char* type;
    const char* title; // nullptr: the run starts
    const char* text;
    bool focusOutput;
};

class StartChecks : public MainWindowLogicTest, public ::testing::WithParamInterface<StartCase> {};

TEST_P(StartChecks, FirstFailingCheckSaysWhy) {
    const StartCase& c = GetParam();
    if (c.ticked) {
        logic.Setup().Sel.AddSelection(tmp.Root());
    }
    logic.OutputChanged(c.target == std::string("<selection>") ? tmp.Root() + "/." : c.target);
    if (*c.type != '\0') {
        logic.TypeChosen(*BackupKindOf(c.type));
    }
    logic.Start();
    EXPECT_EQ(view.Runs, c.title == nullptr ? 1 : 0);
    EXPECT_EQ(view.OutputFocused, c.focusOutput);
    if (c.title == nullptr) {
        EXPECT_TRUE(view.Boxes.empty());
        return;
    }
    ASSERT_EQ(view.Boxes.size(), 1u);
    EXPECT_EQ(view.Boxes[0].Title, c.title);
    EXPECT_EQ(view.Boxes[0].Text, c.text);
    EXPECT_EQ(view.Boxes[0].Buttons, MsgButtons::OK);
}

const StartCase kStartCases[] = {
    {"SelectionsComeFirst", false, "", "", "No Selections", "Please select an item", false},
    {"NoTarget", true, "", "FULL", "No Target Selected", "Select Target Path", true},
    {"RelativeTarget", true, "Backup", "FULL", "Invalid Target",
     "Target Path must specify a drive or server", true},
    {"ServerShare", true, "\\\\server\\share\\Backup", "FULL", "Invalid Target",
     "Target Path must specify a drive or server", true},
    {"NoBackupType", true, "/media/usb/Backup", "", "No Backup Type Selected",
     "Select a Backup Type (Full or Incremental)", false},
    {"TargetIsTheOnlySelection", true, "<selection>", "FULL", "Nothing To Back Up",
     "Nothing to back up - every selection is the target or lies inside it", false},
    {"AllGivenRuns", true, "/media/usb/Backup", "INCREMENTAL", nullptr, nullptr, false}};

INSTANTIATE_TEST_SUITE_P(MainWindow, StartChecks, ::testing::ValuesIn(kStartCases),
                         test::ParamName());

// --- Load and New -----------------------------------------------------------------------------

struct LoadCase {
    const char* name;
    const char* content; // nullptr: no such file
    const char* reason;  // second line of the error box; nullptr: loads
    const char* output;  // txtOutput afterwards
    bool full, incremental, clean, cleanEnabled;
};

// (A set that loads with its selections: tests/gui/MainWindowTest.cpp.)
class LoadSet : public MainWindowLogicTest, public ::testing::WithParamInterface<LoadCase> {};

TEST_P(LoadSet, ShowsTheSetOrSaysWhyNot) {
    const LoadCase& c = GetParam();
    logic.OutputChanged("/before");
    const std::string file = tmp.Path("my.set");
    if (c.content != nullptr) {
        tmp.Write("my.set", Rooted(c.content));
    }
    EXPECT_EQ(logic.LoadSetup(file), c.reason == nullptr);
    if (c.reason != nullptr) {
        ASSERT_EQ(view.Boxes.size(), 1u);
        EXPECT_EQ(view.Boxes[0].Title, "Tessaron");
        EXPECT_EQ(view.Boxes[0].Text, "Unable to load setup file - " + file + "\n" + c.reason);
    }
    EXPECT_EQ(view.Caption, c.reason == nullptr ? "Tessaron - " + file : "Tessaron");
    EXPECT_EQ(view.Rebuilds, c.reason == nullptr ? 1 : 0) << "a loaded set shows its marks";
    const MainWindowOptions& o = view.Shown;
    EXPECT_EQ(
        std::tie(o.Output, o.Full, o.Incremental, o.Clean, o.CleanEnabled),
        std::make_tuple(std::string(c.output), c.full, c.incremental, c.clean, c.cleanEnabled));
}

const LoadCase kLoadCases[] = {
    LoadCase("IncrementalNeverClears",
             "Target = \"/m\"\r\nBackupType = INCREMENTAL\r\nCleanTarget = True\r\n", nullptr, "/m",
             false, true, false, false),
    LoadCase("EmptyFileResetsUnderItsName", "", nullptr, "", false, false, false, true),
    LoadCase("OtherTypeChoosesNeither", "BackupType = full\r\n", nullptr, "", false, false, false,
             true),
    LoadCase("MissingFile", nullptr, "No such file or directory", "/before", false, false, false,
             true),
    LoadCase("BadSwitchKeepsTheSet", "Target = \"/x\"\r\nVerify = yes\r\n", "Type mismatch",
             "/before", false, false, false, true)};

INSTANTIATE_TEST_SUITE_P(MainWindow, LoadSet, ::testing::ValuesIn(kLoadCases), test::ParamName());

TEST_F(MainWindowLogicTest, NewClearsEverythingButTheCaption) {
    tmp.Write("my.set", Rooted("Target = \"/m\"\r\nBackupType = FULL\r\nEMail = True\r\n"
                               "EMailTo = ann@example.com\r\nSelections = \"%ROOT%\"\r\n"));
    ASSERT_TRUE(logic.LoadSetup(tmp.Path("my.set")));
    EXPECT_TRUE(view.Shown.EmailToEnabled);
    logic.New();
    EXPECT_EQ(logic.Setup().Format(), clsSetup().Format());
    EXPECT_EQ(view.Shown, MainWindowOptions());
    EXPECT_EQ(logic.FileName(), "");
    EXPECT_EQ(view.Rebuilds, 2) << "New rebuilds the tree and list: no marks remain";
    EXPECT_EQ(view.Caption, "Tessaron - " + tmp.Path("my.set")) << "New leaves the caption";
}

// --- Save and Save As -------------------------------------------------------------------------

struct SaveCase {
    const char* name;
    bool ticked;
    bool saveAs;
    const char* answer;  // the name given in the dialog; "" cancels
    const char* written; // the file written; nullptr: none
};

class SaveSet : public MainWindowLogicTest, public ::testing::WithParamInterface<SaveCase> {};

TEST_P(SaveSet, WritesTheSetUnderTheRightName) {
    const SaveCase& c = GetParam();
    if (c.ticked) {
        logic.Setup().Sel.AddSelection(tmp.Root());
    }
    view.Paths.push_back(*c.answer ? tmp.Path(c.answer) : "");
    c.saveAs ? logic.SaveAs() : logic.Save();
    if (!c.ticked) {
        ASSERT_EQ(view.Boxes.size(), 1u);
        EXPECT_EQ(view.Boxes[0].Title, "No Selections");
        EXPECT_EQ(view.Boxes[0].Text, "Please select an item");
        EXPECT_TRUE(view.Dialogs.empty());
    } else {
        ASSERT_EQ(view.Dialogs.size(), 1u);
        EXPECT_EQ(view.Dialogs[0].Kind, FileDialogKind::Save);
        EXPECT_EQ(view.Dialogs[0].Request.Title, "Save Backup Set File");
        EXPECT_EQ(view.Dialogs[0].Request.InitDir, tmp.Root()) << "no file yet: the set folder";
    }
    const std::string written = c.written != nullptr ? tmp.Path(c.written) : "";
    if (c.written != nullptr) {
        EXPECT_EQ(tmp.Read(c.written), logic.Setup().Format());
    }
    EXPECT_EQ(logic.FileName(), written);
    EXPECT_EQ(view.Caption, written.empty() ? "Tessaron" : "Tessaron - " + written);
    EXPECT_EQ(std::distance(test::fs::directory_iterator(tmp.Root()), {}), c.written != nullptr);
}

const SaveCase kSaveCases[] = {{"SaveWithNothingTicked", false, false, "a.set", nullptr},
                               {"SaveAsWithNothingTicked", false, true, "a.set", nullptr},
                               {"SaveWithoutNameAsks", true, false, "a.set", "a.set"},
                               {"NoExtensionGetsSet", true, true, "mine", "mine.set"},
                               {"OtherExtensionKept", true, true, "mine.txt", "mine.txt"},
                               {"CancelWritesNothing", true, true, "", nullptr}};

INSTANTIATE_TEST_SUITE_P(MainWindow, SaveSet, ::testing::ValuesIn(kSaveCases), test::ParamName());

TEST_F(MainWindowLogicTest, DialogsStartAtTheCurrentFile) {
    logic.Setup().Sel.AddSelection(tmp.Root());
    tmp.MakeDir("sets");
    view.Paths = {tmp.Path("sets/a.set")};
    logic.SaveAs();
    logic.Setup().Sel.AddSelection("/other");
    logic.Save();
    EXPECT_EQ(tmp.Read("sets/a.set"), logic.Setup().Format()) << "Save writes without asking";
    logic.Load();
    ASSERT_EQ(view.Dialogs.size(), 2u);
    const FileDialogRequest& load = view.Dialogs[1].Request;
    EXPECT_EQ(view.Dialogs[1].Kind, FileDialogKind::Open);
    EXPECT_EQ(load.Title, "Choose a Backup Set File");
    EXPECT_EQ(load.InitDir, tmp.Path("sets/"));
}

// --- Browse -----------------------------------------------------------------------------------

struct BrowseCase {
    const char* name;
    const char* target;  // %ROOT% the temporary folder, which holds the folder "out"
    const char* opensAt; // the dialog's initial folder
};

class BrowseStart : public MainWindowLogicTest, public ::testing::WithParamInterface<BrowseCase> {};

TEST_P(BrowseStart, OpensAtTheNearestFolderThatExists) {
    tmp.MakeDir("out");
    tmp.Write("file", "x");
    logic.OutputChanged(Rooted(GetParam().target));
    view.Paths = {tmp.Path("chosen")};
    logic.Browse();
    ASSERT_EQ(view.Dialogs.size(), 1u);
    EXPECT_EQ(view.Dialogs[0].Kind, FileDialogKind::Directory);
    EXPECT_EQ(view.Dialogs[0].Request.InitDir, Rooted(GetParam().opensAt));
    EXPECT_EQ(view.Shown.Output, tmp.Path("chosen")) << "the folder chosen is the target";
}

const BrowseCase kBrowseCases[] = {{"Exists", "%ROOT%/out", "%ROOT%/out"},
                                   {"NotYetMade", "%ROOT%/out/2026/daily/", "%ROOT%/out/"},
                                   {"AFileOnTheWay", "%ROOT%/file/x", "%ROOT%/"},
                                   {"NothingGiven", "", ""},
                                   {"Relative", "Backup", ""}};

INSTANTIATE_TEST_SUITE_P(MainWindow, BrowseStart, ::testing::ValuesIn(kBrowseCases),
                         test::ParamName());

} // namespace
} // namespace tessaron::ui
