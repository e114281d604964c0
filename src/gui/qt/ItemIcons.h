#pragma once
// The icons of the drive tree and the file list (the desktop's icon theme where it has the
// icon, Qt's standard icons otherwise), and the tick marks as Qt's check states.

#include "ui/ItemIcon.h"
#include "ui/SelectionMarks.h"

#include <QIcon>

namespace tessaron::gui {

using ui::ItemIcon;

// The icon itself, looked up once per process (a QApplication must exist).
const QIcon& IconOf(ItemIcon icon);

inline Qt::CheckState CheckStateOf(ui::Mark mark) {
    return mark == ui::Mark::Checked  ? Qt::Checked
           : mark == ui::Mark::Partly ? Qt::PartiallyChecked
                                      : Qt::Unchecked;
}

} // namespace tessaron::gui
