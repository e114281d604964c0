// Ticking in the drive tree and the file list, reading folders, and sorting, on a
// temporary folder reached through the real drive that holds it.
#include "TempTree.h"
#include "TestNames.h"

#include "ui/SelectionPanes.h"

#include <gtest/gtest.h>

namespace tessaron::ui {
namespace {

using test::TempTree;

class SelectionPanesTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(tmp.Ok());
        tmp.Write("A/A1/deep.txt", "d");
        tmp.MakeDir("A/A2");
        tmp.MakeDir("B");
        tmp.Write("file.txt", "f");
        panes.Rebuild();
        ASSERT_TRUE(panes.GoTo(tmp.Root()));
    }

    // The key of a path below the temporary folder ("" is the folder itself); "<drive>"
    // is the drive that holds it.
    std::string Key(const std::string& rel) {
        if (rel == "<drive>") {
            const TreeNode* node = panes.Tree().FindKey(tmp.Root());
            while (node->Parent != &panes.Tree().Root()) {
                node = node->Parent;
            }
            return node->Key;
        }
        return rel.empty() ? tmp.Root() : tmp.Path(rel);
    }
    TreeNode& Node(const std::string& rel) {
        TreeNode* node = panes.Tree().FindKey(Key(rel));
        EXPECT_NE(node, nullptr) << rel;
        return *node;
    }
    Mark TreeMark(const std::string& rel) { return panes.Tree().MarkOf(Node(rel)); }
    Mark ListMark(const std::string& rel) { return list().MarkOf(list().Find(Key(rel))); }
    std::vector<std::string> Names() {
        std::vector<std::string> names;
        for (int row = 0; row < list().Count(); ++row) {
            names.push_back(list().NameOf(row));
        }
        return names;
    }
    FileList& list() { return panes.List(); }

    TempTree tmp;
    clsSelections sel;
    SelectionPanes panes{sel};
};

// --- Tick rules ---------------------------------------------------------------------------

struct TickCase {
    const char* name;
    // "+rel"/"-rel": tick/untick the tree node; "*rel": a click on the node's mark;
    // "!rel": AddSelection alone; "rel": a click on the list item's mark
    std::vector<std::string> steps;
    std::vector<std::pair<std::string, Mark>> treeMarks;
    std::vector<std::pair<std::string, Mark>> listMarks;
};

class TickRules : public SelectionPanesTest, public ::testing::WithParamInterface<TickCase> {};

TEST_P(TickRules, MarksFollowTheSelectionSet) {
    panes.Tree().Reveal(tmp.Path("A/A1")); // loads A's sub-folders too
    for (const std::string& step : GetParam().steps) {
        if (step[0] == '+' || step[0] == '-') {
            panes.NodeCheck(Node(step.substr(1)), step[0] == '+');
        } else if (step[0] == '!') {
            sel.AddSelection(Key(step.substr(1)));
        } else if (step[0] == '*') {
            panes.NodeMarkClicked(Node(step.substr(1)));
        } else {
            panes.ItemCheckClick(list().Find(Key(step)));
        }
    }
    for (const auto& [rel, mark] : GetParam().treeMarks) {
        EXPECT_EQ(TreeMark(rel), mark) << "tree node " << rel;
    }
    for (const auto& [rel, mark] : GetParam().listMarks) {
        EXPECT_EQ(ListMark(rel), mark) << "list item " << rel;
    }
}

constexpr auto kOn = Mark::Checked;
constexpr auto kOff = Mark::Unchecked;
constexpr auto kPart = Mark::Partly;

const TickCase kTickCases[] = {
    TickCase("TickDriveUntickFolder", {"+<drive>", "-A"},
             {{"<drive>", kPart}, {"", kPart}, {"A", kOff}, {"A/A1", kOff}, {"B", kOn}},
             {{"A", kOff}, {"B", kOn}, {"file.txt", kOn}}),
    TickCase("FileMarksAncestorsPartly", {"file.txt"},
             {{"<drive>", kPart}, {"", kPart}, {"A", kOff}}, {{"file.txt", kOn}, {"B", kOff}}),
    TickCase("PartlyTickedRowBecomesTicked", {"+A/A1", "A"}, {{"A", kOn}, {"A/A2", kOn}},
             {{"A", kOn}}),
    TickCase("TickedRowBecomesUnticked", {"A", "A"}, {{"A", kOff}, {"", kOff}}, {{"A", kOff}}),
    TickCase("ReTickedFolderDropsItsException", {"+<drive>", "-A", "+A"},
             {{"<drive>", kOn}, {"A", kOn}, {"A/A1", kOn}}, {{"A", kOn}}),
    // A folder selected itself with an exception below: one click ticks all of it.
    TickCase("SelectedFolderWithExceptionRowClick", {"+A", "-A/A1", "A"},
             {{"A", kOn}, {"A/A1", kOn}, {"", kPart}}, {{"A", kOn}}),
    TickCase("SelectedFolderWithExceptionNodeClick", {"+A", "-A/A1", "*A"},
             {{"A", kOn}, {"A/A1", kOn}}, {}),
    TickCase("InsideATickedDriveNodeClick", {"+<drive>", "-A/A1", "*A"},
             {{"<drive>", kOn}, {"A", kOn}, {"A/A1", kOn}}, {}),
    TickCase("ExceptionWithEntryInsideDropsBoth", {"+A", "-A/A1", "!A/A1/deep.txt", "*A"},
             {{"A", kOn}, {"A/A1", kOn}}, {}),
    TickCase("TickedNodeClickUnticks", {"*B", "*B"}, {{"B", kOff}}, {{"B", kOff}})};

INSTANTIATE_TEST_SUITE_P(Panes, TickRules, ::testing::ValuesIn(kTickCases), test::ParamName());

TEST_F(SelectionPanesTest, RootHasNoMarkAndCannotBeTicked) {
    EXPECT_EQ(panes.Tree().MarkOf(panes.Tree().Root()), Mark::None);
    panes.NodeCheck(panes.Tree().Root(), true);
    panes.NodeMarkClicked(panes.Tree().Root());
    EXPECT_EQ(sel.Count(), 0);
}

// --- Reading and opening --------------------------------------------------------------------

TEST_F(SelectionPanesTest, FoldersAreReadOnceUntilRebuilt) {
    TreeNode& a = Node("A");
    EXPECT_TRUE(a.Unread && a.HasChildren()) << "an unread folder shows an expand button";
    panes.Tree().ReadChildren(a);
    EXPECT_EQ(a.Children.size(), 2u);
    tmp.MakeDir("A/A3");
    panes.Tree().ReadChildren(a);
    EXPECT_EQ(a.Children.size(), 2u) << "a node read once is not read again";
    panes.Rebuild();
    EXPECT_EQ(list().Folder(), tmp.Root()) << "Refresh keeps the folder shown";
    panes.Tree().ReadChildren(Node("A"));
    EXPECT_EQ(Node("A").Children.size(), 3u);
    panes.Tree().ReadChildren(Node("B"));
    EXPECT_FALSE(Node("B").HasChildren()) << "a folder without sub-folders loses its button";
}

// Opening a folder from the list is driven through the Qt view (tests/gui/BrowserTest.cpp).
TEST_F(SelectionPanesTest, DriveViewIsNotSorted) {
    panes.ShowNode(panes.Tree().Root());
    EXPECT_EQ(list().CurrentView(), FileList::View::Drives);
    EXPECT_EQ(list().Count(), static_cast<int>(panes.Tree().Root().Children.size()));
    const std::vector<std::string> drives = Names();
    panes.HeaderClicked(1);
    EXPECT_EQ(Names(), drives) << "a header click in the drive view does not sort";
}

// --- Sorting ------------------------------------------------------------------------------

struct SortCase {
    const char* name;
    std::vector<int> clicks; // header sections clicked in turn
    std::vector<std::string> order;
};

class HeaderSort : public SelectionPanesTest, public ::testing::WithParamInterface<SortCase> {
protected:
    void SetUp() override {
        struct Entry {
            const char* name;
            int size; // -1: a folder
            time_t modified;
        };
        for (const Entry& e :
             {Entry{"beta", -1, 1000}, Entry{"C.txt", 10, 2000}, Entry{"a.TXT", 2000, 3000},
              Entry{"b.txt", 300, 4000}, Entry{"Alpha", -1, 5000}}) {
            const std::string rel = std::string("sort/") + e.name;
            e.size < 0 ? tmp.MakeDir(rel) : tmp.Write(rel, std::string(std::size_t(e.size), 'x'));
            test::SetMtime(tmp.Path(rel), e.modified);
        }
        SelectionPanesTest::SetUp();
        ASSERT_TRUE(panes.GoTo(tmp.Path("sort")));
    }
};

TEST_P(HeaderSort, ClicksOrderTheFolder) {
    for (int section : GetParam().clicks) {
        panes.HeaderClicked(section);
    }
    EXPECT_EQ(Names(), GetParam().order);
}

// Folders have a NUL before their name key: a block before the files while names ascend.
// A newly chosen column starts with its keys ascending; the next click reverses them.
const SortCase kSortCases[] = {
    {"NamesAscendFoldersFirst", {}, {"Alpha", "beta", "a.TXT", "b.txt", "C.txt"}},
    {"NameAgainReverses", {0}, {"C.txt", "b.txt", "a.TXT", "beta", "Alpha"}},
    {"SizeAscendsFoldersFirst", {2}, {"Alpha", "beta", "C.txt", "b.txt", "a.TXT"}},
    {"SizeAgainDescends", {2, 2}, {"a.TXT", "b.txt", "C.txt", "Alpha", "beta"}},
    {"TypeIsClassThenNameAsItIs", {1}, {"Alpha", "beta", "C.txt", "a.TXT", "b.txt"}},
    {"ModifiedAscends", {3}, {"beta", "C.txt", "a.TXT", "b.txt", "Alpha"}},
    {"BackToNameAscends", {2, 0}, {"Alpha", "beta", "a.TXT", "b.txt", "C.txt"}}};

INSTANTIATE_TEST_SUITE_P(Panes, HeaderSort, ::testing::ValuesIn(kSortCases), test::ParamName());

} // namespace
} // namespace tessaron::ui
