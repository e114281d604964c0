#include "LogListModel.h"

namespace tessaron::gui {

int LogListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_rows;
}

QVariant LogListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= m_rows || role != Qt::DisplayRole) {
        return {};
    }
    return Line(index.row());
}

void LogListModel::AddLine(QString line) {
    m_lines.push_back(std::move(line));
}

void LogListModel::AppendToLastLine(const QString& text) {
    if (m_lines.empty()) {
        return;
    }
    m_lines.back() += text;
    const int last = LineCount() - 1;
    if (last < m_rows) {
        emit dataChanged(index(last), index(last), {Qt::DisplayRole});
    }
}

int LogListModel::Flush() {
    const int first = m_rows;
    if (first == LineCount()) {
        return -1;
    }
    beginInsertRows(QModelIndex(), first, LineCount() - 1);
    m_rows = LineCount();
    endInsertRows();
    return first;
}

void LogListModel::Clear() {
    beginResetModel();
    m_lines.clear();
    m_rows = 0;
    endResetModel();
}

} // namespace tessaron::gui
