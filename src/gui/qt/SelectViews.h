#pragma once
// The two views in which the user ticks what to back up. Neither ever changes a tick mark
// by itself: they report the click, and the window changes the selection set, from which
// every mark is derived again.

#include <QTreeView>

namespace tessaron::gui {

// The drive tree. A click on a node's tick box, or Space on the current node, reports
// MarkClicked; such a click does not make the node current.
class DriveTreeView : public QTreeView {
    Q_OBJECT
public:
    explicit DriveTreeView(QWidget* parent = nullptr);

    // Where the tick box of a node is drawn, in viewport coordinates.
    QRect CheckBoxRect(const QModelIndex& index) const;

signals:
    void MarkClicked(const QModelIndex& node);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QModelIndex MarkAt(const QPoint& pos) const;
    bool m_markPressed = false;
};

// The file list. A left click at most kMarkWidth pixels right of an item's left edge (the
// tick box's column) reports ItemCheckClick after the click selected the item; so does
// Space on the current item. A double click elsewhere, or Enter, reports ItemOpened.
class FileListView : public QTreeView {
    Q_OBJECT
public:
    static constexpr int kMarkWidth = 16;

    explicit FileListView(QWidget* parent = nullptr);

signals:
    void ItemCheckClick(int row);
    void ItemOpened(int row);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    // The row whose tick box column holds pos, or -1.
    int MarkRowAt(const QPoint& pos) const;
};

} // namespace tessaron::gui
