#include "SelectionBrowser.h"

#include "Twips.h"

#include <QHeaderView>

namespace tessaron::gui {

namespace {

std::size_t ViewSlot(const ui::FileList& list) {
    return list.CurrentView() == ui::FileList::View::Drives ? 0 : 1;
}

} // namespace

SelectionBrowser::SelectionBrowser(clsSelections& sel, QWidget* viewParent)
    : QObject(viewParent), m_panes(sel), m_treeModel(new DriveTreeModel(m_panes.Tree(), this)),
      m_listModel(new FileListModel(m_panes.List(), this)), m_tree(new DriveTreeView(viewParent)),
      m_list(new FileListView(viewParent)) {
    m_panes.SetView(this, m_treeModel);
    m_tree->setObjectName("tvSelect");
    m_list->setObjectName("lvSelect");
    m_tree->setModel(m_treeModel);
    m_list->setModel(m_listModel);
    connect(m_tree, &QTreeView::expanded, m_treeModel, &DriveTreeModel::ReadChildren);
    connect(m_tree->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) { ShowNode(current); });
    connect(m_tree, &DriveTreeView::MarkClicked, this, [this](const QModelIndex& node) {
        if (ui::TreeNode* n = m_treeModel->NodeOf(node)) {
            m_panes.NodeMarkClicked(*n);
        }
    });
    connect(m_list, &FileListView::ItemCheckClick, this, &SelectionBrowser::ItemCheckClick);
    connect(m_list, &FileListView::ItemOpened, this, [this](int row) { m_panes.OpenItem(row); });
    connect(m_list->header(), &QHeaderView::sectionClicked, this,
            [this](int column) { m_panes.HeaderClicked(column); });
    connect(m_list->header(), &QHeaderView::sectionResized, this,
            &SelectionBrowser::KeepColumnWidths);
}

// The tree model stops observing the tree before the panes go.
SelectionBrowser::~SelectionBrowser() {
    m_panes.SetView(nullptr, nullptr);
}

void SelectionBrowser::KeepColumnWidths() {
    if (m_filling) {
        return;
    }
    QList<int>& widths = m_widths[ViewSlot(List())];
    widths.clear();
    for (int i = 0; i < m_listModel->columnCount(); ++i) {
        widths << m_list->header()->sectionSize(i);
    }
}

void SelectionBrowser::ChooseNode(const QModelIndex& node) {
    if (!node.isValid()) {
        return;
    }
    if (m_tree->currentIndex() == node) {
        ShowNode(node);
    } else {
        m_tree->setCurrentIndex(node);
    }
    m_tree->scrollTo(node);
}

void SelectionBrowser::ChooseNode(ui::TreeNode& node) {
    if (&node == &m_panes.Tree().Root()) {
        m_tree->expand(m_treeModel->RootIndex());
    }
    ChooseNode(m_treeModel->IndexOf(&node));
}

void SelectionBrowser::ShowNode(const QModelIndex& index) {
    if (ui::TreeNode* node = m_treeModel->NodeOf(index)) {
        m_panes.ShowNode(*node);
        m_tree->expand(index);
    }
}

void SelectionBrowser::NodeCheck(const QModelIndex& index, bool checked) {
    if (ui::TreeNode* node = m_treeModel->NodeOf(index)) {
        m_panes.NodeCheck(*node, checked);
    }
}

void SelectionBrowser::ListAboutToChange() {
    m_filling = true;
    m_listModel->BeginChange();
}

void SelectionBrowser::ListChanged() {
    m_listModel->EndChange();
    SetupColumns();
    m_filling = false;
}

void SelectionBrowser::MarksChanged() {
    m_treeModel->MarksChanged();
    m_listModel->MarksChanged();
}

void SelectionBrowser::StatusChanged(const std::string& text) {
    emit StatusText(QString::fromStdString(text));
}

void SelectionBrowser::SetupColumns() {
    const bool drives = List().CurrentView() == ui::FileList::View::Drives;
    QHeaderView* header = m_list->header();
    header->setSortIndicatorShown(!drives);
    if (!drives) {
        header->setSortIndicator(List().SortColumn(), m_listModel->KeysOrder());
    }
    const QList<int>& kept = m_widths[ViewSlot(List())];
    for (int i = 0; i < m_listModel->columnCount(); ++i) {
        header->resizeSection(i, i < kept.size() ? kept[i]
                                                 : TwipsToPixels(List().ColumnTwips(i), m_list));
    }
}

} // namespace tessaron::gui
