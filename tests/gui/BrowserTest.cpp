// The Qt tree and list views over the window layer's panes (whose rules tests/ui checks):
// which clicks and keys reach the marks, the 16-pixel rule on a real view, double clicks,
// and the header's sort indicator.
#include "SelectionBrowser.h"
#include "TempTree.h"
#include "TestNames.h"

#include "selection/clsSelections.h"

#include <QHeaderView>
#include <QSplitter>
#include <QTest>
#include <gtest/gtest.h>

namespace tessaron::gui {
namespace {

using test::TempTree;

class BrowserTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(tmp.Ok());
        tmp.MakeDir("A/A1");
        tmp.MakeDir("B");
        tmp.Write("file.txt", "f");
        window.resize(900, 500);
        browser.Start();
        ASSERT_TRUE(browser.GoTo(tmp.Root()));
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }
    int Row(const std::string& rel) const { return browser.List().Find(tmp.Path(rel)); }
    ui::Mark ListMark(const std::string& rel) const { return browser.List().MarkOf(Row(rel)); }
    QModelIndex Node(const std::string& rel) {
        return browser.TreeModel().FindKey(rel.empty() ? tmp.Root() : tmp.Path(rel));
    }

    TempTree tmp;
    clsSelections sel;
    QSplitter window;
    mutable SelectionBrowser browser{sel, &window};
};

struct ClickCase {
    const char* name;
    int x; // from the item's left edge
    bool toggles;
};

class ListClick : public BrowserTest, public ::testing::WithParamInterface<ClickCase> {};

TEST_P(ListClick, OnlyTheMarkColumnToggles) {
    FileListView* view = browser.ListView();
    const QRect item = view->visualRect(browser.ListModel().index(Row("B"), 0));
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {},
                      QPoint(item.left() + GetParam().x, item.center().y()));
    EXPECT_EQ(ListMark("B"), GetParam().toggles ? ui::Mark::Checked : ui::Mark::Unchecked);
    EXPECT_EQ(view->currentIndex().row(), Row("B")) << "the click selects the item either way";
}

const ClickCase kClickCases[] = {
    ClickCase("InsideTheMark", 8, true), ClickCase("AtThe16PixelEdge", 16, true),
    ClickCase("JustPastTheMark", 17, false), ClickCase("OnTheName", 60, false)};

INSTANTIATE_TEST_SUITE_P(Browser, ListClick, ::testing::ValuesIn(kClickCases), test::ParamName());

TEST_F(BrowserTest, TreeTickBoxClickTicksWithoutChoosingTheNode) {
    DriveTreeView* view = browser.Tree();
    const QModelIndex b = Node("B");
    view->scrollTo(b);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->CheckBoxRect(b).center());
    EXPECT_EQ(b.data(Qt::CheckStateRole).toInt(), Qt::Checked);
    EXPECT_EQ(browser.List().Folder(), tmp.Root()) << "the list still shows the folder chosen";
}

TEST_F(BrowserTest, SpaceTogglesTheCurrentItem) {
    browser.ListView()->setCurrentIndex(browser.ListModel().index(Row("file.txt"), 0));
    QTest::keyClick(browser.ListView(), Qt::Key_Space);
    EXPECT_EQ(ListMark("file.txt"), ui::Mark::Checked);
    QTest::keyClick(browser.Tree(), Qt::Key_Space); // the tree's current node: the folder
    EXPECT_EQ(Node("").data(Qt::CheckStateRole).toInt(), Qt::Checked);
    QTest::keyClick(browser.Tree(), Qt::Key_Space);
    EXPECT_EQ(ListMark("file.txt"), ui::Mark::Unchecked);
}

TEST_F(BrowserTest, DoubleClickOpensAFolderAndHeaderShowsTheOrder) {
    FileListView* view = browser.ListView();
    const QRect item = view->visualRect(browser.ListModel().index(Row("A"), 0));
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {},
                       QPoint(item.left() + 60, item.center().y()));
    EXPECT_EQ(browser.List().Folder(), tmp.Path("A"));
    EXPECT_EQ(browser.TreeModel().KeyOf(browser.Tree()->currentIndex()), tmp.Path("A"));
    QHeaderView* header = view->header();
    const int x = header->sectionViewportPosition(2) + header->sectionSize(2) / 2;
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(x, header->height() / 2));
    EXPECT_EQ(header->sortIndicatorSection(), 2);
    EXPECT_EQ(header->sortIndicatorOrder(), Qt::AscendingOrder)
        << "the arrow shows the keys' order";
}

} // namespace
} // namespace tessaron::gui
