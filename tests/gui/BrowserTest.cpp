// Ticking in the drive tree and the file list, lazy reading, and sorting, on a temporary
// folder reached through the real drive that holds it.
#include "SelectionBrowser.h"
#include "TempTree.h"

#include "selection/clsSelections.h"

#include <QHeaderView>
#include <QSplitter>
#include <QTest>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessaron::gui {
namespace {

using test::TempTree;

class BrowserTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(tmp.Ok());
        tmp.Write("A/A1/deep.txt", "d");
        tmp.MakeDir("A/A2");
        tmp.MakeDir("B");
        tmp.Write("file.txt", "f");
        window.resize(900, 500);
        browser.Start();
        ASSERT_TRUE(browser.GoTo(tmp.Root()));
    }

    // The key of a path below the temporary folder ("" is the folder itself); "<drive>"
    // is the drive that holds it.
    std::string Key(const std::string& rel) const {
        if (rel == "<drive>") {
            return tree().KeyOf(DriveNode());
        }
        return rel.empty() ? tmp.Root() : tmp.Path(rel);
    }
    QModelIndex DriveNode() const {
        QModelIndex node = tree().FindKey(tmp.Root());
        while (node.parent() != tree().RootIndex()) {
            node = node.parent();
        }
        return node;
    }
    QModelIndex Node(const std::string& rel) const { return tree().FindKey(Key(rel)); }
    int Row(const std::string& rel) const {
        for (int row = 0; row < list().rowCount(); ++row) {
            if (list().KeyOf(row) == Key(rel)) {
                return row;
            }
        }
        return -1;
    }
    Qt::CheckState TreeMark(const std::string& rel) const {
        return static_cast<Qt::CheckState>(Node(rel).data(Qt::CheckStateRole).toInt());
    }
    Qt::CheckState ListMark(const std::string& rel) const { return list().MarkOf(Row(rel)); }
    std::vector<std::string> ListNames() const {
        std::vector<std::string> names;
        for (int row = 0; row < list().rowCount(); ++row) {
            names.push_back(list().index(row, 0).data().toString().toStdString());
        }
        return names;
    }
    void Show() {
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }

    DriveTreeModel& tree() const { return browser.TreeModel(); }
    FileListModel& list() const { return browser.ListModel(); }

    TempTree tmp;
    clsSelections sel;
    QSplitter window;
    mutable SelectionBrowser browser{sel, &window};
};

// --- Tick rules ---------------------------------------------------------------------------

struct TickCase {
    const char* name;
    std::vector<std::string> steps; // "+rel"/"-rel": tick/untick the tree node; "rel": list click
    std::vector<std::pair<std::string, Qt::CheckState>> treeMarks;
    std::vector<std::pair<std::string, Qt::CheckState>> listMarks;
};

class TickRules : public BrowserTest, public ::testing::WithParamInterface<TickCase> {};

TEST_P(TickRules, MarksFollowTheSelectionSet) {
    tree().Reveal(tmp.Path("A/A1")); // loads A's sub-folders too
    for (const std::string& step : GetParam().steps) {
        if (step[0] == '+' || step[0] == '-') {
            browser.NodeCheck(Node(step.substr(1)), step[0] == '+');
        } else {
            browser.ItemCheckClick(Row(step));
        }
    }
    for (const auto& [rel, mark] : GetParam().treeMarks) {
        EXPECT_EQ(TreeMark(rel), mark) << "tree node " << rel;
    }
    for (const auto& [rel, mark] : GetParam().listMarks) {
        EXPECT_EQ(ListMark(rel), mark) << "list item " << rel;
    }
}

constexpr auto kOn = Qt::Checked;
constexpr auto kOff = Qt::Unchecked;
constexpr auto kPart = Qt::PartiallyChecked;

INSTANTIATE_TEST_SUITE_P(
    Browser, TickRules,
    ::testing::Values(
        TickCase{"TickDriveUntickFolder",
                 {"+<drive>", "-A"},
                 {{"<drive>", kPart}, {"", kPart}, {"A", kOff}, {"A/A1", kOff}, {"B", kOn}},
                 {{"A", kOff}, {"B", kOn}, {"file.txt", kOn}}},
        TickCase{"FileMarksAncestorsPartly",
                 {"file.txt"},
                 {{"<drive>", kPart}, {"", kPart}, {"A", kOff}},
                 {{"file.txt", kOn}, {"B", kOff}}},
        TickCase{"PartlyTickedRowBecomesTicked",
                 {"+A/A1", "A"},
                 {{"A", kOn}, {"A/A1", kOn}, {"A/A2", kOn}},
                 {{"A", kOn}}},
        TickCase{"TickedRowBecomesUnticked", {"A", "A"}, {{"A", kOff}, {"", kOff}}, {{"A", kOff}}},
        TickCase{"ReTickedFolderDropsItsException",
                 {"+<drive>", "-A", "+A"},
                 {{"<drive>", kOn}, {"A", kOn}, {"A/A1", kOn}},
                 {{"A", kOn}}}),
    [](const auto& tc) { return std::string(tc.param.name); });

TEST_F(BrowserTest, RootHasNoTickBoxAndCannotBeTicked) {
    EXPECT_FALSE(tree().RootIndex().data(Qt::CheckStateRole).isValid());
    browser.NodeCheck(tree().RootIndex(), true);
    EXPECT_EQ(sel.Count(), 0);
}

// --- Clicks and keys ----------------------------------------------------------------------

struct ClickCase {
    const char* name;
    int x; // from the item's left edge
    bool toggles;
};

class ListClick : public BrowserTest, public ::testing::WithParamInterface<ClickCase> {};

TEST_P(ListClick, OnlyTheMarkColumnToggles) {
    Show();
    FileListView* view = browser.List();
    const QRect item = view->visualRect(list().index(Row("B"), 0));
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {},
                      QPoint(item.left() + GetParam().x, item.center().y()));
    EXPECT_EQ(ListMark("B"), GetParam().toggles ? kOn : kOff);
    EXPECT_EQ(view->currentIndex().row(), Row("B")) << "the click selects the item either way";
}

INSTANTIATE_TEST_SUITE_P(Browser, ListClick,
                         ::testing::Values(ClickCase{"InsideTheMark", 8, true},
                                           ClickCase{"AtThe16PixelEdge", 16, true},
                                           ClickCase{"JustPastTheMark", 17, false},
                                           ClickCase{"OnTheName", 60, false}),
                         [](const auto& tc) { return std::string(tc.param.name); });

TEST_F(BrowserTest, TreeTickBoxClickTicksWithoutChoosingTheNode) {
    Show();
    DriveTreeView* view = browser.Tree();
    const QModelIndex b = Node("B");
    view->scrollTo(b);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->CheckBoxRect(b).center());
    EXPECT_EQ(TreeMark("B"), kOn);
    EXPECT_EQ(list().Folder(), tmp.Root()) << "the list still shows the folder chosen before";
}

TEST_F(BrowserTest, SpaceTogglesTheCurrentItem) {
    Show();
    browser.List()->setCurrentIndex(list().index(Row("file.txt"), 0));
    QTest::keyClick(browser.List(), Qt::Key_Space);
    EXPECT_EQ(ListMark("file.txt"), kOn);
    QTest::keyClick(browser.Tree(), Qt::Key_Space); // the tree's current node: the folder
    EXPECT_EQ(TreeMark(""), kOn);
    QTest::keyClick(browser.Tree(), Qt::Key_Space);
    EXPECT_EQ(ListMark("file.txt"), kOff);
}

TEST_F(BrowserTest, DoubleClickOpensAFolder) {
    Show();
    FileListView* view = browser.List();
    const QRect item = view->visualRect(list().index(Row("A"), 0));
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {},
                       QPoint(item.left() + 60, item.center().y()));
    EXPECT_EQ(list().Folder(), tmp.Path("A"));
    EXPECT_EQ(tree().KeyOf(browser.Tree()->currentIndex()), tmp.Path("A"));
    EXPECT_EQ(ListMark("A/A1"), kOff) << "opening never ticks";
}

// --- Lazy reading -------------------------------------------------------------------------

TEST_F(BrowserTest, FoldersAreReadOnceUntilRefresh) {
    const QModelIndex a = Node("A");
    EXPECT_FALSE(tree().IsRead(a));
    EXPECT_TRUE(tree().hasChildren(a)) << "an unread folder shows an expand button";
    browser.Tree()->expand(a);
    EXPECT_EQ(tree().rowCount(a), 2);
    tmp.MakeDir("A/A3");
    browser.Tree()->collapse(a);
    browser.Tree()->expand(a);
    EXPECT_EQ(tree().rowCount(a), 2) << "collapsing and expanding does not read again";
    browser.Rebuild();
    EXPECT_EQ(list().Folder(), tmp.Root()) << "Refresh keeps the folder shown";
    browser.Tree()->expand(Node("A"));
    EXPECT_EQ(tree().rowCount(Node("A")), 3);
    browser.Tree()->expand(Node("B"));
    EXPECT_FALSE(tree().hasChildren(Node("B"))) << "a folder without sub-folders loses its button";
}

// Root reads every folder, so then the listing is tried in a child running as "nobody".
TEST_F(BrowserTest, UnreadableFolderSaysWhy) {
    chmod(tmp.Root().c_str(), 0755);
    chmod(tmp.Path("B").c_str(), 0);
    const auto reasonOf = [this] {
        std::string reason;
        return list().ShowFolder(tmp.Path("B"), reason) ? std::string("read") : reason;
    };
    if (geteuid() != 0) {
        EXPECT_EQ(reasonOf(), "Permission denied");
        return;
    }
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        const bool dropped = setgid(65534) == 0 && setuid(65534) == 0;
        _exit(!dropped ? 2 : reasonOf() == "Permission denied" ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "1: other reason, 2: no setuid";
}

// --- Sorting ------------------------------------------------------------------------------

struct SortCase {
    const char* name;
    std::vector<int> clicks; // header sections clicked in turn
    std::vector<std::string> order;
};

class HeaderSort : public BrowserTest, public ::testing::WithParamInterface<SortCase> {
protected:
    void SetUp() override {
        const std::pair<const char*, int> files[] = {
            {"b.txt", 300}, {"C.txt", 10}, {"a.TXT", 2000}};
        const std::pair<const char*, time_t> times[] = {
            {"beta", 1000}, {"C.txt", 2000}, {"a.TXT", 3000}, {"b.txt", 4000}, {"Alpha", 5000}};
        for (const auto& [name, size] : files) {
            tmp.Write(std::string("sort/") + name,
                      std::string(static_cast<std::size_t>(size), 'x'));
        }
        tmp.MakeDir("sort/Alpha");
        tmp.MakeDir("sort/beta");
        for (const auto& [name, t] : times) {
            test::SetMtime(tmp.Path(std::string("sort/") + name), t);
        }
        BrowserTest::SetUp();
        ASSERT_TRUE(browser.GoTo(tmp.Path("sort")));
    }
};

TEST_P(HeaderSort, ClicksOrderTheFolder) {
    Show();
    QHeaderView* header = browser.List()->header();
    for (int section : GetParam().clicks) {
        const int x = header->sectionViewportPosition(section) + header->sectionSize(section) / 2;
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(x, header->height() / 2));
    }
    EXPECT_EQ(ListNames(), GetParam().order);
    EXPECT_EQ(header->sortIndicatorSection(), list().SortColumn());
    EXPECT_EQ(header->sortIndicatorOrder(), list().KeysOrder())
        << "the arrow shows the keys' order";
}

// Folders have a NUL before their name key: a block before the files while names ascend.
// A newly chosen column starts with its keys ascending; the next click reverses them.
INSTANTIATE_TEST_SUITE_P(
    Browser, HeaderSort,
    ::testing::Values(
        SortCase{"NamesAscendFoldersFirst", {}, {"Alpha", "beta", "a.TXT", "b.txt", "C.txt"}},
        SortCase{"NameAgainReverses", {0}, {"C.txt", "b.txt", "a.TXT", "beta", "Alpha"}},
        SortCase{"SizeAscendsFoldersFirst", {2}, {"Alpha", "beta", "C.txt", "b.txt", "a.TXT"}},
        SortCase{"SizeAgainDescends", {2, 2}, {"a.TXT", "b.txt", "C.txt", "Alpha", "beta"}},
        SortCase{"TypeIsClassThenNameAsItIs", {1}, {"Alpha", "beta", "C.txt", "a.TXT", "b.txt"}},
        SortCase{"ModifiedAscends", {3}, {"beta", "C.txt", "a.TXT", "b.txt", "Alpha"}},
        SortCase{"BackToNameAscends", {2, 0}, {"Alpha", "beta", "a.TXT", "b.txt", "C.txt"}}),
    [](const auto& tc) { return std::string(tc.param.name); });

TEST_F(BrowserTest, DriveViewHeaderDoesNotSort) {
    browser.ChooseNode(tree().RootIndex());
    const std::vector<std::string> before = ListNames();
    browser.HeaderClicked(1);
    EXPECT_EQ(ListNames(), before);
    EXPECT_EQ(list().SortColumn(), FileListModel::NameColumn);
}

} // namespace
} // namespace tessaron::gui
