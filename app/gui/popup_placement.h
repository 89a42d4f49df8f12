#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

namespace kvillo {

// Where the tray popup's top-left corner goes after a click at `click` (the
// pointer's position when the icon was clicked: under StatusNotifierItem the
// icon's own geometry is unknown). The popup opens from the pointer towards
// the middle of `available` (the screen less its panels), so above a bottom
// panel, below a top one and beside a side one, and is then moved wholly
// into `available`; one larger than that keeps its top-left corner in it.
QPoint popupPosition(QPoint click, QSize popup, QRect available);

}  // namespace kvillo
