#include "FileListModel.h"

#include "ItemIcons.h"

namespace tessaron::gui {

FileListModel::FileListModel(const ui::FileList& list, QObject* parent)
    : QAbstractTableModel(parent), m_list(list) {}

Qt::SortOrder FileListModel::KeysOrder() const {
    return m_list.KeysOrder() == ui::SortOrder::Ascending ? Qt::AscendingOrder
                                                          : Qt::DescendingOrder;
}

void FileListModel::MarksChanged() {
    if (m_list.Count() > 0) {
        emit dataChanged(index(0, 0), index(rowCount() - 1, 0), {Qt::CheckStateRole});
    }
}

int FileListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_list.Count();
}

int FileListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_list.ColumnCount();
}

QVariant FileListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) {
        return {};
    }
    const int row = index.row();
    const bool first = index.column() == 0;
    switch (role) {
    case Qt::DisplayRole:
        return QString::fromStdString(m_list.Text(row, index.column()));
    case Qt::DecorationRole:
        return first ? QVariant(IconOf(m_list.IconOf(row))) : QVariant();
    case Qt::CheckStateRole:
        return first ? QVariant(CheckStateOf(m_list.MarkOf(row))) : QVariant();
    case Qt::TextAlignmentRole:
        return m_list.IsSizeColumn(index.column())
                   ? QVariant(static_cast<int>(Qt::AlignRight | Qt::AlignVCenter))
                   : QVariant();
    case KeyRole:
        return QString::fromStdString(m_list.KeyOf(row));
    default:
        return {};
    }
}

QVariant FileListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 ||
        section >= columnCount()) {
        return {};
    }
    return QString(m_list.ColumnTitle(section));
}

} // namespace tessaron::gui
