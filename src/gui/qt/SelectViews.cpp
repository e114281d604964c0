#include "SelectViews.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyle>

namespace tessaron::gui {

namespace {

bool IsToggleKey(const QKeyEvent* event) {
    return event->key() == Qt::Key_Space && event->modifiers() == Qt::NoModifier;
}

} // namespace

DriveTreeView::DriveTreeView(QWidget* parent) : QTreeView(parent) {
    setHeaderHidden(true);
    setUniformRowHeights(true);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    header()->setStretchLastSection(false);
}

QRect DriveTreeView::CheckBoxRect(const QModelIndex& index) const {
    if (!index.isValid() || !index.data(Qt::CheckStateRole).isValid()) {
        return {};
    }
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    option.rect = visualRect(index);
    option.features |= QStyleOptionViewItem::HasCheckIndicator |
                       QStyleOptionViewItem::HasDecoration | QStyleOptionViewItem::HasDisplay;
    option.text = index.data().toString();
    return style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, this);
}

QModelIndex DriveTreeView::MarkAt(const QPoint& pos) const {
    const QModelIndex index = indexAt(pos);
    return CheckBoxRect(index).contains(pos) ? index : QModelIndex();
}

void DriveTreeView::mousePressEvent(QMouseEvent* event) {
    const QModelIndex mark = MarkAt(event->position().toPoint());
    m_markPressed = event->button() == Qt::LeftButton && mark.isValid();
    if (m_markPressed) {
        event->accept();
        emit MarkClicked(mark);
        return;
    }
    QTreeView::mousePressEvent(event);
}

void DriveTreeView::mouseReleaseEvent(QMouseEvent* event) {
    if (m_markPressed) {
        m_markPressed = false;
        event->accept();
        return;
    }
    QTreeView::mouseReleaseEvent(event);
}

void DriveTreeView::mouseDoubleClickEvent(QMouseEvent* event) {
    // The second click of a quick pair on a tick box ticks again instead of expanding.
    if (event->button() == Qt::LeftButton && MarkAt(event->position().toPoint()).isValid()) {
        mousePressEvent(event);
        return;
    }
    QTreeView::mouseDoubleClickEvent(event);
}

void DriveTreeView::keyPressEvent(QKeyEvent* event) {
    if (IsToggleKey(event) && currentIndex().isValid()) {
        event->accept();
        emit MarkClicked(currentIndex());
        return;
    }
    QTreeView::keyPressEvent(event);
}

FileListView::FileListView(QWidget* parent) : QTreeView(parent) {
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    header()->setSectionsClickable(true);
    header()->setSortIndicatorShown(true);
    header()->setStretchLastSection(false);
}

int FileListView::MarkRowAt(const QPoint& pos) const {
    const QModelIndex index = indexAt(pos);
    if (!index.isValid()) {
        return -1;
    }
    const int left = visualRect(index.siblingAtColumn(0)).left();
    return pos.x() - left <= kMarkWidth ? index.row() : -1;
}

void FileListView::mousePressEvent(QMouseEvent* event) {
    QTreeView::mousePressEvent(event);
    if (event->button() != Qt::LeftButton) {
        return;
    }
    if (const int row = MarkRowAt(event->position().toPoint()); row >= 0) {
        emit ItemCheckClick(row);
    }
}

void FileListView::mouseDoubleClickEvent(QMouseEvent* event) {
    const QPoint pos = event->position().toPoint();
    if (event->button() != Qt::LeftButton) {
        QTreeView::mouseDoubleClickEvent(event);
    } else if (const int row = MarkRowAt(pos); row >= 0) {
        emit ItemCheckClick(row); // the second click of a quick pair on a tick box
    } else if (const QModelIndex index = indexAt(pos); index.isValid()) {
        emit ItemOpened(index.row());
    }
}

void FileListView::keyPressEvent(QKeyEvent* event) {
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if ((IsToggleKey(event) || enter) && currentIndex().isValid()) {
        event->accept();
        if (enter) {
            emit ItemOpened(currentIndex().row());
        } else {
            emit ItemCheckClick(currentIndex().row());
        }
        return;
    }
    QTreeView::keyPressEvent(event);
}

} // namespace tessaron::gui
