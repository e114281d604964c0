#pragma once
// FileListModel: the Qt table model over the window layer's file list (ui::FileList): the
// drives or one folder's entries, each row with its tick mark as its check state. The
// list's rules (columns, sort order, header clicks) are the window layer's.

#include "ui/FileList.h"

#include <QAbstractTableModel>

namespace tessaron::gui {

class FileListModel : public QAbstractTableModel {
    Q_OBJECT
public:
    // The role under which data() gives a row's key (a QString of its UTF-8 bytes).
    static constexpr int KeyRole = Qt::UserRole + 1;

    // list must outlive the model.
    explicit FileListModel(const ui::FileList& list, QObject* parent = nullptr);

    const ui::FileList& List() const { return m_list; }
    // Brackets a change of the list's rows or columns.
    void BeginChange() { beginResetModel(); }
    void EndChange() { endResetModel(); }
    // The keys' order as Qt's sort indicator shows it.
    Qt::SortOrder KeysOrder() const;
    // Repaints every row's tick mark (after the selection set changed).
    void MarksChanged();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    const ui::FileList& m_list;
};

} // namespace tessaron::gui
