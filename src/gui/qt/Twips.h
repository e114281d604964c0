#pragma once
// Lengths given in twips (1440 to the inch), turned into pixels at the logical resolution
// of the screen a widget is on.

#include <QWidget>

namespace tessaron::gui {

inline int TwipsToPixels(int twips, const QWidget* widget, Qt::Orientation along = Qt::Horizontal) {
    const int dpi = along == Qt::Horizontal ? widget->logicalDpiX() : widget->logicalDpiY();
    return (twips * dpi + 720) / 1440;
}

} // namespace tessaron::gui
