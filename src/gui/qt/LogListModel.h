#pragma once
// LogListModel: the lines of the run window's log list. Lines arrive one by one from the
// run; the list view sees them in batches (Flush), so that a run that logs a line per file
// costs one row insertion per screen refresh rather than one per line. Every line is
// kept for the list's whole life: the list shows the complete run.

#include <QAbstractListModel>
#include <QString>

#include <vector>

namespace tessaron::gui {

class LogListModel : public QAbstractListModel {
    Q_OBJECT
public:
    using QAbstractListModel::QAbstractListModel;

    // Rows the view has been told about (the lines up to the last Flush).
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;

    // A new line; it becomes a row at the next Flush.
    void AddLine(QString line);
    // Text appended to the last line, shown at once when that line is already a row.
    void AppendToLastLine(const QString& text);
    // Makes the pending lines rows. Returns the index of the first new row, or -1 when
    // nothing was pending.
    int Flush();
    // Removes every line.
    void Clear();

    // Every line, pending ones included.
    int LineCount() const { return static_cast<int>(m_lines.size()); }
    const QString& Line(int i) const { return m_lines[static_cast<std::size_t>(i)]; }

private:
    std::vector<QString> m_lines;
    int m_rows = 0;
};

} // namespace tessaron::gui
