#pragma once
// FileListModel: the file list. It shows either the drives (columns "Name", "Total
// Size", "Free Space") or the entries of one folder ("Name", "Type", "Size", "Modified").
// Every row has a key, its full path (a drive's mount point), and a tick mark derived
// from the selection set when it is painted, never stored.
//
// A folder is listed in the order of the list's sort column and sort order. The order
// property works the other way round on purpose: when it says ascending the keys come out
// descending, and the other way round. A click on the current sort column's header flips
// the order; a click on another column makes it the sort column with the order
// descending, so that the first click on a column shows its keys ascending. The keys:
// "Name" the name in upper case, folders first (a NUL in front); "Type" the class letter
// ("D" folder, "S" system file, "F" any other file) and the name as it is; "Size" -1 for a
// folder, else the bytes; "Modified" the modification time. Rows with equal keys keep the
// order of the listing (by name). A header click sorts the entries read when the folder
// was shown; Refresh reads the folder again.

#include "ItemIcons.h"

#include "platform/clsFSItem.h"

#include <QAbstractTableModel>

#include <ctime>
#include <string>
#include <vector>

namespace tessaron {
class clsSelections;
}

namespace tessaron::gui {

class FileListModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum class View { Drives, Folder };
    enum FolderColumn { NameColumn, TypeColumn, SizeColumn, ModifiedColumn };
    // The role under which data() gives a row's key (a QString of its UTF-8 bytes).
    static constexpr int KeyRole = Qt::UserRole + 1;

    // sel must outlive the model. The list starts empty in the drive view, sorted by
    // name with the order property descending (names ascending).
    explicit FileListModel(const clsSelections& sel, QObject* parent = nullptr);

    // Fills the list with the drives.
    void ShowDrives();
    // Fills the list with the entries of path, in the current sort order. False, with
    // the system's reason, when the folder could not be read (the list is then empty).
    bool ShowFolder(const std::string& path, std::string& reason);
    // The same with the folder's listing read by the caller (the records of
    // clsFileSystem::GetDirectory(path)).
    void ShowListing(const std::string& path, const std::vector<clsFSItem>& listing);
    // The header rule above; in the drive view a header click does nothing.
    void HeaderClicked(int column);

    View CurrentView() const { return m_view; }
    // The folder shown; empty in the drive view.
    const std::string& Folder() const { return m_folder; }
    int SortColumn() const { return m_sortColumn; }
    // The sort order property; the keys come out in the opposite order.
    Qt::SortOrder SortOrder() const { return m_sortOrder; }
    Qt::SortOrder KeysOrder() const;

    const std::string& KeyOf(int row) const { return m_rows[static_cast<std::size_t>(row)].key; }
    bool IsFolder(int row) const { return m_rows[static_cast<std::size_t>(row)].cls == 'D'; }
    Qt::CheckState MarkOf(int row) const;
    // Repaints every row's tick mark (after the selection set changed).
    void MarksChanged();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    struct Row {
        std::string key;
        QString name;
        char cls = 'F';  // 'D' folder, 'S' system file, 'F' other file, 'V' drive
        double size = 0; // bytes; a drive's total size
        double free = 0; // a drive's free space
        std::time_t mtime = 0;
        long mtimeNs = 0;
        ItemIcon icon = ItemIcon::File;
    };
    void Sort();
    QVariant Text(const Row& row, int column) const;

    const clsSelections& m_sel;
    View m_view = View::Drives;
    std::string m_folder;
    int m_sortColumn = NameColumn;
    Qt::SortOrder m_sortOrder = Qt::DescendingOrder;
    std::vector<Row> m_rows;
};

} // namespace tessaron::gui
