#include "ui/FileList.h"

#include "ui/DriveSource.h"
#include "ui/ListText.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace tessaron::ui {

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

constexpr const char* kDriveTitles[] = {"Name", "Total Size", "Free Space"};
constexpr const char* kFolderTitles[] = {"Name", "Type", "Size", "Modified"};
constexpr int kDriveTwips[] = {3000, 1000, 1000};
constexpr int kFolderTwips[] = {3000, 1100, 1000, 2500};

} // namespace

void FileList::ShowDrives() {
    std::vector<Row> rows;
    for (const clsFSItem& drive : ListDrives()) {
        Row row;
        row.key = drive.Path;
        row.name = DriveText(drive.Path, drive.Description);
        row.cls = 'V';
        row.size = drive.Size;
        row.free = drive.FreeSpace;
        row.icon = DriveIcon(drive.DriveType);
        rows.push_back(std::move(row));
    }
    m_view = View::Drives;
    m_folder.clear();
    m_rows = std::move(rows);
}

void FileList::ShowListing(const std::string& path, const std::vector<clsFSItem>& listing) {
    std::vector<Row> rows(listing.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const clsFSItem& item = listing[i];
        Row& row = rows[i];
        row.key = ChildPath(path, item.Path);
        row.name = item.Path;
        row.cls = item.IsDirectory ? 'D' : item.IsSystem ? 'S' : 'F';
        row.size = item.Size;
        row.mtime = item.Info.MTime.tv_sec;
        row.mtimeNs = item.Info.MTime.tv_nsec;
        row.icon = item.IsDirectory ? ItemIcon::Folder : ItemIcon::File;
    }
    m_view = View::Folder;
    m_folder = path;
    m_rows = std::move(rows);
    Sort();
}

bool FileList::HeaderClicked(int column) {
    if (m_view != View::Folder || column < NameColumn || column > ModifiedColumn) {
        return false;
    }
    if (column == m_sortColumn) {
        m_order = m_order == SortOrder::Ascending ? SortOrder::Descending : SortOrder::Ascending;
    } else {
        m_sortColumn = column;
        m_order = SortOrder::Descending;
    }
    Sort();
    return true;
}

SortOrder FileList::KeysOrder() const {
    return m_order == SortOrder::Ascending ? SortOrder::Descending : SortOrder::Ascending;
}

void FileList::Sort() {
    const bool ascending = KeysOrder() == SortOrder::Ascending;
    std::vector<std::size_t> order;
    if (m_sortColumn == NameColumn || m_sortColumn == TypeColumn) {
        std::vector<std::u32string> keys;
        keys.reserve(m_rows.size());
        for (const Row& r : m_rows) {
            if (m_sortColumn == TypeColumn) {
                std::u32string key(1, static_cast<char32_t>(r.cls));
                keys.push_back(key + std::u32string(r.name.begin(), r.name.end()));
            } else {
                keys.push_back(r.cls == 'D' ? U'\0' + UpperKey(r.name) : UpperKey(r.name));
            }
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

const char* FileList::ColumnTitle(int column) const {
    if (column < 0 || column >= ColumnCount()) {
        return "";
    }
    return m_view == View::Drives ? kDriveTitles[column] : kFolderTitles[column];
}

int FileList::ColumnTwips(int column) const {
    if (column < 0 || column >= ColumnCount()) {
        return 0;
    }
    return m_view == View::Drives ? kDriveTwips[column] : kFolderTwips[column];
}

bool FileList::IsSizeColumn(int column) const {
    return m_view == View::Drives ? column > 0 : column == SizeColumn;
}

std::string FileList::Text(int index, int column) const {
    const Row& row = At(index);
    if (column == 0) {
        return row.name;
    }
    if (m_view == View::Drives) {
        return FormatSize(column == 1 ? row.size : row.free, false);
    }
    switch (column) {
    case TypeColumn:
        return TypeText(row.cls);
    case SizeColumn:
        return row.cls == 'D' ? "-" : FormatSize(row.size, true);
    default:
        return FormatListDate(row.mtime);
    }
}

int FileList::Find(const std::string& key) const {
    for (int row = 0; row < Count(); ++row) {
        if (KeyOf(row) == key) {
            return row;
        }
    }
    return -1;
}

} // namespace tessaron::ui
