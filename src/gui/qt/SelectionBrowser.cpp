#include "SelectionBrowser.h"

#include "ListText.h"
#include "Twips.h"

#include "platform/clsFileSystem.h"

#include "selection/clsSelections.h"

#include <QHeaderView>

namespace tessaron::gui {

namespace {

// Initial column widths in twips: the drive view's and the folder view's.
constexpr int kDriveColumns[] = {3000, 1000, 1000};
constexpr int kFolderColumns[] = {3000, 1100, 1000, 2500};

int ViewSlot(const FileListModel& model) {
    return model.CurrentView() == FileListModel::View::Drives ? 0 : 1;
}

} // namespace

SelectionBrowser::SelectionBrowser(clsSelections& sel, QWidget* viewParent)
    : QObject(viewParent), m_sel(sel), m_treeModel(new DriveTreeModel(sel, this)),
      m_listModel(new FileListModel(sel, this)), m_tree(new DriveTreeView(viewParent)),
      m_list(new FileListView(viewParent)) {
    m_tree->setObjectName("tvSelect");
    m_list->setObjectName("lvSelect");
    m_tree->setModel(m_treeModel);
    m_list->setModel(m_listModel);
    connect(m_tree, &QTreeView::expanded, m_treeModel, &DriveTreeModel::ReadChildren);
    connect(m_tree->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) { ShowNode(current); });
    connect(m_tree, &DriveTreeView::MarkClicked, this, [this](const QModelIndex& node) {
        NodeCheck(node, node.data(Qt::CheckStateRole).toInt() != Qt::Checked);
    });
    connect(m_list, &FileListView::ItemCheckClick, this, &SelectionBrowser::ItemCheckClick);
    connect(m_list, &FileListView::ItemOpened, this, &SelectionBrowser::OpenItem);
    connect(m_list->header(), &QHeaderView::sectionClicked, this, &SelectionBrowser::HeaderClicked);
    connect(m_list->header(), &QHeaderView::sectionResized, this,
            &SelectionBrowser::KeepColumnWidths);
}

void SelectionBrowser::KeepColumnWidths() {
    if (m_filling) {
        return;
    }
    QList<int>& widths = m_widths[static_cast<std::size_t>(ViewSlot(*m_listModel))];
    widths.clear();
    for (int i = 0; i < m_listModel->columnCount(); ++i) {
        widths << m_list->header()->sectionSize(i);
    }
}

void SelectionBrowser::Start() {
    Rebuild();
}

void SelectionBrowser::Rebuild() {
    const std::string folder = m_listModel->Folder();
    m_treeModel->FillDrives();
    const QModelIndex root = m_treeModel->RootIndex();
    m_tree->expand(root);
    if (folder.empty() || !GoTo(folder)) {
        ChooseNode(root);
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

bool SelectionBrowser::GoTo(const std::string& folder) {
    const QModelIndex node = m_treeModel->Reveal(folder);
    ChooseNode(node);
    return node.isValid();
}

void SelectionBrowser::ShowNode(const QModelIndex& node) {
    if (!node.isValid()) {
        return;
    }
    m_filling = true;
    if (m_treeModel->IsRoot(node)) {
        m_listModel->ShowDrives();
        ListFilled(true, "", "");
    } else {
        // One listing serves the list and, when not read yet, the node's sub-folders.
        const std::string folder = m_treeModel->KeyOf(node);
        clsFileSystem fs;
        fs.GetDirectory(folder);
        m_treeModel->TakeChildren(node, fs.Items);
        m_listModel->ShowListing(folder, fs.Items);
        m_tree->expand(node);
        ListFilled(fs.LastError.empty(), folder, ErrorReason(fs.LastError));
    }
}

void SelectionBrowser::ListFilled(bool ok, const std::string& folder, const std::string& reason) {
    SetupColumns();
    m_filling = false;
    if (!ok) {
        emit StatusChanged(QString::fromStdString("Unable to read " + folder + " - " + reason));
        return;
    }
    const int n = m_listModel->rowCount();
    emit StatusChanged(n == 1 ? QString("1 item") : QString("%L1 items").arg(n));
}

void SelectionBrowser::SetupColumns() {
    const bool drives = m_listModel->CurrentView() == FileListModel::View::Drives;
    QHeaderView* header = m_list->header();
    header->setSortIndicatorShown(!drives);
    if (!drives) {
        header->setSortIndicator(m_listModel->SortColumn(), m_listModel->KeysOrder());
    }
    const QList<int>& kept = m_widths[static_cast<std::size_t>(ViewSlot(*m_listModel))];
    for (int i = 0; i < m_listModel->columnCount(); ++i) {
        const int twips = drives ? kDriveColumns[i] : kFolderColumns[i];
        header->resizeSection(i, i < kept.size() ? kept[i] : TwipsToPixels(twips, m_list));
    }
}

void SelectionBrowser::NodeCheck(const QModelIndex& node, bool checked) {
    if (!node.isValid() || m_treeModel->IsRoot(node)) {
        return;
    }
    const std::string key = m_treeModel->KeyOf(node);
    if (checked) {
        m_sel.AddSelection(key);
    } else {
        m_sel.RemoveSelection(key);
    }
    MarksChanged();
}

void SelectionBrowser::ItemCheckClick(int row) {
    if (row < 0 || row >= m_listModel->rowCount()) {
        return;
    }
    const bool checked = m_listModel->MarkOf(row) != Qt::Checked;
    const std::string key = m_listModel->KeyOf(row);
    NodeCheck(m_treeModel->FindKey(key), checked);
    // Done again whether or not a node had the key: the set takes a repeat calmly.
    if (checked) {
        m_sel.AddSelection(key);
    } else {
        m_sel.RemoveSelection(key);
    }
    MarksChanged();
}

void SelectionBrowser::OpenItem(int row) {
    if (row < 0 || row >= m_listModel->rowCount()) {
        return;
    }
    // A drive opens like a folder.
    if (m_listModel->IsFolder(row) || m_listModel->CurrentView() == FileListModel::View::Drives) {
        GoTo(m_listModel->KeyOf(row));
    }
}

void SelectionBrowser::HeaderClicked(int column) {
    m_filling = true;
    m_listModel->HeaderClicked(column);
    SetupColumns();
    m_filling = false;
}

void SelectionBrowser::MarksChanged() {
    m_treeModel->MarksChanged();
    m_listModel->MarksChanged();
}

} // namespace tessaron::gui
