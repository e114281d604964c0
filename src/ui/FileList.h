#pragma once
// FileList: the file list without any toolkit. It shows either the drives (columns
// "Name", "Total Size", "Free Space") or the entries of one folder ("Name", "Type",
// "Size", "Modified"). Every row has a key, its full path (a drive's root or mount
// point), and a tick mark derived from the selection set when it is shown, never stored.
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

#include "ui/ItemIcon.h"
#include "ui/SelectionMarks.h"

#include "platform/clsFSItem.h"

#include <ctime>
#include <string>
#include <vector>

namespace tessaron::ui {

enum class SortOrder { Ascending, Descending };

class FileList {
public:
    enum class View { Drives, Folder };
    enum FolderColumn { NameColumn, TypeColumn, SizeColumn, ModifiedColumn };

    // sel must outlive the list. The list starts empty in the drive view, sorted by name
    // with the order property descending (names ascending).
    explicit FileList(const clsSelections& sel) : m_sel(sel) {}

    // Fills the list with the drives.
    void ShowDrives();
    // Fills the list with the entries of path (the records of clsFileSystem::GetDirectory
    // for it), in the current sort order.
    void ShowListing(const std::string& path, const std::vector<clsFSItem>& listing);
    // The header rule above; false (nothing changes) in the drive view.
    bool HeaderClicked(int column);

    View CurrentView() const { return m_view; }
    // The folder shown; empty in the drive view.
    const std::string& Folder() const { return m_folder; }
    int SortColumn() const { return m_sortColumn; }
    // The sort order property; the keys come out in the opposite order.
    SortOrder Order() const { return m_order; }
    SortOrder KeysOrder() const;

    int Count() const { return static_cast<int>(m_rows.size()); }
    int ColumnCount() const { return m_view == View::Drives ? 3 : 4; }
    // The column's title; its text in a row (UTF-8); whether it holds sizes (right-aligned).
    const char* ColumnTitle(int column) const;
    std::string Text(int row, int column) const;
    bool IsSizeColumn(int column) const;
    // The initial width of a column in twips.
    int ColumnTwips(int column) const;

    const std::string& KeyOf(int row) const { return At(row).key; }
    const std::string& NameOf(int row) const { return At(row).name; }
    ItemIcon IconOf(int row) const { return At(row).icon; }
    bool IsFolder(int row) const { return At(row).cls == 'D'; }
    // A drive or a folder: a double click opens it.
    bool Opens(int row) const { return IsFolder(row) || m_view == View::Drives; }
    Mark MarkOf(int row) const { return ui::MarkOf(m_sel, KeyOf(row)); }
    // The row with this key, or -1.
    int Find(const std::string& key) const;

private:
    struct Row {
        std::string key;
        std::string name;
        char cls = 'F';  // 'D' folder, 'S' system file, 'F' other file, 'V' drive
        double size = 0; // bytes; a drive's total size
        double free = 0; // a drive's free space
        std::time_t mtime = 0;
        long mtimeNs = 0;
        ItemIcon icon = ItemIcon::File;
    };
    const Row& At(int row) const { return m_rows[static_cast<std::size_t>(row)]; }
    void Sort();

    const clsSelections& m_sel;
    View m_view = View::Drives;
    std::string m_folder;
    int m_sortColumn = NameColumn;
    SortOrder m_order = SortOrder::Descending;
    std::vector<Row> m_rows;
};

} // namespace tessaron::ui
