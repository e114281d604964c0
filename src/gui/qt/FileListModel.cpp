#include "FileListModel.h"

#include "DriveSource.h"
#include "ListText.h"
#include "SelectionMarks.h"

#include "platform/clsFileSystem.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace tessaron::gui {

namespace {

// The positions of keys in sorted order; equal keys keep their order.
template <typename Key>
std::vector<std::size_t> SortedOrder(const std::vector<Key>& keys, bool ascending) {
    std::vector<std::size_t> order(keys.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&keys, ascending](std::size_t a, std::size_t b) {
        return ascending ? keys[a] < keys[b] : keys[b] < keys[a];
    });
    return order;
}

const char* TypeText(char cls) {
    return cls == 'D' ? "Directory" : cls == 'S' ? "System File" : "File";
}

} // namespace

FileListModel::FileListModel(const clsSelections& sel, QObject* parent)
    : QAbstractTableModel(parent), m_sel(sel) {}

void FileListModel::ShowDrives() {
    std::vector<Row> rows;
    for (const clsFSItem& drive : ListDrives()) {
        Row row;
        row.key = drive.Path;
        row.name = QString::fromStdString(DriveText(drive.Path, drive.Description));
        row.cls = 'V';
        row.size = drive.Size;
        row.free = drive.FreeSpace;
        row.icon = DriveIcon(drive.DriveType);
        rows.push_back(std::move(row));
    }
    beginResetModel();
    m_view = View::Drives;
    m_folder.clear();
    m_rows = std::move(rows);
    endResetModel();
}

bool FileListModel::ShowFolder(const std::string& path, std::string& reason) {
    clsFileSystem fs;
    fs.GetDirectory(path);
    ShowListing(path, fs.Items);
    reason = fs.LastError.empty() ? std::string() : ErrorReason(fs.LastError);
    return reason.empty();
}

void FileListModel::ShowListing(const std::string& path, const std::vector<clsFSItem>& listing) {
    std::vector<Row> rows(listing.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const clsFSItem& item = listing[i];
        Row& row = rows[i];
        row.key = ChildPath(path, item.Path);
        row.name = QString::fromStdString(item.Path);
        row.cls = item.IsDirectory ? 'D' : item.IsSystem ? 'S' : 'F';
        row.size = item.Size;
        row.mtime = item.Info.MTime.tv_sec;
        row.mtimeNs = item.Info.MTime.tv_nsec;
        row.icon = item.IsDirectory ? ItemIcon::Folder : ItemIcon::File;
    }
    beginResetModel();
    m_view = View::Folder;
    m_folder = path;
    m_rows = std::move(rows);
    Sort();
    endResetModel();
}

void FileListModel::HeaderClicked(int column) {
    if (m_view != View::Folder || column < NameColumn || column > ModifiedColumn) {
        return;
    }
    if (column == m_sortColumn) {
        m_sortOrder = m_sortOrder == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder;
    } else {
        m_sortColumn = column;
        m_sortOrder = Qt::DescendingOrder;
    }
    beginResetModel();
    Sort();
    endResetModel();
}

Qt::SortOrder FileListModel::KeysOrder() const {
    return m_sortOrder == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder;
}

void FileListModel::Sort() {
    const bool ascending = KeysOrder() == Qt::AscendingOrder;
    std::vector<std::size_t> order;
    if (m_sortColumn == NameColumn || m_sortColumn == TypeColumn) {
        std::vector<QString> keys;
        keys.reserve(m_rows.size());
        for (const Row& r : m_rows) {
            keys.push_back(m_sortColumn == TypeColumn ? QChar(r.cls) + r.name
                           : r.cls == 'D'             ? QChar(0) + r.name.toUpper()
                                                      : r.name.toUpper());
        }
        order = SortedOrder(keys, ascending);
    } else {
        std::vector<std::pair<double, long>> keys;
        keys.reserve(m_rows.size());
        for (const Row& r : m_rows) {
            keys.emplace_back(m_sortColumn == SizeColumn ? (r.cls == 'D' ? -1.0 : r.size)
                                                         : static_cast<double>(r.mtime),
                              m_sortColumn == SizeColumn ? 0L : r.mtimeNs);
        }
        order = SortedOrder(keys, ascending);
    }
    std::vector<Row> sorted;
    sorted.reserve(m_rows.size());
    for (std::size_t i : order) {
        sorted.push_back(std::move(m_rows[i]));
    }
    m_rows = std::move(sorted);
}

Qt::CheckState FileListModel::MarkOf(int row) const {
    return gui::MarkOf(m_sel, KeyOf(row));
}

void FileListModel::MarksChanged() {
    if (!m_rows.empty()) {
        emit dataChanged(index(0, 0), index(rowCount() - 1, 0), {Qt::CheckStateRole});
    }
}

int FileListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int FileListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_view == View::Drives ? 3 : 4;
}

QVariant FileListModel::Text(const Row& row, int column) const {
    if (column == 0) {
        return row.name;
    }
    if (m_view == View::Drives) {
        return QString::fromStdString(FormatSize(column == 1 ? row.size : row.free, false));
    }
    switch (column) {
    case TypeColumn:
        return QString(TypeText(row.cls));
    case SizeColumn:
        return row.cls == 'D' ? QString("-") : QString::fromStdString(FormatSize(row.size, true));
    default:
        return QString::fromStdString(FormatListDate(row.mtime));
    }
}

QVariant FileListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) {
        return {};
    }
    const Row& row = m_rows[static_cast<std::size_t>(index.row())];
    const bool sizeColumn =
        m_view == View::Drives ? index.column() > 0 : index.column() == SizeColumn;
    switch (role) {
    case Qt::DisplayRole:
        return Text(row, index.column());
    case Qt::DecorationRole:
        return index.column() == 0 ? QVariant(IconOf(row.icon)) : QVariant();
    case Qt::CheckStateRole:
        return index.column() == 0 ? QVariant(gui::MarkOf(m_sel, row.key)) : QVariant();
    case Qt::TextAlignmentRole:
        return sizeColumn ? QVariant(static_cast<int>(Qt::AlignRight | Qt::AlignVCenter))
                          : QVariant();
    case KeyRole:
        return QString::fromStdString(row.key);
    default:
        return {};
    }
}

QVariant FileListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
        return {};
    }
    static const char* const kDrives[] = {"Name", "Total Size", "Free Space"};
    static const char* const kFolder[] = {"Name", "Type", "Size", "Modified"};
    if (section < 0 || section >= columnCount()) {
        return {};
    }
    return QString(m_view == View::Drives ? kDrives[section] : kFolder[section]);
}

} // namespace tessaron::gui
